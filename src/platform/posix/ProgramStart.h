#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace vmlib::posix {

/// Starts a program file, with the process's environment and current folder and no shell in between.
///
/// A host may speak a protocol or write data on its standard streams, so the program gets them only where they are a
/// terminal: else its input is empty, and what it prints goes to standard error. Signals are as a program expects them,
/// whatever the host blocks, and of the host's other descriptors it gets those that the host lets through exec.
/// @param arguments  UTF-8, the program's own name first
/// @param process    out, on success only
/// @return           0 or an errno value, that of a failed exec too
int StartProgram(const std::string& file, const std::vector<std::string>& arguments, pid_t& process);

}  // namespace vmlib::posix
