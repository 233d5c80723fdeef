#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Code page bytes and UTF-8 without a detour where nothing but ASCII is in them, which is nearly always.
namespace vmlib::engine {

bool IsAscii(std::string_view bytes);
/// `room` holds the result when it is not the argument itself.
std::string_view AnsiToUtf8(std::string_view ansi, std::string& room);
/// No value when a character has no byte in the code page.
std::optional<std::string> Utf8ToAnsi(std::string_view utf8);
/// As Utf8ToAnsi, but what has no byte becomes the platform's best fit or "?": good enough to compare with.
std::string_view Utf8ToAnsiBestFit(std::string_view utf8, std::string& room);

}  // namespace vmlib::engine
