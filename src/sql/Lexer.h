#pragma once

#include <vector>

#include "automation/Variant.h"
#include "core/Text.h"
#include "sql/Syntax.h"

namespace vmlib::sql {

/// One piece of a statement.
struct Token
{
    enum class Kind : std::uint8_t
    {
        End,
        Word,       // bare name or keyword; a "$" behind it is part of it (Left$)
        Bracketed,  // [name] or `name`, without the marks
        String,     // '..' or ".."
        Number,     // Long or Double
        Date,       // #..#
        Guid,       // {guid {..}}
        Symbol,     // operator or punctuation; text holds it
    };
    Kind kind = Kind::End;
    Text text;      // Word, Bracketed, Symbol
    Text keyword;   // Word: in capitals
    Variant value;  // String, Number, Date, Guid (as text)
    Extent extent;  // positions in the statement

    bool Is(TextView symbol) const { return kind == Kind::Symbol && text == symbol; }
    bool IsWord(TextView word) const { return kind == Kind::Word && keyword == word; }  // in capitals
};

/// Splits a statement; the last token is End. Dates are in US order whatever the locale.
/// @throws Error 3075 for an open string, bracket or date, a malformed number, a character that starts nothing
std::vector<Token> Tokenize(TextView sql);

/// A character of bare names: letters (every letter of code page 1252 and beyond), digits, underscore.
bool IsNameCharacter(char16_t character);

}  // namespace vmlib::sql
