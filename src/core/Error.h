#pragma once

#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>

#include "core/ErrorNumber.h"
#include "core/Text.h"

namespace vmlib {

/// The one exception of the library: an automation or engine error with its number and its text.
///
///     throw Error(ErrorNumber::NoSuchTable, {tableName});      // number and text stand together in ErrorTable.cpp
///
/// Wrong bytes from a file, a user or a host are an Error; a broken promise of our own code is an assert.
class Error : public std::exception
{
public:
    /// The table's text with %1, %2, ... replaced by the arguments.
    explicit Error(ErrorNumber number, std::initializer_list<Text> arguments = {});

    /// A number with a text of the caller's, as a host or an rpc client raises them.
    Error(std::int32_t number, Text description, Text source = {});

    std::int32_t Number() const { return number_; }
    bool Is(ErrorNumber number) const { return number_ == static_cast<std::int32_t>(number); }
    const Text& Description() const { return description_; }
    const Text& Source() const { return source_; }

    /// "3078: The Microsoft Jet ..." in UTF-8.
    const char* what() const noexcept override { return what_.c_str(); }

private:
    std::int32_t number_;
    Text description_;
    Text source_;
    std::string what_;
};

/// The text of an error number without arguments filled in: run-time errors and engine errors of the table,
/// "" for 0, "Application-defined or object-defined error" for any other number.
Text ErrorText(std::int32_t number);

/// What the run-time library alone knows of a number: it has no texts of the engine's errors, and says "Application-
/// defined or object-defined error" for them as for every number without a text; "" for 0.
/// @throws Error 5 for a negative number, 6 for one over 65535
Text RuntimeErrorText(std::int32_t number);

}  // namespace vmlib
