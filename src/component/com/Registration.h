#pragma once

#include "component/com/ComApi.h"

namespace vmlib::com {

/// Writes the keys of the DLL's classes, interfaces and type library.
/// @param root  HKEY_LOCAL_MACHINE for everybody, HKEY_CURRENT_USER for this user
/// @return SELFREG_E_CLASS or SELFREG_E_TYPELIB when a key cannot be written; what was written is taken away again
HRESULT Register(HKEY root);

/// Takes away exactly those keys; program names that mean another class by now stay, and so does whatever others have
/// put below them.
HRESULT Unregister(HKEY root);

}  // namespace vmlib::com
