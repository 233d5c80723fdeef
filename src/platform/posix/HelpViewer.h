#pragma once

#include "platform/Files.h"
#include "platform/Processes.h"

namespace vmlib::posix {

/// Shows the document that stands for a help file: the file of the same name that ends in .pdf, .html or .htm, with the
/// desktop's opener. Commands that show nothing of the file (2 quit,
/// 4 help on help, places of the window) do nothing, as the viewer is not ours.
/// @param file  path text of the help file
/// @return      false when there is no such document or no opener
bool ShowHelp(Files& files, Processes& processes, TextView file, std::int32_t command);

}  // namespace vmlib::posix
