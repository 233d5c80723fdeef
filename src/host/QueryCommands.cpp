#include <ostream>
#include <set>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "host/CommandLine.h"
#include "host/FileStream.h"
#include "host/Rows.h"

// query, export: rows of a file.
namespace vmlib::host {

namespace {

constexpr std::int16_t snapshot = 4;
constexpr std::int16_t forwardOnly = 8;
constexpr std::int32_t failOnError = 128;
constexpr std::int32_t systemObject = static_cast<std::int32_t>(0x80000002);
constexpr std::int32_t linkedTable = 0x40000000 | 0x20000000;

RowForm FormOf(bool csv, bool json)
{
    if (csv && json) throw UsageError{"rows are printed as one of --csv and --json"};
    return json ? RowForm::Json : csv ? RowForm::Csv : RowForm::Table;
}

/// Select queries, crosstabs and unions have rows; the type tells them from action queries without running anything.
bool HasRows(const ObjectRef& database, const Text& sql)
{
    const ObjectRef query = ToObject(Call(database, u"CreateQueryDef", u"", sql));
    const std::int16_t type = ToInteger(Get(query, u"Type"));
    return type == 0 || type == 16 || type == 128;
}

int RunSelect(Session& session, const ObjectRef& database, const Text& sql, RowForm form)
{
    Closer recordset(ToObject(Call(database, u"OpenRecordset", sql, form == RowForm::Table ? snapshot : forwardOnly)));
    const std::size_t count = PrintRows(recordset.Object(), form, session.out);
    if (form == RowForm::Table) session.err << count << (count == 1 ? " row\n" : " rows\n");
    return exitDone;
}

/// In a transaction, so that a statement that stops half way changes nothing.
int RunAction(Session& session, const Text& path, const Text& sql, bool strict)
{
    Closer database(session.OpenDatabase(path, false));
    const ObjectRef workspace = session.Workspace();
    Call(workspace, u"BeginTrans");
    try {
        if (strict)
            Call(database.Object(), u"Execute", sql, failOnError);
        else
            Call(database.Object(), u"Execute", sql);
        const std::int32_t affected = ToLong(Get(database.Object(), u"RecordsAffected"));
        Call(workspace, u"CommitTrans");
        session.out << affected << "\n";
    } catch (const Error&) {
        ResumeNext([&] { Call(workspace, u"Rollback"); });
        throw;
    }
    // The embedded engine counts the rows that a statement left out; another engine may not.
    std::int32_t leftOut = 0;
    ResumeNext([&] { leftOut = ToLong(Get(database.Object(), u"RecordsLeftOut")); });
    if (leftOut > 0) session.err << leftOut << (leftOut == 1 ? " row was" : " rows were") << " left out\n";
    database.Close();
    return exitDone;
}

int Query(Session& session, const std::string& file, const std::string& statement, bool csv, bool strict)
{
    const Text path = session.DatabasePath(file);
    const Text sql = FromUtf8(statement);
    const RowForm form = FormOf(csv, session.options.json);
    {
        const Closer database(session.OpenDatabase(path, true));
        if (HasRows(database.Object(), sql)) return RunSelect(session, database.Object(), sql, form);
    }
    return RunAction(session, path, sql, strict);
}

struct TableNames
{
    std::vector<Text> names;
    std::vector<Text> linked;
};

TableNames UserTables(const ObjectRef& database)
{
    TableNames tables;
    const ObjectRef list = ToObject(Get(database, u"TableDefs"));
    const std::int32_t count = ToLong(Get(list, u"Count"));
    for (std::int32_t i = 0; i < count; ++i) {
        const ObjectRef table = ToObject(Get(list, u"Item", i));
        const std::int32_t attributes = ToLong(Get(table, u"Attributes"));
        if (attributes & systemObject) continue;
        (attributes & linkedTable ? tables.linked : tables.names).push_back(ToText(Get(table, u"Name")));
    }
    return tables;
}

/// A table's name as a file name: no separators, and none of what other systems refuse.
Text FileName(TextView table, std::set<Text>& taken, const char16_t* extension)
{
    Text name;
    for (const char16_t c : Trim(table))
        name += c < 0x20 || TextView(u"\\/:*?\"<>|").find(c) != TextView::npos ? u'_' : c;
    if (name.empty() || name[0] == u'.') name.insert(0, u"_");
    Text candidate = name;
    for (int i = 2; !taken.insert(UpperCase(candidate)).second; ++i) candidate = name + u"_" + Decimal(i);
    return candidate + extension;
}

void ExportTable(const ObjectRef& database, const Text& table, RowForm form, std::ostream& out)
{
    Closer recordset(ToObject(Call(database, u"OpenRecordset", table, forwardOnly)));
    PrintRows(recordset.Object(), form, out);
}

void ExportAll(Session& session, const ObjectRef& database, RowForm form, const std::string& into)
{
    Files& files = session.platform.files;
    const Text folder = session.PathText(into);
    if (!files.Facts(folder)) files.CreateFolder(folder);
    const TableNames tables = UserTables(database);
    std::set<Text> taken;
    for (const Text& table : tables.names) {
        const Text path = folder + u"\\" + FileName(table, taken, form == RowForm::Json ? u".json" : u".csv");
        FileStream out(
            files.Open(path, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateOrTruncate}));
        ExportTable(database, table, form, out);
        out.Close();
        session.err << session.Native(path) << "\n";
    }
    for (const Text& table : tables.linked) session.err << "linked table left out: " << Printable(table) << "\n";
}

int Export(Session& session, const std::string& file, const std::string& table, const std::string& into, bool csv)
{
    const RowForm form = FormOf(csv, session.options.json);
    if (form == RowForm::Table) throw UsageError{"one of --csv and --json is required"};
    if (table.empty() == into.empty()) throw UsageError{"either a table or --into FOLDER for all of them"};
    const Closer database(session.OpenDatabase(session.DatabasePath(file), true));
    if (table.empty())
        ExportAll(session, database.Object(), form, into);
    else
        ExportTable(database.Object(), FromUtf8(table), form, session.out);
    return exitDone;
}

struct QueryArguments
{
    std::string file, statement, table, into;
    bool csv = false, strict = false;
};

}  // namespace

void AddQueryCommands(CommandLine& line)
{
    auto arguments = std::make_shared<QueryArguments>();
    Session& session = line.TheSession();
    CLI::App& query =
        line.Add("query", "vmlib query Kas.mdb \"SELECT * FROM Posten WHERE Bedrag > 100\"",
                 "Runs a statement: rows of a SELECT, else the number of rows changed.", [=, &session] {
                     return Query(session, arguments->file, arguments->statement, arguments->csv, arguments->strict);
                 });
    query.add_option("file", arguments->file)->required();
    query.add_option("sql", arguments->statement)->required();
    query.add_flag("--csv", arguments->csv, "rows as comma separated values");
    query.add_flag("--strict", arguments->strict,
                   "stop at the first row that cannot be stored, and undo the statement");
    line.TakesPassword(query);
    line.TakesJson(query);

    CLI::App& exportRows = line.Add(
        "export", "vmlib export Kas.mdb Posten --csv",
        "Prints the rows of a table, or writes all tables into a folder.",
        [=, &session] { return Export(session, arguments->file, arguments->table, arguments->into, arguments->csv); });
    exportRows.add_option("file", arguments->file)->required();
    exportRows.add_option("table", arguments->table);
    exportRows.add_option("--into", arguments->into, "folder for TABLE.csv or TABLE.json of all tables");
    exportRows.add_flag("--csv", arguments->csv, "comma separated values");
    line.TakesPassword(exportRows);
    line.TakesJson(exportRows);
}

}  // namespace vmlib::host
