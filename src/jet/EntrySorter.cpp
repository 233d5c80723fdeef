#include "jet/EntrySorter.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <span>

#include "core/ByteOrder.h"
#include "jet/IndexPage.h"
#include "jet/StorageError.h"

namespace vmlib::jet {
namespace {

constexpr std::size_t writeBufferSize = std::size_t{64} << 10;

/// The first eight bytes as a number that compares as they do.
std::uint64_t HeadOf(std::string_view bytes)
{
    std::uint8_t head[8] = {};
    std::memcpy(head, bytes.data(), std::min(bytes.size(), sizeof head));
    return LoadBig<std::uint64_t>(head);
}

}  // namespace

/// An entry in memory. Most comparisons are decided by the head: eight bytes behind what all entries have in common.
struct EntrySorter::Item
{
    std::uint64_t head;
    std::uint32_t at;
    std::uint32_t size;
};

/// Sorted entries in the temporary file, each with its size (2 bytes) in front.
struct EntrySorter::Run
{
    std::uint64_t start;
    std::uint64_t end;
};

class EntrySorter::TemporaryFile
{
public:
    TemporaryFile(Files& files, TextView folder) : files_(files)
    {
        OnDisk([&] {
            path_ = files.CreateUnique(folder, u"vmi").first;
            file_ = files.Open(path_, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::OpenExisting});
        });
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    ~TemporaryFile()
    {
        file_.reset();
        try {
            files_.Delete(path_);
        } catch (const Error&) {  // a left-over in the temporary folder harms nobody
        }
    }

    std::uint64_t Size() const { return size_; }

    void Append(std::string_view bytes)
    {
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
        size_ += bytes.size();
        if (buffer_.size() >= writeBufferSize) Flush();
    }

    void Flush()
    {
        OnDisk([&] { file_->WriteAt(size_ - buffer_.size(), buffer_); });
        buffer_.clear();
    }

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> into)
    {
        return OnDisk([&] { return file_->ReadAt(offset, into); });
    }

private:
    Files& files_;
    Text path_;
    std::unique_ptr<OpenFile> file_;
    std::vector<std::uint8_t> buffer_;
    std::uint64_t size_ = 0;
};

/// Reads the entries of a run one by one through a buffer.
class EntrySorter::RunReader
{
public:
    RunReader(TemporaryFile& file, const Run& run, std::span<std::uint8_t> buffer)
        : file_(file), run_(run), buffer_(buffer)
    {
        Next();
    }

    bool AtEnd() const { return atEnd_; }
    std::string_view Current() const { return current_; }

    void Next()
    {
        if (at_ == filled_ && run_.start == run_.end) {
            atEnd_ = true;
            return;
        }
        Provide(sizeSize);
        const std::size_t size = LoadLittle<std::uint16_t>(buffer_.data() + at_);
        Provide(sizeSize + size);
        current_ = {reinterpret_cast<const char*>(buffer_.data()) + at_ + sizeSize, size};
        at_ += sizeSize + size;
    }

    static constexpr std::size_t sizeSize = 2;

private:
    /// Makes sure that so many bytes stand in the buffer.
    void Provide(std::size_t count)
    {
        if (filled_ - at_ >= count) return;
        std::memmove(buffer_.data(), buffer_.data() + at_, filled_ - at_);
        filled_ -= at_;
        at_ = 0;
        const std::size_t wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(buffer_.size() - filled_, run_.end - run_.start));
        if (file_.ReadAt(run_.start, buffer_.subspan(filled_, wanted)) != wanted || filled_ + wanted < count) {
            throw Error(ErrorNumber::DiskOrNetwork);  // somebody cut the file
        }
        filled_ += wanted;
        run_.start += wanted;
    }

    TemporaryFile& file_;
    Run run_;
    std::span<std::uint8_t> buffer_;
    std::size_t at_ = 0, filled_ = 0;
    std::string_view current_;
    bool atEnd_ = false;
};

EntrySorter::EntrySorter(Files& files, TextView temporaryFolder, std::size_t memory)
    : files_(files),
      folder_(temporaryFolder),
      memorySize_(memory - memory % sizeof(Item)),
      memory_(std::make_unique_for_overwrite<unsigned char[]>(memorySize_))
{
}

EntrySorter::~EntrySorter() = default;

std::size_t EntrySorter::MemoryLeft() const
{
    return memorySize_ - entryBytes_ - itemCount_ * sizeof(Item);
}

EntrySorter::Item* EntrySorter::FirstItem() const
{
    return reinterpret_cast<Item*>(memory_.get() + memorySize_) - itemCount_;
}

std::string_view EntrySorter::BytesOf(const Item& item) const
{
    return {reinterpret_cast<const char*>(memory_.get()) + item.at, item.size};
}

void EntrySorter::Add(std::string_view entry)
{
    assert(!sorted_ && entry.size() <= UINT16_MAX && entry.size() + sizeof(Item) <= memorySize_);
    if (MemoryLeft() < entry.size() + sizeof(Item)) Spill();
    std::memcpy(memory_.get() + entryBytes_, entry.data(), entry.size());
    const Item item{0, static_cast<std::uint32_t>(entryBytes_), static_cast<std::uint32_t>(entry.size())};
    entryBytes_ += entry.size();
    greatestEntry_ = std::max(greatestEntry_, entry.size());
    ++itemCount_;
    new (FirstItem()) Item(item);
    const std::string_view first(reinterpret_cast<const char*>(memory_.get()),
                                 itemCount_ == 1 ? entry.size() : common_);
    common_ = CommonPrefix(first, entry);
}

void EntrySorter::Sort()
{
    Item* const first = FirstItem();
    Item* const last = first + itemCount_;
    for (Item* item = first; item != last; ++item) item->head = HeadOf(BytesOf(*item).substr(common_));
    std::sort(first, last, [this](const Item& left, const Item& right) {
        if (left.head != right.head) return left.head < right.head;
        return BytesOf(left).substr(common_) < BytesOf(right).substr(common_);
    });
}

/// Writes what is in memory as a run.
void EntrySorter::Spill()
{
    Sort();
    if (!file_) file_ = std::make_unique<TemporaryFile>(files_, folder_);
    const std::uint64_t start = file_->Size();
    for (const Item& item : std::span(FirstItem(), itemCount_)) {
        char size[RunReader::sizeSize];
        StoreLittle<std::uint16_t>(reinterpret_cast<std::uint8_t*>(size), static_cast<std::uint16_t>(item.size));
        file_->Append({size, sizeof size});
        file_->Append(BytesOf(item));
    }
    file_->Flush();
    runs_.push_back({start, file_->Size()});
    entryBytes_ = itemCount_ = common_ = 0;
}

void EntrySorter::ForEach(const std::function<bool(std::string_view)>& visit)
{
    if (!sorted_) {
        if (runs_.empty()) {
            Sort();
        } else {
            Spill();
        }
        sorted_ = true;
    }
    if (!runs_.empty()) return Merge(visit);
    for (const Item& item : std::span(FirstItem(), itemCount_)) {
        if (!visit(BytesOf(item))) return;
    }
}

/// The memory, empty now, serves as the buffers of the runs. (A buffer must hold an entry; a file of 1 GB makes some
/// hundred runs.)
void EntrySorter::Merge(const std::function<bool(std::string_view)>& visit)
{
    const std::size_t bufferSize = std::max(memorySize_ / runs_.size(), RunReader::sizeSize + greatestEntry_);
    if (bufferSize * runs_.size() > memorySize_) {
        memorySize_ = bufferSize * runs_.size();
        memory_ = std::make_unique_for_overwrite<unsigned char[]>(memorySize_);
    }
    std::vector<RunReader> readers;
    readers.reserve(runs_.size());
    for (const Run& run : runs_) {
        readers.emplace_back(*file_, run, std::span(memory_.get() + bufferSize * readers.size(), bufferSize));
    }
    std::vector<RunReader*> heap;  // the reader with the least entry in front
    for (RunReader& reader : readers) {
        if (!reader.AtEnd()) heap.push_back(&reader);
    }
    const auto later = [](const RunReader* left, const RunReader* right) { return left->Current() > right->Current(); };
    std::make_heap(heap.begin(), heap.end(), later);
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), later);
        RunReader& least = *heap.back();
        if (!visit(least.Current())) return;
        least.Next();
        if (least.AtEnd()) {
            heap.pop_back();
        } else {
            std::push_heap(heap.begin(), heap.end(), later);
        }
    }
}

}  // namespace vmlib::jet
