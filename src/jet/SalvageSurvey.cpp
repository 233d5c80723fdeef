#include "jet/SalvageSurvey.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "core/Error.h"
#include "jet/PageMap.h"

namespace vmlib::jet {

namespace {

constexpr std::size_t ownerAt = 4;  // of a page of rows
constexpr std::size_t nextAt = 4;   // of a definition

// What stands for the owner of pages that are no pages of rows.
constexpr std::uint32_t nobody = 0xFFFFFFFF;          // nothing that the format has
constexpr std::uint32_t otherStructure = 0xFFFFFFFE;  // definition, index, map

bool IsDefinition(const PageRef& page)
{
    return IsOfKind(page.Data(), PageKind::Definition) && page.Data()[2] == 'V' && page.Data()[3] == 'C';
}

bool IsOtherStructure(const PageRef& page)
{
    return IsDefinition(page) || IsOfKind(page.Data(), PageKind::IndexBranch) ||
           IsOfKind(page.Data(), PageKind::IndexLeaf) || IsOfKind(page.Data(), PageKind::Map);
}

}  // namespace

SalvageSurvey::SalvageSurvey(Pager& pager) : pager_(pager), owners_(pager.PageCount(), nobody), isFree_(FreePages())
{
    std::vector<PageNumber> continued;
    for (PageNumber number = 1; number < owners_.size(); ++number) Look(number, continued);
    std::ranges::sort(continued);
    std::erase_if(definitions_, [&](PageNumber page) { return std::ranges::binary_search(continued, page); });
}

/// Pages of dropped tables go on to name their owner. Without a free map no page counts as free.
std::vector<bool> SalvageSurvey::FreePages() const
{
    std::vector<bool> isFree(owners_.size(), false);
    try {
        for (const PageNumber page : PageMap(pager_, PageMap::freeMapPointer).All())
            if (page < isFree.size()) isFree[page] = true;
    } catch (const Error&) {
        isFree.assign(owners_.size(), false);
    }
    // A map that calls the catalogue free is damaged itself.
    if (objectsTablePage < isFree.size() && isFree[objectsTablePage]) isFree.assign(owners_.size(), false);
    return isFree;
}

void SalvageSurvey::Look(PageNumber number, std::vector<PageNumber>& continued)
{
    const PageRef page = pager_.Read(number);
    if (IsOfKind(page.Data(), PageKind::Data)) {
        owners_[number] = LoadLittle<std::uint32_t>(page.Data() + ownerAt);
        if (!isFree_[number]) pagesOf_[owners_[number]].push_back(number);
    } else if (IsOtherStructure(page)) {
        owners_[number] = otherStructure;
    }
    if (!IsDefinition(page) || isFree_[number]) return;
    definitions_.push_back(number);
    continued.push_back(LoadLittle<PageNumber>(page.Data() + nextAt));
}

const std::vector<PageNumber>& SalvageSurvey::PagesOf(PageNumber definition) const
{
    static const std::vector<PageNumber> none;
    const auto found = pagesOf_.find(definition);
    return found != pagesOf_.end() ? found->second : none;
}

bool SalvageSurvey::IsAnothers(PageNumber page, PageNumber definition) const
{
    if (page <= PageMap::firstPage) return true;
    return page < owners_.size() && owners_[page] != nobody && owners_[page] != definition;
}

}  // namespace vmlib::jet
