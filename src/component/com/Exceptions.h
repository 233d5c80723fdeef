#pragma once

#include "component/com/ComApi.h"
#include "core/Error.h"

namespace vmlib::com {

/// Tells a caller of Invoke, and this thread's error object, of an error. Returns the result of the call.
/// @param typeName  of the object that was called, the source where the error names none
HRESULT Raise(const Error& error, const Text& typeName, EXCEPINFO* exception);

/// The error that a call of somebody else's object failed with, by the table that script hosts have.
/// @param exception  of a result DISP_E_EXCEPTION; emptied
Error ErrorOf(HRESULT result, EXCEPINFO& exception);

}  // namespace vmlib::com
