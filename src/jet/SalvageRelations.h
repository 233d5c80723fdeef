#pragma once

#include "jet/SalvageCatalogue.h"
#include "jet/SystemRows.h"

namespace vmlib::jet {

/// Makes the relations of a damaged file consistent: rows of MSysRelationships, objects, and the logical indexes of
/// both tables. A relation whose rows are gone is made again from its indexes; one whose indexes are gone, or whose
/// rows break it, stays as one that is not enforced; one whose tables or fields are gone goes.
class SalvageRelations
{
public:
    explicit SalvageRelations(SalvageCatalogue& catalogue) : catalogue_(catalogue) {}

    /// Before the tables are built.
    void Tidy();
    /// Looks at the rows of the new tables: where they break a relation it is no longer enforced.
    /// @param built  definitions of the new tables, in the order of SalvageCatalogue::Tables
    void Verify(Pager& pager, PageAllocator& allocator, std::vector<TableDefinition>& built);

private:
    using Rows = std::vector<Row*>;  // of one relation, by icolumn
    struct Side
    {
        PageNumber table = noPage;
        std::uint32_t number = 0;  // of a logical index
        auto operator<=>(const Side&) const = default;
    };
    struct Pair
    {
        Text name;
        Side foreign, parent;
    };

    std::map<Text, Rows> Grouped();
    bool TidyGroup(const Rows& rows);
    bool NamesFields(const Rows& rows);
    std::optional<Pair> PairOf(const Rows& rows);
    std::optional<Pair> PairOf(const SalvagedSource& foreign, const IndexDefinition& index);
    bool PairsFields(const Rows& rows, const Pair& pair);
    void DropRows(const Text& name);
    void Unenforce(const Text& name, const std::string& reason);
    void MakeAgain();
    void AddRows(const Pair& pair);
    void RemoveOtherIndexes();
    void TidyObjects();
    const IndexDefinition& IndexOf(const Side& side);
    const TableDefinition& TableOf(const Side& side) { return catalogue_.TableAt(side.table)->definition; }

    SalvageCatalogue& catalogue_;
    std::vector<Pair> pairs_;  // of enforced relations
};

}  // namespace vmlib::jet
