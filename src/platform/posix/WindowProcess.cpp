#include "platform/posix/WindowProcess.h"

namespace vmlib::posix {

std::optional<std::int32_t> ShowInWindow(const Desktop::Layouter&)
{
    return std::nullopt;
}

std::optional<TwipsPoint> AskScreenTwips()
{
    return std::nullopt;
}

}  // namespace vmlib::posix
