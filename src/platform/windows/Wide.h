#pragma once

#include "core/Text.h"
#include "core/Values.h"
#include "platform/windows/Api.h"

namespace vmlib::windows {

/// Text and the wide characters of Windows are the same 16-bit units.
inline const wchar_t* Wide(const Text& text)
{
    return reinterpret_cast<const wchar_t*>(text.c_str());
}
inline Text FromWide(const wchar_t* text)
{
    return Text(reinterpret_cast<const char16_t*>(text));
}
inline Text FromWide(const wchar_t* text, std::size_t length)
{
    return Text(reinterpret_cast<const char16_t*>(text), length);
}

/// What a function of Windows writes into a buffer of which it returns the characters used, or those it needs.
/// @param call  (buffer, characters) to that number; 0 is a failure, which is ""
template <class Call>
Text TextFrom(Call call)
{
    Text text(MAX_PATH, u'\0');
    for (;;) {
        const DWORD length = call(reinterpret_cast<wchar_t*>(text.data()), static_cast<DWORD>(text.size()));
        const bool fits = length < text.size();
        text.resize(length);
        if (fits) return text;
    }
}

/// A handle and a window as the 32-bit numbers that cross the ports: Windows keeps to 32 bits on 64-bit systems too.
template <class T>
T HandleOf(std::int32_t number)
{
    return reinterpret_cast<T>(static_cast<std::intptr_t>(number));
}

/// Windows' count of 100 ns since 1601 as a date serial, whole seconds.
Date DateOf(const FILETIME& time);
/// The same of local time.
Date LocalDateOf(const FILETIME& time);

}  // namespace vmlib::windows
