#pragma once

#include <vector>

#include "sql/Syntax.h"
#include "sql/Translate.h"
#include "sql/Typed.h"

namespace vmlib::sql {

/// A column that names may mean.
struct ScopeColumn
{
    Text name;
    Typed value;  // as an expression mentions it
};

/// The row pointer of a base table, as an expression of the query that reads it.
struct RowPointerColumn
{
    std::size_t table = 0;  // position among the statement's base tables
    std::string sql;
};

/// A table, stored query or subquery of a FROM list.
struct ScopeSource
{
    Text name;  // alias or name
    std::vector<ScopeColumn> columns;
    std::vector<RowPointerColumn> rows;  // none: its rows cannot be told apart
};

/// The sources whose columns an expression may name: its own query's, then those of the queries around it.
class Scope
{
public:
    /// What a name means that several sources have.
    enum class Equal
    {
        Refused,
        FirstWins,
    };
    explicit Scope(const Scope* outer = nullptr, Equal equal = Equal::Refused) : outer_(outer), equal_(equal) {}

    struct Found
    {
        const ScopeColumn* column = nullptr;
        std::size_t source = 0;
        bool outer = false;  // of a query around this one
    };

    void Add(ScopeSource source) { sources_.push_back(std::move(source)); }
    const std::vector<ScopeSource>& Sources() const { return sources_; }
    const Scope* Outer() const { return outer_; }

    /// @param qualifier  alias or table, or "" for any source
    /// @throws Error 3079 when two sources have the column
    std::optional<Found> Find(TextView qualifier, TextView name) const;
    std::optional<std::size_t> SourceNamed(TextView name) const;

private:
    std::optional<Found> FindHere(TextView qualifier, TextView name) const;

    const Scope* outer_;
    Equal equal_;
    std::vector<ScopeSource> sources_;
};

/// What all queries of one statement share while it is translated.
struct TranslationState
{
    explicit TranslationState(Schema* tables) : schema(tables) {}

    Schema* schema;  // null: an expression over one row
    std::vector<ParameterUse> parameters;
    std::vector<Translation::Table> tables;
    std::vector<std::string> commonTables;  // name AS (...), before the statement, so that nesting does not grow
    struct OpenQuery
    {
        Text name;
        Place place;
    };
    std::vector<OpenQuery> openQueries;  // stored queries being translated, to find circles
    Place place;  // where a FROM without IN looks: the place of the stored query being translated, else the running
                  // database
    bool declaredOnly = false;  // names that are neither columns nor declared parameters are an error
    std::size_t aliases = 0;
    TextView text;  // of the statement or stored query being translated, for messages

    /// @throws Error 3360 when stored queries, each naming others more than once, have grown beyond reason
    std::string NewAlias(char letter);

    /// A query to read from: a common table, or in place where it names columns of a query around it.
    std::string Derived(std::string sql, bool inPlace);

    /// The statement with its common tables in front.
    std::string Complete(std::string sql) const;

    /// @throws Error 3360 for the thousand and first
    void AddParameter(ParameterUse parameter);
    void DeclareParameters(const std::vector<ParameterDeclaration>& declarations);

    /// A name that is no column. @throws Error 3070 in an expression over one row
    Typed Parameter(TextView qualifier, TextView name);
};

/// The name of a parameter without brackets.
Text ParameterName(TextView written);

}  // namespace vmlib::sql
