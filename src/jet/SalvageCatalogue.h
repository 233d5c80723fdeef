#pragma once

#include <deque>
#include <functional>
#include <map>
#include <set>

#include "jet/Definition.h"
#include "jet/Salvage.h"
#include "jet/SalvageSurvey.h"

namespace vmlib::jet {

/// A system table as it could be read: rows that are made consistent here and written by SystemRows.
struct SalvagedSystemTable
{
    TableDefinition definition;  // of the damaged file; the one that every file has where that is gone
    std::vector<Row> rows;
    SalvagedTable* counts = nullptr;
};

/// A table that can be built anew.
struct SalvagedSource
{
    TableDefinition definition;  // with the table's name
    SalvagedTable* counts = nullptr;
};

/// Everything that a damaged file knows of its objects, made consistent: each object has its id, a name of its own, a
/// container and rights; tables have their definition; queries have their rows. Objects that cannot have that are
/// counted and left out. Relations are SalvageRelations' business.
class SalvageCatalogue
{
public:
    SalvageCatalogue(Pager& pager, const SalvageSurvey& survey, const SortLocale& locale, Date now);

    /// The counts of every table, those that are lost and the system tables among them.
    std::deque<SalvagedTable>& Counts() { return counts_; }
    std::vector<SalvagedSource>& Tables() { return tables_; }
    SalvagedSource* TableNamed(TextView name);
    SalvagedSource* TableAt(PageNumber page);

    SalvagedSystemTable& Objects() { return objects_; }
    SalvagedSystemTable& Rights() { return rights_; }
    SalvagedSystemTable& Queries() { return queries_; }
    SalvagedSystemTable& Relations() { return relations_; }

    /// An object with the next free id. @return the id
    std::int32_t AddObject(std::int32_t parent, TextView name, std::int16_t type);
    /// Takes an object away that makes no sense.
    void RemoveObject(std::int32_t id);
    /// Gives rights to objects that have none, and takes away those to objects that are not there: the last step.
    void TidyRights();

private:
    SalvagedTable& NewCounts(TextView name);
    SalvagedSystemTable ReadSystemTable(std::size_t which, PageNumber page);
    bool CatalogueIsDamaged() const;

    void TidyObjects();
    bool TidyObject(Row& row);
    void AddFixedObjects();
    void FindContainers();
    void FindLostObjects();
    Row NewObject(std::int32_t id, std::int32_t parent, const std::optional<Text>& name, std::int16_t type) const;
    void NameObjects();
    Text FreeName(std::int32_t parent);
    std::string KeyOf(std::int32_t parent, TextView name) const;
    void ReadTables();
    void CountLostTable(PageNumber page, SalvagedTable& counts);
    void TidyQueries();
    bool IsSystemTable(const Row& object) const;

    Pager& pager_;
    const SalvageSurvey& survey_;
    SortLocale locale_;
    Date now_;
    std::deque<SalvagedTable> counts_;
    SalvagedSystemTable objects_, rights_, queries_, relations_;
    std::set<std::string> names_;  // keys of parents and names
    std::vector<SalvagedSource> tables_;
};

}  // namespace vmlib::jet
