#pragma once

#include "automation/ClassRegistry.h"

namespace vmlib::com {

/// Classes that are registered with COM, by program name, for ClassRegistry::AddSource. Nothing for a class that COM
/// does not know. The engine beside this DLL is found also where it is not registered.
ObjectRef CreateRegistered(TextView className);

}  // namespace vmlib::com
