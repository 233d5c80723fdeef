#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/Files.h"

namespace vmlib::jet {

/// Sorts byte strings of up to 64 KiB each with bounded memory: what does not fit is written to a temporary file in
/// sorted runs. The file is removed with the sorter.
class EntrySorter
{
public:
    /// Bytes of memory for entries; a test takes less.
    static constexpr std::size_t usualMemory = std::size_t{4} << 20;

    EntrySorter(Files& files, TextView temporaryFolder, std::size_t memory = usualMemory);
    EntrySorter(const EntrySorter&) = delete;
    EntrySorter& operator=(const EntrySorter&) = delete;
    ~EntrySorter();

    /// @throws Error 3026, 3043 when the temporary file cannot be written
    void Add(std::string_view entry);

    /// Calls `visit` for all entries in ascending order; it returns false to stop. May be repeated; nothing is added
    /// afterwards.
    void ForEach(const std::function<bool(std::string_view)>& visit);

private:
    struct Item;
    struct Run;
    class RunReader;
    class TemporaryFile;

    std::size_t MemoryLeft() const;
    std::string_view BytesOf(const Item& item) const;
    Item* FirstItem() const;
    void Sort();
    void Spill();
    void Merge(const std::function<bool(std::string_view)>& visit);

    Files& files_;
    Text folder_;
    std::size_t memorySize_;
    std::unique_ptr<unsigned char[]> memory_;  // entries from the front, items from the end
    std::size_t entryBytes_ = 0;
    std::size_t itemCount_ = 0;
    std::size_t greatestEntry_ = 0;
    std::size_t common_ = 0;  // bytes that all entries in memory begin with
    bool sorted_ = false;
    std::vector<Run> runs_;
    std::unique_ptr<TemporaryFile> file_;
};

}  // namespace vmlib::jet
