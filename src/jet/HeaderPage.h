#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>

#include "core/Text.h"
#include "jet/Definition.h"
#include "jet/Format.h"

namespace vmlib::jet {

// The header page (page 0) says what the file is. Integers are little endian.
//
//    at  size  content
//  0x00     4  00 01 00 00
//  0x04    16  "Standard Jet DB", 0
//  0x14     4  version: 0 format 3, 1 format 4
//  0x18   126  XORed with a fixed mask, the RC4 key stream of the key C7 DA 39 6B:
//  0x18     4    row pointer of the map of free pages, 0x100
//  0x1C     4    row pointer of an empty map, 0x101
//  0x20    16    definition pages of the four system tables
//  0x38     2    COUNTRY } the sort locale of the database
//  0x3A     2    LANGID  }
//  0x3C     2    code page
//  0x3E     4    encryption key; 0: the file is not encrypted
//  0x42    20    password in code page 1252, zero filled
//  0x56     2    build number of the engine that made the file
//  0x96          zeros
// 0x600   512  commit words (PageFile.h)
//
// Source: docs/file-format.md, "Header".

/// What is wrong with a file's header, before anything else of it is looked at.
enum class HeaderFault
{
    None,
    NotJet,  // other bytes, or too short
    Format4,
    Unknown,  // a version that nobody has seen
    Encrypted,
};

/// What the masked part of the header of either format is XORed with.
using HeaderMask = std::array<std::uint8_t, 128>;
const HeaderMask& MaskOfHeader();

/// The bytes of a header page. Knows no other page.
class HeaderPage
{
public:
    /// @param bytes  may be shorter than a page: then the file is not of the format
    static HeaderFault FaultOf(std::span<const std::uint8_t> bytes);

    /// @param page  without fault
    explicit HeaderPage(std::span<const std::uint8_t, pageSize> page);

    SortLocale Locale() const;
    std::uint16_t Build() const;
    /// True when the maps of free pages are where every file has them.
    bool NamesFreeMaps() const;
    /// True for pages 2 to 5, the last two in either order.
    bool NamesSystemTables() const;
    bool HasPassword() const;
    /// False when what stands for the password is none: control characters, or anything behind its end.
    bool HasPossiblePassword() const;
    /// True for the right password; any is right where there is none.
    bool Accepts(TextView password) const;

    /// The header of a new file; its commit word says that it was created.
    /// @throws Error 3424 for a code page other than 1252 or a sort order that is not known, 3031 for an impossible
    /// password
    static void Make(std::span<std::uint8_t, pageSize> page, const SortLocale& locale, TextView password);
    /// "" removes it. @throws Error 3031 when it is longer than 14 characters or has one without a byte in code page
    /// 1252
    static void SetPassword(std::span<std::uint8_t, pageSize> page, TextView password);
    /// Takes over the password of another file as it stands there, whatever it is.
    static void CopyPassword(std::span<const std::uint8_t, pageSize> from, std::span<std::uint8_t, pageSize> to);

private:
    static constexpr std::size_t maskedAt = 0x18, maskedSize = 126;
    using Masked = std::array<std::uint8_t, maskedSize>;
    Masked plain_;  // what stands under the mask
};

}  // namespace vmlib::jet
