#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/Definition.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet {

class EntrySorter;
class IndexPage;

/// Key bytes of one row for one index: ascending as unsigned bytes. Longer than 255 bytes they are cut as
/// docs/file-format.md, "Long keys", says.
using Key = std::string;

/// Values to key bytes.
class IndexKey
{
public:
    /// The key of a row of the table; no value when the index ignores Nulls and all columns are Null.
    /// @throws Error 3251 for text in a sort order that is not known
    static std::optional<Key> Of(const TableDefinition& table, const TreeDefinition& tree, const Row& row);
    /// The key of the first `values.size()` columns of the index, uncut and without end, to seek with (a prefix of the
    /// keys that begin with it). For an exact match with values of all columns apply CutLong to it.
    static Key Prefix(const TableDefinition& table, const TreeDefinition& tree, std::span<const Value> values);
    /// The key of rows whose columns are all Null: the one key that may come repeatedly in a unique index.
    static Key OfNulls(const TreeDefinition& tree);
    /// True when a column of the key is Null; all true: every column is.
    static bool HasNull(const TableDefinition& table, const TreeDefinition& tree, const Row& row);
    static bool AllNull(const TableDefinition& table, const TreeDefinition& tree, const Row& row);

    /// The sort orders whose keys can be made.
    static bool KnowsOrder(std::uint16_t langid);
    /// Bytes that order and equal text (code page 1252) as the sort order does: primary weights, accents. Trailing
    /// blanks are dropped, case is ignored. @throws Error 3251 for a sort order that is not known
    static void AppendText(Key& key, std::string_view ansi, std::uint16_t langid);
    /// <0, 0, >0 as the sort order has it; an unknown one is taken for General, so that its files can be read.
    static int CompareText(std::string_view left, std::string_view right, std::uint16_t langid);
    /// Applies the rule of 255 bytes to a whole key.
    static void CutLong(Key& key);
};

/// One index's pages as an ordered set of entries (key, row pointer). Knows no rows and no table.
///
///     IndexTree tree = table.Tree(0);
///     for (auto at = tree.LowerBound(prefix); !at.AtEnd(); at.Next()) use(at.Row());
///
/// Reading wants a ReadScope, changing a unit of work around it. The root never changes its page: a tree that grows
/// moves the root's entries to a new page.
class IndexTree
{
public:
    /// A place between or on entries, moved with Next and Previous; survives changes of the tree (it finds its place
    /// again by its entry) but not the Pager. A copy moves on its own.
    class Position
    {
    public:
        Position() = default;  // at the end of nothing
        Position(const Position& other);
        Position(Position&& other) noexcept;
        Position& operator=(Position other) noexcept;
        ~Position();

        bool AtEnd() const;  // behind the last or before the first entry
        const Key& EntryKey() const;
        RowPointer Row() const;
        /// To the next or previous entry, also when the entry itself was removed meanwhile. From behind the last entry
        /// Previous leads to the last, from before the first Next leads to the first.
        /// @throws Damaged with the page number when a page of the tree contradicts the format
        void Next();
        void Previous();

    private:
        friend class IndexTree;
        struct State;
        explicit Position(std::unique_ptr<State> state);
        std::unique_ptr<State> state_;
    };

    IndexTree(Pager& pager, PageAllocator& allocator, PageNumber owner, PageNumber root, std::uint32_t ownedMap);

    /// The first entry whose key is not before `key`; a prefix stands before all keys that begin with it. Of more than
    /// 255 bytes, which no entry has, the first 253 count.
    /// @throws Damaged with the page number when a page of the tree contradicts the format
    Position LowerBound(std::string_view key) const;
    /// The first entry behind all entries that begin with `prefix` (its first 253 bytes when it has more than 255).
    Position UpperBound(std::string_view prefix) const;
    Position First() const;
    Position Last() const;

    bool Contains(std::string_view key) const;  // an entry with exactly this key

    /// Entries are ordered by key, then by row pointer.
    /// @throws Damaged when the entry is there already
    void Insert(std::string_view key, RowPointer row);
    /// False when there is no such entry. A page that becomes empty is given back.
    bool Remove(std::string_view key, RowPointer row);
    PageNumber Root() const { return root_; }

    /// Makes an empty tree (one leaf); gives root and map.
    static TreeDefinition Create(Pager& pager, PageAllocator& allocator, PageNumber owner);
    /// Gives all pages and the map back.
    void Destroy();

private:
    /// A page on the way from the root down: which of its entries was followed; the number of its entries means the
    /// tail child.
    struct Step
    {
        PageNumber page = noPage;
        std::size_t at = 0;
    };
    using Path = std::vector<Step>;

    Path PathTo(std::string_view entry) const;
    void InsertAt(Path& path, std::size_t depth, std::string_view entry);
    void Split(Path& path, std::size_t depth, std::string_view entry);
    void GrowRoot(Path& path);
    void RemovePage(Path& path, std::size_t depth);
    void TidyBranch(Path& path, std::size_t depth);
    bool MoveOnlyChild(Path& path, std::size_t depth);
    void ShrinkRoot();
    PageEdit NewPage();
    void Unlink(const IndexPage& page);
    void FreePage(PageNumber page);

    Pager& pager_;
    PageAllocator& allocator_;
    PageNumber owner_;
    PageNumber root_;
    std::uint32_t ownedMap_;
};

/// Builds a tree from entries in any order: sorts them (in runs on a temporary file beyond a bound of memory), fills
/// leaves, then levels upward.
///
///     IndexBuilder builder(pager, allocator, definitionPage, files, temporaryFolder);
///     for (each row) builder.Add(key, row);
///     const auto result = builder.Finish(tree.unique, IndexKey::OfNulls(tree));
///     if (tree.unique && result.hasDuplicates) throw Error(ErrorNumber::DuplicateValue);
class IndexBuilder
{
public:
    /// @param files  for the runs of a large sort, in `temporaryFolder`; memory stays below about 4 MiB
    IndexBuilder(Pager& pager, PageAllocator& allocator, PageNumber owner, Files& files, TextView temporaryFolder);
    ~IndexBuilder();
    void Add(std::string_view key, RowPointer row);

    struct Result
    {
        PageNumber root = noPage;
        std::uint32_t ownedMap = 0;
        std::uint32_t entries = 0;
        std::uint32_t distinctKeys = 0;
        bool hasDuplicates = false;  // two entries with one key
        Key firstDuplicate;
    };
    /// Sorts and writes the tree. With `refuseDuplicates` nothing is written when hasDuplicates; root and map are 0
    /// then.
    /// @param repeatable  a key that may come repeatedly without being a duplicate (IndexKey::OfNulls)
    Result Finish(bool refuseDuplicates, std::string_view repeatable = {});

private:
    std::unique_ptr<EntrySorter> sorter_;
    Pager& pager_;
    PageAllocator& allocator_;
    PageNumber owner_;
};

}  // namespace vmlib::jet
