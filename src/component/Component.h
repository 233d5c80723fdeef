#pragma once

#include "automation/ClassRegistry.h"
#include "platform/Platform.h"

namespace vmlib {

/// Registers the library's classes ("VmdDbLibRoutines", "AlgemeneLibrary"), each also as "VMLib.<Class>". The engine object of the document layer is
/// created from the same registry on first use.
void RegisterClasses(ClassRegistry& classes, Platform& platform);

}  // namespace vmlib
