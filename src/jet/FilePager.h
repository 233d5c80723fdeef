#pragma once

#include <functional>
#include <memory>
#include <thread>
#include <unordered_map>
#include <vector>

#include "jet/ImageStore.h"
#include "jet/Journal.h"
#include "jet/PageCache.h"
#include "jet/PageFile.h"
#include "jet/Pager.h"

namespace vmlib::jet {

/// How a FilePager was given its file.
struct PagerOptions
{
    FileFormat format = FileFormat::Format3;
    bool readOnly = false;
    bool shared = false;            // opened with FileSharing::Shared: others may read and write, so locks are taken
    bool isPrivate = false;         // made by this process and held exclusively: no journal before the first Settle
    Text temporaryFolder;           // for savepoints that do not fit in memory
    std::size_t cachePages = 4096;  // 8 MiB
    std::size_t imagePages = 1024;  // of before-images in memory
    int lockWait = 1000;            // milliseconds that a writer waits for another writer
    int readerWait = 5000;          // milliseconds that a commit waits for readers, and a reader for a commit
};

/// The Pager over an open file. One thread at a time.
///
/// A unit of work writes nothing to the file before its outermost commit, unless the cache is full of changed pages:
/// then they are spilled into the file behind a synced journal, as a commit would write them. Private files are written
/// whenever it suits the cache.
class FilePager final : public Pager
{
public:
    /// The file is opened, its journal settled. @param file  opened as the options say
    FilePager(Files& files, std::unique_ptr<OpenFile> file, PagerOptions options);
    FilePager(const FilePager&) = delete;
    FilePager& operator=(const FilePager&) = delete;
    /// Rolls a running unit back. What Close would have written of a private file is lost: close first.
    ~FilePager() override;

    bool IsReadOnly() const override { return options_.readOnly; }
    FileFormat Format() const override { return options_.format; }
    bool IsShared() const { return options_.shared; }
    PageNumber PageCount() const override { return pageCount_; }
    PageRef Read(PageNumber number) override;
    PageEdit Edit(PageNumber number) override;
    PageEdit EditZeroed(PageNumber number) override;
    PageEdit Extend() override;
    std::uint64_t Generation() const override { return generation_; }

    void BeginUnit() override;
    void CommitUnit() override;
    void RollbackUnit() noexcept override;
    void BeginRead() override;
    void EndRead() noexcept override;

    /// A unit that takes no lock before something in it changes: the transactions of a workspace, which may only read.
    void BeginLazyUnit();
    /// The two halves of committing the outermost unit, for a commit over several files: after PrepareCommit everything
    /// is in the file and on the disk, but a crash or RollbackUnit still undoes it; FinishCommit makes it count and
    /// ends the unit.
    /// @param alone  no other file commits with it: what is on the disk then counts at once
    void PrepareCommit(bool alone = false);
    void FinishCommit();
    std::size_t UnitDepth() const { return levels_.size(); }

    /// Writes a private file out and syncs it; from then on it is journalled as any other. Within a unit this happens
    /// when the unit ends.
    void Settle();
    bool IsPrivate() const { return options_.isPrivate; }

    /// The same file with other rights: closes the descriptor and opens it again, with the former rights when the new
    /// ones are refused. Two shared descriptors overlap instead. @throws what `open` throws; nothing may be going on
    /// (no unit, no reading)
    using Opener = std::function<std::unique_ptr<OpenFile>(bool readOnly, bool shared)>;
    void Reopen(const Opener& open, bool readOnly, bool shared);

    OpenFile& File() { return file_.Port(); }

private:
    /// A savepoint: what changed pages were when it began.
    struct Level
    {
        PageNumber pageCount = 0;
        std::unordered_map<PageNumber, ImageStore::Slot> images;
    };

    void RequireSound() const;

    // Pages in memory (FilePager.cpp)
    Frame* Load(PageNumber number);
    Frame* NewFrame(PageNumber number);
    void MakeRoom();
    void SpillDirty();
    PageNumber RunFrom(PageNumber first) const;
    void WritePages(std::span<Frame* const> pages);
    void WriteRuns(std::span<Frame* const> pages);

    // Units of work (FilePagerUnits.cpp)
    bool ImageWanted(std::size_t level, PageNumber number) const;
    void Remember(Frame& page);
    void KeepBeforeImage(const Frame& page);
    void StartJournal();
    void PutJournalAway() noexcept;
    void DeleteIdleJournal() noexcept;
    void StampCommitWord();
    void SealJournal(std::span<Frame* const> dirty);
    void BeginOverwriting();
    void MergeIntoParent();
    Frame* FrameForRollback(PageNumber number);
    void RestoreImages(Level& level);
    void UndoPrepared() noexcept;
    void RollbackJournalled() noexcept;
    void ForgetChanges();
    void EndOutermost() noexcept;
    void BeforeCopy();

    // Other processes (FilePagerSharing.cpp)
    bool RequireWriting();
    void Refresh();
    void WaitForWriter();
    void Reload();
    void LockForOverwriting();
    bool LockForReading();
    void UnlockReading() noexcept;
    void SettleReadingLock() noexcept;

    PageNumber nextInRow_ = noPage;  // behind the pages that were read last: who asks for it reads in order
    std::vector<std::uint8_t> readRun_;
    std::vector<std::uint8_t> writeRun_;

    Files& files_;
    PagerOptions options_;
    PageFile file_;
    PageCache cache_;
    ImageStore images_;
    std::vector<Level> levels_;
    std::unique_ptr<Journal> journal_;      // of the running unit
    std::unique_ptr<Journal> idleJournal_;  // of an exclusive opener, between two units

    PageNumber pageCount_ = 0;
    CommitWords knownWords_{};  // as of the pages in memory
    std::uint64_t knownSize_ = 0;
    std::uint64_t generation_ = 1;
    std::uint64_t preparedSize_ = 0;
    std::size_t readDepth_ = 0;
    bool writingHeld_ = false;  // FileLock::Writing
    bool readingHeld_ = false;  // FileLock::Reading, shared or not
    bool overwriting_ = false;  // pages of the unit may stand in the file
    bool prepared_ = false;     // all of them do, and are on the disk
    bool settleWanted_ = false;
    std::thread::id owner_ = std::this_thread::get_id();
    bool failed_ = false;  // the file could not be brought back to a known state: nothing goes any more
};

}  // namespace vmlib::jet
