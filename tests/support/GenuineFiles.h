#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace vmlib::test {

/// A genuine file of the format, from the folder VMLIB_GENUINE_FILES, else from ../shared/jet beside the source tree.
/// Read only: a test that writes takes a copy first. No value when it is not there.
std::optional<std::filesystem::path> GenuineFile(std::string_view name);

}  // namespace vmlib::test

/// Skips the test, by name, where a genuine file is missing; else `variable` is its path.
#define VMLIB_GENUINE_FILE(variable, name)                                                                    \
    const auto variable##Found = ::vmlib::test::GenuineFile(name);                                            \
    if (!variable##Found) GTEST_SKIP() << "genuine file " << (name) << " is not there (VMLIB_GENUINE_FILES)"; \
    const std::filesystem::path variable = *variable##Found
