#include "jet/CheckTree.h"

#include <algorithm>

namespace vmlib::jet {

// --------------------------------------------------------------------------------------------- entries

void EntryList::Add(std::string_view entry)
{
    bytes_ += entry;
    ends_.push_back(bytes_.size());
    marked_.push_back(false);
}

std::string_view EntryList::At(std::size_t index) const
{
    const std::size_t start = index == 0 ? 0 : ends_[index - 1];
    return std::string_view(bytes_).substr(start, ends_[index] - start);
}

std::string_view EntryList::KeyAt(std::size_t index) const
{
    const std::string_view entry = At(index);
    return entry.substr(0, entry.size() - indexLayout::rowPointerSize);
}

std::size_t EntryList::LowerBound(std::string_view bytes) const
{
    std::size_t low = 0;
    std::size_t high = Count();
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        if (At(middle) < bytes) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

bool EntryList::Mark(std::string_view entry)
{
    const std::size_t index = LowerBound(entry);
    if (index == Count() || At(index) != entry) return false;
    marked_[index] = true;
    return true;
}

bool EntryList::HasKey(std::string_view key) const
{
    const std::size_t index = LowerBound(key);
    return index < Count() && KeyAt(index) == key;
}

// --------------------------------------------------------------------------------------------- walk

std::optional<EntryList> TreeCheck::Walk(const TreeDefinition& tree, PageNumber owner, const std::string& who)
{
    owner_ = owner;
    who_ = who;
    pages_.clear();
    edges_.clear();
    entries_ = {};
    const std::vector<PageNumber> owned = ledger_.ClaimMap(tree.ownedMap, who);
    const bool whole = findings_.Guard(who, [&] { Visit(tree.root, std::nullopt, {}, nullptr); });
    for (const PageNumber page : pages_) ledger_.Claim(page, who);
    if (!whole) return std::nullopt;

    for (const auto& [level, edge] : edges_) {
        if (edge.next == noPage) continue;
        findings_.Fault(who + ": page " + std::to_string(edge.page) + ", the last of level " + std::to_string(level) +
                        ", is linked to page " + std::to_string(edge.next));
    }
    for (const PageNumber page : owned) {
        if (!pages_.contains(page))
            findings_.Fault(who + ": page " + std::to_string(page) + " is in the map but not in the tree");
    }
    for (const PageNumber page : pages_) {
        if (!std::binary_search(owned.begin(), owned.end(), page)) {
            findings_.Fault(who + ": page " + std::to_string(page) + " is in the tree but not in the map");
        }
    }
    return std::move(entries_);
}

/// Visits what is under a page. Everything there comes behind `low` and not behind `*high`. The depth of the recursion
/// is the number of levels, which IndexPage limits and which goes down by one each time.
void TreeCheck::Visit(PageNumber number, std::optional<unsigned> level, const std::string& low, const std::string* high)
{
    const IndexPage page(pager_.Read(number), owner_);
    if (!pages_.insert(number).second) throw Damaged(number, "an index page is reached twice");
    if (level && page.Level() != *level) throw Damaged(number, "an index page of the wrong level");
    CheckLinks(page);
    CheckOrder(page, low, high);
    if (page.IsLeaf()) {
        if (page.TailChild() != noPage) findings_.Note(who_ + ": leaf " + std::to_string(number) + " has a tail child");
        std::string entry;
        for (std::size_t i = 0; i < page.Count(); ++i) {
            page.CopySeparator(i, entry);
            entries_.Add(entry);
        }
        return;
    }
    std::string below = low;
    for (std::size_t i = 0; i < page.Count(); ++i) {
        const std::string separator = page.Separator(i);
        Visit(page.Child(i), page.Level() - 1, below, &separator);
        below = separator;
    }
    Visit(page.Child(page.Count()), page.Level() - 1, below, high);
}

void TreeCheck::CheckLinks(const IndexPage& page)
{
    Edge& before = edges_[page.Level()];
    if (page.Previous() != before.page || (before.page != noPage && before.next != page.Number())) {
        findings_.Fault(who_ + ": page " + std::to_string(page.Number()) + " is linked back to " +
                        std::to_string(page.Previous()) + "; before it stands page " + std::to_string(before.page) +
                        ", linked to " + std::to_string(before.next));
    }
    before = {page.Number(), page.Next()};
}

void TreeCheck::CheckOrder(const IndexPage& page, const std::string& low, const std::string* high)
{
    std::string before = low;
    std::string entry;
    for (std::size_t i = 0; i < page.Count(); ++i) {
        page.CopySeparator(i, entry);
        if (entry <= before) {
            findings_.Fault(who_ + ": page " + std::to_string(page.Number()) + " entry " + std::to_string(i) +
                            " is out of order");
        }
        std::swap(before, entry);
    }
    if (high != nullptr && before > *high) {
        findings_.Fault(who_ + ": page " + std::to_string(page.Number()) + " goes beyond the separator in its parent");
    }
}

}  // namespace vmlib::jet
