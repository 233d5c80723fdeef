#pragma once

#include <string>
#include <string_view>

namespace vmlib {

/// Text everywhere in the library: counted UTF-16, which may hold zero characters. Code page 1252 and UTF-8 are
/// converted at the edges.
using Text = std::u16string;
using TextView = std::u16string_view;

/// UTF-8 in both directions; a malformed sequence or a lone surrogate becomes U+FFFD.
Text FromUtf8(std::string_view utf8);
std::string ToUtf8(TextView text);

/// Code page 1252 to text: each of the 256 bytes is a character of its own (81, 8D, 8F, 90 and 9D are the C1 controls
/// of the same number).
Text FromAnsi(std::string_view bytes);

/// Text to code page 1252 with the platform's best fit (fullwidth A to A, ...); what has no byte becomes "?".
std::string ToAnsi(TextView text);

/// True when every character of the text has a byte of its own in code page 1252, so that ToAnsi loses nothing.
bool FitsAnsi(TextView text);

/// One character each way; ToAnsi of a character without a byte is '?'.
char16_t FromAnsi(unsigned char byte);
unsigned char ToAnsi(char16_t character);

/// Case by the Windows case table: Latin letters pair up, sharp s and the micro sign stay. Lengths never change.
char16_t UpperCase(char16_t character);
char16_t LowerCase(char16_t character);
Text UpperCase(TextView text);
Text LowerCase(TextView text);

/// Without regard to case, by UTF-16 unit after UpperCase. Compare is negative, zero or positive.
bool EqualIgnoringCase(TextView left, TextView right);
int CompareIgnoringCase(TextView left, TextView right);
bool StartsWithIgnoringCase(TextView text, TextView start);

/// Remove blanks (U+0020 only).
TextView TrimLeft(TextView text);
TextView TrimRight(TextView text);
TextView Trim(TextView text);

/// Replaces every occurrence of `what`; an empty `what` changes nothing.
Text Replaced(TextView text, TextView what, TextView with);

/// A whole number in decimal digits with a minus sign when negative.
Text Decimal(long long number);

/// Hash and equality without regard to case, for maps keyed by names: std::unordered_map<Text, T, NameHash, NameEqual>.
struct NameHash
{
    using is_transparent = void;
    std::size_t operator()(TextView name) const;
};
struct NameEqual
{
    using is_transparent = void;
    bool operator()(TextView left, TextView right) const { return EqualIgnoringCase(left, right); }
};

}  // namespace vmlib
