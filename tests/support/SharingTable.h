#pragma once

#include "platform/Files.h"

/// Who may have a file open with whom: the table in platform/Files.h, for the tests of every platform.
namespace vmlib::test {

struct Opening
{
    const char* name;
    FileOpenRequest request;
};

inline constexpr Opening openings[] = {
    {"shared read", {FileAccess::Read, FileSharing::Shared}},
    {"shared write", {FileAccess::ReadWrite, FileSharing::Shared}},
    {"exclusive write", {FileAccess::ReadWrite, FileSharing::Exclusive}},
    {"exclusive read", {FileAccess::Read, FileSharing::Exclusive}},
};

/// Rows: held, columns: asked for.
inline constexpr bool mayOpen[4][4] = {
    {true, true, false, false},
    {true, true, false, false},
    {false, false, false, false},
    {false, false, false, true},
};

}  // namespace vmlib::test
