#pragma once

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/Json.h"

namespace vmlib::host::test {

struct Outcome
{
    int code = -1;
    std::string out;
    std::string err;
    Json AsJson() const { return Json::parse(out); }
    /// One JSON value a line.
    std::vector<Json> AsJsonLines() const;
};

/// Runs the program vmlib as a shell would: words, standard input, and changes of the environment. There is no
/// terminal.
class Program
{
public:
    std::map<std::string, std::string> environment = {
        {"VMLIB_DESKTOP", "none"}, {"LC_ALL", "C"}, {"VMLIB_USER", "anna"}};

    Outcome Run(const std::vector<std::string>& words, const std::string& input = {}) const;
    /// Starts it and kills it after a time. True when it had finished by itself.
    bool RunAndKill(const std::vector<std::string>& words, std::chrono::microseconds after) const;

private:
    [[noreturn]] void Become(const std::vector<std::string>& words) const;
};

}  // namespace vmlib::host::test
