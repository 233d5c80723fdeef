#pragma once

#include "automation/Variant.h"
#include "component/com/ComApi.h"

namespace vmlib::com {

/// An IEnumVARIANT over the items of an array, for For Each. @throws Error 451 for what is no array
ComPtr<IUnknown> MakeEnumerator(const Variant& items);

}  // namespace vmlib::com
