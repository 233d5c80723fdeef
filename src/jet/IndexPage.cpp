#include "jet/IndexPage.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "core/ByteOrder.h"
#include "jet/Damage.h"

namespace vmlib::jet {

using namespace indexLayout;

namespace {

constexpr std::size_t greatestPrefix = 255;
constexpr std::size_t leastKeySize = 1;

}  // namespace

// --------------------------------------------------------------------------------------------- reading

IndexPage::IndexPage(PageNumber number, const std::uint8_t* bytes, PageNumber owner) : number_(number), bytes_(bytes)
{
    Parse(owner);
}

void IndexPage::Parse(PageNumber owner)
{
    const bool isLeaf = IsOfKind(bytes_, PageKind::IndexLeaf);
    if (!isLeaf && !IsOfKind(bytes_, PageKind::IndexBranch))
        throw Damaged(number_, "no index page where one is expected");
    if (Link(indexLayout::owner) != owner) throw Damaged(number_, "an index page of another table");
    level_ = bytes_[level];
    if (isLeaf != (level_ == 0) || level_ > greatestLevel) throw Damaged(number_, "an index page of the wrong level");

    count_ = 0;
    std::size_t shortest = room;  // of the entries, without the first `prefix` bytes
    std::size_t end = 0;
    for (std::size_t byte = 0; byte < endsSize; byte += 8) {
        std::uint64_t bits = LoadLittle<std::uint64_t>(bytes_ + ends + byte);
        if (byte + 8 > endsSize) bits &= (std::uint64_t{1} << 8 * (endsSize - byte)) - 1;
        for (; bits != 0; bits &= bits - 1) {
            const std::size_t at = 8 * byte + static_cast<std::size_t>(std::countr_zero(bits));
            if (at == 0 || at > room) throw Damaged(number_, "an index entry ends outside the page");
            if (count_ > 0) shortest = std::min(shortest, at - end);
            ends_[count_++] = static_cast<std::uint16_t>(at);
            end = at;
        }
    }
    prefixSize_ = count_ == 0 ? 0 : bytes_[prefix];
    const std::size_t tailBytes = ChildBytes();
    if (count_ > 0) {
        if (prefixSize_ + tailBytes > ends_[0])
            throw Damaged(number_, "the prefix is longer than the first index entry");
        shortest = std::min(shortest, ends_[0] - prefixSize_);
        if (shortest < tailBytes || shortest + prefixSize_ < leastKeySize + rowPointerSize + tailBytes) {
            throw Damaged(number_, "an index entry is too short");
        }
    }
    if (LoadLittle<std::uint16_t>(bytes_ + freeBytes) != room - UsedBytes()) {
        throw Damaged(number_, "the free bytes of an index page are not what its entries leave");
    }
}

PageNumber IndexPage::Link(std::size_t at) const
{
    return LoadLittle<std::uint32_t>(bytes_ + at);
}

PageNumber IndexPage::Previous() const
{
    return Link(previous);
}

PageNumber IndexPage::Next() const
{
    return Link(next);
}

PageNumber IndexPage::TailChild() const
{
    return Link(tailChild);
}

std::string_view IndexPage::Suffix(std::size_t at) const
{
    assert(at < count_);
    const std::size_t start = SuffixStart(at);
    return {Start() + start, ends_[at] - start};
}

std::string IndexPage::Entry(std::size_t at) const
{
    std::string entry(Prefix());
    entry += Suffix(at);
    return entry;
}

void IndexPage::CopySeparator(std::size_t at, std::string& into) const
{
    into.assign(Prefix());
    const std::string_view suffix = Suffix(at);
    into += suffix.substr(0, suffix.size() - ChildBytes());
}

std::string IndexPage::Separator(std::size_t at) const
{
    std::string separator;
    CopySeparator(at, separator);
    return separator;
}

std::vector<std::string> IndexPage::Entries() const
{
    std::vector<std::string> entries;
    entries.reserve(count_ + 1);
    for (std::size_t i = 0; i < count_; ++i) entries.push_back(Entry(i));
    return entries;
}

PageNumber IndexPage::Child(std::size_t at) const
{
    assert(!IsLeaf() && at <= count_);
    const PageNumber child =
        at == count_ ? TailChild() : LoadBig<std::uint32_t>(bytes_ + entries + ends_[at] - childSize);
    if (child == noPage) throw Damaged(number_, "an index branch without a child");
    return child;
}

std::size_t IndexPage::LowerBound(std::string_view bytes) const
{
    if (count_ == 0) return 0;
    const int prefixOrder = Prefix().compare(bytes.substr(0, prefixSize_));
    if (prefixOrder != 0) return prefixOrder < 0 ? count_ : 0;
    const std::string_view rest = bytes.substr(prefixSize_);
    std::size_t low = 0;
    std::size_t high = count_;
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        const std::string_view suffix = Suffix(middle);
        if (suffix.substr(0, suffix.size() - ChildBytes()) < rest) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

// --------------------------------------------------------------------------------------------- changing

IndexPageEdit::IndexPageEdit(PageEdit page, PageNumber owner)
    : IndexPage(page.Number(), page.Data(), owner), page_(std::move(page))
{
}

IndexPageEdit IndexPageEdit::Format(PageEdit page, PageNumber owner, unsigned level)
{
    assert(level <= greatestLevel);
    std::uint8_t* bytes = page.Data();
    std::memset(bytes, 0, pageSize);
    bytes[0] = static_cast<std::uint8_t>(level == 0 ? PageKind::IndexLeaf : PageKind::IndexBranch);
    bytes[1] = 1;
    bytes[indexLayout::level] = static_cast<std::uint8_t>(level);
    StoreLittle<std::uint16_t>(bytes + freeBytes, room);
    StoreLittle<std::uint32_t>(bytes + indexLayout::owner, owner);
    return {std::move(page), owner};
}

void IndexPageEdit::SetPrevious(PageNumber page)
{
    StoreLittle<std::uint32_t>(Writable() + previous, page);
}

void IndexPageEdit::SetNext(PageNumber page)
{
    StoreLittle<std::uint32_t>(Writable() + next, page);
}

void IndexPageEdit::SetTailChild(PageNumber page)
{
    StoreLittle<std::uint32_t>(Writable() + tailChild, page);
}

void IndexPageEdit::SetChild(std::size_t at, PageNumber page)
{
    if (at == count_) return SetTailChild(page);
    StoreBig<std::uint32_t>(Writable() + entries + ends_[at] - childSize, page);
}

bool IndexPageEdit::Insert(std::size_t at, std::string_view entry)
{
    assert(at <= count_);
    const bool sharesPrefix = entry.substr(0, prefixSize_) == Prefix();
    if (sharesPrefix && UsedBytes() + entry.size() - prefixSize_ <= room) {
        Splice(at, entry.substr(prefixSize_));
        return true;
    }
    std::vector<std::string> all = Entries();
    all.emplace(all.begin() + static_cast<std::ptrdiff_t>(at), entry);
    return Assign(all);
}

/// Opens a gap for the bytes of one entry. The prefix stands before the first entry, so a new first one goes behind it
/// too.
void IndexPageEdit::Splice(std::size_t at, std::string_view suffix)
{
    const std::size_t start = SuffixStart(at);
    std::uint8_t* gap = Writable() + entries + start;
    std::memmove(gap + suffix.size(), gap, UsedBytes() - std::min(start, UsedBytes()));
    std::memcpy(gap, suffix.data(), suffix.size());
    for (std::size_t i = count_; i > at; --i) ends_[i] = static_cast<std::uint16_t>(ends_[i - 1] + suffix.size());
    ends_[at] = static_cast<std::uint16_t>(start + suffix.size());
    ++count_;
    WriteHead();
}

void IndexPageEdit::Erase(std::size_t at)
{
    assert(at < count_);
    const std::size_t start = SuffixStart(at);
    const std::size_t size = ends_[at] - start;
    std::uint8_t* hole = Writable() + entries + start;
    std::memmove(hole, hole + size, UsedBytes() - start - size);
    const std::size_t used = count_ == 1 ? 0 : UsedBytes() - size;
    std::memset(Writable() + entries + used, 0, UsedBytes() - used);
    for (std::size_t i = at + 1; i < count_; ++i) ends_[i - 1] = static_cast<std::uint16_t>(ends_[i] - size);
    if (--count_ == 0) prefixSize_ = 0;
    WriteHead();
}

bool IndexPageEdit::Assign(std::span<const std::string> all)
{
    IndexPageSize size(IsLeaf());
    for (const std::string& entry : all) {
        if (!size.Add(entry)) return false;
    }
    prefixSize_ = size.PrefixSize();
    count_ = 0;
    std::size_t end = 0;
    for (const std::string& entry : all) {
        const std::size_t leftOut = count_ == 0 ? 0 : prefixSize_;
        std::memcpy(Writable() + entries + end, entry.data() + leftOut, entry.size() - leftOut);
        end += entry.size() - leftOut;
        ends_[count_++] = static_cast<std::uint16_t>(end);
    }
    assert(end == size.Bytes());
    std::memset(Writable() + entries + end, 0, room - end);
    WriteHead();
    return true;
}

void IndexPageEdit::WriteHead()
{
    std::uint8_t* bits = Writable() + ends;
    std::memset(bits, 0, endsSize);
    for (std::size_t i = 0; i < count_; ++i)
        bits[ends_[i] / 8] = static_cast<std::uint8_t>(bits[ends_[i] / 8] | 1u << ends_[i] % 8);
    Writable()[prefix] = static_cast<std::uint8_t>(prefixSize_);
    StoreLittle<std::uint16_t>(Writable() + freeBytes, static_cast<std::uint16_t>(room - UsedBytes()));
}

// --------------------------------------------------------------------------------------------- entries

std::size_t CommonPrefix(std::string_view left, std::string_view right)
{
    const auto [end, unused] = std::mismatch(
        left.begin(), left.begin() + static_cast<std::ptrdiff_t>(std::min(left.size(), right.size())), right.begin());
    return static_cast<std::size_t>(end - left.begin());
}

std::string EntryOf(std::string_view key, RowPointer row)
{
    std::uint8_t pointer[rowPointerSize];
    StoreBig<std::uint32_t>(pointer, row.Packed());
    std::string entry;
    entry.reserve(key.size() + sizeof pointer);
    entry.append(key).append(reinterpret_cast<const char*>(pointer), sizeof pointer);
    return entry;
}

RowPointer RowOf(std::string_view entry)
{
    assert(entry.size() >= rowPointerSize);
    const char* pointer = entry.data() + entry.size() - rowPointerSize;
    return RowPointer::Unpack(LoadBig<std::uint32_t>(reinterpret_cast<const std::uint8_t*>(pointer)));
}

std::string BranchEntry(std::string_view separator, PageNumber child)
{
    std::uint8_t page[childSize];
    StoreBig<std::uint32_t>(page, child);
    std::string entry;
    entry.reserve(separator.size() + sizeof page);
    entry.append(separator).append(reinterpret_cast<const char*>(page), sizeof page);
    return entry;
}

PageNumber ChildOf(std::string_view branchEntry)
{
    assert(branchEntry.size() >= childSize);
    const char* child = branchEntry.data() + branchEntry.size() - childSize;
    return LoadBig<std::uint32_t>(reinterpret_cast<const std::uint8_t*>(child));
}

bool IndexPageSize::Add(std::string_view entry)
{
    std::size_t shared = 0;
    if (count_ == 0) {
        if (entry.size() > room) return false;
        first_ = entry;
    } else {
        const std::size_t bound = std::min(
            {count_ == 1 ? greatestPrefix : prefixSize_, first_.size() - childBytes_, entry.size() - childBytes_});
        shared = std::min(bound, CommonPrefix(first_, entry));
        if (total_ + entry.size() - shared * count_ > room) return false;
    }
    prefixSize_ = shared;
    total_ += entry.size();
    ++count_;
    return true;
}

std::size_t IndexPageSize::Bytes() const
{
    return count_ == 0 ? 0 : total_ - prefixSize_ * (count_ - 1);
}

}  // namespace vmlib::jet
