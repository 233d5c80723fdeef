#include "jet/FilePager.h"

#include <algorithm>
#include <cassert>
#include <limits>

#include "jet/Damage.h"
#include "jet/StorageError.h"

namespace vmlib::jet {

namespace {

constexpr std::size_t pagesInARun = 32;  // read ahead or written in one call: 64 KiB
constexpr std::size_t agedPages = 256;   // so many pages are looked at for a clean one before changed ones are written

}  // namespace

FilePager::FilePager(Files& files, std::unique_ptr<OpenFile> file, PagerOptions options)
    : files_(files),
      options_(std::move(options)),
      file_(std::move(file), options.format == FileFormat::Format4 ? commitWordsOfFormat4 : commitWordsAt),
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
    const PageNumber count = number == nextInRow_ ? RunFrom(number) : 1;
    readRun_.resize(std::size_t{count} * pageSize);
    file_.ReadRun(number, readRun_);
    nextInRow_ = number + count;
    Frame* page = nullptr;
    for (PageNumber i = count; i-- > 0;) {  // the one that is wanted last, so that the others do not push it out
        page = NewFrame(number + i);
        std::copy_n(readRun_.data() + std::size_t{i} * pageSize, pageSize, page->bytes.begin());
    }
    return page;
}

// Pages from here on that are not in memory; what is in memory may be newer than the file.
PageNumber FilePager::RunFrom(PageNumber first) const
{
    const auto most = static_cast<PageNumber>(std::clamp<std::size_t>(cache_.Capacity() / 8, 1, pagesInARun));
    PageNumber count = 1;
    while (count < most && first + count < pageCount_ && !cache_.Holds(first + count)) ++count;
    return count;
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
void FilePager::WritePages(std::span<Frame* const> pages)
{
    const PageNumber oldEnd = levels_.empty() ? 0 : levels_.front().pageCount;
    const auto firstNew = static_cast<std::size_t>(
        std::ranges::lower_bound(pages, oldEnd, {}, [](const Frame* page) { return page->number; }) - pages.begin());
    WriteRuns(pages.subspan(firstNew));
    WriteRuns(pages.first(firstNew));
}

// Neighbours go out in one call.
void FilePager::WriteRuns(std::span<Frame* const> pages)
{
    for (std::size_t i = 0; i < pages.size();) {
        const PageNumber first = pages[i]->number;
        writeRun_.clear();
        for (PageNumber n = 0; i < pages.size() && n < pagesInARun && pages[i]->number == first + n; ++n, ++i)
            writeRun_.insert(writeRun_.end(), pages[i]->bytes.begin(), pages[i]->bytes.end());
        file_.WriteRun(first, writeRun_);
    }
}

}  // namespace vmlib::jet
