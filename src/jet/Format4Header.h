#pragma once

#include <span>

#include "jet/HeaderPage.h"

namespace vmlib::jet::format4 {

/// The header of a format 4 file: what format 3 has, with other places for the sort order and a password in UTF-16
/// that the date of the file's making masks once more.
class Header
{
public:
    /// @param page  its first 2,048 bytes
    explicit Header(std::span<const std::uint8_t, jet::pageSize> page);

    /// Country is not kept.
    SortLocale Locale() const;
    bool IsEncrypted() const;
    bool HasPassword() const { return !password_.empty(); }
    const Text& Password() const { return password_; }
    /// True for the right password; any is right where there is none.
    bool Accepts(TextView password) const { return !HasPassword() || password == password_; }

private:
    HeaderMask plain_;  // what stands under the mask
    Text password_;
};

}  // namespace vmlib::jet::format4
