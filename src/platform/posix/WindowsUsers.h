#pragma once

#include "platform/posix/DriveMap.h"

namespace vmlib::posix {

/// True when a program on Windows that shares the database through a file server on this machine has it open: it holds
/// byte locks in the file of the same name with the extension ".ldb", and servers pass such locks on to the system.
/// Databases of one folder with one name before the extension share that file, for those programs too.
///
/// Those users neither see the locks of this process nor can it take part in their page locks, so while they are there
/// a file may be read and copied, but not opened for writing, had exclusively, replaced or deleted.
bool HasWindowsUsers(const DriveMap& drives, TextView path);

}  // namespace vmlib::posix
