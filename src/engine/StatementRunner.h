#pragma once

#include "engine/RowChange.h"
#include "engine/Selection.h"
#include "engine/Values.h"

namespace vmlib::engine {

/// Runs statements that change something. Each is one unit of work: durable once, when it returns.
///
/// Trouble of a single row (a value that does not convert, a broken rule, key or relation) drops the row or stores Null
/// in the field; with `stopAtError` it ends the statement with its error, and the rows stored before stay. Any other
/// error (names, rights, disk, damage) takes the whole statement back.
class StatementRunner
{
public:
    StatementRunner(DatabaseHandle& database, Parameters parameters, bool stopAtError)
        : database_(database),
          engine_(database.Queries()),
          parameters_(std::move(parameters)),
          stopAtError_(stopAtError)
    {
    }

    /// @return the number of rows stored, changed or deleted
    /// @throws Error 3065 for a SELECT
    std::int32_t Run(const sql::Statement& statement);
    /// Rows that the last statement dropped.
    std::int32_t LeftOut() const { return leftOut_; }

private:
    struct PendingRow
    {
        jet::Row values;
        std::vector<std::optional<jet::RowPointer>> pointers;
    };

    std::int32_t Insert(const sql::InsertStatement& statement);
    std::int32_t MakeTable(const sql::SelectStatement& statement);
    std::int32_t Update(const sql::UpdateStatement& statement);
    std::int32_t Delete(const sql::DeleteStatement& statement);

    /// Streams the rows of the selection into the table.
    /// @param targets  column positions of the table, one a column of the selection
    std::int32_t InsertRows(const Selection& selection, TableChanger& table, const std::vector<std::size_t>& targets,
                            bool all);
    std::vector<PendingRow> Collect(const Selection& selection) const;
    void RequireWritable(jet::Database& storage) const;
    Fit HowToFit() const { return stopAtError_ ? Fit::Strict : Fit::Lenient; }

    /// Runs the change of one row. True when it was made, false when the row is dropped; an error that ends the
    /// statement goes to stopped_.
    template <class Change>
    bool TryRow(jet::Database& storage, bool takeBack, const Change& change);
    std::int32_t Finish(jet::UnitOfWork& unit, std::int32_t rows);

    DatabaseHandle& database_;
    QueryEngine& engine_;
    Parameters parameters_;
    bool stopAtError_;
    std::optional<Error> stopped_;
    std::int32_t leftOut_ = 0;
};

/// CREATE TABLE, CREATE INDEX, ALTER TABLE, DROP. @throws Error 3370 for a file that is read only, and what changing
/// the design raises
void RunDataDefinition(DatabaseHandle& database, const sql::Statement& statement);

/// @throws Error 3211 while a recordset of the workspace reads this table
void RequireUnused(DatabaseHandle& database, TextView table);

}  // namespace vmlib::engine
