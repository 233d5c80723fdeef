#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "jet/Pager.h"

namespace vmlib::jet {

/// What the pages of a damaged file say of themselves, from one walk over all of them. Knows no table.
class SalvageSurvey
{
public:
    explicit SalvageSurvey(Pager& pager);

    /// Pages of rows that name the definition page as their owner and are not in the free map; ascending.
    const std::vector<PageNumber>& PagesOf(PageNumber definition) const;
    /// First pages of table definitions: those that no other one continues. Ascending.
    const std::vector<PageNumber>& Definitions() const { return definitions_; }
    /// True when the page certainly is something else than a page of rows of that owner. Pages that are nothing at all,
    /// or behind the end of a file that was cut off, say nothing.
    bool IsAnothers(PageNumber page, PageNumber definition) const;
    /// By the free map; false for all where that cannot be read.
    bool IsFree(PageNumber page) const { return isFree_[page]; }
    PageNumber PageCount() const { return static_cast<PageNumber>(owners_.size()); }

private:
    std::vector<bool> FreePages() const;
    void Look(PageNumber number, std::vector<PageNumber>& continued);

    Pager& pager_;
    std::vector<std::uint32_t> owners_;  // by page
    std::vector<bool> isFree_;
    std::unordered_map<PageNumber, std::vector<PageNumber>> pagesOf_;
    std::vector<PageNumber> definitions_;
};

}  // namespace vmlib::jet
