#pragma once

#include "automation/ClassRegistry.h"
#include "platform/Files.h"

namespace vmlib {

/// Registers the embedded engine under "VMDEngine.DBEngine": an object with DAO's members, late bound.
/// @param files            where databases live; outlives the registry
/// @param temporaryFolder  for large sorts, path text with a trailing "\"
void RegisterEngine(ClassRegistry& classes, Files& files, TextView temporaryFolder);

}  // namespace vmlib
