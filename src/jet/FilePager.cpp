#include "jet/FilePager.h"

#include <algorithm>
#include <cassert>
#include <limits>

#include "jet/Damage.h"
#include "jet/StorageError.h"

namespace vmlib::jet {

namespace {

constexpr std::size_t agedPages = 256;  // so many pages are looked at for a clean one before changed ones are written

}  // namespace

FilePager::FilePager(Files& files, std::unique_ptr<OpenFile> file, PagerOptions options)
    : files_(files),
      options_(std::move(options)),
      file_(std::move(file)),
      cache_(options_.cachePages),
      images_(files, options_.temporaryFolder, options_.imagePages)
{
    knownWords_ = file_.ReadCommitWords();
    knownSize_ = file_.Size();
    pageCount_ = static_cast<PageNumber>(knownSize_ / pageSize);
    file_.Port().OnCopy([this] { BeforeCopy(); });
}

FilePager::~FilePager()
{
    while (!levels_.empty()) RollbackUnit();
    DeleteIdleJournal();
}

void FilePager::RequireSound() const
{
    if (failed_) throw Error(ErrorNumber::DiskOrNetwork);
}

PageRef FilePager::Read(PageNumber number)
{
    RequireSound();
    if (options_.shared && readDepth_ == 0 && !writingHeld_) {
        const ReadScope scope(*this);  // a caller without a scope gets at least a whole page of the present
        return Reference(*Load(number));
    }
    return Reference(*Load(number));
}

PageEdit FilePager::Edit(PageNumber number)
{
    assert(!levels_.empty() && !prepared_);
    RequireSound();
    if (options_.readOnly) throw Error(ErrorNumber::ReadOnly);
    if (RequireWriting())
        throw Error(ErrorNumber::DataChanged);  // what the caller saw before this edit is no longer so
    Frame* const page = Load(number);
    Remember(*page);
    page->dirty = true;
    return Editable(*page);
}

PageEdit FilePager::EditZeroed(PageNumber number)
{
    PageEdit edit = Edit(number);
    std::ranges::fill(edit.Bytes(), std::uint8_t{0});
    return edit;
}

PageEdit FilePager::Extend()
{
    assert(!levels_.empty() && !prepared_);
    RequireSound();
    if (options_.readOnly) throw Error(ErrorNumber::ReadOnly);
    if (RequireWriting()) throw Error(ErrorNumber::DataChanged);
    if ((std::uint64_t{pageCount_} + 1) * pageSize > greatestFileSize) throw Error(ErrorNumber::DatabaseFull);
    Frame* page = NewFrame(pageCount_);
    std::ranges::fill(page->bytes, std::uint8_t{0});
    page->dirty = true;
    ++pageCount_;
    return Editable(*page);
}

Frame* FilePager::Load(PageNumber number)
{
    if (number >= pageCount_) throw Damaged(number, "the page lies beyond the end of the file");
    if (Frame* page = cache_.Find(number)) return page;
    Frame* page = NewFrame(number);
    try {
        file_.Read(number, page->bytes);
    } catch (...) {
        cache_.Remove(page);
        throw;
    }
    return page;
}

Frame* FilePager::NewFrame(PageNumber number)
{
    MakeRoom();
    return cache_.Add(number);
}

// When everything is pinned the cache grows beyond its size for as long as that lasts.
void FilePager::MakeRoom()
{
    while (cache_.IsFull()) {
        Frame* oldest = cache_.OldestClean(agedPages);
        if (oldest == nullptr) {
            SpillDirty();
            oldest = cache_.OldestClean(std::numeric_limits<std::size_t>::max());
        }
        if (oldest == nullptr) return;
        cache_.Remove(oldest);
    }
}

// Pages that somebody holds stay dirty, because he may be about to change them further. The header page stays in
// memory: in the file its commit word says that somebody is writing.
void FilePager::SpillDirty()
{
    std::vector<Frame*> dirty = cache_.Dirty();
    std::erase_if(dirty, [](const Frame* page) { return page->IsHeld() || page->number == 0; });
    if (dirty.empty()) return;
    if (!options_.isPrivate) BeginOverwriting();
    WritePages(dirty);
    for (Frame* page : dirty) page->dirty = false;
}

// Pages behind the old end first: they are where a full disk shows, and nothing points at them yet.
void FilePager::WritePages(const std::vector<Frame*>& pages)
{
    const PageNumber oldEnd = levels_.empty() ? 0 : levels_.front().pageCount;
    const auto firstNew = std::ranges::lower_bound(pages, oldEnd, {}, &Frame::number);
    for (auto page = firstNew; page != pages.end(); ++page) file_.Write((*page)->number, (*page)->bytes);
    for (auto page = pages.begin(); page != firstNew; ++page) file_.Write((*page)->number, (*page)->bytes);
}

}  // namespace vmlib::jet
