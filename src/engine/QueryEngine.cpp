#include "engine/QueryEngine.h"

#include <algorithm>

#include "engine/ConnectText.h"
#include "engine/Queries.h"
#include "engine/Selection.h"
#include "engine/Utf8Ansi.h"
#include "engine/Values.h"
#include "jet/Names.h"
#include "jet/Opening.h"
#include "sql/Parser.h"
#include "sql/SqliteErrors.h"
#include "sql/SqliteValues.h"

namespace vmlib::engine {
namespace {

std::string VirtualName(std::size_t number)
{
    return "t" + std::to_string(number);
}

std::vector<std::pair<Text, bool>> DeclaredColumns(const jet::TableDefinition& table)
{
    std::vector<std::pair<Text, bool>> columns;
    for (const auto& column : table.columns) columns.emplace_back(column.name, jet::IsTextual(column.type));
    return columns;
}

sql::TextOrder OrderOf(std::uint16_t langid)
{
    return [langid, leftRoom = std::string(), rightRoom = std::string()](std::string_view left,
                                                                         std::string_view right) mutable {
        return jet::IndexKey::CompareText(Utf8ToAnsiBestFit(left, leftRoom), Utf8ToAnsiBestFit(right, rightRoom),
                                          langid);
    };
}

}  // namespace

SqliteStatement::SqliteStatement(sqlite3* connection, const std::string& sql)
{
    sql::ForgetException();
    if (sqlite3_prepare_v2(connection, sql.c_str(), static_cast<int>(sql.size()), &handle_, nullptr) != SQLITE_OK)
        sql::ThrowFailure(connection);
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(handle_);
}

bool SqliteStatement::Step()
{
    const int status = sqlite3_step(handle_);
    if (status != SQLITE_ROW && status != SQLITE_DONE) sql::ThrowFailure(sqlite3_db_handle(handle_));
    return status == SQLITE_ROW;
}

void SqliteStatement::Reset()
{
    sqlite3_reset(handle_);
}

RowExpression::RowExpression(sqlite3* connection, sql::RowTranslation translation, std::vector<sql::ValueType> types)
    : translation_(std::move(translation)), types_(std::move(types)), statement_(connection, translation_.sql)
{
}

jet::Value RowExpression::Evaluate(std::span<const jet::Value> values)
{
    statement_.Reset();
    for (std::size_t i = 0; i < values.size(); ++i)
        sql::Bind(statement_.Handle(), static_cast<int>(i) + 1, types_[i], ToVariant(values[i]));
    const bool hasRow = statement_.Step();
    jet::Value result = hasRow ? ReadResult(statement_.Handle(), 0, translation_.type) : jet::Value(Null{});
    statement_.Reset();
    return result;
}

std::optional<bool> RowExpression::Truth(std::span<const jet::Value> values)
{
    const jet::Value result = Evaluate(values);
    if (jet::IsNull(result)) return std::nullopt;
    if (const auto* truth = std::get_if<bool>(&result)) return *truth;
    const auto* number = std::get_if<std::int32_t>(&result);
    return number && *number != 0;
}

QueryEngine::~QueryEngine()
{
    sqlite3_close_v2(connection_);
}

sqlite3* QueryEngine::Connection()
{
    if (connection_) return connection_;
    sqlite3* connection = nullptr;
    if (sqlite3_open_v2(":memory:", &connection, SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY | SQLITE_OPEN_NOMUTEX,
                        nullptr) != SQLITE_OK) {
        sqlite3_close_v2(connection);
        throw Error(ErrorNumber::OutOfMemory);
    }
    connection_ = connection;
    sql::RegisterFunctions(connection_, OrderOf(Langid()), database_.TheSession()->Now());
    RegisterJetModule(connection_, *this);
    return connection_;
}

std::uint16_t QueryEngine::Langid()
{
    return database_.Storage().GetFacts().locale.langid;
}

std::shared_ptr<jet::Database> QueryEngine::DatabaseAt(const sql::Place& place)
{
    const ConnectText connect = ConnectText::Parse(place.connect);
    const Text path = place.path.empty() ? connect.database.value_or(Text()) : place.path;
    if (Trim(path).empty()) return database_.SharedStorage();
    Files& files = database_.TheSession()->FilesPort();
    const Text fullPath = files.FullPath(jet::WithExtension(path));
    if (const auto known = foreign_.find(fullPath); known != foreign_.end()) return known->second;
    auto storage = OpenForeign(fullPath, connect.password);
    if (SameFile(*storage, database_.Storage())) storage = database_.SharedStorage();
    if (scopes_ > 0) foreign_.emplace(fullPath, storage);
    return storage;
}

std::shared_ptr<jet::Database> QueryEngine::OpenForeign(const Text& path, const std::optional<Text>& password)
{
    const auto opened = [&](const Text& used) {
        return database_.TheWorkspace()->Storage().Open(path, {.readOnly = database_.IsReadOnly(), .password = used});
    };
    // A password that the statement gives is the one that counts, also where the file is open with the right one.
    if (password) return opened(*password);
    Text used = database_.Password();
    for (const auto& open : database_.TheWorkspace()->Databases()) {
        if (!EqualIgnoringCase(open->Name(), path)) continue;
        if (open->IsReadOnly() == database_.IsReadOnly()) return open->SharedStorage();
        used = open->Password();
    }
    return opened(used);
}

TableRef QueryEngine::Open(TextView table, const sql::Place& place)
{
    auto storage = DatabaseAt(place);
    return {storage, storage->OpenTable(table)};
}

std::optional<jet::Database::StoredQuery> QueryEngine::FindQuery(TextView name, const sql::Place& place)
{
    const auto storage = DatabaseAt(place);
    if (!storage->FindObject(name, queryObject)) return std::nullopt;
    for (auto& query : storage->Queries())
        if (jet::SameName(query.name, name)) return std::move(query);
    return std::nullopt;
}

std::optional<sql::SchemaTable> QueryEngine::Find(TextView name, const sql::Place& place)
{
    const auto storage = DatabaseAt(place);
    const jet::ReadScope reading(storage->GetPager());  // one for all that is looked up
    if (!storage->FindObject(name, tableObject)) {
        const auto query = FindQuery(name, place);
        if (!query) return std::nullopt;
        sql::SchemaTable found;
        found.name = query->name;
        found.queryText = QueryText(*query);
        return found;
    }
    const auto table = storage->OpenTable(name);
    const jet::TableDefinition& definition = table->Definition();
    sql::SchemaTable found;
    found.name = definition.name;
    const Text path = SameFile(*storage, database_.Storage()) ? Text() : storage->Path();
    found.sqliteName = VirtualName(static_cast<std::size_t>(EntryOf(path, storage, table)));
    for (const auto& column : definition.columns)
        found.columns.push_back(
            {column.name, ToValueType(column.type), column.size, column.autoNumber, definition.name, column.name});
    return found;
}

std::vector<Variant> QueryEngine::FirstColumn(const sql::Translation& query)
{
    Parameters parameters = parameters_ ? *parameters_ : Parameters();
    if (missingAreNull_) {
        for (const auto& use : query.parameters) {
            const bool given = std::ranges::any_of(parameters, [&](const auto& entry) {
                return EqualIgnoringCase(entry.first, use.name) && !entry.second.IsEmpty();
            });
            if (!given) parameters[use.name] = Null{};
        }
    }
    std::vector<Variant> values;
    const Selection selection = Selection::Of(*this, query, parameters);
    for (const auto stream = selection.Run(); stream->Next();) values.push_back(ToVariant(stream->Value(0)));
    return values;
}

int QueryEngine::EntryOf(const Text& path, const std::shared_ptr<jet::Database>& database,
                         const std::shared_ptr<jet::Table>& table)
{
    const jet::TableDefinition& definition = table->Definition();
    auto columns = DeclaredColumns(definition);
    auto entry = std::ranges::find_if(entries_, [&](const Entry& candidate) {
        return candidate.path == path && EqualIgnoringCase(candidate.name, definition.name);
    });
    if (entry == entries_.end())
        entry = entries_.insert(entries_.end(), Entry{path, definition.name, columns, nullptr, nullptr, false});
    const auto number = static_cast<std::size_t>(entry - entries_.begin());
    if (entry->columns != columns) {
        Undeclare(number);
        entry->columns = std::move(columns);
    }
    entry->database = database;
    entry->table = table;
    return static_cast<int>(number);
}

TableRef QueryEngine::TableOf(int number)
{
    Entry& entry = entries_.at(static_cast<std::size_t>(number));
    if (!entry.table) {
        // A statement outside any scope, or SQLite reading its own schema again.
        entry.database = DatabaseAt({entry.path, {}});
        entry.table = entry.database->OpenTable(entry.name);
    }
    return {entry.database, entry.table};
}

void QueryEngine::Undeclare(std::size_t number)
{
    if (!entries_[number].isDeclared) return;
    entries_[number].isDeclared = false;
    Run("DROP TABLE " + VirtualName(number));
}

void QueryEngine::Run(const std::string& sql)
{
    SqliteStatement statement(Connection(), sql);
    while (statement.Step()) continue;
}

SqliteStatement QueryEngine::Prepare(const std::string& sql)
{
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].isDeclared || !entries_[i].table) continue;
        Run("CREATE VIRTUAL TABLE " + VirtualName(i) + " USING jet(" + std::to_string(i) + ")");
        entries_[i].isDeclared = true;
    }
    return SqliteStatement(Connection(), sql);
}

void QueryEngine::ReleaseTables()
{
    for (Entry& entry : entries_) {
        entry.table.reset();
        entry.database.reset();
    }
    foreign_.clear();
}

RowExpression QueryEngine::Compile(const sql::ExpressionRef& expression, const std::vector<sql::OutputColumn>& row,
                                   bool condition)
{
    sql::RowTranslation translation = sql::TranslateRowExpression(*expression, row, condition);
    std::vector<sql::ValueType> types;
    for (const std::size_t column : translation.columns) types.push_back(row[column].type);
    return RowExpression(Connection(), std::move(translation), std::move(types));
}

jet::Value QueryEngine::Evaluate(TextView text)
{
    const sql::ExpressionRef expression = sql::ParseExpression(text);
    if (expression->kind == sql::Expression::Kind::Literal) return ToValue(expression->value);
    return Compile(expression, {}, false).Evaluate({});
}

bool SameFile(jet::Database& left, jet::Database& right)
{
    return &left.GetPager() == &right.GetPager();
}

}  // namespace vmlib::engine
