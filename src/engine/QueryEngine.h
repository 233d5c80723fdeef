#pragma once

#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/Handles.h"
#include "engine/JetModule.h"
#include "sql/Schema.h"
#include "sql/Syntax.h"
#include "sql/Translate.h"

namespace vmlib::engine {

/// Values of a query's parameters by name.
using Parameters = std::map<Text, Variant>;

/// A prepared statement of the private connection.
class SqliteStatement
{
public:
    SqliteStatement(sqlite3* connection, const std::string& sql);
    SqliteStatement(SqliteStatement&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    SqliteStatement& operator=(SqliteStatement&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~SqliteStatement();

    sqlite3_stmt* Handle() const { return handle_; }
    /// To the next row; false at the end. @throws what a function or a virtual table raised
    bool Step();
    void Reset();

private:
    sqlite3_stmt* handle_ = nullptr;
};

/// An expression over the values of one row: Find criteria, rules, default values.
class RowExpression
{
public:
    RowExpression(sqlite3* connection, sql::RowTranslation translation, std::vector<sql::ValueType> types);
    /// The columns whose values Evaluate wants, as positions in the row.
    const std::vector<std::size_t>& Columns() const { return translation_.columns; }
    /// @param values  one a column of Columns()
    jet::Value Evaluate(std::span<const jet::Value> values);
    /// Of a condition: no value for Null.
    std::optional<bool> Truth(std::span<const jet::Value> values);
    /// True only for True; Null is not.
    bool Holds(std::span<const jet::Value> values) { return Truth(values).value_or(false); }

private:
    sql::RowTranslation translation_;
    std::vector<sql::ValueType> types_;
    SqliteStatement statement_;
};

/// One database's query processor: a private SQLite connection, made when first needed, in which each stored table that
/// a statement names is a virtual table. Answers the dialect's questions about names, and opens the files behind IN.
class QueryEngine : public sql::Schema, private TableNumbers
{
public:
    explicit QueryEngine(DatabaseHandle& database) : database_(database) {}
    ~QueryEngine() override;

    /// While one lives, the tables of a statement stay open. The last one frees the files that stand behind IN.
    class Scope
    {
    public:
        explicit Scope(QueryEngine& engine) : engine_(engine) { ++engine_.scopes_; }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope()
        {
            if (--engine_.scopes_ == 0) engine_.ReleaseTables();
        }

    private:
        QueryEngine& engine_;
    };

    std::optional<sql::SchemaTable> Find(TextView name, const sql::Place& place) override;
    std::vector<Variant> FirstColumn(const sql::Translation& query) override;

    /// While one lives, queries that must run before others can be translated have these values.
    class Values
    {
    public:
        /// @param missing  values that are not given are Null, so that a query can be described before it has them
        Values(QueryEngine& engine, const Parameters& parameters, bool missing = false)
            : engine_(engine),
              outer_(std::exchange(engine.parameters_, &parameters)),
              outerMissing_(std::exchange(engine.missingAreNull_, missing))
        {
        }
        Values(const Values&) = delete;
        Values& operator=(const Values&) = delete;
        ~Values()
        {
            engine_.parameters_ = outer_;
            engine_.missingAreNull_ = outerMissing_;
        }

    private:
        QueryEngine& engine_;
        const Parameters* outer_;
        bool outerMissing_;
    };

    DatabaseHandle& TheDatabase() { return database_; }
    /// The database that a place means. The password of a file behind IN is the one given there, else that of the open
    /// database on that path, else that of this database. @throws Error 3031, 3024, 3044 ...
    std::shared_ptr<jet::Database> DatabaseAt(const sql::Place& place);
    /// @throws Error 3078
    TableRef Open(TextView table, const sql::Place& place);
    std::optional<jet::Database::StoredQuery> FindQuery(TextView name, const sql::Place& place = {});

    SqliteStatement Prepare(const std::string& sql);

    /// @param row  columns that the expression may name
    RowExpression Compile(const sql::ExpressionRef& expression, const std::vector<sql::OutputColumn>& row,
                          bool condition);
    /// The value of an expression without names, as DefaultValue has it.
    jet::Value Evaluate(TextView expression);

private:
    struct Entry
    {
        Text path;  // "" is this database
        Text name;
        std::vector<std::pair<Text, bool>> columns;  // as declared: name, textual
        std::shared_ptr<jet::Database> database;     // only while a scope lives
        std::shared_ptr<jet::Table> table;
        bool isDeclared = false;
    };

    std::shared_ptr<jet::Database> OpenForeign(const Text& path, const std::optional<Text>& password);
    TableRef TableOf(int number) override;
    std::uint16_t Langid() override;
    sqlite3* Connection();
    void Run(const std::string& sql);
    int EntryOf(const Text& path, const std::shared_ptr<jet::Database>& database,
                const std::shared_ptr<jet::Table>& table);
    void Undeclare(std::size_t number);
    void ReleaseTables();

    DatabaseHandle& database_;
    sqlite3* connection_ = nullptr;
    std::vector<Entry> entries_;
    std::unordered_map<Text, std::shared_ptr<jet::Database>, NameHash, NameEqual> foreign_;  // by full path
    int scopes_ = 0;
    const Parameters* parameters_ = nullptr;
    bool missingAreNull_ = false;
};

/// True when both are open on the same file.
bool SameFile(jet::Database& left, jet::Database& right);

}  // namespace vmlib::engine
