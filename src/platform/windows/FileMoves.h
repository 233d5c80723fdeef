#pragma once

#include <chrono>

#include "platform/Files.h"
#include "platform/windows/Handle.h"

// Copying and replacing by name. All paths are full.
namespace vmlib::windows {

/// What a name means; no value for nothing. @throws FileError for a name that cannot be one
std::optional<DWORD> AttributesOf(const Text& path);

/// What stands at a path can be replaced: a file that nobody has open and that is not read-only.
/// @throws FileError, SharingViolation when somebody keeps it open for longer than `patience`
void RequireReplaceable(const Text& path, std::chrono::milliseconds patience);

/// Makes a complete, flushed copy under the name of `to` or leaves everything as it was. What is there already is
/// replaced in one step when that is wanted, and lends the copy its rights; else it is false.
bool CopyTo(const Text& from, const Text& to, bool replaces, std::chrono::milliseconds patience);

/// `from` takes the place of `to` on the same volume in one step, with the rights of `to`.
void TakeName(const Text& from, const Text& to);

/// True when both are on one volume.
bool OnOneVolume(const Text& left, const Text& right);

}  // namespace vmlib::windows
