#pragma once

#include <optional>

#include "automation/ClassRegistry.h"
#include "platform/Platform.h"

namespace vmlib {

/// Registers the library's classes ("VmdDbLibRoutines", "Melding", "AlgemeneLibrary", "Registry", "MBF"), each also as
/// "VMLib.<Class>". The engine object of the document layer is created from the same registry on first use and shared by
/// all objects made here.
/// @param classes   outlives the objects
/// @param platform  outlives the registry
/// @param password  what DBL_InitPassWord takes instead of the library's own password, for files that have another; ""
/// for files without one
void RegisterClasses(ClassRegistry& classes, Platform& platform, const std::optional<Text>& password = {});

}  // namespace vmlib
