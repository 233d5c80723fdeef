#include <algorithm>
#include <cassert>
#include <utility>

#include "core/ByteOrder.h"
#include "jet/FilePager.h"
#include "jet/StorageError.h"

// Units of work: savepoints, the journal, commit and rollback.
namespace vmlib::jet {

void FilePager::BeginUnit()
{
    RequireSound();
    RequireWriting();
    levels_.push_back({pageCount_, {}});
}

void FilePager::BeginLazyUnit()
{
    RequireSound();
    levels_.push_back({pageCount_, {}});
}

void FilePager::CommitUnit()
{
    assert(!levels_.empty());
    RequireSound();
    if (levels_.size() > 1) {
        MergeIntoParent();
        return;
    }
    PrepareCommit(true);
    FinishCommit();
}

void FilePager::PrepareCommit(bool alone)
{
    assert(levels_.size() == 1 && !prepared_);
    RequireSound();
    if (options_.isPrivate || (journal_ == nullptr && cache_.Dirty().empty())) return;
    StampCommitWord();
    std::vector<Frame*> dirty = cache_.Dirty();
    if (alone) SealJournal(dirty);
    BeginOverwriting();
    dirty.erase(dirty.begin());  // the header page, whose commit word ends the writing
    WritePages(dirty);
    const std::uint64_t end = std::uint64_t{pageCount_} * pageSize;
    if (file_.Size() > std::max(end, knownSize_)) file_.Resize(end);
    file_.Write(0, Load(0)->bytes);
    file_.Sync();
    preparedSize_ = file_.Size();
    prepared_ = true;
}

// Saves the sync that makes the journal invalid. Not where the journal serves the next unit, nor for one of several
// files, whose commit still may be taken back, nor when pages of the unit stand in the file already.
void FilePager::SealJournal(std::span<Frame* const> dirty)
{
    const std::uint64_t size = std::max<std::uint64_t>(std::uint64_t{pageCount_} * pageSize, knownSize_);
    if (!options_.shared || overwriting_ || dirty.size() > Journal::greatestSealedCount || file_.Size() > size) return;
    std::vector<JournalHeader::Sample> pages;
    for (const Frame* page : dirty) pages.push_back(journal_->After(page->number, page->bytes));
    journal_->Seal(size, pages);
}

void FilePager::FinishCommit()
{
    if (options_.isPrivate) {
        for (const auto& image : levels_.front().images) images_.Drop(image.second);
    } else if (prepared_) {
        try {
            if (!journal_->IsSealed()) journal_->Invalidate();
        } catch (...) {
            UndoPrepared();
            throw;
        }
        for (Frame* page : cache_.Dirty()) page->dirty = false;
        std::copy_n(Load(0)->bytes.data() + commitWordsAt, knownWords_.size(), knownWords_.begin());
        knownSize_ = preparedSize_;
        PutJournalAway();
    }
    EndOutermost();
    if (settleWanted_) Settle();
}

// The journal could not be made invalid, or perhaps it was: only when it surely counts again may the old pages come
// back.
void FilePager::UndoPrepared() noexcept
{
    try {
        journal_->Revalidate();
    } catch (...) {
        failed_ = true;  // the file is whole, with the unit or, by its journal, without
        journal_.reset();
        overwriting_ = false;
        pageCount_ = levels_.front().pageCount;
        return;
    }
    RollbackJournalled();
}

void FilePager::RollbackUnit() noexcept
{
    assert(!levels_.empty());
    const bool outermost = levels_.size() == 1;
    if (outermost && !options_.isPrivate) {
        RollbackJournalled();
        EndOutermost();
        return;
    }
    try {
        RestoreImages(levels_.back());
    } catch (...) {
        failed_ = true;
    }
    if (outermost) {
        EndOutermost();
    } else {
        levels_.pop_back();
    }
}

// A private file that was damaged by a failed write is written again whole: the pages are dirty until the sync has said
// that they are there.
void FilePager::Settle()
{
    if (!options_.isPrivate) return;
    settleWanted_ = !levels_.empty();
    if (settleWanted_) return;
    RequireSound();

    std::vector<Frame*> dirty = cache_.Dirty();
    const std::vector<Frame*> changed = dirty;
    Frame* const header = Load(0);
    const PageRef pinned = Reference(*header);
    std::erase(dirty, header);
    file_.WriteCommitWord(writingWord);
    WritePages(dirty);
    file_.Resize(std::uint64_t{pageCount_} * pageSize);
    std::array<std::uint8_t, pageSize> bytes;
    std::ranges::copy(header->bytes, bytes.begin());
    StoreLittle(&bytes[commitWordsAt], writingWord);
    file_.Write(0, bytes);
    file_.Sync();
    // Only a file whose pages are all on the disk says so.
    file_.Write(0, header->bytes);
    file_.Sync();

    for (Frame* page : changed) page->dirty = false;
    options_.isPrivate = false;
    knownWords_ = file_.ReadCommitWords();
    knownSize_ = file_.Size();
}

// Which savepoints need a copy of a page before it changes: the outermost one of a journalled file has its journal, and
// pages that are younger than the savepoint go with it.
bool FilePager::ImageWanted(std::size_t level, PageNumber number) const
{
    if (level == 0 && !options_.isPrivate) return false;
    return number < levels_[level].pageCount && !levels_[level].images.contains(number);
}

void FilePager::Remember(Frame& page)
{
    if (!options_.isPrivate) KeepBeforeImage(page);
    const std::size_t level = levels_.size() - 1;
    if (ImageWanted(level, page.number)) levels_[level].images.emplace(page.number, images_.Put(page.bytes));
}

void FilePager::KeepBeforeImage(const Frame& page)
{
    if (journal_ == nullptr) StartJournal();
    if (page.number < levels_.front().pageCount && !journal_->Holds(page.number))
        journal_->Append(page.number, page.bytes);
}

// Journals of this file were settled when it was opened or locked; what is still there belongs to another file.
void FilePager::StartJournal()
{
    const JournalHeader about = JournalHeader::Of(file_);
    if (idleJournal_ != nullptr && idleJournal_->CanRestart()) {
        idleJournal_->Restart(about);
        journal_ = std::exchange(idleJournal_, nullptr);
    } else {
        idleJournal_.reset();
        const Text& path = file_.Port().Path();
        if (files_.Exists(Journal::PathFor(path))) MoveJournalAside(files_, path);
        journal_ = std::make_unique<Journal>(files_, path, about);
    }
    std::array<std::uint8_t, pageSize> header;
    file_.Read(0, header);
    journal_->Append(0, header);  // every commit changes the commit word
}

// An exclusive opener keeps the file for its next unit, which saves making and deleting a name each time; nobody else
// looks at it meanwhile.
void FilePager::PutJournalAway() noexcept
{
    if (!options_.shared && journal_->CanRestart()) {
        idleJournal_ = std::move(journal_);
    } else {
        journal_->Delete();
        journal_.reset();
    }
}

void FilePager::DeleteIdleJournal() noexcept
{
    if (idleJournal_ != nullptr) idleJournal_->Delete();
    idleJournal_.reset();
}

void FilePager::StampCommitWord()
{
    if (journal_ == nullptr) StartJournal();
    Frame* const header = Load(0);
    std::uint8_t* const word = header->bytes.data() + commitWordsAt;
    StoreLittle(word, NextCommitWord(CommitWordOf(knownWords_)));
    header->dirty = true;
}

void FilePager::BeginOverwriting()
{
    if (journal_ == nullptr) StartJournal();
    journal_->Sync();
    if (overwriting_) return;
    LockForOverwriting();
    overwriting_ = true;
    file_.WriteCommitWord(writingWord);
}

void FilePager::MergeIntoParent()
{
    Level level = std::move(levels_.back());
    levels_.pop_back();
    const std::size_t parent = levels_.size() - 1;
    for (const auto& [number, slot] : level.images) {
        if (ImageWanted(parent, number)) {
            levels_[parent].images.emplace(number, slot);
        } else {
            images_.Drop(slot);
        }
    }
}

// A rollback must not fail because the disk is full: rather than that the cache grows.
Frame* FilePager::FrameForRollback(PageNumber number)
{
    try {
        return NewFrame(number);
    } catch (const Error&) {
        return cache_.Add(number);
    }
}

void FilePager::RestoreImages(Level& level)
{
    if (level.images.empty() && pageCount_ == level.pageCount) return;
    ++generation_;
    pageCount_ = level.pageCount;
    cache_.RemoveFrom(pageCount_);
    for (const auto& [number, slot] : level.images) {
        Frame* page = cache_.Find(number);
        if (page == nullptr) page = FrameForRollback(number);
        page->dirty = true;
        images_.Get(slot, page->bytes);
        images_.Drop(slot);
    }
    level.images.clear();
}

// Afterwards the file is as before the unit, on the disk too; or, when that fails, the journal stays and the pager
// refuses to go on.
void FilePager::RollbackJournalled() noexcept
{
    if (journal_ == nullptr && pageCount_ == levels_.front().pageCount) return;
    ++generation_;
    pageCount_ = levels_.front().pageCount;
    try {
        if (overwriting_) {
            journal_->PlayInto(file_);
            journal_->Invalidate();
        }
        ForgetChanges();
    } catch (...) {
        failed_ = true;
    }
    if (journal_ != nullptr && !(failed_ && overwriting_)) PutJournalAway();
    journal_.reset();
    overwriting_ = prepared_ = false;
}

// Pages in memory that the unit has changed become those of the file again; those that somebody holds do so in place.
void FilePager::ForgetChanges()
{
    for (Frame* page : cache_.All()) {
        const bool changed = page->dirty || (overwriting_ && journal_->Holds(page->number));
        if (page->number >= pageCount_ || (changed && !page->IsHeld())) {
            cache_.Remove(page);
        } else if (changed) {
            file_.Read(page->number, page->bytes);
            page->dirty = false;
        }
    }
}

void FilePager::EndOutermost() noexcept
{
    levels_.clear();
    journal_.reset();
    overwriting_ = prepared_ = false;
    SettleReadingLock();
    if (writingHeld_) file_.Unlock(FileLock::Writing);
    writingHeld_ = false;
}

// Somebody in this process copies the file by name. Nothing but whole states may leave it.
void FilePager::BeforeCopy()
{
    const bool ours = std::this_thread::get_id() == owner_;
    const bool halfDone = overwriting_ || (options_.isPrivate && (!ours || !levels_.empty()));
    if (halfDone || failed_) throw FileError(FileFault::SharingViolation, file_.Port().Path());
    if (ours) Settle();
}

}  // namespace vmlib::jet
