#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace vmlib::jet {

/// What tests/tools/jetcheck.py says of a file; no value without Python.
inline std::optional<std::string> SecondOpinion(const std::filesystem::path& file, const std::string& options = "")
{
    if (std::system("command -v python3 >/dev/null 2>&1") != 0) return std::nullopt;
    const std::filesystem::path tests = std::filesystem::path(__FILE__).parent_path().parent_path();
    const std::string command =
        "python3 '" + (tests / "tools" / "jetcheck.py").string() + "' '" + file.string() + "' " + options + " 2>&1";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get()))
        output.append(buffer.data(), count);
    return output;
}

}  // namespace vmlib::jet
