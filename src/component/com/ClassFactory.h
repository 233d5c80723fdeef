#pragma once

#include "component/com/Server.h"

namespace vmlib::com {

/// The factory of a class of the DLL. @return CLASS_E_CLASSNOTAVAILABLE for any other
HRESULT MakeFactory(REFCLSID classId, REFIID wanted, void** factory);

}  // namespace vmlib::com
