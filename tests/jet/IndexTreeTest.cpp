#include "jet/IndexTree.h"

#include <gmock/gmock.h>

#include <chrono>
#include <random>
#include <set>

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/EntrySorter.h"
#include "jet/IndexPage.h"
#include "jet/MemoryPager.h"
#include "jet/PageMap.h"
#include "jet/TreeVerifier.h"
#include "platform/Platform.h"
#include "support/FailingFiles.h"
#include "support/TemporaryFolder.h"

namespace vmlib::jet {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr PageNumber owner = 2;  // the first page that is allocated: stands for the definition of the table

/// An index tree in a file of its own.
struct TreeInMemory
{
    MemoryPager pager;
    PageAllocator allocator{pager};
    UnitOfWork unit{pager};
    PageNumber definitionPage = allocator.Allocate().Number();
    TreeDefinition definition = IndexTree::Create(pager, allocator, owner);
    IndexTree tree{pager, allocator, owner, definition.root, definition.ownedMap};

    ~TreeInMemory() { unit.Commit(); }

    std::vector<std::string> Verified()
    {
        const TreeVerifier verifier(pager, owner, definition);
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

RowPointer Pointer(std::uint32_t number)
{
    return {number / 200 + 20, static_cast<std::uint8_t>(number % 200)};
}

/// Big endian, so that keys ascend with the numbers; `size` bytes, those in front all alike.
Key NumberKey(std::uint32_t number, std::size_t size = 5)
{
    Key key(size, '\x7F');
    StoreBig<std::uint32_t>(reinterpret_cast<std::uint8_t*>(key.data()) + size - 4, number);
    return key;
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
    std::size_t least, most;   // bytes
    std::size_t alike;         // leading bytes that all share
    int letters;               // different values of the others
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
                ASSERT_EQ(Hex(EntryOf(watcher.EntryKey(), watcher.Row())), Hex(*(forward ? expected : std::prev(expected))));
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
                                         KeyKind{"Short", 1, 6, 1, 4},
                                         KeyKind{"Text of usual length", 8, 40, 1, 26},
                                         KeyKind{"Alike but for their end", 230, 240, 225, 250},
                                         KeyKind{"Long and different", 200, 255, 0, 256},
                                         KeyKind{"All lengths", 1, 255, 0, 2}));

TEST(IndexTree, AscendingEntriesLeaveFullPages)
{
    TreeInMemory file;
    for (std::uint32_t n = 0; n < 20000; ++n) file.tree.Insert(NumberKey(n), Pointer(n));
    const TreeVerifier verifier(file.pager, owner, file.definition);
    EXPECT_THAT(verifier.Faults(), IsEmpty());
    EXPECT_THAT(verifier.Entries(), SizeIs(20000));
    EXPECT_LT(verifier.FreeBytesOfLeaves(), verifier.Leaves() * 1800 / 20);  // 95 % full
}

TEST(IndexTree, GrowsAndShrinksByLevels)
{
    TreeInMemory file;
    const std::uint32_t count = 4000;  // of 250 bytes that share nothing: seven a page, five levels
    const auto key = [](std::uint32_t n) { return NumberKey(n * 2654435761u, 4) + std::string(246, static_cast<char>(n)); };
    for (std::uint32_t n = 0; n < count; ++n) file.tree.Insert(key(n), Pointer(n));
    EXPECT_THAT(file.Verified(), SizeIs(count));
    EXPECT_GE(IndexPage(file.pager.Read(file.tree.Root()), owner).Level(), 3u);
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
    for (std::uint32_t n = 0; n < 3000; ++n) file.tree.Insert(NumberKey(n * 2654435761u, 4) + std::string(60, 'x'), Pointer(n));
    const IndexPage root(file.pager.Read(file.tree.Root()), owner);
    ASSERT_EQ(root.Level(), 2u);
    const PageNumber branch = root.Child(0);
    const PageNumber leaf = IndexPage(file.pager.Read(branch), owner).Child(3);
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
        Wound{"another owner", [](auto& f, PageNumber leaf, PageNumber) { Poke(f, leaf, 4, owner + 1); }},
        Wound{"next leaf is itself", [](auto& f, PageNumber leaf, PageNumber) { Poke(f, leaf, 12, leaf), Poke(f, leaf, 8, leaf); }},
        Wound{"next leaf is far behind the end", [](auto& f, PageNumber leaf, PageNumber) { Poke(f, leaf, 12, 0xFFFFFFFF), Poke(f, leaf, 8, 1u << 24); }},
        Wound{"neighbour is a branch", [](auto& f, PageNumber leaf, PageNumber branch) { Poke(f, leaf, 12, branch), Poke(f, leaf, 8, branch); }},
        Wound{"leaf of level 7", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[21] = 7; }},
        Wound{"prefix beyond the first entry", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[20] = 255; }},
        Wound{"entries that end at the start", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[22] |= 1; }},
        Wound{"entries that end behind the page", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[247] |= 0x80; }},
        Wound{"an entry too many", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[22] |= 2; }},
        Wound{"two entries out of order", [](auto& f, PageNumber leaf, PageNumber) { f.pager.Edit(leaf).Data()[248 + 68 + 1] = 0xFF; }},
        Wound{"zero page", [](auto& f, PageNumber leaf, PageNumber) { f.pager.EditZeroed(leaf); }}));

TEST(IndexTree, DamagedBranchesEndEverySearch)
{
    struct
    {
        const char* name;
        std::size_t at;
        std::uint32_t value;
    } const wounds[] = {
        {"no tail child", 16, 0},           {"tail child far away", 16, 0xFFFFFF},    {"tail child is the header", 16, 0},
        {"its own tail child", 16, 0xABCD}, {"a level too high", 20, 0x05000000},     {"a leaf", 20, 0},
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

// ----------------------------------------------------------------------------------------------- building

class Builder : public testing::Test
{
protected:
    test::TemporaryFolder folder_;
    Files& files_ = NativePlatform().files;
    MemoryPager pager_;
    PageAllocator allocator_{pager_};
    UnitOfWork unit_{pager_};

    Builder() { allocator_.Allocate(); }
    ~Builder() override { unit_.Commit(); }

    static TreeDefinition TreeOf(const IndexBuilder::Result& result)
    {
        TreeDefinition tree;
        tree.root = result.root;
        tree.ownedMap = result.ownedMap;
        return tree;
    }
};

TEST_F(Builder, MakesTheSetOfItsEntries)
{
    std::mt19937 random(5);
    struct
    {
        std::uint32_t count;
        std::size_t size;
    } const cases[] = {{0, 5}, {1, 5}, {2, 255}, {50, 255}, {300, 5}, {5000, 9}, {3000, 200}};
    for (const auto& each : cases) {
        SCOPED_TRACE(std::to_string(each.count) + " keys of " + std::to_string(each.size));
        IndexBuilder builder(pager_, allocator_, owner, files_, folder_.Path());
        std::set<std::string> expected;
        std::set<Key> keys;
        for (std::uint32_t n = 0; n < each.count; ++n) {
            const Key key = NumberKey(static_cast<std::uint32_t>(random() % (each.count * 2)), each.size);
            builder.Add(key, Pointer(n));
            expected.insert(EntryOf(key, Pointer(n)));
            keys.insert(key);
        }
        const IndexBuilder::Result result = builder.Finish(false);
        const TreeVerifier verifier(pager_, owner, TreeOf(result));
        EXPECT_THAT(verifier.Faults(), IsEmpty());
        EXPECT_EQ(verifier.Entries(), std::vector<std::string>(expected.begin(), expected.end()));
        EXPECT_EQ(result.entries, each.count);
        EXPECT_EQ(result.distinctKeys, keys.size());
        EXPECT_EQ(result.hasDuplicates, keys.size() < each.count);

        // What was built can be changed.
        IndexTree tree(pager_, allocator_, owner, result.root, result.ownedMap);
        for (std::uint32_t n = 0; n < 300; ++n) tree.Insert(NumberKey(n * 31, 40), Pointer(n));
        for (const std::string& entry : expected) ASSERT_TRUE(tree.Remove(entry.substr(0, entry.size() - 4), RowOf(entry)));
        EXPECT_THAT(TreeVerifier(pager_, owner, TreeOf(result)).Entries(), SizeIs(300));
        EXPECT_THAT(TreeVerifier(pager_, owner, TreeOf(result)).Faults(), IsEmpty());
    }
}

TEST_F(Builder, LevelsOfEverySizeAreSound)
{
    // Large keys: few children a branch, so that each number of pages a level comes up, also one left over.
    for (std::uint32_t count = 1; count < 400; count += 3) {
        IndexBuilder builder(pager_, allocator_, owner, files_, folder_.Path());
        for (std::uint32_t n = 0; n < count; ++n) builder.Add(NumberKey(n, 4) + std::string(240, static_cast<char>(n)), Pointer(n));
        const auto result = builder.Finish(true);
        const TreeVerifier verifier(pager_, owner, TreeOf(result));
        ASSERT_THAT(verifier.Faults(), IsEmpty()) << count;
        ASSERT_THAT(verifier.Entries(), SizeIs(count));
        for (const PageNumber page : verifier.Pages()) {
            ASSERT_GT(IndexPage(pager_.Read(page), owner).Count(), 0u) << "page " << page << " of " << count << " entries";
        }
    }
}

TEST_F(Builder, RefusesDuplicatesButForRowsOfNulls)
{
    const Key nulls("\x00\xFF", 2);
    const auto build = [&](std::initializer_list<Key> keys, bool refuse) {
        IndexBuilder builder(pager_, allocator_, owner, files_, folder_.Path());
        std::uint32_t n = 0;
        for (const Key& key : keys) builder.Add(key, Pointer(n++));
        return builder.Finish(refuse, nulls);
    };
    const PageNumber before = pager_.PageCount();
    const auto refused = build({"b", "a", "c", "b", "c"}, true);
    EXPECT_TRUE(refused.hasDuplicates);
    EXPECT_EQ(refused.firstDuplicate, "b");
    EXPECT_EQ(refused.root, noPage);
    EXPECT_EQ(pager_.PageCount(), before) << "nothing is written";

    EXPECT_FALSE(build({nulls, "a", nulls, nulls}, true).hasDuplicates);
    const auto counted = build({"b", "a", "b", "b"}, false);
    EXPECT_TRUE(counted.hasDuplicates);
    EXPECT_EQ(counted.distinctKeys, 2u);
    EXPECT_EQ(counted.entries, 4u);
}

TEST_F(Builder, SortsBeyondItsMemoryInRuns)
{
    std::mt19937 random(9);
    EntrySorter sorter(files_, folder_.Path(), 4096);
    std::multiset<std::string> expected;
    for (int n = 0; n < 5000; ++n) {
        std::string entry(random() % 200, 'q');
        for (char& each : entry) each = static_cast<char>(random() % 3);
        sorter.Add(entry);
        expected.insert(entry);
    }
    EXPECT_THAT(folder_.Names(), SizeIs(1));
    for (int time = 0; time < 2; ++time) {
        std::vector<std::string> sorted;
        sorter.ForEach([&](std::string_view entry) { return sorted.emplace_back(entry), true; });
        EXPECT_EQ(sorted, std::vector<std::string>(expected.begin(), expected.end()));
    }
}

TEST_F(Builder, LeavesNoTemporaryFileBehind)
{
    for (int step = 1; step < 30; ++step) {
        test::FailingFiles failing(files_);
        failing.Arm({.at = step, .kind = test::FaultKind::Fails, .fault = FileFault::DiskFull, .steps = {test::Step::Write, test::Step::Create}});
        bool finished = false;
        try {
            EntrySorter sorter(failing, folder_.Path(), 4096);
            for (std::uint32_t n = 0; n < 2000; ++n) sorter.Add(NumberKey(n * 7919, 30));
            std::size_t count = 0;
            sorter.ForEach([&](std::string_view) { return ++count, true; });
            EXPECT_EQ(count, 2000u);
            finished = true;
        } catch (const Error& error) {
            EXPECT_TRUE(error.Is(ErrorNumber::EngineDiskFull)) << error.what();
        }
        EXPECT_EQ(finished, !failing.Struck());
        EXPECT_THAT(folder_.Names(), IsEmpty());
        if (finished) break;
    }
}

TEST_F(Builder, Takes120000EntriesQuickly)
{
    std::mt19937 random(11);
    std::vector<Key> keys;
    for (std::uint32_t n = 0; n < 120000; ++n) {
        Key key("\x7F");
        for (int i = 0; i < 12; ++i) key += static_cast<char>(0x60 + random() % 26);
        keys.push_back(key + std::string("\x00\x7F", 2) + NumberKey(n, 4));
    }
    const auto start = std::chrono::steady_clock::now();
    IndexBuilder builder(pager_, allocator_, owner, files_, folder_.Path());
    for (std::uint32_t n = 0; n < keys.size(); ++n) builder.Add(keys[n], Pointer(n));
    const auto result = builder.Finish(true);
    const auto taken = std::chrono::steady_clock::now() - start;
    RecordProperty("milliseconds", static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(taken).count()));
    std::printf("%d ms\n", static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(taken).count()));
    const TreeVerifier verifier(pager_, owner, TreeOf(result));
    EXPECT_THAT(verifier.Faults(), IsEmpty());
    EXPECT_THAT(verifier.Entries(), SizeIs(keys.size()));
    EXPECT_LT(verifier.FreeBytesOfLeaves(), verifier.Leaves() * 60) << "leaves are full";
}

}  // namespace
}  // namespace vmlib::jet
