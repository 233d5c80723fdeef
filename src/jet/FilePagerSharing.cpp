#include <cassert>
#include <chrono>
#include <thread>

#include "jet/FilePager.h"
#include "jet/StorageError.h"

// What other processes do to the file: locks, their commits, their crashes. An exclusive opener meets none of it.
namespace vmlib::jet {

void FilePager::BeginRead()
{
    RequireSound();
    // Who holds the writing lock needs no other one to read: nobody else can write pages meanwhile.
    if (options_.shared && readDepth_ == 0 && !writingHeld_) {
        if (!LockForReading()) throw Error(ErrorNumber::CouldNotRead);
        try {
            Refresh();
        } catch (...) {
            SettleReadingLock();
            throw;
        }
    }
    ++readDepth_;
}

void FilePager::EndRead() noexcept
{
    assert(readDepth_ > 0);
    if (--readDepth_ == 0 && !overwriting_) SettleReadingLock();
}

// Becomes the one who may change the file; true when what was in memory has become stale.
bool FilePager::RequireWriting()
{
    if (!options_.shared || options_.readOnly || writingHeld_) return false;
    if (!file_.Lock(FileLock::Writing, true, options_.lockWait)) throw Error(ErrorNumber::LockedBySession);
    const std::uint64_t before = generation_;
    writingHeld_ = true;
    try {
        // A journal that is there while nobody writes was left by one who died.
        if (files_.Exists(Journal::PathFor(file_.Port().Path()))) {
            LockForOverwriting();
            SettleJournalAlone(files_, file_, file_.Port().Path());
            SettleReadingLock();
        }
        Refresh();
    } catch (...) {
        SettleReadingLock();
        file_.Unlock(FileLock::Writing);
        writingHeld_ = false;
        throw;
    }
    return generation_ != before;
}

// Called with the reading or the writing lock: nobody commits at the moment.
void FilePager::Refresh()
{
    CommitWords words = file_.ReadCommitWords();
    if (CommitWordOf(words) == writingWord && CommitWordOf(knownWords_) != writingWord) {
        WaitForWriter();
        words = file_.ReadCommitWords();
    }
    const std::uint64_t size = file_.Size();
    if (words == knownWords_ && size == knownSize_) return;
    knownWords_ = words;
    knownSize_ = size;
    Reload();
}

// Among ourselves 0000 under a lock means that a writer died: his journal is played back. Other programs for the format
// take other locks; their 0000 passes by itself.
void FilePager::WaitForWriter()
{
    const Text path = file_.Port().Path();
    for (int waited = 0;; waited += 50) {
        if (!writingHeld_) {
            UnlockReading();
            SettleJournal(files_, path);
            if (!LockForReading()) throw Error(ErrorNumber::CouldNotRead);
        }
        if (CommitWordOf(file_.ReadCommitWords()) != writingWord) return;
        if (waited >= options_.lockWait) throw Error(ErrorNumber::DamagedDatabase);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

void FilePager::Reload()
{
    ++generation_;
    pageCount_ = static_cast<PageNumber>(knownSize_ / pageSize);
    for (Level& level : levels_) level.pageCount = pageCount_;
    for (Frame* page : cache_.All()) {
        assert(!page->dirty);
        if (page->number >= pageCount_ || !page->IsHeld()) {
            cache_.Remove(page);
        } else {
            file_.Read(page->number, page->bytes);
        }
    }
}

void FilePager::LockForOverwriting()
{
    if (!options_.shared) return;
    if (!file_.Lock(FileLock::Reading, true, options_.readerWait)) throw Error(ErrorNumber::CouldNotSaveLocked);
    readingHeld_ = true;
}

bool FilePager::LockForReading()
{
    if (!file_.Lock(FileLock::Reading, false, options_.readerWait)) return false;
    readingHeld_ = true;
    return true;
}

void FilePager::UnlockReading() noexcept
{
    if (readingHeld_) file_.Unlock(FileLock::Reading);
    readingHeld_ = false;
}

// The reading lock is held, shared, as long as somebody reads; who began while the writing lock was held gets it now.
void FilePager::SettleReadingLock() noexcept
{
    if (!options_.shared) return;
    if (readDepth_ == 0) {
        UnlockReading();
        return;
    }
    try {
        if (!LockForReading()) failed_ = true;
    } catch (...) {
        failed_ = true;  // what is read from now on could be torn
    }
}

void FilePager::Reopen(const Opener& open, bool readOnly, bool shared)
{
    assert(levels_.empty() && readDepth_ == 0);
    RequireSound();
    Settle();
    DeleteIdleJournal();
    const FileIdentity identity = file_.Port().Identity();
    std::unique_ptr<OpenFile> next;
    if (shared && options_.shared) {
        next = open(readOnly, shared);
    } else {
        file_.Exchange(nullptr);
        try {
            next = open(readOnly, shared);
        } catch (...) {
            try {
                file_.Exchange(open(options_.readOnly, options_.shared));
            } catch (...) {
                failed_ = true;
            }
            throw;
        }
    }
    file_.Exchange(std::move(next));
    options_.readOnly = readOnly;
    options_.shared = shared;
    file_.Port().OnCopy([this] { BeforeCopy(); });
    if (file_.Port().Identity() != identity) failed_ = true;
    RequireSound();
    if (shared) {
        const ReadScope scope(*this);
    } else {
        Refresh();
    }
}

}  // namespace vmlib::jet
