#pragma once

#include "core/Error.h"

namespace vmlib::jet {

/// The number of the error that a step ends in; 0 when it ends well.
template <class Step>
std::int32_t NumberOf(Step&& step)
{
    try {
        step();
    } catch (const Error& error) {
        return error.Number();
    }
    return 0;
}

}  // namespace vmlib::jet
