#pragma once

#include <optional>

#include "core/Text.h"

/// The text functions of the runtime, with positions from 1. An argument out of range is error 5. UpperCase, LowerCase
/// and Trim stand in core/Text.h.
namespace vmlib {

/// A count beyond the length gives the whole text; a negative one is error 5.
TextView Left(TextView text, std::int32_t count);
TextView Right(TextView text, std::int32_t count);

/// A start beyond the length gives "", a count past the end is cut; start < 1 or count < 0 is error 5.
TextView Mid(TextView text, std::int32_t start, std::optional<std::int32_t> count = std::nullopt);

/// The position of `what` at or behind `start`, 0 when absent. An empty text or a start beyond it gives 0, an empty
/// `what` gives `start`.
std::int32_t InStr(std::int32_t start, TextView text, TextView what, bool ignoreCase = false);

/// The first character: its byte in code page 1252 (0 to 255) or its UTF-16 unit. "" is error 5.
std::int32_t Asc(TextView text);
std::int32_t AscW(TextView text);

/// The character of a byte in code page 1252 (0 to 255), of a UTF-16 unit (-32768 to 65535).
Text Chr(std::int32_t code);
Text ChrW(std::int32_t code);

Text Space(std::int32_t count);
/// The first character of `text`, `count` times; "" is error 5.
Text String(std::int32_t count, TextView text);

/// The text from `start` on with at most `count` (-1: all) occurrences replaced; an empty `what` changes nothing.
Text Replace(TextView text, TextView what, TextView with, std::int32_t start = 1, std::int32_t count = -1,
             bool ignoreCase = false);

}  // namespace vmlib
