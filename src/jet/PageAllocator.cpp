#include "jet/PageAllocator.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/DataPage.h"
#include "jet/PageMap.h"

namespace vmlib::jet {

namespace {

constexpr PageNumber firstOrdinaryPage = 2;  // before it the header and the page of the free map

PageMap FreeMap(Pager& pager)
{
    return PageMap(pager, PageMap::freeMapPointer);
}

}  // namespace

PageEdit PageAllocator::Allocate()
{
    if (generation_ != pager_.Generation()) searchFrom_ = 0;
    generation_ = pager_.Generation();

    PageMap map = FreeMap(pager_);
    const PageNumber page = map.Next(searchFrom_);
    if (page != noPage && page < pager_.PageCount()) {
        if (page < firstOrdinaryPage)
            throw Damaged(PageMap::firstPage, "the free map lists page " + std::to_string(page));
        map.Remove(page);
        searchFrom_ = page + 1;
        return pager_.EditZeroed(page);
    }
    PageEdit added = pager_.Extend();
    map.CoverWithFree();
    map.Remove(added.Number());
    searchFrom_ = added.Number() + 1;
    return added;
}

void PageAllocator::Free(PageNumber page)
{
    if (page < firstOrdinaryPage) throw Damaged(page, "a page that every file needs is listed as one of a table");
    PageMap map = FreeMap(pager_);
    if (map.Contains(page)) throw Damaged(page, "a page that is in use is in the free map too");

    PageEdit edit = pager_.Edit(page);
    const bool mapPage = DataPage::Is(edit.Ref(), DataPage::mapOwner);
    std::uint8_t& kind = edit.Data()[0];
    if (kind == static_cast<std::uint8_t>(PageKind::Data) && !mapPage)
        kind = static_cast<std::uint8_t>(PageKind::FreedData);
    if (kind == static_cast<std::uint8_t>(PageKind::Definition))
        kind = static_cast<std::uint8_t>(PageKind::FreedDefinition);

    map.CoverWithFree();
    map.Add(page, *this);
    searchFrom_ = std::min(searchFrom_, page);
}

bool PageAllocator::IsFree(PageNumber page)
{
    return FreeMap(pager_).Contains(page);
}

}  // namespace vmlib::jet
