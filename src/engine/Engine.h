#pragma once

#include "automation/ClassRegistry.h"
#include "platform/Platform.h"

namespace vmlib {

/// Registers the embedded engine under "VMDEngine.DBEngine": an object with DAO's members, late bound.
/// @param platform         where databases live, and the clock; outlives the registry
/// @param temporaryFolder  for large sorts, path text with a trailing "\"
void RegisterEngine(ClassRegistry& classes, Platform& platform, TextView temporaryFolder);

}  // namespace vmlib
