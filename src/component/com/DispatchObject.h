#pragma once

#include "automation/Object.h"
#include "component/com/ComApi.h"

namespace vmlib::com {

/// The object as COM sees it: one and the same pointer for an object as long as somebody holds it, and the pointer
/// itself of an object that came from COM. Null for Nothing.
ComPtr<IDispatch> ToDispatch(const ObjectRef& object);

/// The object behind a pointer that ToDispatch of this DLL gave; Nothing for any other.
ObjectRef OwnObject(IDispatch* object);

}  // namespace vmlib::com
