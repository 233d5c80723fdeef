#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "automation/Variant.h"

/// Values as text that does not depend on a locale, for JSON and for the command line.
namespace vmlib::host {

/// "2024-03-05T06:00:00", the date alone when there is no time of day.
std::string IsoDate(Date date);
/// @throws Error 13 for a text of another form or a day that does not exist
Date FromIsoDate(std::string_view text);

/// Two capital digits a byte.
std::string ToHex(std::string_view bytes);
std::optional<std::string> FromHex(std::string_view digits);

/// Invariant text of Currency and its reverse. @throws Error 13, 6
std::string CurrencyText(Currency value);
Currency FromCurrencyText(std::string_view text);

/// Plain digits with as many decimals as the scale says, and its reverse. @throws Error 13, 6
std::string DecimalText(const DecimalNumber& number);
DecimalNumber DecimalFromText(std::string_view text);

/// Raises error 13 with a reason.
[[noreturn]] void Mismatch(std::string_view reason);

}  // namespace vmlib::host
