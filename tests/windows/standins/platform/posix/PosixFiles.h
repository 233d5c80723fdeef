#pragma once

#include "platform/windows/WindowsFiles.h"

// What the shared suites call the files of their platform; here these are those of Windows.
namespace vmlib::posix {

using PosixFiles = windows::WindowsFiles;

}  // namespace vmlib::posix
