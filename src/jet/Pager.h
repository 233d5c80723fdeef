#pragma once

#include <functional>
#include <memory>
#include <span>
#include <utility>

#include "jet/Format.h"
#include "platform/Files.h"

namespace vmlib::jet {

class Pager;

/// A page as a pager holds it in memory. A pager keeps what else it knows of a page in a struct of its own derived from
/// this one.
struct CachedPage
{
    std::uint8_t* data = nullptr;  // pageSize bytes
    PageNumber number = noPage;
    std::uint32_t references = 0;  // PageRefs that hold it; the pager may drop or reuse a page only while nobody does
};

/// A page in memory to read from. Holding it keeps the page in the cache; its bytes change when somebody edits the page
/// meanwhile.
class PageRef
{
public:
    PageRef() = default;
    PageRef(const PageRef& other) : PageRef(other.page_) {}
    PageRef(PageRef&& other) noexcept : page_(std::exchange(other.page_, nullptr)) {}
    PageRef& operator=(PageRef other) noexcept
    {
        std::swap(page_, other.page_);
        return *this;
    }
    ~PageRef()
    {
        if (page_) --page_->references;
    }

    const std::uint8_t* Data() const { return page_->data; }
    std::span<const std::uint8_t, pageSize> Bytes() const
    {
        return std::span<const std::uint8_t, pageSize>(Data(), pageSize);
    }
    PageNumber Number() const { return page_->number; }
    explicit operator bool() const { return page_ != nullptr; }

private:
    friend class Pager;
    friend class PageEdit;
    explicit PageRef(CachedPage* page) : page_(page)
    {
        if (page_) ++page_->references;
    }
    CachedPage* page_ = nullptr;
};

/// A page in memory to write to, made by Pager::Edit. The page belongs to the running unit of work.
class PageEdit
{
public:
    PageEdit() = default;
    std::uint8_t* Data() const { return ref_.page_->data; }
    std::span<std::uint8_t, pageSize> Bytes() const { return std::span<std::uint8_t, pageSize>(Data(), pageSize); }
    PageNumber Number() const { return ref_.Number(); }
    const PageRef& Ref() const { return ref_; }

private:
    friend class Pager;
    explicit PageEdit(PageRef ref) : ref_(std::move(ref)) {}
    PageRef ref_;
};

/// Pages of one file in memory: read, changed, journalled, written. Knows units of work, not what a page means.
///
/// Invariants (a checker in the tests watches the writes):
///  1. A page of an existing file is overwritten only after its before-image and the journal's header are on disk.
///  2. The journal goes only after all pages of the unit are on disk. Until then a crash gives the state before the
///  unit.
///  3. A file that this process has just created and nobody else can see needs no journal: its pages are synced once,
///  when it is closed.
///  4. While pages are being written the commit word of slot 0 is 0000, afterwards its old value + 1.
///  5. New pages are written before the pages that point at them as far as one unit allows: pages beyond the old end
///  first.
class Pager
{
public:
    virtual ~Pager() = default;

    virtual bool IsReadOnly() const = 0;
    /// Whose pages these are, for those who decode them; the pager counts pages of format 3 in any case.
    virtual FileFormat Format() const { return FileFormat::Format3; }
    /// Pages in the file, pages of the running unit included.
    virtual PageNumber PageCount() const = 0;

    /// @throws Damaged when the page lies beyond the end of the file
    virtual PageRef Read(PageNumber number) = 0;
    /// A page to change; the first time in a unit its before-image is kept. Needs a running unit (assert). @throws
    /// Error 3027 when read only
    virtual PageEdit Edit(PageNumber number) = 0;
    /// As Edit, but the contents do not matter and are zero (the page is about to be built anew).
    virtual PageEdit EditZeroed(PageNumber number) = 0;
    /// Adds a zero page at the end of the file. @throws Error 3036 beyond 1 GB
    virtual PageEdit Extend() = 0;

    /// Goes up whenever pages changed by other means than Edit: a rollback, or another process's commit. Whoever keeps
    /// decoded pages compares it and decodes again.
    virtual std::uint64_t Generation() const = 0;

    /// Units of work; used through UnitOfWork and ReadScope.
    virtual void BeginUnit() = 0;  // nested ones are savepoints
    /// The outermost one makes it durable. When it throws, RollbackUnit has to end the unit, which undoes it.
    virtual void CommitUnit() = 0;
    virtual void RollbackUnit() noexcept = 0;
    virtual void
    BeginRead() = 0;  // nests; other processes' commits wait until EndRead, and are noticed at the next BeginRead
    virtual void EndRead() noexcept = 0;

protected:
    static PageRef Reference(CachedPage& page) { return PageRef(&page); }
    static PageEdit Editable(CachedPage& page) { return PageEdit(PageRef(&page)); }
};

/// One change, whole or not at all: commits when told so, else rolls back.
class UnitOfWork
{
public:
    explicit UnitOfWork(Pager& pager) : pager_(pager) { pager_.BeginUnit(); }
    UnitOfWork(const UnitOfWork&) = delete;
    UnitOfWork& operator=(const UnitOfWork&) = delete;
    ~UnitOfWork()
    {
        if (!done_) pager_.RollbackUnit();
    }
    /// When it throws, the unit is rolled back and the file is as before.
    void Commit()
    {
        pager_.CommitUnit();
        done_ = true;
    }

private:
    Pager& pager_;
    bool done_ = false;
};

/// A stretch of reading during which no other process's commit interferes.
class ReadScope
{
public:
    explicit ReadScope(Pager& pager) : pager_(pager) { pager_.BeginRead(); }
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;
    ~ReadScope() { pager_.EndRead(); }

private:
    Pager& pager_;
};

}  // namespace vmlib::jet
