#pragma once

#include <chrono>

#include "platform/Files.h"
#include "platform/windows/Handle.h"

// Copying and replacing by name. All paths are full.
namespace vmlib::windows {

/// What a name means; no value for nothing.
std::optional<DWORD> AttributesOf(const Text& path);

/// What stands at a path can be replaced: a file that nobody has open and that is not read-only.
/// @throws FileError, SharingViolation when somebody keeps it open for longer than `patience`
void RequireReplaceable(const Text& path, std::chrono::milliseconds patience);

/// Gives a file the permissions of another one, and its owner, each as far as the user may.
void CopyRights(const Text& from, const Text& to);

enum class Target
{
    Replaced,    // what is there goes in one step, and lends the copy its rights
    LikeSource,  // a free name; the file is read-only, hidden or the system's where its source is
    New,         // a free name, and a file like any new one
};

/// Makes a complete, flushed copy under the name of `to` or leaves everything as it was; false when a name is not free.
bool CopyTo(const Text& from, const Text& to, Target target, std::chrono::milliseconds patience);

/// `from` takes the place of `to` on the same volume in one step, with the rights of `to`.
void TakeName(const Text& from, const Text& to, std::chrono::milliseconds patience);

/// True when both are on one volume.
bool OnOneVolume(const Text& left, const Text& right);

}  // namespace vmlib::windows
