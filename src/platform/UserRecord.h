#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "platform/Files.h"

// The list of those who share a database: the file beside it of the same name with the extension ".ldb", which other
// programs for such databases keep on Windows, and this library with them. Who is on it holds locks on bytes of it,
// most of which do not exist; file servers pass such locks on to their system, in both directions.
//
//   contents                                    locks
//   0    computer, 32 bytes of code page 1252,  0x10000001 + n  user n is there; the only one that this library
//        zero filled                                            holds of those below 1 TiB
//   32   user name, likewise                    0x10000000 up   the other locks of other programs, on pages and tables
//   64   the next user, of at most 255          1 TiB + n       user n is this library
//                                               1 TiB + 256     for a moment: somebody joins or leaves (not on Windows)
//
// The last one out deletes the file. A killed process leaves it, without locks: the next one uses it and deletes it.
namespace vmlib {

inline constexpr std::uint64_t mostListedUsers = 255;
inline constexpr std::uint64_t listedUserBytes = 0x10000001;
inline constexpr std::uint64_t ownUserBytes = std::uint64_t{1} << 40;

using UserRecord = std::array<std::uint8_t, 64>;

/// Names are cut at 31 bytes, so that each ends with a zero.
UserRecord ToUserRecord(const DatabaseUser& user);
DatabaseUser FromUserRecord(const UserRecord& record);

/// The path of a database's list.
Text UserListPath(TextView database);

}  // namespace vmlib
