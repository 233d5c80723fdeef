// Reads a table with mdb-reader, which shares no code with this project, and prints a row a line as JSON, in the forms of `vmlib export --json`.
// Usage: node mdbreader.mjs MODULES_FOLDER FILE [TABLE]; without TABLE the names of the user tables.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { pathToFileURL } from 'node:url';

const [modules, file, table] = process.argv.slice(2);
const require = createRequire(`${modules}/`);
const { default: MDBReader } = await import(pathToFileURL(require.resolve('mdb-reader')).href);
const reader = new MDBReader(readFileSync(file), { password: process.env.MDB_PASSWORD });

function form(value, type) {
    if (value === null || value === undefined) return null;
    if (value instanceof Date) {
        const text = value.toISOString().slice(0, 19);
        return text.endsWith('T00:00:00') ? text.slice(0, 10) : text;
    }
    if (type === 'binary' || type === 'ole') return Buffer.from(value).toString('hex').toUpperCase();
    if (type === 'repid') return `{${String(value).replace(/[{}]/g, '').toUpperCase()}}`;
    return value;
}

if (table === undefined) {
    for (const name of reader.getTableNames()) console.log(name);
} else {
    const found = reader.getTable(table);
    const columns = found.getColumns();
    for (const row of found.getData()) {
        const out = {};
        for (const column of columns) out[column.name] = form(row[column.name], column.type);
        console.log(JSON.stringify(out));
    }
}
