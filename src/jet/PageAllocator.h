#pragma once

#include "jet/Pager.h"

namespace vmlib::jet {

/// Gives out and takes back pages by the file's free map (page 1, row 0). Free pages inside the file go first, then the file grows.
class PageAllocator
{
public:
    explicit PageAllocator(Pager& pager) : pager_(pager) {}

    /// A zero page, no longer in the free map.
    PageEdit Allocate();
    /// Gives a page back; marks it as free data (09) or definition (08) page, index and map pages keep their kind.
    void Free(PageNumber page);
    bool IsFree(PageNumber page);

private:
    Pager& pager_;
};

}  // namespace vmlib::jet
