#pragma once

#include <span>
#include <string>

#include "core/ByteOrder.h"
#include "jet/Damage.h"

namespace vmlib::jet {

/// Takes values from the front of a table definition's bytes, which may end too early. @throws Damaged
class DefinitionReader
{
public:
    /// @param page  to name in errors
    DefinitionReader(std::span<const std::uint8_t> bytes, PageNumber page) : bytes_(bytes), page_(page) {}

    template <class T>
    T Take()
    {
        return LoadLittle<T>(Raw(sizeof(T)).data());
    }
    std::span<const std::uint8_t> Raw(std::size_t size)
    {
        if (bytes_.size() - at_ < size) Fail("ends within its contents");
        at_ += size;
        return bytes_.subspan(at_ - size, size);
    }
    std::size_t At() const { return at_; }
    [[noreturn]] void Fail(const std::string& finding) const
    {
        throw Damaged(page_, "the table definition " + finding);
    }

private:
    std::span<const std::uint8_t> bytes_;
    PageNumber page_;
    std::size_t at_ = 0;
};

}  // namespace vmlib::jet
