#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/Format.h"
#include "jet/Pager.h"

// An index page holds entries in ascending order. All pages of a level are linked; level 0 are the leaves.
//
//   at   size  content
//    0      1  04 leaf, 03 branch
//    1      1  01
//    2      2  free bytes behind the entries
//    4      4  definition page of the owning table
//    8      4  previous page of the level, 0 at the left edge
//   12      4  next page of the level, 0 at the right edge
//   16      4  tail child of a branch: what comes behind its last entry; 0 on a leaf
//   20      1  prefix: so many bytes of the first entry are left out of the others
//   21      1  level
//   22    226  a bit for each place where an entry ends, counted from the start of the entries
//  248   1800  entries: key, row pointer (page 3 bytes, row 1, big endian), on a branch the child page (4, big endian)
//
// An entry of a branch separates: last entry of its child <= key and row pointer < first entry of the next child.
// Source: docs/file-format.md, "Index pages".

namespace vmlib::jet {

namespace indexLayout {
inline constexpr std::size_t freeBytes = 2;
inline constexpr std::size_t owner = 4;
inline constexpr std::size_t previous = 8;
inline constexpr std::size_t next = 12;
inline constexpr std::size_t tailChild = 16;
inline constexpr std::size_t prefix = 20;
inline constexpr std::size_t level = 21;
inline constexpr std::size_t ends = 22;
inline constexpr std::size_t endsSize = 226;
inline constexpr std::size_t entries = 248;
inline constexpr std::size_t room = 1800;
inline constexpr std::size_t rowPointerSize = 4;
inline constexpr std::size_t childSize = 4;
inline constexpr unsigned greatestLevel = 30;  // far above what a file of 1 GB can need
}  // namespace indexLayout

/// Reads one index page. Keeps the page that it was given in memory; bare bytes must stay. They must not change.
class IndexPage
{
public:
    /// @throws Damaged when head, entry ends, free bytes or prefix contradict each other or the owner is another
    IndexPage(PageNumber number, const std::uint8_t* bytes, PageNumber owner);
    IndexPage(PageRef page, PageNumber owner) : IndexPage(page.Number(), page.Data(), owner) { ref_ = std::move(page); }

    /// Looks at an equal copy of the bytes from now on; the page itself is no longer kept.
    void Rebase(const std::uint8_t* bytes)
    {
        bytes_ = bytes;
        ref_ = {};
    }

    PageNumber Number() const { return number_; }
    const std::uint8_t* Bytes() const { return bytes_; }
    bool IsLeaf() const { return level_ == 0; }
    unsigned Level() const { return level_; }
    PageNumber Previous() const;
    PageNumber Next() const;
    PageNumber TailChild() const;

    std::size_t Count() const { return count_; }
    std::size_t UsedBytes() const { return count_ == 0 ? 0 : ends_[count_ - 1]; }
    std::size_t PrefixSize() const { return prefixSize_; }

    /// A whole entry: key, row pointer, on a branch the child.
    std::string Entry(std::size_t at) const;
    /// Key and row pointer: what entries are ordered by.
    std::string Separator(std::size_t at) const;
    void CopySeparator(std::size_t at, std::string& into) const;
    std::vector<std::string> Entries() const;
    /// The child page of an entry; Count() means the tail child. @throws Damaged when there is none
    PageNumber Child(std::size_t at) const;

    /// Whether one entry stands before another by its bytes.
    bool InOrder(std::size_t left, std::size_t right) const { return Suffix(left) < Suffix(right); }

    /// The first entry whose key and row pointer are not before `bytes`; Count() when all are.
    std::size_t LowerBound(std::string_view bytes) const;

protected:
    void Parse(PageNumber owner);
    std::string_view Prefix() const { return {Start(), prefixSize_}; }
    /// The bytes of an entry behind the common prefix.
    std::string_view Suffix(std::size_t at) const;
    std::size_t SuffixStart(std::size_t at) const { return at == 0 ? prefixSize_ : ends_[at - 1]; }
    std::size_t ChildBytes() const { return IsLeaf() ? 0 : indexLayout::childSize; }
    const char* Start() const { return reinterpret_cast<const char*>(bytes_ + indexLayout::entries); }
    PageNumber Link(std::size_t at) const;

    PageRef ref_;
    PageNumber number_;
    const std::uint8_t* bytes_;
    unsigned level_ = 0;
    std::size_t prefixSize_ = 0;
    std::size_t count_ = 0;
    std::array<std::uint16_t, indexLayout::room> ends_;  // the first count_ of them
};

/// Changes one index page; entry ends, free bytes and prefix are right after each change.
class IndexPageEdit : public IndexPage
{
public:
    IndexPageEdit(PageEdit page, PageNumber owner);
    /// Makes an empty page of the level with no links.
    static IndexPageEdit Format(PageEdit page, PageNumber owner, unsigned level);

    void SetPrevious(PageNumber page);
    void SetNext(PageNumber page);
    void SetTailChild(PageNumber page);
    void SetChild(std::size_t at, PageNumber page);  // Count(): the tail child

    /// Puts an entry before the one at `at`. False, and nothing changed, when it does not fit even with the best
    /// prefix.
    bool Insert(std::size_t at, std::string_view entry);
    void Erase(std::size_t at);
    /// Replaces all entries, with the best prefix. False, and nothing changed, when they do not fit.
    bool Assign(std::span<const std::string> entries);

private:
    std::uint8_t* Writable() { return page_.Data(); }
    void Splice(std::size_t at, std::string_view suffix);
    void WriteHead();

    PageEdit page_;
};

/// Length of what two entries have in common at their start.
std::size_t CommonPrefix(std::string_view left, std::string_view right);

/// An entry of a leaf; key and row pointer are also what the first part of a branch's entry is.
std::string EntryOf(std::string_view key, RowPointer row);
RowPointer RowOf(std::string_view entry);
/// An entry of a branch, and its last part.
std::string BranchEntry(std::string_view separator, PageNumber child);
PageNumber ChildOf(std::string_view branchEntry);

/// Adds up what entries, given one by one in their order, take on a page with the best prefix.
class IndexPageSize
{
public:
    explicit IndexPageSize(bool leaf) : childBytes_(leaf ? 0 : indexLayout::childSize) {}
    /// False, and not counted, when the page would be over full with it.
    bool Add(std::string_view entry);
    std::size_t Bytes() const;
    std::size_t PrefixSize() const { return prefixSize_; }
    void Clear() { *this = IndexPageSize(childBytes_ == 0); }

private:
    std::size_t childBytes_;
    std::string first_;
    std::size_t count_ = 0, total_ = 0, prefixSize_ = 0;
};

}  // namespace vmlib::jet
