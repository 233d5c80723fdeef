#include <iomanip>
#include <ostream>

#include "host/CommandLine.h"
#include "host/Json.h"
#include "host/Layout.h"
#include "host/Structure.h"
#include "jet/Database.h"

namespace vmlib::host {

namespace {

/// Format, locale, password and pages, which the engine's objects do not tell.
jet::Database::Facts FileFacts(Session& session, const Text& path)
{
    jet::Workspace workspace = session.Storage();
    jet::OpenOptions options;
    options.readOnly = true;
    options.password = session.Password();
    return workspace.Open(path, options)->GetFacts();
}

Json ToJson(const FieldFacts& field)
{
    return {{"name", ToUtf8(field.name)},     {"type", field.type},         {"size", field.size},
            {"attributes", field.attributes}, {"required", field.required}, {"allowZeroLength", field.allowZeroLength}};
}

Json ToJson(const IndexFacts& index)
{
    Json columns = Json::array();
    for (const auto& column : index.columns)
        columns.push_back({{"name", ToUtf8(column.name)}, {"descending", column.descending}});
    return {{"name", ToUtf8(index.name)}, {"fields", std::move(columns)}, {"primary", index.primary},
            {"unique", index.unique},     {"required", index.required},   {"ignoreNulls", index.ignoreNulls},
            {"foreign", index.foreign}};
}

Json ToJson(const TableFacts& table)
{
    Json fields = Json::array(), indexes = Json::array();
    for (const auto& field : table.fields) fields.push_back(ToJson(field));
    for (const auto& index : table.indexes) indexes.push_back(ToJson(index));
    return {{"name", ToUtf8(table.name)},
            {"rows", table.rows},
            {"fields", std::move(fields)},
            {"indexes", std::move(indexes)}};
}

template <class Facts>
Json ListOf(const std::vector<Facts>& list)
{
    Json json = Json::array();
    for (const Facts& facts : list) json.push_back(ToJson(facts));
    return json;
}

void PrintJson(Session& session, const jet::Database::Facts& file, const StructureFacts& structure)
{
    Json queries = Json::array();
    for (const auto& query : structure.queries)
        queries.push_back({{"name", ToUtf8(query.name)}, {"sql", ToUtf8(query.sql)}});
    const Json json = {{"format", file.format},
                       {"langid", file.locale.langid},
                       {"codePage", file.locale.codePage},
                       {"country", file.locale.country},
                       {"password", file.hasPassword},
                       {"encrypted", file.encrypted},
                       {"pages", file.pages},
                       {"tables", ListOf(structure.tables)},
                       {"relations", ListOf(structure.relations)},
                       {"queries", std::move(queries)}};
    session.out << ToLine(json) << "\n";
}

const char* TypeName(std::int16_t type)
{
    switch (type) {
        case 1:
            return "Boolean";
        case 2:
            return "Byte";
        case 3:
            return "Integer";
        case 4:
            return "Long";
        case 5:
            return "Currency";
        case 6:
            return "Single";
        case 7:
            return "Double";
        case 8:
            return "Date";
        case 9:
            return "Binary";
        case 10:
            return "Text";
        case 11:
            return "LongBinary";
        case 12:
            return "Memo";
        case 15:
            return "GUID";
        default:
            return "unknown";
    }
}

void PrintTable(std::ostream& out, const TableFacts& table)
{
    out << "\n" << Printable(table.name) << ", " << table.rows << (table.rows == 1 ? " row\n" : " rows\n");
    for (const auto& field : table.fields) {
        out << "  " << Printable(field.name) << "  " << TypeName(field.type);
        if (field.type == 9 || field.type == 10) out << "(" << field.size << ")";
        out << (field.attributes & 16 ? ", automatic" : "") << (field.required ? ", required" : "") << "\n";
    }
    for (const auto& index : table.indexes) {
        out << "  index " << Printable(index.name) << " (";
        for (std::size_t i = 0; i < index.columns.size(); ++i)
            out << (i ? ", " : "") << Printable(index.columns[i].name)
                << (index.columns[i].descending ? " descending" : "");
        out << ")"
            << (index.primary  ? ", primary"
                : index.unique ? ", unique"
                               : "")
            << (index.foreign ? ", of a relation" : "") << "\n";
    }
}

void PrintText(Session& session, const jet::Database::Facts& file, const StructureFacts& structure)
{
    std::ostream& out = session.out;
    out << "format " << file.format << ", sort order 0x" << std::hex << std::setw(4) << std::setfill('0')
        << file.locale.langid << std::dec << ", code page " << file.locale.codePage << ", " << file.pages << " pages, "
        << (file.hasPassword ? "password" : "no password") << "\n";
    for (const auto& table : structure.tables) PrintTable(out, table);
    if (!structure.relations.empty()) out << "\n";
    for (const auto& relation : structure.relations) {
        out << "relation " << Printable(relation.name) << ": ";
        for (std::size_t i = 0; i < relation.fields.size(); ++i)
            out << (i ? ", " : "") << Printable(relation.table) << "." << Printable(relation.fields[i].first) << " = "
                << Printable(relation.foreignTable) << "." << Printable(relation.fields[i].second);
        out << "\n";
    }
    for (const auto& query : structure.queries)
        out << "\nquery " << Printable(query.name) << "\n" << Printable(query.sql) << "\n";
}

int Info(Session& session, const std::string& file, bool withSystemTables)
{
    const Text path = session.DatabasePath(file);
    const jet::Database::Facts facts = FileFacts(session, path);
    const Closer database(session.OpenDatabase(path, true));
    StructureFacts structure = ReadStructure(database.Object());
    if (!withSystemTables) std::erase_if(structure.tables, [](const TableFacts& table) { return table.IsSystem(); });
    (session.options.json ? PrintJson : PrintText)(session, facts, structure);
    return exitDone;
}

}  // namespace

void AddInfoCommand(CommandLine& line)
{
    auto file = std::make_shared<std::string>();
    auto withSystemTables = std::make_shared<bool>(false);
    Session& session = line.TheSession();
    CLI::App& info =
        line.Add("info", "vmlib info Kas.mdb", "Shows what a file holds: format, tables, indexes, relations, queries.",
                 [=, &session] { return Info(session, *file, *withSystemTables); });
    info.add_option("file", *file)->required();
    info.add_flag("--system", *withSystemTables, "with the system tables");
    line.TakesPassword(info);
    line.TakesJson(info);
}

}  // namespace vmlib::host
