#include "jet/PageCache.h"

#include <algorithm>
#include <cassert>

namespace vmlib::jet {

Frame* PageCache::Find(PageNumber number)
{
    const auto found = pages_.find(number);
    if (found == pages_.end()) return nullptr;
    Frame* page = found->second.get();
    if (page != newest_) {
        Unlink(page);
        Link(page);
    }
    return page;
}

Frame* PageCache::Add(PageNumber number)
{
    if (!orphans_.empty()) std::erase_if(orphans_, [](const auto& orphan) { return !orphan->IsHeld(); });
    auto& place = pages_[number];
    assert(place == nullptr);
    place = std::make_unique_for_overwrite<Frame>();
    place->number = number;
    place->data = place->bytes.data();
    Link(place.get());
    return place.get();
}

void PageCache::Remove(Frame* page)
{
    Unlink(page);
    const auto found = pages_.find(page->number);
    if (page->IsHeld()) orphans_.push_back(std::move(found->second));
    pages_.erase(found);
}

void PageCache::RemoveFrom(PageNumber first)
{
    for (Frame* page : All()) {
        if (page->number >= first) Remove(page);
    }
}

Frame* PageCache::OldestClean(std::size_t among)
{
    Frame* page = oldest_;
    while (page != nullptr && (page->dirty || page->IsHeld())) page = among-- > 0 ? page->newer : nullptr;
    return page;
}

std::vector<Frame*> PageCache::All() const
{
    std::vector<Frame*> all;
    all.reserve(pages_.size());
    for (const auto& entry : pages_) all.push_back(entry.second.get());
    return all;
}

std::vector<Frame*> PageCache::Dirty() const
{
    std::vector<Frame*> dirty;
    for (const auto& entry : pages_) {
        if (entry.second->dirty) dirty.push_back(entry.second.get());
    }
    std::ranges::sort(dirty, {}, &Frame::number);
    return dirty;
}

void PageCache::Link(Frame* page)
{
    page->newer = nullptr;
    page->older = newest_;
    if (newest_ != nullptr) newest_->newer = page;
    newest_ = page;
    if (oldest_ == nullptr) oldest_ = page;
}

void PageCache::Unlink(Frame* page)
{
    if (page->newer != nullptr) page->newer->older = page->older;
    if (page->older != nullptr) page->older->newer = page->newer;
    if (newest_ == page) newest_ = page->older;
    if (oldest_ == page) oldest_ = page->newer;
    page->newer = page->older = nullptr;
}

}  // namespace vmlib::jet
