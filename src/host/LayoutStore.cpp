#include "host/LayoutStore.h"

#include <algorithm>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"

namespace vmlib::host {

namespace {

constexpr std::int16_t integerType = 3, longType = 4, booleanType = 1, textType = 10, memoType = 12;
constexpr std::int16_t dynaset = 2, snapshot = 4;
constexpr std::int32_t failOnError = 128;
constexpr std::int32_t firstRecordNumber = 10001;
constexpr TextView dutchLocale = u";LANGID=0x0413;CP=1252;COUNTRY=0";

struct ColumnPlan
{
    TextView name;
    std::int16_t type;
    std::int16_t size = 0;
    bool allowZeroLength = false;
};

struct TablePlan
{
    TextView name;
    std::vector<ColumnPlan> columns;
};

const std::vector<TablePlan>& TablePlans()
{
    static const std::vector<TablePlan> plans = {
        {u"Info", {{u"FileType", textType, 50}, {u"Versie", integerType}}},
        {u"LayOut",
         {{u"RecNr", longType},
          {u"FileType", textType, 50},
          {u"TabelNaam", textType, 64},
          {u"VeldNaam", textType, 64},
          {u"VeldType", integerType},
          {u"VeldLengte", integerType},
          {u"VeldAttribuut", integerType},
          {u"NulWaardeToegestaan", booleanType}}},
        {u"Indexen",
         {{u"FileType", textType, 50},
          {u"TabelNaam", textType, 64},
          {u"VeldNaam", textType, 65},
          {u"IndexNaam", textType, 64},
          {u"Primary", integerType},
          {u"Uniek", integerType},
          {u"Volgorde", integerType}}},
        {u"Relaties",
         {{u"FileType", textType, 50},
          {u"RelatieNaam", textType, 64},
          {u"TabelNaam1", textType, 64},
          {u"TabelNaam2", textType, 64},
          {u"VeldNaam1", textType, 64},
          {u"VeldNaam2", textType, 64},
          {u"Attribuut", longType},
          {u"Volgorde", integerType}}},
        {u"Queries",
         {{u"FileType", textType, 50},
          {u"QueryNaam", textType, 64},
          {u"QueryParameters", memoType, 0, true},  // "" where a query has none: the layer reads it as text
          {u"QueryInhoud", memoType}}},
    };
    return plans;
}

/// A recordset whose fields are read and written by name.
class Rows
{
public:
    Rows(const ObjectRef& database, TextView source, std::int16_t type)
        : recordset_(ToObject(Call(database, u"OpenRecordset", source, type))),
          fields_(ToObject(Get(recordset_.Object(), u"Fields")))
    {
    }

    bool AtEnd() const { return ToBoolean(Get(recordset_.Object(), u"EOF")); }
    void Next() const { Call(recordset_.Object(), u"MoveNext"); }

    Text String(TextView field) const
    {
        const Variant value = Value(field);
        return value.IsNull() ? Text() : ToText(value);
    }
    /// Names are read as the layer reads them: without the blanks behind.
    Text Name(TextView field) const { return Text(TrimRight(String(field))); }
    std::int16_t Integer(TextView field) const { return ToInteger(OrZero(field)); }
    std::int32_t Long(TextView field) const { return ToLong(OrZero(field)); }
    bool Boolean(TextView field) const { return ToBoolean(OrZero(field)); }

    void Add(std::initializer_list<std::pair<TextView, Variant>> values) const
    {
        Call(recordset_.Object(), u"AddNew");
        for (const auto& [field, value] : values) Put(ToObject(Get(fields_, u"Item", field)), u"Value", value);
        Call(recordset_.Object(), u"Update");
    }

private:
    Variant Value(TextView field) const { return Get(ToObject(Get(fields_, u"Item", field)), u"Value"); }
    Variant OrZero(TextView field) const
    {
        const Variant value = Value(field);
        return value.IsNull() ? Variant(std::int16_t{0}) : value;
    }

    Closer recordset_;
    ObjectRef fields_;
};

/// A text constant of SQL.
Text Quoted(TextView text)
{
    return u"'" + Replaced(text, u"'", u"''") + u"'";
}

Text OfType(TextView table, TextView type, TextView order)
{
    Text sql = u"SELECT * FROM " + Text(table) + u" WHERE FileType = " + Quoted(type);
    return order.empty() ? sql : sql + u" ORDER BY " + Text(order);
}

// ---- reading

std::vector<LayoutTable> ReadTables(const ObjectRef& database, TextView type)
{
    std::vector<LayoutTable> tables;
    for (const Rows rows(database, OfType(u"LayOut", type, u"TabelNaam & RecNr"), snapshot); !rows.AtEnd();
         rows.Next()) {
        const Text name = rows.String(u"TabelNaam");
        if (tables.empty() || tables.back().name != name) tables.push_back({name, {}, {}});
        tables.back().fields.push_back({rows.Name(u"VeldNaam"), rows.Integer(u"VeldType"), rows.Integer(u"VeldLengte"),
                                        rows.Integer(u"VeldAttribuut"), rows.Boolean(u"NulWaardeToegestaan")});
    }
    return tables;
}

void ReadIndexes(const ObjectRef& database, TextView type, std::vector<LayoutTable>& tables)
{
    for (const Rows rows(database, OfType(u"Indexen", type, u"TabelNaam, IndexNaam, Volgorde"), snapshot);
         !rows.AtEnd(); rows.Next()) {
        const Text name = rows.Name(u"IndexNaam");
        const Text tableName = rows.String(u"TabelNaam");
        const auto table = std::find_if(tables.begin(), tables.end(),
                                        [&](const LayoutTable& t) { return EqualIgnoringCase(t.name, tableName); });
        if (name.empty() || table == tables.end()) continue;
        auto& indexes = table->indexes;
        if (indexes.empty() || !EqualIgnoringCase(indexes.back().name, name))
            indexes.push_back({name, {}, rows.Integer(u"Primary"), rows.Integer(u"Uniek")});
        indexes.back().fields.push_back(rows.Name(u"VeldNaam"));
    }
}

std::vector<RelationFacts> ReadRelations(const ObjectRef& database, TextView type)
{
    std::vector<RelationFacts> relations;
    for (const Rows rows(database, OfType(u"Relaties", type, u"TabelNaam1, RelatieNaam, Volgorde"), snapshot);
         !rows.AtEnd(); rows.Next()) {
        const Text name = rows.Name(u"RelatieNaam");
        if (name.empty()) continue;
        if (relations.empty() || relations.back().name != name)
            relations.push_back(
                {name, rows.Name(u"TabelNaam1"), rows.Name(u"TabelNaam2"), rows.Long(u"Attribuut"), {}});
        relations.back().fields.emplace_back(rows.Name(u"VeldNaam1"), rows.Name(u"VeldNaam2"));
    }
    return relations;
}

std::vector<LayoutQuery> ReadQueries(const ObjectRef& database, TextView type)
{
    std::vector<LayoutQuery> queries;
    for (const Rows rows(database, OfType(u"Queries", type, u"QueryNaam"), snapshot); !rows.AtEnd(); rows.Next())
        queries.push_back({rows.Name(u"QueryNaam"), rows.String(u"QueryParameters"), rows.String(u"QueryInhoud")});
    return queries;
}

// ---- writing

void CreateTable(const ObjectRef& database, const TablePlan& plan)
{
    const ObjectRef table = ToObject(Call(database, u"CreateTableDef", plan.name));
    const ObjectRef fields = ToObject(Get(table, u"Fields"));
    for (const ColumnPlan& column : plan.columns) {
        const ObjectRef field = ToObject(Call(table, u"CreateField", column.name, column.type, column.size));
        if (column.allowZeroLength) Put(field, u"AllowZeroLength", true);
        Call(fields, u"Append", field);
    }
    Call(ToObject(Get(database, u"TableDefs")), u"Append", table);
}

bool HasField(const ObjectRef& database, TextView table, TextView field)
{
    return !ResumeNext([&] {
        const ObjectRef definition = ToObject(Get(ToObject(Get(database, u"TableDefs")), u"Item", table));
        ToObject(Get(ToObject(Get(definition, u"Fields")), u"Item", field));
    });
}

/// A document must not be taken for a layout database.
void RequireLayout(Session& session, const ObjectRef& database, TextView path)
{
    if (!HasField(database, u"Info", u"FileType") || !HasField(database, u"LayOut", u"FileType"))
        throw UsageError{session.Native(path) + " is no layout database"};
}

/// Layout databases of other makers may lack tables that they have no rows for.
void CompleteTables(const ObjectRef& database)
{
    for (const TablePlan& plan : TablePlans())
        if (!HasField(database, plan.name, u"FileType")) CreateTable(database, plan);
}

void DeleteType(const ObjectRef& database, TextView type)
{
    for (const TablePlan& plan : TablePlans())
        Call(database, u"Execute", u"DELETE FROM " + Text(plan.name) + u" WHERE FileType = " + Quoted(type),
             failOnError);
}

void AddTables(const ObjectRef& database, const Layout& layout)
{
    const Rows fields(database, u"LayOut", dynaset);
    const Rows indexes(database, u"Indexen", dynaset);
    for (const LayoutTable& table : layout.tables) {
        std::int32_t recordNumber = firstRecordNumber;
        for (const LayoutField& field : table.fields)
            fields.Add({{u"RecNr", recordNumber++},
                        {u"FileType", layout.type},
                        {u"TabelNaam", table.name},
                        {u"VeldNaam", field.name},
                        {u"VeldType", field.type},
                        {u"VeldLengte", field.length},
                        {u"VeldAttribuut", field.attributes},
                        {u"NulWaardeToegestaan", field.zeroLength}});
        for (const LayoutIndex& index : table.indexes) {
            std::int16_t position = 1;
            for (const Text& field : index.fields)
                indexes.Add({{u"FileType", layout.type},
                             {u"TabelNaam", table.name},
                             {u"VeldNaam", field},
                             {u"IndexNaam", index.name},
                             {u"Primary", index.primary},
                             {u"Uniek", index.unique},
                             {u"Volgorde", position++}});
        }
    }
}

void AddRelations(const ObjectRef& database, const Layout& layout)
{
    const Rows rows(database, u"Relaties", dynaset);
    for (const RelationFacts& relation : layout.relations) {
        std::int16_t position = 1;
        for (const auto& [name, foreignName] : relation.fields)
            rows.Add({{u"FileType", layout.type},
                      {u"RelatieNaam", relation.name},
                      {u"TabelNaam1", relation.table},
                      {u"TabelNaam2", relation.foreignTable},
                      {u"VeldNaam1", name},
                      {u"VeldNaam2", foreignName},
                      {u"Attribuut", relation.attributes},
                      {u"Volgorde", position++}});
    }
}

void AddQueries(const ObjectRef& database, const Layout& layout)
{
    const Rows rows(database, u"Queries", dynaset);
    for (const LayoutQuery& query : layout.queries)
        rows.Add({{u"FileType", layout.type},
                  {u"QueryNaam", query.name},
                  {u"QueryParameters", query.parameters},
                  {u"QueryInhoud", query.sql}});
}

/// The layer starts a new table wherever the name changes in its order, so the rows of a table must stand together.
/// Asked of the engine, whose text order decides.
void RefuseMixedTables(const ObjectRef& database, const Layout& layout)
{
    std::vector<LayoutTable> tables = ReadTables(database, layout.type);
    for (const LayoutTable& table : tables) {
        const auto written = std::find_if(layout.tables.begin(), layout.tables.end(),
                                          [&](const LayoutTable& t) { return t.name == table.name; });
        if (written == layout.tables.end() || written->fields != table.fields)
            throw UsageError{
                "table " + ToUtf8(table.name) +
                ": in the order of the layout tables its fields mix with those of another table; rename one"};
    }
}

void WriteInto(const ObjectRef& database, const std::vector<Layout>& layouts)
{
    for (const Layout& layout : layouts) {
        DeleteType(database, layout.type);
        Rows(database, u"Info", dynaset).Add({{u"FileType", layout.type}, {u"Versie", layout.version}});
        AddTables(database, layout);
        AddRelations(database, layout);
        AddQueries(database, layout);
        RefuseMixedTables(database, layout);
    }
}

void WriteIntoExisting(Session& session, TextView path, const std::vector<Layout>& layouts)
{
    Closer database(session.OpenDatabase(path, false));
    const ObjectRef workspace = session.Workspace();
    Call(workspace, u"BeginTrans");
    try {
        RequireLayout(session, database.Object(), path);
        CompleteTables(database.Object());
        WriteInto(database.Object(), layouts);
        Call(workspace, u"CommitTrans");
    } catch (...) {
        ResumeNext([&] { Call(workspace, u"Rollback"); });
        throw;
    }
    database.Close();
}

/// Under another name first: the layout database is there complete or not at all.
void WriteNew(Session& session, TextView path, const std::vector<Layout>& layouts)
{
    Files& files = session.platform.files;
    const Text folder(path.substr(0, path.rfind(u'\\') + 1));
    const Text temporary = files.CreateUnique(folder, u"~LA").first;
    files.Delete(temporary);
    try {
        Closer database(
            ToObject(Call(session.Workspace(), u"CreateDatabase", temporary, Text(dutchLocale) + session.Connect())));
        for (const TablePlan& plan : TablePlans()) CreateTable(database.Object(), plan);
        WriteInto(database.Object(), layouts);
        database.Close();
        files.Rename(temporary, path);
    } catch (...) {
        ResumeNext([&] { files.Delete(temporary); });
        throw;
    }
}

}  // namespace

std::vector<Text> LayoutTypes(Session& session, TextView path)
{
    const Closer database(session.OpenDatabase(path, true));
    RequireLayout(session, database.Object(), path);
    std::vector<Text> types;
    for (const Rows rows(database.Object(), u"SELECT FileType FROM Info ORDER BY FileType", snapshot); !rows.AtEnd();
         rows.Next())
        types.push_back(rows.Name(u"FileType"));
    return types;
}

Layout ReadLayout(Session& session, TextView path, TextView type)
{
    const Closer database(session.OpenDatabase(path, true));
    RequireLayout(session, database.Object(), path);
    const Rows info(database.Object(), OfType(u"Info", type, u""), snapshot);
    if (info.AtEnd())
        throw Error(static_cast<std::int32_t>(ErrorNumber::NoCurrentRecord),
                    u"The layout database knows no file type " + Text(type) + u".");
    Layout layout;
    layout.type = info.Name(u"FileType");
    layout.version = info.Integer(u"Versie");
    layout.tables = ReadTables(database.Object(), type);
    ReadIndexes(database.Object(), type, layout.tables);
    layout.relations = ReadRelations(database.Object(), type);
    layout.queries = ReadQueries(database.Object(), type);
    return layout;
}

void WriteLayouts(Session& session, TextView path, const std::vector<Layout>& layouts)
{
    const Text full = session.platform.files.FullPath(path);
    if (session.platform.files.Exists(full))
        WriteIntoExisting(session, full, layouts);
    else
        WriteNew(session, full, layouts);
}

}  // namespace vmlib::host
