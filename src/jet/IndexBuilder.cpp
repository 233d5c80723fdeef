#include <cassert>
#include <deque>

#include "jet/EntrySorter.h"
#include "jet/IndexPage.h"
#include "jet/IndexTree.h"
#include "jet/PageMap.h"

namespace vmlib::jet {
namespace {

/// Writes the pages of a tree from entries in ascending order: each leaf as full as its best prefix allows, the
/// branches above in the same way. Holds one unfinished page a level.
class TreeWriter
{
public:
    TreeWriter(Pager& pager, PageAllocator& allocator, PageNumber owner)
        : pager_(pager),
          allocator_(allocator),
          owner_(owner),
          ownedMap_(PageMap::Create(pager, allocator, owner)),
          levels_(1)
    {
    }

    std::uint32_t OwnedMap() const { return ownedMap_; }

    void Add(std::string_view entry)
    {
        if (!levels_[0].Add(entry, true)) {
            ClosePage(0);
            [[maybe_unused]] const bool fits = levels_[0].Add(entry, true);
            assert(fits);
        }
    }

    /// Gives the root.
    PageNumber Finish()
    {
        for (unsigned level = 0;; ++level) {
            if (level > 0 && levels_[level].count == 0) FillLastBranch(level);
            const PageNumber page = WritePage(level);
            if (levels_[level].pages == 1) return page;
            AddChild(level + 1, SeparatorOf(level), page);
        }
    }

private:
    struct Child
    {
        std::string separator;  // the last entry under it
        PageNumber page = noPage;
    };

    /// The unfinished page of a level.
    struct Level
    {
        std::vector<std::string> entries;  // the first `count` of them; their memory is used again
        std::size_t count = 0;
        std::optional<IndexPageSize> size;
        Child tail;  // of a branch: the child that came last
        PageNumber previous = noPage;
        std::size_t pages = 0;

        bool Add(std::string_view entry, bool leaf)
        {
            if (!size) size.emplace(leaf);
            if (!size->Add(entry)) return false;
            if (count == entries.size()) entries.emplace_back();
            entries[count++].assign(entry);
            return true;
        }
    };

    /// A child becomes an entry as soon as there is a next one; the last of a page is its tail child.
    void AddChild(unsigned level, std::string separator, PageNumber page)
    {
        if (levels_.size() == level) levels_.emplace_back();
        Level& target = levels_[level];
        if (target.tail.page != noPage && !target.Add(BranchEntry(target.tail.separator, target.tail.page), false)) {
            ClosePage(level);
        }
        target.tail = {std::move(separator), page};
    }

    std::string SeparatorOf(unsigned level) const
    {
        const Level& closing = levels_[level];
        return level == 0 ? closing.entries[closing.count - 1] : closing.tail.separator;
    }

    void ClosePage(unsigned level)
    {
        const PageNumber page = WritePage(level);
        AddChild(level + 1, SeparatorOf(level), page);
        levels_[level].count = 0;
        levels_[level].size.reset();
    }

    PageNumber WritePage(unsigned level)
    {
        Level& closing = levels_[level];
        PageEdit edit = allocator_.Allocate();
        PageMap(pager_, ownedMap_).Add(edit.Number(), allocator_);
        IndexPageEdit page = IndexPageEdit::Format(std::move(edit), owner_, level);
        [[maybe_unused]] const bool fits = page.Assign(std::span(closing.entries).first(closing.count));
        assert(fits);
        page.SetTailChild(closing.tail.page);
        page.SetPrevious(closing.previous);
        if (closing.previous != noPage) {
            IndexPageEdit(pager_.Edit(closing.previous), owner_).SetNext(page.Number());
        }
        closing.previous = page.Number();
        ++closing.pages;
        return page.Number();
    }

    /// The last branch of a level would have only a tail child: it takes the last child of the one before it as well.
    void FillLastBranch(unsigned level)
    {
        Level& last = levels_[level];
        if (last.pages == 0) return;  // the only branch: has two children, as it would not be needed otherwise
        Child& before = levels_[level + 1].tail;
        assert(before.page == last.previous);
        IndexPageEdit page(pager_.Edit(last.previous), owner_);
        const std::string entry = page.Entry(page.Count() - 1);
        [[maybe_unused]] const bool fits = last.Add(BranchEntry(before.separator, page.TailChild()), false);
        assert(fits);
        before.separator = page.Separator(page.Count() - 1);
        page.Erase(page.Count() - 1);
        page.SetTailChild(ChildOf(entry));
    }

    Pager& pager_;
    PageAllocator& allocator_;
    PageNumber owner_;
    std::uint32_t ownedMap_;
    std::deque<Level> levels_;  // references to levels stay valid while one is added
};

/// Counts entries, distinct keys and duplicates of entries that come in order.
class KeyCounter
{
public:
    KeyCounter(IndexBuilder::Result& result, std::string_view repeatable) : result_(result), repeatable_(repeatable) {}

    void Count(std::string_view entry)
    {
        const std::string_view key = entry.substr(0, entry.size() - indexLayout::rowPointerSize);
        if (result_.entries++ > 0 && key == last_) {
            if (result_.hasDuplicates || key == repeatable_) return;
            result_.hasDuplicates = true;
            result_.firstDuplicate = last_;
        } else {
            ++result_.distinctKeys;
            last_ = key;
        }
    }

private:
    IndexBuilder::Result& result_;
    std::string_view repeatable_;
    Key last_;
};

}  // namespace

IndexBuilder::IndexBuilder(Pager& pager, PageAllocator& allocator, PageNumber owner, Files& files,
                           TextView temporaryFolder)
    : sorter_(std::make_unique<EntrySorter>(files, temporaryFolder)),
      pager_(pager),
      allocator_(allocator),
      owner_(owner)
{
}

IndexBuilder::~IndexBuilder() = default;

void IndexBuilder::Add(std::string_view key, RowPointer row)
{
    assert(!key.empty() && key.size() <= greatestKeySize);
    sorter_->Add(EntryOf(key, row));
}

IndexBuilder::Result IndexBuilder::Finish(bool refuseDuplicates, std::string_view repeatable)
{
    if (refuseDuplicates) {
        Result found;
        KeyCounter counter(found, repeatable);
        sorter_->ForEach([&](std::string_view entry) {
            counter.Count(entry);
            return !found.hasDuplicates;
        });
        if (found.hasDuplicates) return found;
    }
    Result result;
    KeyCounter counter(result, repeatable);
    TreeWriter writer(pager_, allocator_, owner_);
    sorter_->ForEach([&](std::string_view entry) {
        counter.Count(entry);
        writer.Add(entry);
        return true;
    });
    result.root = writer.Finish();
    result.ownedMap = writer.OwnedMap();
    return result;
}

}  // namespace vmlib::jet
