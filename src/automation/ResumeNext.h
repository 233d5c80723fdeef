#pragma once

#include <optional>
#include <utility>

#include "core/Error.h"

namespace vmlib {

/// Runs one step with errors suppressed, as a program under "On Error Resume Next" does: a failing step is skipped, and
/// what it had done before failing stays done. Returns the error, so that the next step can ask for its number.
///
///     if (ResumeNext([&] { field = Get(recordset, u"Fields", u"Versie"); })) code = 9;
template <class Step>
std::optional<Error> ResumeNext(Step&& step)
{
    try {
        std::forward<Step>(step)();
        return std::nullopt;
    } catch (const Error& error) {
        return error;
    }
}

}  // namespace vmlib
