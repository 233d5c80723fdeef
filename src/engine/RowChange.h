#pragma once

#include <map>
#include <memory>
#include <set>

#include "engine/KeyFinder.h"
#include "engine/RowRules.h"

/// The one path by which rows change, whether a recordset, an INSERT, UPDATE, DELETE or SELECT INTO asks for it.
namespace vmlib::engine {

class ChangeSet;

/// Changes rows of one table under all its rules. Obtained from a ChangeSet; needs a running unit of work.
class TableChanger
{
public:
    TableChanger(ChangeSet& changes, TableRef table);
    ~TableChanger();
    TableChanger(const TableChanger&) = delete;
    TableChanger& operator=(const TableChanger&) = delete;

    const jet::TableDefinition& Definition() { return table_.table->Definition(); }
    const TableRef& Table() const { return table_; }
    RowRules& Rules() { return rules_; }

    /// A new row: an AutoNumber that is Null is taken, one that is given moves the counter. Values have their columns'
    /// types.
    /// @throws Error 3314, 3315, 3317, 3058, 3022, 3201; nothing has changed then
    jet::RowPointer Insert(jet::Row& row);

    /// Rewrites a row. A changed key that others refer to cascades or is refused.
    /// @throws Error as Insert; 3200, 3396 to 3399; 3188 when another session edits a row of the page; the caller rolls the row back when it cascades
    void Update(jet::RowPointer at, const jet::Row& before, const jet::Row& after);

    /// @throws Error 3200, 3396, 3167, 3188
    void Delete(jet::RowPointer at);

    /// True when a change of a row may reach other tables, so that the caller wants to be able to take back a single
    /// row.
    bool MayCascade();

private:
    friend class ChangeSet;
    struct Relation;
    struct Relations;

    Relations& TheRelations();
    Relation Bound(const jet::RelationDefinition& definition, bool ownIsForeign);
    void CheckParents(const jet::Row& row, const jet::Row* before);
    void RefuseChangedKey(const jet::Row& before, const jet::Row& after);
    void CascadeKey(const jet::Row& before, const jet::Row& after);
    void CascadeKeyTo(const Relation& relation, const jet::Row& before, const jet::Row& after);
    void DeleteChildren(const Relation& relation, const jet::Row& row, jet::RowPointer at);

    ChangeSet& changes_;
    TableRef table_;
    RowRules rules_;
    std::optional<std::size_t> autoNumber_;
    std::unique_ptr<Relations> relations_;
    std::set<jet::RowPointer> beingDeleted_;
};

/// The changes of one statement or one Update to one database: its tables' changers and its relations, read once.
class ChangeSet
{
public:
    /// @param engine  evaluates default values and rules; of the running database, also when another one is changed
    ChangeSet(QueryEngine& engine, std::shared_ptr<jet::Database> database)
        : engine_(engine), database_(std::move(database))
    {
    }

    QueryEngine& Engine() { return engine_; }
    jet::Database& Storage() { return *database_; }

    /// @throws Error 3078; 3033 for a system table; 3027 for a file that is read only
    TableChanger& Of(TextView table);

    const std::vector<jet::RelationDefinition>& Relations();

private:
    QueryEngine& engine_;
    std::shared_ptr<jet::Database> database_;
    std::map<Text, std::unique_ptr<TableChanger>> changers_;  // by name in upper case
    std::optional<std::vector<jet::RelationDefinition>> relations_;
};

}  // namespace vmlib::engine
