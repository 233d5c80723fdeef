#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "core/ByteOrder.h"
#include "jet/FilePager.h"
#include "jet/NumberOf.h"
#include "platform/Platform.h"
#include "support/FailingFiles.h"
#include "support/TemporaryFolder.h"

namespace vmlib::jet {

/// Files of pages that mean nothing: page n of a file starts with a mark and is else filled from it, page 0 has commit
/// words.
class PagerFixture : public ::testing::Test
{
protected:
    using Marks = std::vector<std::uint32_t>;  // of pages 1 and up

    Text At(std::string_view name) const { return folder_.Path(FromUtf8(name)); }

    static PagerOptions Small()
    {
        PagerOptions options;
        options.cachePages = 6;
        options.imagePages = 3;
        options.lockWait = 100;
        options.readerWait = 100;
        return options;
    }

    static void Fill(PageEdit page, std::uint32_t mark)
    {
        for (std::size_t at = 0; at < pageSize; at += 4)
            StoreLittle(page.Data() + at, mark + static_cast<std::uint32_t>(at));
    }

    /// The mark of a page; the whole page has to agree with it.
    static std::uint32_t MarkOf(const PageRef& page)
    {
        const auto mark = LoadLittle<std::uint32_t>(page.Data());
        for (std::size_t at = 0; at < pageSize; at += 4)
            EXPECT_EQ(LoadLittle<std::uint32_t>(page.Data() + at), mark + static_cast<std::uint32_t>(at))
                << "page " << page.Number() << " is torn at " << at;
        return mark;
    }

    static Marks MarksOf(Pager& pager)
    {
        const ReadScope scope(pager);
        Marks marks;
        for (PageNumber page = 1; page < pager.PageCount(); ++page) marks.push_back(MarkOf(pager.Read(page)));
        return marks;
    }

    static std::uint16_t WordOf(Pager& pager)
    {
        const ReadScope scope(pager);
        return LoadLittle<std::uint16_t>(pager.Read(0).Data() + commitWordsAt);
    }

    std::unique_ptr<FilePager> Open(Files& files, TextView path, PagerOptions options = Small()) const
    {
        SettleJournal(files, path);
        options.temporaryFolder = folder_.Path();
        return std::make_unique<FilePager>(
            files,
            files.Open(path,
                       {options.readOnly ? FileAccess::Read : FileAccess::ReadWrite,
                        options.shared ? FileSharing::Shared : FileSharing::Exclusive, FileCreation::OpenExisting}),
            options);
    }

    std::unique_ptr<FilePager> Create(Files& files, TextView path, const Marks& marks) const
    {
        PagerOptions options = Small();
        options.isPrivate = true;
        options.temporaryFolder = folder_.Path();
        auto pager = std::make_unique<FilePager>(
            files, files.Open(path, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew}), options);
        UnitOfWork unit(*pager);
        PageEdit header = pager->Extend();
        for (std::size_t at = 0; at < 512; at += 2)
            StoreLittle(header.Data() + commitWordsAt + at, at == 0 ? createdWord : firstWord);
        for (const std::uint32_t mark : marks) Fill(pager->Extend(), mark);
        unit.Commit();
        return pager;
    }

    /// A file at rest.
    void Make(TextView path, const Marks& marks) const { Create(files_, path, marks)->Settle(); }

    // The writer dies after all pages of its unit stand in the file and before that counts.
    void Die(TextView path, std::uint32_t mark, bool shared = false)
    {
        test::FailingFiles files(files_);
        PagerOptions options = Small();
        options.shared = shared;
        files.Arm({.at = 2, .kind = test::FaultKind::PowerCut, .steps = {test::Step::Sync}});
        EXPECT_NE(NumberOf([&] {
                      const auto pager = Open(files, path, options);
                      UnitOfWork unit(*pager);
                      Fill(pager->Edit(1), mark);
                      unit.Commit();
                  }),
                  0);
    }

    static Marks Numbered(std::uint32_t first, std::size_t count)
    {
        Marks marks(count);
        for (std::size_t i = 0; i < count; ++i) marks[i] = first + static_cast<std::uint32_t>(i) * 0x10000;
        return marks;
    }

    test::TemporaryFolder folder_;
    Files& files_ = NativePlatform().files;
};

}  // namespace vmlib::jet
