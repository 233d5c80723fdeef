#include "platform/posix/HelpViewer.h"

namespace vmlib::posix {

bool ShowHelp(Files&, Processes&, TextView, std::int32_t)
{
    return false;
}

}  // namespace vmlib::posix
