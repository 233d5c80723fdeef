#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/posix/PosixFiles.h"
#include "platform/posix/ScratchFolder.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {
namespace {

TEST(ScratchFolderTest, WhatIsNotSyncedThereIsNeverTakenForSynced)
{
    const TemporaryFolder scratch, elsewhere;
    posix::PosixFiles files;
    const auto isKnownSynced = [&](const TemporaryFolder& folder, const char* name) {
        auto file = files.Open(folder.Path(FromUtf8(name)), {.access = FileAccess::ReadWrite,
                                                             .creation = FileCreation::CreateNew,
                                                             .temporary = true,
                                                             .listedAs = u"admin"});
        file->WriteAt(0, std::vector<std::uint8_t>{1});
        file->Sync();
        EXPECT_EQ(folder.Names().size(), &folder == &scratch ? 1u : 2u) << "the list of users";
        struct stat facts;
        EXPECT_EQ(::stat(folder.Native(name).c_str(), &facts), 0);
        file.reset();
        return posix::IsKnownSynced(facts);
    };
    posix::SetScratchFolder(scratch.Native().string());
    EXPECT_FALSE(isKnownSynced(scratch, "a.mdb"));
    EXPECT_TRUE(isKnownSynced(elsewhere, "b.mdb"));
    EXPECT_FALSE(posix::IsScratch(scratch.Native("below/a.mdb").string()));
    EXPECT_FALSE(posix::IsScratch(scratch.Native().string() + "2/a.mdb"));
    posix::SetScratchFolder("");
}

}  // namespace
}  // namespace vmlib::test
