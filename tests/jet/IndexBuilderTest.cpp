#include <gmock/gmock.h>

#include <random>
#include <set>

#include "jet/EntrySorter.h"
#include "jet/IndexPage.h"
#include "jet/IndexTree.h"
#include "jet/MemoryPager.h"
#include "jet/TreeEntries.h"
#include "jet/TreeVerifier.h"
#include "platform/Platform.h"
#include "support/FailingFiles.h"
#include "support/TemporaryFolder.h"

namespace vmlib::jet {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

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
        IndexBuilder builder(pager_, allocator_, treeOwner, files_, folder_.Path());
        std::set<std::string> expected;
        std::set<Key> keys;
        for (std::uint32_t n = 0; n < each.count; ++n) {
            const Key key = NumberKey(static_cast<std::uint32_t>(random() % (each.count * 2)), each.size);
            builder.Add(key, Pointer(n));
            expected.insert(EntryOf(key, Pointer(n)));
            keys.insert(key);
        }
        const IndexBuilder::Result result = builder.Finish(false);
        const TreeVerifier verifier(pager_, treeOwner, TreeOf(result));
        EXPECT_THAT(verifier.Faults(), IsEmpty());
        EXPECT_EQ(verifier.Entries(), std::vector<std::string>(expected.begin(), expected.end()));
        EXPECT_EQ(result.entries, each.count);
        EXPECT_EQ(result.distinctKeys, keys.size());
        EXPECT_EQ(result.hasDuplicates, keys.size() < each.count);

        // What was built can be changed.
        IndexTree tree(pager_, allocator_, treeOwner, result.root, result.ownedMap);
        for (std::uint32_t n = 0; n < 300; ++n) tree.Insert(NumberKey(n * 31, 40), Pointer(n));
        for (const std::string& entry : expected)
            ASSERT_TRUE(tree.Remove(entry.substr(0, entry.size() - 4), RowOf(entry)));
        EXPECT_THAT(TreeVerifier(pager_, treeOwner, TreeOf(result)).Entries(), SizeIs(300));
        EXPECT_THAT(TreeVerifier(pager_, treeOwner, TreeOf(result)).Faults(), IsEmpty());
    }
}

TEST_F(Builder, LevelsOfEverySizeAreSound)
{
    // Large keys: few children a branch, so that each number of pages a level comes up, also one left over.
    for (std::uint32_t count = 1; count < 400; count += 3) {
        IndexBuilder builder(pager_, allocator_, treeOwner, files_, folder_.Path());
        for (std::uint32_t n = 0; n < count; ++n)
            builder.Add(NumberKey(n, 4) + std::string(240, static_cast<char>(n)), Pointer(n));
        const auto result = builder.Finish(true);
        const TreeVerifier verifier(pager_, treeOwner, TreeOf(result));
        ASSERT_THAT(verifier.Faults(), IsEmpty()) << count;
        ASSERT_THAT(verifier.Entries(), SizeIs(count));
        for (const PageNumber page : verifier.Pages()) {
            ASSERT_GT(IndexPage(pager_.Read(page), treeOwner).Count(), 0u)
                << "page " << page << " of " << count << " entries";
        }
    }
}

TEST_F(Builder, RefusesDuplicatesButForRowsOfNulls)
{
    const Key nulls("\x00\xFF", 2);
    const auto build = [&](std::initializer_list<Key> keys, bool refuse) {
        IndexBuilder builder(pager_, allocator_, treeOwner, files_, folder_.Path());
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
        failing.Arm({.at = step,
                     .kind = test::FaultKind::Fails,
                     .fault = FileFault::DiskFull,
                     .steps = {test::Step::Write, test::Step::Create}});
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

TEST_F(Builder, FillsTheLeavesOfATreeBeyondItsMemory)
{
    std::mt19937 random(11);
    const std::uint32_t count = 120000;  // more than 4 MiB
    IndexBuilder builder(pager_, allocator_, treeOwner, files_, folder_.Path());
    for (std::uint32_t n = 0; n < count; ++n) {
        Key key("\x7F");
        for (int i = 0; i < 12; ++i) key += static_cast<char>(0x60 + random() % 26);
        builder.Add(key + std::string("\x00\x7F", 2) + NumberKey(n, 4), Pointer(n));
    }
    EXPECT_THAT(folder_.Names(), SizeIs(1)) << "a part of it stands in a file by now";
    const auto result = builder.Finish(true);
    const TreeVerifier verifier(pager_, treeOwner, TreeOf(result));
    EXPECT_THAT(verifier.Faults(), IsEmpty());
    EXPECT_THAT(verifier.Entries(), SizeIs(count));
    EXPECT_LT(verifier.FreeBytesOfLeaves(), verifier.Leaves() * 60);
}

}  // namespace
}  // namespace vmlib::jet
