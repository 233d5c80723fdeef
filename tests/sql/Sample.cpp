#include "sql/Sample.h"

#include <sqlite3.h>

#include <algorithm>

#include "automation/Convert.h"
#include "core/Error.h"
#include "sql/Parser.h"
#include "sql/SqliteErrors.h"
#include "sql/SqliteValues.h"

namespace vmlib::sql {
namespace {

struct ColumnRow
{
    const char16_t* table;
    const char16_t* name;
    ValueType type;
    std::uint16_t size;
};

constexpr ColumnRow columnRows[] = {
    {u"Klanten", u"Id", ValueType::Long, 0},
    {u"Klanten", u"Naam", ValueType::Text, 50},
    {u"Klanten", u"Plaats", ValueType::Text, 30},
    {u"Klanten", u"Saldo", ValueType::Currency, 0},
    {u"Klanten", u"Geboren", ValueType::Date, 0},
    {u"Klanten", u"Actief", ValueType::Boolean, 0},
    {u"Klanten", u"Opmerking", ValueType::Memo, 0},
    {u"Klanten", u"Korting", ValueType::Double, 0},
    {u"Klanten", u"Code", ValueType::Integer, 0},
    {u"Klanten", u"Factor", ValueType::Single, 0},
    {u"Orders", u"Nr", ValueType::Long, 0},
    {u"Orders", u"Klant", ValueType::Long, 0},
    {u"Orders", u"Datum", ValueType::Date, 0},
    {u"Orders", u"Bedrag", ValueType::Currency, 0},
    {u"Orders", u"Soort", ValueType::Text, 10},
    {u"Regels", u"Kop", ValueType::Long, 0},
    {u"Regels", u"Tekst", ValueType::Text, 20},
    {u"Indexen", u"FileType", ValueType::Text, 10},
    {u"Indexen", u"TabelNaam", ValueType::Text, 50},
    {u"Indexen", u"VeldNaam", ValueType::Text, 50},
    {u"Indexen", u"IndexNaam", ValueType::Text, 50},
    {u"Indexen", u"Primary", ValueType::Boolean, 0},
    {u"Indexen", u"Uniek", ValueType::Boolean, 0},
    {u"Indexen", u"Volgorde", ValueType::Integer, 0},
    {u"Layout", u"RecNr", ValueType::Long, 0},
    {u"Layout", u"FileType", ValueType::Text, 10},
    {u"Layout", u"TabelNaam", ValueType::Text, 50},
    {u"Layout", u"VeldNaam", ValueType::Text, 50},
    {u"Layout", u"VeldType", ValueType::Integer, 0},
    {u"Layout", u"VeldLengte", ValueType::Integer, 0},
    {u"Layout", u"VeldAttribuut", ValueType::Long, 0},
    {u"Layout", u"NulWaardeToegestaan", ValueType::Boolean, 0},
    {u"Info", u"Versie", ValueType::Text, 10},
    {u"Straßen", u"Coëfficiënt", ValueType::Double, 0},
    {u"Straßen", u"No", ValueType::Long, 0},
};

constexpr const char* rows = R"(
INSERT INTO "t1" VALUES
 (1,'Jansen','Gouda',125000,25569.0,-1,'vaste klant',0.1,5,0.10000000149011612),
 (2,'de Vries','gouda',0,0.25,0,NULL,NULL,NULL,NULL),
 (3,'Bakker',NULL,NULL,NULL,-1,'x',0.25,3,2.5),
 (4,'Ähren','Utrecht',-50001,36526.5,0,NULL,1.5,5,1.0);
INSERT INTO "t2" VALUES
 (10,1,36526.0,100000,'a'),(11,1,36527.0,200000,'B'),(12,2,36528.0,50000,'A'),(13,9,NULL,NULL,NULL);
INSERT INTO "t3" VALUES (10,'een'),(10,'twee'),(12,'drie');
INSERT INTO "t4" VALUES ('X','Naam','Id','PK',-1,-1,1),('X','Naam','Plaats','IX',0,0,2),('Y','Ander','Id','PK',-1,-1,1);
INSERT INTO "t5" VALUES (2,'X','Naam','Plaats',10,30,2,-1),(1,'X','Naam','Id',4,4,17,0),(3,'X','Los','Id',4,4,1,0),(4,'Y','Ander','Id',4,4,1,0);
INSERT INTO "t6" VALUES ('1.0');
INSERT INTO "t7" VALUES (2.5,7);
CREATE INDEX "ById" ON "t1"("Id");
CREATE INDEX "ByName" ON "t1"("Naam");
CREATE INDEX "ByAmount" ON "t2"("Bedrag");
CREATE INDEX "ByDate" ON "t2"("Datum");
)";

void Execute(sqlite3* connection, const std::string& sql)
{
    if (sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) ThrowFailure(connection);
}

struct Printer
{
    std::string operator()(std::monostate) const { return "Empty"; }
    std::string operator()(Null) const { return "Null"; }
    std::string operator()(bool value) const { return value ? "True" : "False"; }
    std::string operator()(std::uint8_t value) const { return std::to_string(value); }
    std::string operator()(std::int16_t value) const { return std::to_string(value); }
    std::string operator()(std::int32_t value) const { return std::to_string(value); }
    std::string operator()(float value) const { return ToUtf8(NumberToText(value, Locale::English())) + "!"; }
    std::string operator()(double value) const { return ToUtf8(NumberToText(value, Locale::English())); }
    std::string operator()(Currency value) const { return ToUtf8(CurrencyToText(value, Locale::English())) + "$"; }
    std::string operator()(Date value) const
    {
        return "#" + ToUtf8(NumberToText(value.serial, Locale::English())) + "#";
    }
    std::string operator()(const Text& value) const { return ToUtf8(value); }
    std::string operator()(const ArrayRef& value) const
    {
        std::string text = "<";
        for (const std::uint8_t byte : value->AsBytes()) text += std::to_string(byte) + " ";
        return text + ">";
    }
    template <class T>
    std::string operator()(const T&) const
    {
        return "?";
    }
};

std::string Key(std::string_view text)
{
    std::string key = ToUtf8(UpperCase(FromUtf8(text)));
    key.erase(key.find_last_not_of(' ') + 1);
    return key;
}

}  // namespace

int CompareSampleText(std::string_view left, std::string_view right)
{
    return Key(left).compare(Key(right));
}

Sample::Sample()
{
    if (sqlite3_open(":memory:", &connection_) != SQLITE_OK) throw Error(ErrorNumber::Internal);
    RegisterFunctions(connection_, CompareSampleText, [] { return Date{45000.75}; });
    std::vector<Text> order;
    for (const ColumnRow& row : columnRows) {
        SchemaTable& table = tables_[UpperCase(row.table)];
        if (table.name.empty()) {
            table.name = row.table;
            table.sqliteName = "t" + std::to_string(tables_.size());
            order.push_back(UpperCase(row.table));
        }
        SchemaColumn column;
        column.name = row.name;
        column.type = row.type;
        column.size = row.size;
        column.autoNumber = table.name == u"Klanten" && column.name == u"Id";
        table.columns.push_back(std::move(column));
    }
    for (const Text& name : order) {
        const SchemaTable& table = tables_[name];
        std::string sql = "CREATE TABLE \"" + table.sqliteName + "\"(";
        for (const SchemaColumn& column : table.columns) {
            if (&column != &table.columns.front()) sql += ",";
            sql += "\"" + ToUtf8(column.name) + "\"";
            if (column.type == ValueType::Text || column.type == ValueType::Memo) sql += " COLLATE jet";
        }
        Execute(connection_, sql + ")");
    }
    Execute(connection_, rows);
    AddQuery(u"GroteKlanten", u"SELECT Id, Naam, Saldo FROM Klanten WHERE Saldo >= 0;");
    AddQuery(u"PerPlaats", u"SELECT Plaats, Count(*) AS Aantal FROM Klanten GROUP BY Plaats;");
    AddQuery(u"Kring1", u"SELECT * FROM Kring2");
    AddQuery(u"Kring2", u"SELECT * FROM Kring1");
}

Sample::~Sample()
{
    sqlite3_close(connection_);
}

void Sample::AddQuery(TextView name, TextView text)
{
    SchemaTable& table = tables_[UpperCase(name)];
    table.name = name;
    table.queryText = text;
}

std::optional<SchemaTable> Sample::Find(TextView name, const Place& place)
{
    if (!place.path.empty() && place.path != u"Z:\\ander.mdb") throw Error(ErrorNumber::NoSuchFile, {place.path});
    const auto found = tables_.find(UpperCase(name));
    return found == tables_.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::vector<Variant>> Sample::Fetch(const std::string& sqlite, const std::vector<ValueType>& types,
                                                const std::vector<std::pair<ValueType, Variant>>& bindings)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(connection_, sqlite.c_str(), -1, &statement, nullptr) != SQLITE_OK)
        ThrowFailure(connection_);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> owner(statement, sqlite3_finalize);
    for (std::size_t i = 0; i < bindings.size(); ++i)
        Bind(statement, static_cast<int>(i + 1), bindings[i].first, bindings[i].second);
    std::vector<std::vector<Variant>> result;
    for (;;) {
        const int code = sqlite3_step(statement);
        if (code == SQLITE_DONE) return result;
        if (code != SQLITE_ROW) ThrowFailure(connection_);
        std::vector<Variant>& row = result.emplace_back();
        for (std::size_t i = 0; i < types.size(); ++i)
            row.push_back(ReadColumn(statement, static_cast<int>(i), types[i]));
    }
}

Sample::Result Sample::Run(TextView sql, const std::map<Text, Variant>& parameters, const TranslateOptions& options)
{
    Result result;
    parameters_ = parameters;
    result.translation = TranslateSelect(ParseSelect(sql), *this, options);
    std::vector<ValueType> types;
    for (const OutputColumn& column : result.translation.columns) types.push_back(column.type);
    types.resize(types.size() + result.translation.rowTables.size(), ValueType::Long);
    result.rows = Fetch(result.translation.sql, types, Bindings(result.translation));
    return result;
}

std::vector<std::pair<ValueType, Variant>> Sample::Bindings(const Translation& translation) const
{
    std::vector<std::pair<ValueType, Variant>> bindings;
    for (const ParameterUse& use : translation.parameters) {
        const auto given = parameters_.find(use.name);
        if (given == parameters_.end()) throw Error(ErrorNumber::TooFewParameters, {Decimal(1)});
        bindings.emplace_back(use.type, given->second);
    }
    return bindings;
}

std::vector<Variant> Sample::FirstColumn(const Translation& query)
{
    std::vector<Variant> values;
    for (auto& row : Fetch(query.sql, {query.columns.front().type}, Bindings(query))) values.push_back(row.front());
    return values;
}

std::string Sample::Print(const std::vector<std::vector<Variant>>& rows)
{
    std::string text;
    for (const auto& row : rows) {
        if (!text.empty()) text += "; ";
        for (std::size_t i = 0; i < row.size(); ++i) text += (i > 0 ? "," : "") + std::visit(Printer{}, row[i].Value());
    }
    return text;
}

std::string Sample::Rows(TextView sql, const std::map<Text, Variant>& parameters)
{
    try {
        return Print(Run(sql, parameters).rows);
    } catch (const Error& error) {
        return error.what();
    }
}

std::string Sample::Value(TextView expression)
{
    return Rows(u"SELECT " + Text(expression));
}

int Sample::ErrorOf(TextView sql)
{
    try {
        Run(sql);
        return 0;
    } catch (const Error& error) {
        return error.Number();
    }
}

std::string Sample::Plan(TextView sql)
{
    const Translation translation = TranslateSelect(ParseSelect(sql), *this);
    std::string plan;
    for (const auto& row : Fetch("EXPLAIN QUERY PLAN " + translation.sql,
                                 {ValueType::Long, ValueType::Long, ValueType::Long, ValueType::Text})) {
        plan += ToUtf8(row[3].As<Text>()) + "\n";
    }
    return plan;
}

}  // namespace vmlib::sql
