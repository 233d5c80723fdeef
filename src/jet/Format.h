#pragma once

#include <cstddef>
#include <cstdint>

/// Constants of format 3 that more than one file of this folder needs. Facts: docs/file-format.md.
namespace vmlib::jet {

using PageNumber = std::uint32_t;

/// What a file's pages look like. Files of format 4 are only read (Format4Pages.h); all else here is about format 3.
enum class FileFormat : std::uint8_t
{
    Format3 = 3,
    Format4 = 4,
};

inline constexpr std::size_t pageSize = 2048;
inline constexpr std::uint64_t greatestFileSize = 1ull << 30;  // 1 GB; beyond it writing is error 3036
inline constexpr PageNumber noPage = 0;

enum class PageKind : std::uint8_t
{
    Header = 0x00,
    Data = 0x01,
    Definition = 0x02,
    IndexBranch = 0x03,
    IndexLeaf = 0x04,
    Map = 0x05,
    FreedDefinition = 0x08,
    FreedData = 0x09,
};

/// True for a page that begins as all pages of that kind do. @param page  its first two bytes are looked at
inline bool IsOfKind(const std::uint8_t* page, PageKind kind)
{
    return page[0] == static_cast<std::uint8_t>(kind) && page[1] == 1;
}

// Definition pages of the system tables; MSysQueries and MSysRelationships change places in very old files (find them
// by name).
inline constexpr PageNumber objectsTablePage = 2;
inline constexpr PageNumber acesTablePage = 3;
inline constexpr PageNumber queriesTablePage = 4;
inline constexpr PageNumber relationshipsTablePage = 5;

inline constexpr std::size_t greatestColumnCount = 255;
inline constexpr std::size_t greatestIndexCount = 32;
inline constexpr std::size_t greatestIndexColumnCount = 10;
inline constexpr std::size_t greatestKeySize = 255;
inline constexpr std::size_t greatestNameLength = 64;
inline constexpr std::size_t greatestTextSize = 255;

/// Where a row or a long value stands. In files page << 8 | row, little endian in rows, big endian in index entries.
struct RowPointer
{
    PageNumber page = noPage;
    std::uint8_t row = 0;

    std::uint32_t Packed() const { return page << 8 | row; }
    static RowPointer Unpack(std::uint32_t packed) { return {packed >> 8, static_cast<std::uint8_t>(packed & 0xFF)}; }
    auto operator<=>(const RowPointer&) const = default;
};

}  // namespace vmlib::jet
