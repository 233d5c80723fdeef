#pragma once

#include "core/Error.h"
#include "platform/Files.h"

namespace vmlib::jet {

/// What a fault of the Files port is to the engine while a file that is open is read or written: 3026 disk full, 3043
/// input and output, 3027 no right to write, 3046 held by another.
Error StorageError(const FileError& fault);

/// What says that a file of format 3 cannot hold a text of another one: number 3421, and where the text stands.
Error UnfitText(TextView table, TextView row, TextView field);

/// Runs a step on an open file; faults of the port come out as engine errors.
template <class Step>
auto OnDisk(Step&& step)
{
    try {
        return step();
    } catch (const FileError& fault) {
        throw StorageError(fault);
    }
}

}  // namespace vmlib::jet
