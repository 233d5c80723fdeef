#pragma once

#include <memory>
#include <span>
#include <vector>

#include "jet/Definition.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet {

/// Key bytes of one row for one index: ascending as unsigned bytes. Longer than 255 bytes they are cut as docs/file-format.md, "Long keys", says.
using Key = std::string;

/// Values to key bytes.
class IndexKey
{
public:
    /// The key of a row of the table; no value when the index ignores Nulls and all columns are Null.
    static std::optional<Key> Of(const TableDefinition& table, const TreeDefinition& tree, const Row& row);
    /// The key of the first `values.size()` columns of the index, uncut and without end, to seek with (a prefix of the keys that begin with it).
    static Key Prefix(const TableDefinition& table, const TreeDefinition& tree, std::span<const Value> values);
    /// True when a column of the key is Null; all true: every column is.
    static bool HasNull(const TableDefinition& table, const TreeDefinition& tree, const Row& row);
    static bool AllNull(const TableDefinition& table, const TreeDefinition& tree, const Row& row);
    /// Bytes that order and equal text (code page 1252) as the sort order does: primary weights, accents. Trailing blanks are dropped, case is ignored.
    static void AppendText(Key& key, std::string_view ansi, std::uint16_t langid);
    /// <0, 0, >0 as the sort order has it.
    static int CompareText(std::string_view left, std::string_view right, std::uint16_t langid);
    /// Applies the rule of 255 bytes to a whole key.
    static void CutLong(Key& key);
};

/// One index's pages as an ordered set of entries (key, row pointer). Knows no rows and no table.
class IndexTree
{
public:
    /// A place between or on entries, moved with Next and Previous; survives changes of the tree (it finds its place again by its entry).
    class Position
    {
    public:
        bool AtEnd() const;          // behind the last or before the first entry
        const Key& EntryKey() const;
        RowPointer Row() const;
        void Next();
        void Previous();

    private:
        friend class IndexTree;
        struct State;
        std::shared_ptr<State> state_;
    };

    IndexTree(Pager& pager, PageAllocator& allocator, PageNumber owner, PageNumber root, std::uint32_t ownedMap);

    /// The first entry whose key is not before `key`; a prefix stands before all keys that begin with it.
    /// @throws Damaged with the page number when a page of the tree contradicts the format
    Position LowerBound(std::string_view key) const;
    /// The first entry behind all entries that begin with `prefix`.
    Position UpperBound(std::string_view prefix) const;
    Position First() const;
    Position Last() const;

    bool Contains(std::string_view key) const;  // an entry with exactly this key

    /// Entries are ordered by key, then by row pointer. Inserting may change the root; the caller stores Root() in the definition.
    void Insert(std::string_view key, RowPointer row);
    /// False when there is no such entry.
    bool Remove(std::string_view key, RowPointer row);
    PageNumber Root() const { return root_; }

    /// Makes an empty tree (one leaf); gives root and map.
    static TreeDefinition Create(Pager& pager, PageAllocator& allocator, PageNumber owner);
    /// Gives all pages and the map back.
    void Destroy();

private:
    Pager& pager_;
    PageAllocator& allocator_;
    PageNumber owner_;
    PageNumber root_;
    std::uint32_t ownedMap_;
};

/// Builds a tree from entries in any order: sorts them (in runs on a temporary file beyond a bound of memory), fills leaves, then levels upward.
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
    /// Sorts and writes the tree. With `refuseDuplicates` nothing is written when hasDuplicates.
    Result Finish(bool refuseDuplicates);

private:
    struct Sorter;
    std::unique_ptr<Sorter> sorter_;
    Pager& pager_;
    PageAllocator& allocator_;
    PageNumber owner_;
};

}  // namespace vmlib::jet
