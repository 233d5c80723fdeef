#include "jet/RowScan.h"

#include <algorithm>
#include <utility>

#include "jet/Damage.h"
#include "jet/LongValues.h"

namespace vmlib::jet {

namespace {

template <class Container>
void ReadLongValue(Pager& pager, std::span<const std::uint8_t> field, PageNumber page, Value& into)
{
    Container* held = std::get_if<Container>(&into);
    if (held == nullptr) held = &into.emplace<Container>();
    LongValues::Read(pager, field, page, *held);
}

}  // namespace

void DecodeRow(Pager& pager, const RowCodec& codec, std::span<const std::uint8_t> bytes, PageNumber page,
               std::span<const std::size_t> wanted, Row& into)
{
    const RowFields fields = codec.Parse(bytes, page);
    for (const std::size_t column : wanted) {
        const ColumnType type = codec.Type(column);
        if (!IsLongValue(type)) {
            codec.Decode(fields, column, into[column]);
            continue;
        }
        const auto field = codec.Field(fields, column);
        if (!field) {
            into[column].emplace<Null>();
        } else if (type == ColumnType::Memo) {
            ReadLongValue<std::string>(pager, *field, page, into[column]);
        } else {
            ReadLongValue<Bytes>(pager, *field, page, into[column]);
        }
    }
}

RowScan::RowScan(Pager& pager, const RowStore& store, std::uint32_t owner, std::shared_ptr<const RowCodec> codec,
                 std::vector<std::size_t> wanted)
    : pager_(pager),
      store_(store),
      owner_(owner),
      codec_(std::move(codec)),
      wanted_(std::move(wanted)),
      pages_(store_.Pages()),
      row_(codec_->ColumnCount())
{
}

bool RowScan::OpenNextPage()
{
    if (nextPage_ == pages_.size()) return false;
    const PageNumber number = pages_[nextPage_++];
    page_ = pager_.Read(number);
    generation_ = pager_.Generation();
    slot_ = 0;
    const auto found = firstNew_.find(number);
    slotLimit_ = found == firstNew_.end() ? DataPage::greatestSlotCount : found->second;
    return true;
}

/// A page that lost its last row since the walk began was given back, and may be anything by now.
bool RowScan::PageIsGone(const PageRef& page)
{
    return !DataPage::Is(page, owner_) && !store_.Owns(page.Number());
}

bool RowScan::Next()
{
    const ReadScope scope(pager_);
    while (page_ || OpenNextPage()) {
        // Taken out while it is looked at: after an exception the walk goes on with the next page, or the next slot
        // once that is known.
        PageRef ref = std::exchange(page_, PageRef());
        if (generation_ != pager_.Generation()) {
            if (ref.Number() >= pager_.PageCount()) continue;
            ref = pager_.Read(ref.Number());
            generation_ = pager_.Generation();
        }
        if (PageIsGone(ref)) continue;
        const DataPage page(ref, owner_);
        while (slot_ < std::min(page.SlotCount(), slotLimit_)) {
            const std::size_t index = slot_++;
            page_ = ref;
            const Slot slot = page.At(index);
            if (slot.state == SlotState::Deleted || slot.state == SlotState::MovedHere) continue;
            where_ = {page.Number(), static_cast<std::uint8_t>(index)};
            if (slot.state == SlotState::MovedAway) {
                const RowStore::Found moved = store_.Follow(page, slot);
                DecodeRow(pager_, *codec_, moved.bytes, moved.at.page, wanted_, row_);
            } else {
                DecodeRow(pager_, *codec_, slot.bytes, page.Number(), wanted_, row_);
            }
            return true;
        }
        page_ = PageRef();
    }
    return false;
}

void RowScan::NoteInserted(RowPointer at)
{
    if (at.page == lastNoted_.page && at.row > lastNoted_.row) return;
    const auto [place, isNew] = firstNew_.try_emplace(at.page, at.row);
    if (!isNew) place->second = std::min(place->second, at.row);
    lastNoted_ = {at.page, place->second};
    if (page_ && page_.Number() == at.page) slotLimit_ = std::min<std::size_t>(slotLimit_, at.row);
}

}  // namespace vmlib::jet
