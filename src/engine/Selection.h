#pragma once

#include "engine/QueryEngine.h"

namespace vmlib::engine {

/// Rows of a query, one after the other. What is read stays valid until the next Next. One reader's lock is held while
/// it lives.
class RowStream
{
public:
    virtual ~RowStream() = default;
    virtual bool Next() = 0;
    virtual const jet::Value& Value(std::size_t column) = 0;
    /// The row of a base table (a position in Selection::Tables) that this row was made of; no value where an outer
    /// join filled up.
    virtual std::optional<jet::RowPointer> Pointer(std::size_t table) = 0;
};

/// A SELECT made ready to run: names resolved, columns known. A plain projection of one table is scanned directly,
/// anything else runs in SQLite. Holds its tables open; used within one QueryEngine::Scope unless only Tables() is used
/// afterwards.
class Selection
{
public:
    /// @param pointers  wants the row pointers of the base tables where the result is updatable
    /// @throws Error 3061 for parameters without value, and what parsing and translating raise
    static Selection Of(QueryEngine& engine, const sql::SelectStatement& statement, const Parameters& parameters,
                        bool pointers);
    static Selection Of(QueryEngine& engine, sql::Translation translation, const Parameters& parameters);

    QueryEngine& TheEngine() const { return *engine_; }
    /// A projection of one table, which is scanned without SQLite.
    bool IsPlain() const { return isPlain_; }
    /// Names of the stored tables of the running database that are read, directly or not.
    std::vector<Text> TablesRead() const;

    const std::vector<sql::OutputColumn>& Columns() const { return columns_; }
    /// Base tables whose row pointers come; empty for a result that is not updatable.
    const std::vector<TableRef>& Tables() const { return tables_; }

    /// Where a plain column comes from: a table of Tables() and the position among its columns.
    struct Origin
    {
        std::size_t table = 0;
        std::size_t column = 0;
    };
    const std::vector<std::optional<Origin>>& Origins() const { return origins_; }
    /// The stored column that an output column shows, also where rows cannot be changed; null for a computed one.
    const jet::ColumnDefinition* DesignOf(std::size_t column) const;

    /// @param wanted  columns whose values will be read; empty: all
    std::unique_ptr<RowStream> Run(const std::vector<bool>& wanted = {}) const;

    /// True when a file of format 4 is read, whose texts may have characters beyond code page 1252.
    bool ReadsWideText() const;
    /// True when the statement reads this table, directly or not.
    bool Reads(jet::Database& database, TextView table) const;

private:
    Selection(QueryEngine& engine) : engine_(&engine) {}
    void FindOrigins();

    QueryEngine* engine_;
    std::vector<sql::OutputColumn> columns_;
    std::vector<TableRef> tables_;
    std::vector<std::optional<Origin>> origins_;
    bool isPlain_ = false;
    std::optional<sql::Translation> translation_;
    std::vector<TableRef> read_;  // every table that is read
    std::vector<Variant> parameters_;
};

/// `SELECT * FROM name`, as a table's or query's name in OpenRecordset means.
sql::SelectStatement SelectAll(TextView name);

}  // namespace vmlib::engine
