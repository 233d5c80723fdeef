#pragma once

#include <optional>

#include "component/com/ComApi.h"

namespace vmlib::com {

/// The dispatch interface of a class that the DLL serves; no value for others.
std::optional<GUID> InterfaceIdOf(TextView className);

/// Type information from the library inside the DLL; null for classes that it does not serve.
ComPtr<ITypeInfo> InterfaceInfo(TextView className);
ComPtr<ITypeInfo> ClassInfo(TextView className);

/// Null when it cannot be loaded.
ComPtr<ITypeLib> LoadOwnTypeLibrary();

}  // namespace vmlib::com
