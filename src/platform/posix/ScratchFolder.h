#pragma once

#include <string>

/// A folder whose files this process makes, uses and deletes, and nobody misses after a power cut: nothing in it is put
/// on the disk. Whatever leaves the folder is, before it takes its new name.
namespace vmlib::posix {

/// From now on this folder (and none that was said before) is such a one. "" for none.
void SetScratchFolder(std::string nativeFolder);

/// True for a file, given by its native path, that lies directly in it.
bool IsScratch(const std::string& nativePath);

}  // namespace vmlib::posix
