#pragma once

#include <functional>
#include <map>
#include <memory>

#include "jet/CheckTable.h"

namespace vmlib::jet {

/// Checks what the system tables say of each other and of the tables: objects, rights, properties, stored queries,
/// relations.
class CatalogueCheck
{
public:
    struct Object
    {
        std::int32_t id = 0;
        std::int32_t parent = 0;
        std::int32_t type = 0;
        Text name;
        Bytes properties;
    };

    CatalogueCheck(Pager& pager, CheckFindings& findings, PageLedger& ledger);

    /// Everything that the catalogue leads to.
    void Run();

private:
    using Tables = std::map<PageNumber, std::unique_ptr<TableCheck>>;

    bool ReadObjects();
    void ReadTables();
    TableCheck* TableNamed(TextView name);
    void CheckSystemTables();
    void CheckObjects();
    void CheckRights();
    void CheckQueries();
    void CheckRelations();

    void CollectNeededKeys();
    void CollectNeededKeys(TableCheck& foreign, const IndexDefinition& index);
    void CheckParents();
    void CheckRelation(const std::string& name, const TableCheck& source, const std::vector<const Row*>& rows);
    void CheckRelationIndexes(const std::string& name, const TableCheck& source, const std::vector<const Row*>& rows,
                              const TableCheck& foreign, const TableCheck& parent);
    struct IndexOfTable
    {
        const TableDefinition& table;
        const IndexDefinition& index;
    };
    void CheckRelationColumns(const std::string& name, const TableCheck& source, const std::vector<const Row*>& rows,
                              const IndexOfTable& own, const IndexOfTable& other);

    Pager& pager_;
    CheckFindings& findings_;
    PageLedger& ledger_;
    Tables tables_;  // by definition page
    std::map<std::int32_t, Object> objects_;
    std::set<std::pair<PageNumber, std::uint32_t>>
        relationIndexes_;  // table and logical index that a relation accounts for
};

}  // namespace vmlib::jet
