#!/usr/bin/env python3
"""Second opinion on files of format 3: checks the whole structure and dumps rows, written apart from the library.

    jetcheck.py FILE                 faults, one a line (exit 3), or "ok N tables N rows N index entries N pages"
    jetcheck.py FILE --rows TABLE    the rows of a table as JSON, one object a line
    jetcheck.py FILE --keys TABLE    the entries of every index of a table: name, key in hexadecimal, page and row

Standard library only. Nothing here is shared with the C++ sources on purpose: two programs that agree were written twice.
Notes (what genuine files have and a strict reader may wonder at) go to stderr.
"""
import argparse
import json
import struct
import sys

sys.dont_write_bytecode = True  # the tests leave nothing behind in the source tree

from jetfile import as_value
from jetindexes import IndexedFile
from jetkeys import Fault, column_key, cut_long, text_of, u16, u32


class CheckedFile(IndexedFile):
    def plain(self, table, row):
        """A row with values instead of stored bytes, by upper-case column name."""
        return {column["name"].upper(): as_value(column, row[column["number"]], raw_long=True) for column in table["columns"]}

    def load(self):
        """Definitions of all tables, by way of the catalogue."""
        self.objects_table = self.definition(2, "MSysObjects")
        self.objects = [self.plain(self.objects_table, row) for row in self.read_table(self.objects_table).values()]
        self.tables = {}
        for entry in self.objects:
            if entry["TYPE"] != 1:
                continue
            if entry["ID"] == 2:
                self.tables[entry["NAME"]] = self.objects_table
                continue
            try:
                self.tables[entry["NAME"]] = self.definition(entry["ID"], entry["NAME"])
            except Fault as fault:
                self.fault(str(fault))

    def check(self):
        free = self.check_free_map()
        self.load()
        for table in self.tables.values():
            try:
                self.check_indexes(table, self.read_table(table))
            except Fault as fault:
                self.fault(str(fault))
        self.check_map_pages()
        self.check_ownership(free)
        self.check_catalogue()
        self.check_relations()

    def check_free_map(self):
        self.claim(1, "the maps of free pages")
        free = self.map_pages(0x100, "free pages")
        self.map_pages(0x101, "the second map of page 1")
        if u32(self.page(1), 4) != 1:
            self.fault(f"page 1 has owner {u32(self.page(1), 4)}")
        return [page for page in free if page < self.page_count]

    def check_map_pages(self):
        for page in sorted({pointer >> 8 for pointer in self.map_rows}):
            if page != 1:
                self.claim(page, "maps")
            for n, slot in enumerate(self.slots(page)):
                if slot is not None and page << 8 | n not in self.map_rows:
                    self.note(f"map {page}/{n} is used by nobody")

    def check_ownership(self, free):
        for page in free:
            self.claim(page, "the free pages")
        lost = [n for n in range(1, self.page_count) if n not in self.owner]
        if lost:
            self.note(f"{len(lost)} pages belong to nobody: {lost[:10]}")

    def check_catalogue(self):
        by_id = {entry["ID"]: entry for entry in self.objects}
        if len(by_id) != len(self.objects):
            self.fault("MSysObjects: two objects have one id")
        for entry in self.objects:
            if entry["PARENTID"] not in by_id and entry["PARENTID"] != 0x0F000000:
                self.fault(f"MSysObjects: {entry['NAME']} has parent {entry['PARENTID']:#x}, which does not exist")
            if entry["LVPROP"] is not None:
                try:
                    check_properties(entry["LVPROP"])
                except (Fault, struct.error, IndexError) as fault:
                    self.fault(f"MSysObjects: properties of {entry['NAME']}: {fault}")
        rows = {name: [self.plain(self.tables[name], row) for row in self.tables[name]["values"].values()]
                if name in self.tables and "values" in self.tables[name] else []
                for name in ("MSysACEs", "MSysQueries", "MSysRelationships")}
        self.system_rows = rows
        with_rights = {row["OBJECTID"] for row in rows["MSysACEs"]}
        for entry in self.objects:
            if entry["ID"] not in with_rights:  # Access leaves them out for objects of its own
                report = self.fault if entry["TYPE"] in (1, 5, 8) else self.note
                report(f"MSysACEs: nothing for {entry['NAME']}")
        for object_id in with_rights - set(by_id):
            self.fault(f"MSysACEs: rows for object {object_id:#x}, which does not exist")
        orders = {}
        for row in rows["MSysQueries"]:
            if row["OBJECTID"] not in by_id or by_id[row["OBJECTID"]]["TYPE"] != 5:
                self.fault(f"MSysQueries: a row of object {row['OBJECTID']}, which is no query")
            order = -1 if row["ORDER"] is None else int.from_bytes(row["ORDER"], "big")
            before = orders.get((row["OBJECTID"], row["ATTRIBUTE"]), -1)
            if order <= before:
                self.fault(f"MSysQueries: attribute {row['ATTRIBUTE']} of object {row['OBJECTID']} comes out of order")
            orders[row["OBJECTID"], row["ATTRIBUTE"]] = order
        for entry in self.objects:
            if entry["TYPE"] == 5 and (entry["ID"], 0) not in orders:
                self.fault(f"MSysQueries: nothing for the query {entry['NAME']}")

    def check_relations(self):
        named = {}
        for row in self.system_rows["MSysRelationships"]:
            named.setdefault(row["SZRELATIONSHIP"], []).append(row)
        objects = {entry["NAME"].upper(): entry for entry in self.objects if entry["TYPE"] == 8}
        tables = {name.upper(): table for name, table in self.tables.items()}
        used = set()
        for name, rows in named.items():
            if name.upper() not in objects:
                self.fault(f"relation {name}: not in MSysObjects")
            rows.sort(key=lambda row: row["ICOLUMN"])
            if [row["ICOLUMN"] for row in rows] != list(range(rows[0]["CCOLUMN"])):
                self.fault(f"relation {name}: columns {[row['ICOLUMN'] for row in rows]} of {rows[0]['CCOLUMN']}")
            foreign = tables.get(rows[0]["SZOBJECT"].upper())
            parent = tables.get(rows[0]["SZREFERENCEDOBJECT"].upper())
            if rows[0]["GRBIT"] & 2 or foreign is None or parent is None:
                if not rows[0]["GRBIT"] & 2:
                    self.fault(f"relation {name}: table {rows[0]['SZOBJECT']} or {rows[0]['SZREFERENCEDOBJECT']} is missing")
                continue
            self.check_relation(name, rows, foreign, parent, used)
        for name in objects:
            if name not in {n.upper() for n in named}:
                self.fault(f"relation {name}: nothing in MSysRelationships")
        for table in tables.values():
            for index in table["indexes"]:
                if index["type"] == 2 and (table["page"], index["number"]) not in used:
                    self.fault(f"{table['name']}.{index['name']}: index of a relation that does not exist")

    def check_relation(self, name, rows, foreign, parent, used):
        mine = next((i for i in foreign["indexes"] if i["type"] == 2 and i["name"].upper() == name.upper()), None)
        if mine is None:
            self.fault(f"relation {name}: {foreign['name']} has no index of that name")
            return
        theirs = next((i for i in parent["indexes"] if i["type"] == 2 and i["number"] == mine["other"] & 0xFFFFFFFF), None)
        if theirs is None:
            self.fault(f"relation {name}: {parent['name']} has no index number {mine['other']}")
            return
        used.update({(foreign["page"], mine["number"]), (parent["page"], theirs["number"])})
        if (mine["otherKind"], theirs["otherKind"]) != (2, 1):
            self.fault(f"relation {name}: kinds {mine['otherKind']} and {theirs['otherKind']}")
        if (mine["otherPage"], theirs["otherPage"], theirs["other"]) != (parent["page"], foreign["page"], mine["number"]):
            self.fault(f"relation {name}: its two indexes do not name each other")
        grbit = rows[0]["GRBIT"]
        for index in (mine, theirs):
            if (bool(index["update"] & 1), bool(index["delete"] & 1)) != (bool(grbit & 256), bool(grbit & 4096)):
                self.fault(f"relation {name}: attributes {grbit:#x}, cascades {index['update']} and {index['delete']}")
        tree, parent_tree = foreign["trees"][mine["real"]], parent["trees"][theirs["real"]]
        def columns(table, own):
            return [table["byNumber"][n]["name"].upper() for n, _ in own["columns"]]

        pairs = sorted(zip(columns(foreign, tree), columns(parent, parent_tree)))
        if len(tree["columns"]) != len(parent_tree["columns"]) or \
                pairs != sorted((row["SZCOLUMN"].upper(), row["SZREFERENCEDCOLUMN"].upper()) for row in rows):
            self.fault(f"relation {name}: indexes over {pairs}")
            return
        if not parent_tree["flags"] & 1:
            self.fault(f"relation {name}: the index of {parent['name']} is not unique")
        if "keys" not in parent_tree:
            return
        for pointer, row in foreign["values"].items():
            if any(row[n] is None for n, _ in tree["columns"]):
                continue
            key = b"".join(column_key(foreign["byNumber"][n], row[n], parent_tree["columns"][at][1])
                           for at, (n, _) in enumerate(tree["columns"]))
            if cut_long(key) not in parent_tree["keys"]:
                self.fault(f"relation {name}: row {pointer >> 8}/{pointer & 255} of {foreign['name']} has no parent")


def check_properties(raw):
    if raw[:4] != b"KKD\0":
        raise Fault("they do not begin with KKD")
    at, names = 4, []
    while at < len(raw):
        length, kind = u32(raw, at), u16(raw, at + 4)
        if length < 6 or at + length > len(raw):
            raise Fault(f"a chunk of {length} bytes at {at} of {len(raw)}")
        chunk = raw[at:at + length]
        at += length
        if kind == 0x80:
            here = 6
            while here < length:
                names.append(text_of(chunk[here + 2:here + 2 + u16(chunk, here)]))
                here += 2 + u16(chunk, here)
            if here != length:
                raise Fault("the list of names does not end with its chunk")
        elif kind in (0, 1):
            here = 6 + u32(chunk, 6)
            if u16(chunk, 10) + 6 != u32(chunk, 6):
                raise Fault(f"a field name of {u16(chunk, 10)} bytes in {u32(chunk, 6)}")
            while here < length:
                size, number, value = u16(chunk, here), u16(chunk, here + 4), u16(chunk, here + 6)
                if size != 8 + value or number >= len(names):
                    raise Fault(f"an entry of {size} bytes with a value of {value} of name {number}")
                here += size
            if here != length:
                raise Fault("the entries do not end with their chunk")


def print_rows(file, table):
    columns = sorted(table["columns"], key=lambda column: (column["position"], column["number"]))
    for row in file.read_table(table).values():
        print(json.dumps({c["name"]: as_value(c, row[c["number"]]) for c in columns}, ensure_ascii=False))


def print_keys(file, table):
    file.check_indexes(table, file.read_table(table))
    for index in table["indexes"]:
        for entry in table["trees"][index["real"]].get("entries", []):
            print(index["name"], entry[:-4].hex(), int.from_bytes(entry[-4:-1], "big"), entry[-1])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("file")
    parser.add_argument("--rows", metavar="TABLE")
    parser.add_argument("--keys", metavar="TABLE")
    arguments = parser.parse_args()
    sys.setrecursionlimit(10000)
    try:
        file = CheckedFile(arguments.file)
        wanted = arguments.rows or arguments.keys
        if wanted:
            file.load()
            table = next((t for name, t in file.tables.items() if name.upper() == wanted.upper()), None)
            if table is None:
                raise Fault(f"no table {wanted}")
            (print_rows if arguments.rows else print_keys)(file, table)
        else:
            file.check()
    except Fault as fault:
        print(fault)
        return 3
    for note in file.notes:
        print("note:", note, file=sys.stderr)
    for fault in file.faults:
        print(fault)
    if file.faults:
        return 3
    if not wanted:
        print(f"ok {len(file.tables)} tables {file.row_count} rows {file.entry_count} index entries {file.page_count} pages")
    return 0


if __name__ == "__main__":
    sys.exit(main())
