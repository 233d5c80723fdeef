#include "jet/SalvageRows.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/PageMap.h"

namespace vmlib::jet {

namespace {

std::string OfPage(PageNumber page, const std::string& finding)
{
    return "page " + std::to_string(page) + ": " + finding;
}

bool Wants(const ColumnMask& columns, std::size_t column)
{
    return columns.empty() || columns[column];
}

}  // namespace

SalvageRows::SalvageRows(Pager& pager, const SalvageSurvey& survey, const TableDefinition& table, SalvagedTable& counts)
    : pager_(pager),
      survey_(survey),
      table_(table),
      counts_(counts),
      codec_(table),
      longValues_(pager),
      row_(table.columns.size())
{
    FindPages();
    FollowMovedRows();
}

template <class Use>
void SalvageRows::WalkSlots(const std::vector<PageNumber>& pages, Use use)
{
    for (const PageNumber number : pages) {
        try {
            const DataPage page(pager_.Read(number), table_.page);
            for (std::size_t i = 0; i < page.SlotCount(); ++i) {
                const RowPointer at{number, static_cast<std::uint8_t>(i)};
                try {
                    use(at, page.At(i));
                } catch (const Damaged& damage) {
                    Lose(at, damage.Finding());
                }
            }
        } catch (const Damaged& damage) {
            ++counts_.lostPages;
            counts_.Note(OfPage(number, damage.Finding()));
        }
    }
}

/// The map of the table says which pages are its own: pages of dropped tables, and pages that were lost long ago, go on
/// naming an owner. Where the map cannot be read, or its pages have fewer rows than the definition counts, what the
/// pages say of themselves counts as well.
void SalvageRows::FindPages()
{
    const std::vector<PageNumber>& named = survey_.PagesOf(table_.page);
    try {
        if (table_.ownedMap == 0) throw Damaged(table_.page, "there is no page map");
        pages_ = PageMap(pager_, table_.ownedMap).All();
        const auto others =
            std::erase_if(pages_, [&](PageNumber page) { return survey_.IsAnothers(page, table_.page); });
        mapIsDamaged_ = others > 0;
    } catch (const Damaged&) {
        mapIsDamaged_ = true;
        pages_ = named;
    }
    living_ = CountSlots(pages_);
    if (living_ >= table_.rowCount) return;
    std::vector<PageNumber> all;
    std::ranges::set_union(pages_, named, std::back_inserter(all));
    if (all.size() == pages_.size()) return;
    pages_ = std::move(all);
    living_ = CountSlots(pages_);
}

std::size_t SalvageRows::CountSlots(const std::vector<PageNumber>& pages)
{
    const SalvagedTable before = counts_;
    std::size_t count = 0;
    WalkSlots(pages, [&](RowPointer, const Slot& slot) {
        count += slot.state == SlotState::Row || slot.state == SlotState::MovedAway ? 1 : 0;
    });
    counts_ = before;  // ForEach counts
    return count;
}

/// Where a place says that its row moved to, when a moved row is there.
std::optional<RowPointer> SalvageRows::Target(const Slot& slot) const
{
    if (slot.bytes.size() != sizeof(std::uint32_t)) return std::nullopt;
    const RowPointer to = RowPointer::Unpack(LoadLittle<std::uint32_t>(slot.bytes.data()));
    if (to.page >= survey_.PageCount()) return std::nullopt;
    const PageRef ref = pager_.Read(to.page);
    if (!DataPage::Is(ref, table_.page)) return std::nullopt;
    const DataPage page(ref, table_.page);
    if (to.row >= page.SlotCount() || page.At(to.row).state != SlotState::MovedHere) return std::nullopt;
    return to;
}

void SalvageRows::FollowMovedRows()
{
    const SalvagedTable before = counts_;
    WalkSlots(pages_, [&](RowPointer, const Slot& slot) {
        if (slot.state != SlotState::MovedAway) return;
        if (const auto to = Target(slot)) reached_.insert(to->Packed());
    });
    counts_ = before;
}

void SalvageRows::Lose(RowPointer at, const std::string& reason)
{
    ++counts_.lostRows;
    counts_.Note(OfPage(at.page, "row " + std::to_string(at.row) + ": " + reason));
}

void SalvageRows::ForEach(const ColumnMask& columns, const Visit& visit)
{
    WalkSlots(pages_, [&](RowPointer at, const Slot& slot) { VisitSlot(at, slot, columns, visit); });
    CountMissing();
}

/// What went with its page, by what the definition counts. That number may be damaged too: no more than pages can hold.
void SalvageRows::CountMissing()
{
    if (table_.rowCount <= living_ || (counts_.lostPages == 0 && !mapIsDamaged_)) return;
    const std::size_t missing = table_.rowCount - living_;
    if (missing > std::size_t{survey_.PageCount()} * DataPage::greatestSlotCount) return;
    counts_.lostRows += missing;
    counts_.Note("the definition counts " + std::to_string(missing) + " rows that are on no page");
}

/// A moved row to which no place leads any more, because the page of that is gone, is a row where it stands.
void SalvageRows::VisitSlot(RowPointer at, const Slot& slot, const ColumnMask& columns, const Visit& visit)
{
    RowPointer stands = at;
    switch (slot.state) {
        case SlotState::Deleted:
            return;
        case SlotState::MovedHere:
            if (reached_.contains(at.Packed())) return;
            break;
        case SlotState::MovedAway: {
            const auto to = Target(slot);
            if (!to || !taken_.insert(to->Packed()).second) return Lose(at, "it moved to where no row of its own is");
            stands = *to;
            break;
        }
        case SlotState::Row:
            break;
    }
    const DataPage page(pager_.Read(stands.page), table_.page);
    Decode(page.At(stands.row).bytes, stands.page, columns, row_);
    visit(stands, row_);
}

bool SalvageRows::Fetch(RowPointer at, Row& row)
{
    const DataPage page(pager_.Read(at.page), table_.page);
    Decode(page.At(at.row).bytes, at.page, {}, row);
    return true;
}

/// @throws Damaged when the parts of the row contradict each other
void SalvageRows::Decode(std::span<const std::uint8_t> bytes, PageNumber page, const ColumnMask& columns, Row& row)
{
    const RowFields fields = codec_.Parse(bytes, page);
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (Wants(columns, i)) DecodeField(fields, i, page, row[i], columns.empty());
    }
}

void SalvageRows::DecodeField(const RowFields& fields, std::size_t column, PageNumber page, Value& into, bool counted)
{
    try {
        if (!IsLongValue(codec_.Type(column))) {
            codec_.Decode(fields, column, into);
            CutToSize(column, page, into, counted);
        } else if (const auto field = codec_.Field(fields, column)) {
            ReadLongValue(*field, column, page, into);
        } else {
            into.emplace<Null>();
        }
    } catch (const Damaged& damage) {
        into.emplace<Null>();
        if (!counted) return;
        ++counts_.lostValues;
        counts_.Note(OfPage(page, ToUtf8(table_.columns[column].name) + ": " + damage.Finding()));
    }
}

void SalvageRows::CutToSize(std::size_t column, PageNumber page, Value& value, bool counted)
{
    const std::size_t size = table_.columns[column].size;
    const auto cut = [&](auto& string) {
        if (string.size() <= size) return;
        string.resize(size);
        if (!counted) return;
        ++counts_.lostValues;
        counts_.Note(OfPage(page, ToUtf8(table_.columns[column].name) + ": a value is longer than its field"));
    };
    if (auto* text = std::get_if<std::string>(&value)) cut(*text);
    if (auto* bytes = std::get_if<Bytes>(&value)) cut(*bytes);
}

void SalvageRows::ReadLongValue(std::span<const std::uint8_t> field, std::size_t column, PageNumber page, Value& into)
{
    const bool isMemo = codec_.Type(column) == ColumnType::Memo;
    Bytes bytes;
    try {
        longValues_.Read(field, page, bytes);
    } catch (const Damaged& damage) {
        const bool isCut = isMemo && !bytes.empty();
        ++(isCut ? counts_.cutLongValues : counts_.lostLongValues);
        counts_.Note(OfPage(damage.Page(), ToUtf8(table_.columns[column].name) + ": " + damage.Finding()));
        if (!isCut) {
            into.emplace<Null>();
            return;
        }
    }
    if (isMemo)
        into.emplace<std::string>(bytes.begin(), bytes.end());
    else
        into = std::move(bytes);
}

}  // namespace vmlib::jet
