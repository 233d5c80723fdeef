#pragma once

#include <array>
#include <memory>
#include <unordered_map>
#include <vector>

#include "jet/Pager.h"

namespace vmlib::jet {

/// A page in memory with what the cache knows of it.
struct Frame : CachedPage
{
    bool dirty = false;      // differs from the file
    Frame* newer = nullptr;  // neighbours in the order of use
    Frame* older = nullptr;
    alignas(8) std::array<std::uint8_t, pageSize> bytes;

    bool IsHeld() const { return references != 0; }
};

/// Pages in memory by number, in the order of their last use. Knows nothing of files.
class PageCache
{
public:
    explicit PageCache(std::size_t capacity) : capacity_(capacity) {}
    PageCache(const PageCache&) = delete;
    PageCache& operator=(const PageCache&) = delete;
    ~PageCache() = default;

    bool IsFull() const { return pages_.size() >= capacity_; }
    std::size_t Capacity() const { return capacity_; }

    /// The page, now the one used last; null when it is not in memory.
    Frame* Find(PageNumber number);
    /// True when it is in memory; does not count as a use.
    bool Holds(PageNumber number) const { return pages_.contains(number); }
    /// A page that is not in memory yet; its contents are not set.
    Frame* Add(PageNumber number);
    /// Takes a page out; whoever holds it keeps its bytes as they are.
    void Remove(Frame* page);
    void RemoveFrom(PageNumber first);  // and all behind it

    /// The clean page that nobody holds and that was used longest ago; null when there is none among the `among`
    /// oldest.
    Frame* OldestClean(std::size_t among);

    std::vector<Frame*> All() const;
    std::vector<Frame*> Dirty() const;  // by number

private:
    void Link(Frame* page);
    void Unlink(Frame* page);

    std::size_t capacity_;
    std::unordered_map<PageNumber, std::unique_ptr<Frame>> pages_;
    std::vector<std::unique_ptr<Frame>> orphans_;  // taken out while somebody held them
    Frame* newest_ = nullptr;
    Frame* oldest_ = nullptr;
};

}  // namespace vmlib::jet
