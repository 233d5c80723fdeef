// In the file a row is its values one after the other, each a byte that tells the alternative of jet::Value and then
//
//     Null            nothing
//     text, bytes     the count of bytes (8, little endian), the bytes
//     anything else   its own bytes, as they stand in memory: nobody but this process reads them

#include "engine/KeptRows.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <type_traits>

#include "jet/StorageError.h"

namespace vmlib::engine {
namespace {

template <class T>
constexpr bool isSequence = std::is_same_v<T, std::string> || std::is_same_v<T, Bytes> || std::is_same_v<T, Text>;

std::size_t MemoryOf(const jet::Row& row)
{
    std::size_t bytes = row.size() * sizeof(jet::Value);
    for (const jet::Value& value : row)
        std::visit(
            [&](const auto& held) {
                if constexpr (isSequence<std::remove_cvref_t<decltype(held)>>) bytes += held.size() * sizeof held[0];
            },
            value);
    return bytes;
}

void AppendBytes(Bytes& bytes, const void* data, std::size_t size)
{
    const auto* first = static_cast<const std::uint8_t*>(data);
    bytes.insert(bytes.end(), first, first + size);
}

void AppendValue(Bytes& bytes, const jet::Value& value)
{
    bytes.push_back(static_cast<std::uint8_t>(value.index()));
    std::visit(
        [&](const auto& held) {
            using T = std::remove_cvref_t<decltype(held)>;
            if constexpr (isSequence<T>) {
                const std::size_t size = held.size() * sizeof held[0];
                AppendBytes(bytes, &size, sizeof size);
                AppendBytes(bytes, held.data(), size);
            } else if constexpr (!std::is_same_v<T, Null>) {
                static_assert(std::is_trivially_copyable_v<T>);
                AppendBytes(bytes, &held, sizeof held);
            }
        },
        value);
}

/// Reads values from the bytes of a row.
class ValueReader
{
public:
    explicit ValueReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    jet::Value Next()
    {
        std::uint8_t kind = 0;
        Take(&kind, sizeof kind);
        return OfKind<0>(kind);
    }

private:
    void Take(void* into, std::size_t size)
    {
        if (size > bytes_.size()) throw Error(ErrorNumber::DiskOrNetwork);
        if (size > 0) std::memcpy(into, bytes_.data(), size);
        bytes_ = bytes_.subspan(size);
    }

    template <std::size_t alternative>
    jet::Value OfKind(std::uint8_t kind)
    {
        if constexpr (alternative == std::variant_size_v<jet::Value>) {
            throw Error(ErrorNumber::DiskOrNetwork);
        } else {
            if (kind != alternative) return OfKind<alternative + 1>(kind);
            using T = std::variant_alternative_t<alternative, jet::Value>;
            T held{};
            if constexpr (isSequence<T>) {
                std::size_t size = 0;
                Take(&size, sizeof size);
                if (size > bytes_.size()) throw Error(ErrorNumber::DiskOrNetwork);
                held.resize(size / sizeof held[0]);
                Take(held.data(), size);
            } else if constexpr (!std::is_same_v<T, Null>) {
                Take(&held, sizeof held);
            }
            return held;
        }
    }

    std::span<const std::uint8_t> bytes_;
};

}  // namespace

/// The temporary file and where in it each row begins.
class KeptRows::Store
{
public:
    Store(Files& files, TextView folder) : files_(files)
    {
        jet::OnDisk([&] {
            path_ = files.CreateUnique(folder, u"vmr").first;
            file_ = files.Open(path_, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::OpenExisting});
        });
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store()
    {
        file_.reset();
        try {
            files_.Delete(path_);
        } catch (const Error&) {  // a left-over in the temporary folder harms nobody
        }
    }

    void Add(const jet::Row& row)
    {
        starts_.push_back(size_);
        const std::size_t before = pending_.size();
        for (const jet::Value& value : row) AppendValue(pending_, value);
        size_ += pending_.size() - before;
        if (pending_.size() >= bufferSize) Flush();
    }

    void Read(std::size_t row, std::size_t width, jet::Row& into)
    {
        if (!pending_.empty()) Flush();
        const std::uint64_t start = starts_.at(row);
        const std::uint64_t end = row + 1 < starts_.size() ? starts_[row + 1] : size_;
        if (start < windowStart_ || end > windowStart_ + window_.size()) Fill(start, end);
        const std::span<const std::uint8_t> window = window_;
        ValueReader reader(
            window.subspan(static_cast<std::size_t>(start - windowStart_), static_cast<std::size_t>(end - start)));
        into.clear();
        for (std::size_t i = 0; i < width; ++i) into.push_back(reader.Next());
    }

private:
    static constexpr std::size_t bufferSize = std::size_t{64} << 10;

    void Flush()
    {
        jet::OnDisk([&] { file_->WriteAt(size_ - pending_.size(), pending_); });
        pending_.clear();
        window_.clear();
    }

    /// Reads on behind the row: the next ones are asked for next.
    void Fill(std::uint64_t start, std::uint64_t end)
    {
        const std::uint64_t wanted = std::max<std::uint64_t>(end - start, bufferSize);
        window_.resize(static_cast<std::size_t>(std::min(wanted, size_ - start)));
        windowStart_ = start;
        const std::size_t got = jet::OnDisk([&] { return file_->ReadAt(start, window_); });
        if (got < end - start) throw Error(ErrorNumber::DiskOrNetwork);
        window_.resize(got);
    }

    Files& files_;
    Text path_;
    std::unique_ptr<OpenFile> file_;
    std::vector<std::uint64_t> starts_;
    std::uint64_t size_ = 0;
    Bytes pending_;  // the last bytes, not yet written
    Bytes window_;   // what was read last
    std::uint64_t windowStart_ = 0;
};

KeptRows::KeptRows(Files& files, TextView temporaryFolder, std::size_t width, std::size_t memory)
    : files_(files), folder_(temporaryFolder), width_(width), memory_(memory)
{
}

KeptRows::~KeptRows() = default;

std::unique_ptr<KeptRows> KeptRows::Another() const
{
    return std::make_unique<KeptRows>(files_, folder_, width_, memory_);
}

void KeptRows::Add(jet::Row row)
{
    if (width_ == 0) return;
    if (store_) return store_->Add(row);
    used_ += MemoryOf(row);
    rows_.push_back(std::move(row));
    if (used_ <= memory_) return;
    auto store = std::make_unique<Store>(files_, folder_);
    for (const jet::Row& kept : rows_) store->Add(kept);
    store_ = std::move(store);
    rows_ = {};
}

const jet::Row& KeptRows::At(std::size_t row)
{
    if (!store_) return rows_.at(row);
    if (readRow_ == row) return read_;
    readRow_.reset();
    store_->Read(row, width_, read_);
    readRow_ = row;
    return read_;
}

}  // namespace vmlib::engine
