#include <gmock/gmock.h>

#include <random>
#include <set>

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/IndexPage.h"
#include "jet/IndexTree.h"
#include "jet/MemoryPager.h"
#include "jet/PageMap.h"
#include "jet/TreeEntries.h"
#include "jet/TreeVerifier.h"

namespace vmlib::jet {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

/// An index tree in a file of its own.
struct TreeInMemory
{
    MemoryPager pager;
    PageAllocator allocator{pager};
    UnitOfWork unit{pager};
    PageNumber definitionPage = allocator.Allocate().Number();
    TreeDefinition definition = IndexTree::Create(pager, allocator, treeOwner);
    IndexTree tree{pager, allocator, treeOwner, definition.root, definition.ownedMap};

    ~TreeInMemory() { unit.Commit(); }

    std::vector<std::string> Verified()
    {
        const TreeVerifier verifier(pager, treeOwner, definition);
        EXPECT_THAT(verifier.Faults(), IsEmpty());
        return verifier.Entries();
    }
};

std::string Hex(std::string_view bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[byte & 15];
    }
    return text;
}

/// Entries forward from the first or backward from the last.
std::vector<std::string> Walked(const IndexTree& tree, bool forward)
{
    std::vector<std::string> entries;
    auto at = forward ? tree.First() : tree.Last();
    for (; !at.AtEnd(); forward ? at.Next() : at.Previous()) entries.push_back(EntryOf(at.EntryKey(), at.Row()));
    if (!forward) std::reverse(entries.begin(), entries.end());
    return entries;
}

/// Keys of one kind each run: what a page can compress and hold differs widely between them.
struct KeyKind
{
    const char* name;
    std::size_t least, most;  // bytes
    std::size_t alike;        // leading bytes that all share
    int letters;              // different values of the others
};

void PrintTo(const KeyKind& kind, std::ostream* out)
{
    *out << kind.name;
}

class RandomChanges : public testing::TestWithParam<KeyKind>
{
protected:
    Key RandomKey()
    {
        const KeyKind& kind = GetParam();
        Key key(std::uniform_int_distribution(kind.least, kind.most)(random_), 'x');
        for (std::size_t i = std::min(kind.alike, key.size()); i < key.size(); ++i) {
            key[i] = static_cast<char>(std::uniform_int_distribution(0, kind.letters - 1)(random_));
        }
        return key;
    }

    std::mt19937 random_;
};

TEST_P(RandomChanges, AgreeWithASortedSet)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    random_.seed(seed);
    TreeInMemory file;
    IndexTree& tree = file.tree;
    std::set<std::string> model;
    std::vector<std::string> inserted;
    auto watcher = tree.First();  // stands on entries while the tree changes under it
    std::string watched;
    for (int change = 1; change <= 4000; ++change) {
        // Grows, shrinks to nothing, grows again.
        const int phase = change / 1000;
        const bool insert = model.empty() || random_() % 10 < (phase % 2 == 0 ? 8u : 2u);
        if (insert) {
            const Key key = RandomKey();
            const RowPointer row = Pointer(static_cast<std::uint32_t>(random_() % 5000));
            const std::string entry = EntryOf(key, row);
            if (!model.insert(entry).second) {
                EXPECT_THROW(tree.Insert(key, row), Damaged);
                continue;
            }
            tree.Insert(key, row);
        } else {
            auto victim = model.lower_bound(EntryOf(RandomKey(), {}));
            if (victim == model.end()) victim = model.begin();
            const std::string entry = *victim;
            model.erase(victim);
            ASSERT_TRUE(tree.Remove(entry.substr(0, entry.size() - 4), RowOf(entry)));
            ASSERT_FALSE(tree.Remove(entry.substr(0, entry.size() - 4), RowOf(entry)));
        }

        // One step of the watcher: to what is next now, whatever happened to its own entry.
        if (watcher.AtEnd()) {
            watcher = tree.First();
            ASSERT_EQ(watcher.AtEnd(), model.empty());
            if (!watcher.AtEnd()) {
                ASSERT_EQ(EntryOf(watcher.EntryKey(), watcher.Row()), *model.begin());
            }
        } else {
            const bool forward = random_() % 3 != 0;
            auto expected = forward ? model.upper_bound(watched) : model.lower_bound(watched);
            forward ? watcher.Next() : watcher.Previous();
            if (forward ? expected == model.end() : expected == model.begin()) {
                ASSERT_TRUE(watcher.AtEnd());
            } else {
                ASSERT_FALSE(watcher.AtEnd());
                ASSERT_EQ(Hex(EntryOf(watcher.EntryKey(), watcher.Row())),
                          Hex(*(forward ? expected : std::prev(expected))));
            }
        }
        if (!watcher.AtEnd()) watched = EntryOf(watcher.EntryKey(), watcher.Row());

        if (change % 100 == 0) {
            ASSERT_EQ(file.Verified(), std::vector<std::string>(model.begin(), model.end())) << "change " << change;
            ASSERT_EQ(Walked(tree, true), file.Verified());
            ASSERT_EQ(Walked(tree, false), file.Verified());
            for (int i = 0; i < 20; ++i) {
                const Key key = RandomKey().substr(0, random_() % 6 + 1);
                const auto low = tree.LowerBound(key);
                const auto expected = model.lower_bound(key);
                ASSERT_EQ(low.AtEnd(), expected == model.end());
                if (!low.AtEnd()) {
                    ASSERT_EQ(EntryOf(low.EntryKey(), low.Row()), *expected);
                }
                const auto high = tree.UpperBound(key);
                auto behind = expected;
                while (behind != model.end() && behind->starts_with(key)) ++behind;
                ASSERT_EQ(high.AtEnd(), behind == model.end());
                if (!high.AtEnd()) {
                    ASSERT_EQ(EntryOf(high.EntryKey(), high.Row()), *behind);
                }
            }
        }
    }
    while (!model.empty()) {
        const std::string entry = *model.begin();
        ASSERT_TRUE(tree.Remove(entry.substr(0, entry.size() - 4), RowOf(entry)));
        model.erase(model.begin());
    }
    EXPECT_THAT(file.Verified(), IsEmpty());
    EXPECT_EQ(PageMap(file.pager, file.definition.ownedMap).Count(), 1u);
    tree.Destroy();
    PageMap freePages(file.pager, PageMap::freeMapPointer);
    for (PageNumber page = 3; page < file.pager.PageCount(); ++page) EXPECT_TRUE(freePages.Contains(page)) << page;
}

INSTANTIATE_TEST_SUITE_P(Keys, RandomChanges,
                         testing::Values(KeyKind{"Single bytes, mostly equal keys", 1, 1, 0, 3},
                                         KeyKind{"Short", 1, 6, 1, 4}, KeyKind{"Text of usual length", 8, 40, 1, 26},
                                         KeyKind{"Alike but for their end", 230, 240, 225, 250},
                                         KeyKind{"Long and different", 200, 255, 0, 256},
                                         KeyKind{"All lengths", 1, 255, 0, 2}));

TEST(IndexTree, AscendingEntriesLeaveFullPages)
{
    TreeInMemory file;
    for (std::uint32_t n = 0; n < 20000; ++n) file.tree.Insert(NumberKey(n), Pointer(n));
    const TreeVerifier verifier(file.pager, treeOwner, file.definition);
    EXPECT_THAT(verifier.Faults(), IsEmpty());
    EXPECT_THAT(verifier.Entries(), SizeIs(20000));
    EXPECT_LT(verifier.FreeBytesOfLeaves(), verifier.Leaves() * 1800 / 20);  // 95 % full
}

TEST(IndexTree, GrowsAndShrinksByLevels)
{
    TreeInMemory file;
    const std::uint32_t count = 4000;  // of 250 bytes that share nothing: seven a page, five levels
    const auto key = [](std::uint32_t n) {
        return NumberKey(n * 2654435761u, 4) + std::string(246, static_cast<char>(n));
    };
    for (std::uint32_t n = 0; n < count; ++n) file.tree.Insert(key(n), Pointer(n));
    EXPECT_THAT(file.Verified(), SizeIs(count));
    EXPECT_GE(IndexPage(file.pager.Read(file.tree.Root()), treeOwner).Level(), 3u);
    const std::size_t pagesBefore = file.pager.PageCount();
    for (std::uint32_t n = 0; n < count; ++n) {
        if (n % 7 == 0) continue;
        ASSERT_TRUE(file.tree.Remove(key(n), Pointer(n)));
    }
    EXPECT_THAT(file.Verified(), SizeIs((count + 6) / 7));
    for (std::uint32_t n = 0; n < count; ++n) {
        if (n % 7 != 0) file.tree.Insert(key(n), Pointer(n));
    }
    EXPECT_THAT(file.Verified(), SizeIs(count));
    EXPECT_LT(file.pager.PageCount(), pagesBefore * 5 / 4) << "pages given back are used again";
    for (std::uint32_t n = 1; n < count; ++n) ASSERT_TRUE(file.tree.Remove(key(n), Pointer(n)));
    EXPECT_THAT(file.Verified(), SizeIs(1));
    EXPECT_TRUE(IndexPage(file.pager.Read(file.tree.Root()), treeOwner).IsLeaf()) << "one leaf needs no branch";
}

TEST(IndexTree, SeeksLongKeysByTheirFirstPart)
{
    TreeInMemory file;
    Key uncut = std::string(300, 'k');
    Key cut = uncut;
    IndexKey::CutLong(cut);
    file.tree.Insert(cut, Pointer(1));
    EXPECT_TRUE(file.tree.Contains(cut));
    const auto at = file.tree.LowerBound(uncut);
    ASSERT_FALSE(at.AtEnd());
    EXPECT_EQ(at.EntryKey(), cut);
    EXPECT_TRUE(file.tree.UpperBound(uncut).AtEnd());
}

TEST(IndexTree, PositionSurvivesARollback)
{
    TreeInMemory file;
    for (std::uint32_t n = 0; n < 500; n += 2) file.tree.Insert(NumberKey(n), Pointer(n));
    auto at = file.tree.LowerBound(NumberKey(100));
    {
        UnitOfWork inner(file.pager);
        for (std::uint32_t n = 1; n < 3000; n += 2) file.tree.Insert(NumberKey(n, 50), Pointer(n));
        for (std::uint32_t n = 1; n < 500; n += 2) file.tree.Insert(NumberKey(n), Pointer(n));
        at.Next();
        EXPECT_EQ(Hex(at.EntryKey()), Hex(NumberKey(101)));
    }
    at.Next();
    EXPECT_EQ(Hex(at.EntryKey()), Hex(NumberKey(102)));
    at.Previous();
    EXPECT_EQ(Hex(at.EntryKey()), Hex(NumberKey(100)));
}

TEST(IndexTree, CopiesOfAPositionMoveAlone)
{
    TreeInMemory file;
    for (std::uint32_t n = 0; n < 5; ++n) file.tree.Insert(NumberKey(n), Pointer(n));
    auto one = file.tree.First();
    auto other = one;
    one.Next();
    EXPECT_EQ(one.Row(), Pointer(1));
    EXPECT_EQ(other.Row(), Pointer(0));
    other.Previous();
    EXPECT_TRUE(other.AtEnd());
    other.Previous();
    other.Next();
    EXPECT_EQ(other.Row(), Pointer(0)) << "from before the first entry the way leads back to it";
    auto behind = file.tree.UpperBound(NumberKey(4));
    EXPECT_TRUE(behind.AtEnd());
    behind.Previous();
    EXPECT_EQ(behind.Row(), Pointer(4));
}

// ----------------------------------------------------------------------------------------------- damage

/// One thing wrong in a tree of three levels; every way through it must end, with an error or without.
struct Wound
{
    const char* name;
    void (*inflict)(TreeInMemory& file, PageNumber leaf, PageNumber branch);
};

void PrintTo(const Wound& wound, std::ostream* out)
{
    *out << wound.name;
}

class DamagedTree : public testing::TestWithParam<Wound>
{
};

TEST_P(DamagedTree, IsRefusedByName)
{
    TreeInMemory file;
    for (std::uint32_t n = 0; n < 3000; ++n)
        file.tree.Insert(NumberKey(n * 2654435761u, 4) + std::string(60, 'x'), Pointer(n));
    const IndexPage root(file.pager.Read(file.tree.Root()), treeOwner);
    ASSERT_EQ(root.Level(), 2u);
    const PageNumber branch = root.Child(0);
    const PageNumber leaf = IndexPage(file.pager.Read(branch), treeOwner).Child(3);
    GetParam().inflict(file, leaf, branch);
    EXPECT_THROW(Walked(file.tree, true), Damaged);
    EXPECT_THROW(Walked(file.tree, false), Damaged);
}

void Poke(TreeInMemory& file, PageNumber page, std::size_t at, std::uint32_t value)
{
    StoreLittle<std::uint32_t>(file.pager.Edit(page).Data() + at, value);
}

INSTANTIATE_TEST_SUITE_P(
    Wounds, DamagedTree,
    testing::Values(
        Wound{"free bytes", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[2] ^= 1; }},
        Wound{"another owner", [](auto& f, PageNumber leaf, PageNumber) { Poke(f, leaf, 4, treeOwner + 1); }},
        Wound{"next leaf is itself",
              [](auto& f, PageNumber leaf, PageNumber) { Poke(f, leaf, 12, leaf), Poke(f, leaf, 8, leaf); }},
        Wound{"next leaf is far behind the end",
              [](auto& f, PageNumber leaf, PageNumber) { Poke(f, leaf, 12, 0xFFFFFFFF), Poke(f, leaf, 8, 1u << 24); }},
        Wound{"neighbour is a branch",
              [](auto& f, PageNumber leaf, PageNumber branch) { Poke(f, leaf, 12, branch), Poke(f, leaf, 8, branch); }},
        Wound{"leaf of level 7", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[21] = 7; }},
        Wound{"prefix beyond the first entry",
              [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[20] = 255; }},
        Wound{"entries that end at the start",
              [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[22] |= 1; }},
        Wound{"entries that end behind the page",
              [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[247] |= 0x80; }},
        Wound{"an entry too many", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[22] |= 2; }},
        Wound{"two entries out of order",
              [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[248 + 68 + 1] = 0xFF; }},
        Wound{"zero page", [](auto& f, PageNumber leaf, PageNumber) { f.pager.EditZeroed(leaf); }}));

TEST(IndexTree, DamagedBranchesEndEverySearch)
{
    struct
    {
        const char* name;
        std::size_t at;
        std::uint32_t value;
    } const wounds[] = {
        {"no tail child", 16, 0},           {"tail child far away", 16, 0xFFFFFF}, {"tail child is the header", 16, 0},
        {"its own tail child", 16, 0xABCD}, {"a level too high", 20, 0x05000000},  {"a leaf", 20, 0},
    };
    for (const auto& wound : wounds) {
        SCOPED_TRACE(wound.name);
        TreeInMemory file;
        for (std::uint32_t n = 0; n < 600; ++n) file.tree.Insert(NumberKey(n, 100) + NumberKey(n), Pointer(n));
        const PageNumber root = file.tree.Root();
        Poke(file, root, wound.at, wound.value == 0xABCD ? root : wound.value);
        EXPECT_THROW(file.tree.Last(), Damaged);
        EXPECT_THROW(file.tree.Insert(NumberKey(100000, 100) + NumberKey(1), Pointer(1)), Damaged);
        EXPECT_THROW(file.tree.Remove(NumberKey(599, 100) + NumberKey(599), Pointer(599)), Damaged);
    }
}

TEST(IndexTree, EmptyLeavesInACircleAreRefused)
{
    TreeInMemory file;
    Poke(file, file.tree.Root(), 8, file.tree.Root());
    Poke(file, file.tree.Root(), 12, file.tree.Root());
    EXPECT_THROW(file.tree.First(), Damaged);
    EXPECT_THROW(file.tree.Last(), Damaged);
}

TEST(IndexTree, RandomBytesNeverHang)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    TreeInMemory file;
    for (std::uint32_t n = 0; n < 2000; ++n) file.tree.Insert(NumberKey(n, 20 + n % 3 * 40), Pointer(n));
    const std::vector<PageNumber> pages = PageMap(file.pager, file.definition.ownedMap).All();
    int refused = 0;
    for (int round = 0; round < 500; ++round) {
        UnitOfWork rolledBack(file.pager);
        for (unsigned i = 0; i <= random() % 4; ++i) {
            PageEdit page = file.pager.Edit(pages[random() % pages.size()]);
            page.Data()[random() % (random() % 2 ? 248 : 2048)] = static_cast<std::uint8_t>(random());
        }
        try {
            Walked(file.tree, true);
            Walked(file.tree, false);
            for (std::uint32_t n = 0; n < 50; ++n) {
                const std::uint32_t number = static_cast<std::uint32_t>(random() % 2000);
                file.tree.Remove(NumberKey(number, 20 + number % 3 * 40), Pointer(number));
                file.tree.Insert(NumberKey(n + 5000, 30), Pointer(n));
            }
        } catch (const Damaged&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 100);
}

}  // namespace
}  // namespace vmlib::jet
