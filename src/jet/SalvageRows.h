#pragma once

#include <unordered_set>

#include "jet/Salvage.h"
#include "jet/SalvageLongValues.h"
#include "jet/SalvageSurvey.h"
#include "jet/TableBuilder.h"

namespace vmlib::jet {

/// The rows of a table in a damaged file, as far as they can be had. Counts what cannot.
class SalvageRows : public RowSource
{
public:
    /// @param counts  of the table; losses are added to it
    SalvageRows(Pager& pager, const SalvageSurvey& survey, const TableDefinition& table, SalvagedTable& counts);

    /// Losses of whole rows are counted here; so it is to be called once.
    void ForEach(const ColumnMask& columns, const Visit& visit) override;
    bool Fetch(RowPointer at, Row& row) override;

private:
    void FindPages();
    void CountMissing();
    /// Calls `use` for every slot; what cannot be read is counted.
    template <class Use>
    void WalkSlots(const std::vector<PageNumber>& pages, Use use);
    std::size_t CountSlots(const std::vector<PageNumber>& pages);
    void FollowMovedRows();
    void VisitSlot(RowPointer at, const Slot& slot, const ColumnMask& columns, const Visit& visit);
    std::optional<RowPointer> Target(const Slot& slot) const;
    void Lose(RowPointer at, const std::string& reason);

    void Decode(std::span<const std::uint8_t> bytes, PageNumber page, const ColumnMask& columns, Row& row);
    void DecodeField(const RowFields& fields, std::size_t column, PageNumber page, Value& into, bool counted);
    void ReadLongValue(std::span<const std::uint8_t> field, std::size_t column, PageNumber page, Value& into);
    void CutToSize(std::size_t column, PageNumber page, Value& value, bool counted);

    Pager& pager_;
    const SalvageSurvey& survey_;
    const TableDefinition& table_;
    SalvagedTable& counts_;
    RowCodec codec_;
    std::vector<PageNumber> pages_;
    std::unordered_set<std::uint32_t> reached_;  // moved rows to which a place leads
    std::unordered_set<std::uint32_t> taken_;    // those that were visited
    std::size_t living_ = 0;                     // slots that say that they have a row
    bool mapIsDamaged_ = false;
    SalvageLongValues longValues_;
    Row row_;
};

}  // namespace vmlib::jet
