#pragma once

#include <array>
#include <memory>
#include <span>
#include <vector>

#include "jet/Format.h"
#include "platform/Files.h"

namespace vmlib::jet {

/// Copies of pages by slot number: the first ones in memory, further ones in a temporary file that is made when it is
/// first needed. They are what savepoints go back to; nothing of them has to survive the process.
class ImageStore
{
public:
    ImageStore(Files& files, Text folder, std::size_t slotsInMemory);
    ImageStore(const ImageStore&) = delete;
    ImageStore& operator=(const ImageStore&) = delete;
    ~ImageStore();

    using Slot = std::uint32_t;
    Slot Put(std::span<const std::uint8_t, pageSize> page);
    void Get(Slot slot, std::span<std::uint8_t, pageSize> into);
    void Drop(Slot slot);

private:
    using Image = std::array<std::uint8_t, pageSize>;
    std::uint64_t OffsetOf(Slot slot) const { return (slot - std::uint64_t{slotsInMemory_}) * pageSize; }
    OpenFile& Overflow();

    Files& files_;
    Text folder_;
    Slot slotsInMemory_;
    std::vector<std::unique_ptr<Image>> memory_;
    std::vector<Slot> freeInMemory_, freeInFile_;
    Slot nextInFile_;
    std::unique_ptr<OpenFile> file_;
};

}  // namespace vmlib::jet
