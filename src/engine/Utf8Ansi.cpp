#include "engine/Utf8Ansi.h"

#include "core/Text.h"

namespace vmlib::engine {

bool IsAscii(std::string_view bytes)
{
    for (const char byte : bytes)
        if (static_cast<unsigned char>(byte) >= 0x80) return false;
    return true;
}

std::string_view AnsiToUtf8(std::string_view ansi, std::string& room)
{
    if (IsAscii(ansi)) return ansi;
    room = ToUtf8(FromAnsi(ansi));
    return room;
}

std::optional<std::string> Utf8ToAnsi(std::string_view utf8)
{
    if (IsAscii(utf8)) return std::string(utf8);
    const Text text = FromUtf8(utf8);
    if (!FitsAnsi(text)) return std::nullopt;
    return ToAnsi(text);
}

std::string_view Utf8ToAnsiBestFit(std::string_view utf8, std::string& room)
{
    if (IsAscii(utf8)) return utf8;
    room = ToAnsi(FromUtf8(utf8));
    return room;
}

}  // namespace vmlib::engine
