// Inserting and removing entries.
//
// The root keeps its page. A page that overflows gives its upper entries to a new page on its right; the parent gets an
// entry that separates the two. A page that becomes empty is unlinked and given back; separators are left as they are
// (the last entry that a child once had). Pages that are merely half empty stay, as in files of other programs.

#include <algorithm>
#include <cassert>
#include <cstring>

#include "jet/Damage.h"
#include "jet/IndexPage.h"
#include "jet/IndexTree.h"
#include "jet/PageMap.h"

namespace vmlib::jet {
namespace {

/// Number of entries that go to the left of a split. Of a branch the next entry goes up to the parent, so both sides of
/// it keep one at least. Takes the most even split of those that fit; at the right edge of a level (`appending`) the
/// fullest left side, so that ascending entries leave full pages behind. No value when nothing fits.
std::optional<std::size_t> SplitPoint(std::span<const std::string> entries, bool leaf, bool appending)
{
    const std::size_t goesUp = leaf ? 0 : 1;
    const std::size_t count = entries.size();
    std::vector<std::size_t> leftBytes(count + 1, indexLayout::room + 1);   // of the first i entries
    std::vector<std::size_t> rightBytes(count + 1, indexLayout::room + 1);  // of the last i entries
    const auto measure = [&](std::vector<std::size_t>& bytes, auto entryAt) {
        IndexPageSize size(leaf);
        for (std::size_t i = 0; i < count && size.Add(entryAt(i)); ++i) bytes[i + 1] = size.Bytes();
    };
    measure(leftBytes, [&](std::size_t i) -> const std::string& { return entries[i]; });
    measure(rightBytes, [&](std::size_t i) -> const std::string& { return entries[count - 1 - i]; });

    std::optional<std::size_t> best;
    std::size_t bestBytes = indexLayout::room + 1;
    for (std::size_t left = 1; left + goesUp < count; ++left) {
        const std::size_t larger = std::max(leftBytes[left], rightBytes[count - goesUp - left]);
        if (larger > indexLayout::room) continue;
        if (appending || larger < bestBytes) best = left, bestBytes = larger;
    }
    return best;
}

}  // namespace

// --------------------------------------------------------------------------------------------- insert

IndexTree::Path IndexTree::PathTo(std::string_view entry) const
{
    Path path;
    PageNumber number = root_;
    for (unsigned level = 0;;) {
        const IndexPage page(pager_.Read(number), owner_);
        if (!path.empty() && page.Level() + 1 != level) throw Damaged(number, "an index page of the wrong level");
        level = page.Level();
        const std::size_t at = page.LowerBound(entry);
        path.push_back({number, at});
        if (page.IsLeaf()) return path;
        number = page.Child(at);
    }
}

void IndexTree::Insert(std::string_view key, RowPointer row)
{
    assert(!key.empty() && key.size() <= greatestKeySize);
    const std::string entry = EntryOf(key, row);
    Path path = PathTo(entry);
    InsertAt(path, path.size() - 1, entry);
}

void IndexTree::InsertAt(Path& path, std::size_t depth, std::string_view entry)
{
    IndexPageEdit page(pager_.Edit(path[depth].page), owner_);
    const std::size_t at = path[depth].at;
    if (page.IsLeaf() && at < page.Count() && page.Entry(at) == entry) {
        throw Damaged(page.Number(), "an index has an entry already for the row that gets it");
    }
    if (!page.Insert(at, entry)) Split(path, depth, entry);
}

/// Inserts at a page that has no room: its upper entries go to a new page.
void IndexTree::Split(Path& path, std::size_t depth, std::string_view entry)
{
    if (depth == 0) {
        GrowRoot(path);
        depth = 1;
    }
    IndexPageEdit left(pager_.Edit(path[depth].page), owner_);
    const std::size_t at = path[depth].at;
    std::vector<std::string> entries = left.Entries();
    entries.emplace(entries.begin() + static_cast<std::ptrdiff_t>(at), entry);
    const bool appending = left.Next() == noPage && at + 1 == entries.size();
    const auto leftCount = SplitPoint(entries, left.IsLeaf(), appending);
    if (!leftCount) throw Damaged(left.Number(), "the entries of an index page cannot be divided");
    const std::span<const std::string> all(entries);
    const std::size_t goesUp = left.IsLeaf() ? 0 : 1;

    IndexPageEdit right = IndexPageEdit::Format(NewPage(), owner_, left.Level());
    right.SetPrevious(left.Number());
    right.SetNext(left.Next());
    right.SetTailChild(left.TailChild());
    if (left.Next() != noPage) IndexPageEdit(pager_.Edit(left.Next()), owner_).SetPrevious(right.Number());
    left.SetNext(right.Number());

    [[maybe_unused]] bool fits = right.Assign(all.subspan(*leftCount + goesUp));
    std::string separator;
    if (left.IsLeaf()) {
        separator = entries[*leftCount - 1];
    } else {
        const std::string& up = entries[*leftCount];
        separator = up.substr(0, up.size() - indexLayout::childSize);
        left.SetTailChild(ChildOf(up));
    }
    fits = left.Assign(all.first(*leftCount)) && fits;
    assert(fits);

    Step& above = path[depth - 1];
    IndexPageEdit(pager_.Edit(above.page), owner_).SetChild(above.at, right.Number());
    InsertAt(path, depth - 1, BranchEntry(separator, left.Number()));
}

/// Moves the root's entries to a new page, the only child of the root from now on.
void IndexTree::GrowRoot(Path& path)
{
    PageEdit child = NewPage();
    PageEdit root = pager_.Edit(root_);
    std::memcpy(child.Data(), root.Data(), pageSize);
    const unsigned level = IndexPage(child.Ref(), owner_).Level();
    if (level == indexLayout::greatestLevel) throw Damaged(root_, "an index of too many levels");
    IndexPageEdit::Format(std::move(root), owner_, level + 1).SetTailChild(child.Number());
    path.front().page = child.Number();
    path.insert(path.begin(), Step{root_, 0});
}

// --------------------------------------------------------------------------------------------- remove

bool IndexTree::Remove(std::string_view key, RowPointer row)
{
    const std::string entry = EntryOf(key, row);
    Path path = PathTo(entry);
    const Step leaf = path.back();
    {
        const IndexPage page(pager_.Read(leaf.page), owner_);
        if (leaf.at == page.Count() || page.Entry(leaf.at) != entry) return false;
    }
    IndexPageEdit page(pager_.Edit(leaf.page), owner_);
    page.Erase(leaf.at);
    if (page.Count() == 0 && path.size() > 1) RemovePage(path, path.size() - 1);
    return true;
}

/// Takes a page without entries and children out of the tree.
void IndexTree::RemovePage(Path& path, std::size_t depth)
{
    const PageNumber number = path[depth].page;
    Unlink(IndexPage(pager_.Read(number), owner_));
    FreePage(number);

    const std::size_t at = path[depth - 1].at;
    IndexPageEdit parent(pager_.Edit(path[depth - 1].page), owner_);
    if (at < parent.Count()) {
        parent.Erase(at);
    } else if (parent.Count() > 0) {
        parent.SetTailChild(parent.Child(parent.Count() - 1));
        parent.Erase(parent.Count() - 1);
    } else if (depth - 1 > 0) {
        return RemovePage(path, depth - 1);
    } else {
        IndexPageEdit::Format(pager_.Edit(root_), owner_, 0);
        return;
    }
    TidyBranch(path, depth - 1);
}

/// A branch with nothing but its tail child says nothing: the root becomes its child, another one gives its child to a
/// neighbour.
void IndexTree::TidyBranch(Path& path, std::size_t depth)
{
    if (IndexPage(pager_.Read(path[depth].page), owner_).Count() > 0) return;
    if (depth == 0) return ShrinkRoot();
    if (MoveOnlyChild(path, depth)) TidyBranch(path, depth - 1);
}

/// False when no neighbour under the same parent has room; the branch stays then as it is, which is valid too.
bool IndexTree::MoveOnlyChild(Path& path, std::size_t depth)
{
    const PageNumber number = path[depth].page;
    const std::size_t at = path[depth - 1].at;
    IndexPageEdit parent(pager_.Edit(path[depth - 1].page), owner_);
    const IndexPage branch(pager_.Read(number), owner_);
    const PageNumber child = branch.TailChild();
    const auto neighbour = [&](PageNumber page) {
        IndexPageEdit edit(pager_.Edit(page), owner_);
        if (edit.Level() != branch.Level()) throw Damaged(page, "an index page of the wrong level");
        return edit;
    };
    bool moved = false;
    if (at > 0) {
        IndexPageEdit left = neighbour(parent.Child(at - 1));
        moved = left.Insert(left.Count(), BranchEntry(parent.Separator(at - 1), left.Child(left.Count())));
        if (moved) {
            left.SetTailChild(child);
            parent.SetChild(at, left.Number());
            parent.Erase(at - 1);
        }
    }
    if (!moved && at < parent.Count()) {
        IndexPageEdit right = neighbour(parent.Child(at + 1));
        moved = right.Insert(0, BranchEntry(parent.Separator(at), child));
        if (moved) parent.Erase(at);
    }
    if (!moved) return false;
    Unlink(branch);
    FreePage(number);
    return true;
}

void IndexTree::ShrinkRoot()
{
    for (;;) {
        const IndexPage root(pager_.Read(root_), owner_);
        if (root.IsLeaf() || root.Count() > 0) return;
        const PageNumber number = root.Child(0);
        {
            const PageRef ref = pager_.Read(number);
            const IndexPage child(ref, owner_);
            if (child.Level() + 1 != root.Level() || child.Previous() != noPage || child.Next() != noPage) {
                throw Damaged(number, "the only child of an index root has the wrong level or neighbours");
            }
            std::memcpy(pager_.Edit(root_).Data(), ref.Data(), pageSize);
        }
        FreePage(number);
    }
}

// --------------------------------------------------------------------------------------------- pages

PageEdit IndexTree::NewPage()
{
    PageEdit page = allocator_.Allocate();
    PageMap(pager_, ownedMap_).Add(page.Number(), allocator_);
    return page;
}

/// Links the neighbours of a page with each other.
void IndexTree::Unlink(const IndexPage& page)
{
    const auto neighbour = [&](PageNumber number) {
        IndexPageEdit edit(pager_.Edit(number), owner_);
        if (edit.Level() != page.Level()) throw Damaged(number, "an index page is linked with one of another level");
        return edit;
    };
    const PageNumber previous = page.Previous();
    const PageNumber next = page.Next();
    if (previous != noPage) neighbour(previous).SetNext(next);
    if (next != noPage) neighbour(next).SetPrevious(previous);
}

/// Empties the page first: whoever still stands on it must notice.
void IndexTree::FreePage(PageNumber page)
{
    const bool isLeaf = IndexPage(pager_.Read(page), owner_).IsLeaf();
    IndexPageEdit::Format(pager_.EditZeroed(page), owner_, isLeaf ? 0 : 1);
    PageMap(pager_, ownedMap_).Remove(page);
    allocator_.Free(page);
}

TreeDefinition IndexTree::Create(Pager& pager, PageAllocator& allocator, PageNumber owner)
{
    TreeDefinition tree;
    tree.ownedMap = PageMap::Create(pager, allocator, owner);
    PageEdit page = allocator.Allocate();
    tree.root = page.Number();
    PageMap(pager, tree.ownedMap).Add(tree.root, allocator);
    IndexPageEdit::Format(std::move(page), owner, 0);
    return tree;
}

void IndexTree::Destroy()
{
    PageMap map(pager_, ownedMap_);
    for (const PageNumber page : map.All()) allocator_.Free(page);
    map.Destroy(allocator_);
}

}  // namespace vmlib::jet
