#pragma once

#include "core/ByteOrder.h"
#include "jet/IndexTree.h"

namespace vmlib::jet {

/// The first page that is allocated in a new file: stands for the definition of the table.
inline constexpr PageNumber treeOwner = 2;

inline RowPointer Pointer(std::uint32_t number)
{
    return {number / 200 + 20, static_cast<std::uint8_t>(number % 200)};
}

/// Big endian, so that keys ascend with the numbers; `size` bytes, those in front all alike.
inline Key NumberKey(std::uint32_t number, std::size_t size = 5)
{
    Key key(size, '\x7F');
    StoreBig<std::uint32_t>(reinterpret_cast<std::uint8_t*>(key.data()) + size - 4, number);
    return key;
}

}  // namespace vmlib::jet
