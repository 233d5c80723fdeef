#pragma once

#include "jet/Pager.h"

namespace vmlib::jet {

/// Gives out and takes back pages by the file's free map (page 1, row 0). Free pages inside the file go first, then the
/// file grows.
class PageAllocator
{
public:
    explicit PageAllocator(Pager& pager) : pager_(pager) {}

    /// A zero page, no longer in the free map. @throws Error 3036 when the file is full
    PageEdit Allocate();
    /// Gives a page back; marks it as free data (09) or definition (08) page, index and map pages keep their kind.
    /// @throws Damaged when the page is free already
    void Free(PageNumber page);
    bool IsFree(PageNumber page);

private:
    Pager& pager_;
    std::uint64_t generation_ = 0;
    PageNumber searchFrom_ = 0;  // no page below is free, as far as this object knows
};

}  // namespace vmlib::jet
