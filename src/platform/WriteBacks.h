#pragma once

#include "platform/Files.h"

namespace vmlib {

/// What the open files of this process gave to OpenFile::OnCopy. Safe to use from several threads.
class WriteBacks
{
public:
    /// An empty function takes back what the file gave. While functions are called this waits, so that no file goes
    /// away under its own call.
    static void Set(const OpenFile& file, std::function<void()> writeBack);
    /// Calls those of the open files with that identity.
    static void CallFor(const FileIdentity& identity);
};

}  // namespace vmlib
