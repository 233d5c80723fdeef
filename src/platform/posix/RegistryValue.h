#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "core/Text.h"
#include "core/Values.h"

namespace vmlib::posix {

/// What a file in export form says that the form does not allow.
class RegistryDamage : public std::runtime_error
{
public:
    /// @param line  counted from 1
    RegistryDamage(std::size_t line, const std::string& what) : std::runtime_error(what), line_(line) {}
    std::size_t Line() const { return line_; }

private:
    std::size_t line_;
};

/// A value as a registry holds it: the bytes of text are UTF-16, little endian, usually with a closing zero.
struct StoredValue
{
    std::uint32_t type = 0;
    Bytes data;
    bool operator==(const StoredValue&) const = default;
};

/// Types whose data is text: of one line, with variables of the environment, of several lines.
bool IsTextType(std::uint32_t type);

/// Text of code page 1252 for a registry, and back; other types keep their bytes. Text that does not end in a zero
/// character gets one when it is stored.
StoredValue ValueOfAnsi(std::uint32_t type, std::string_view data);
std::string AnsiOfValue(const StoredValue& value);
/// Text (type 1) with its closing zero.
StoredValue ValueOfText(TextView text);

/// Reads text in export form, byte by byte. Blanks are spaces, tabs and the CR of a line end, so that lines end at LF.
class RegistryScanner
{
public:
    explicit RegistryScanner(std::string_view text) : text_(text) {}

    std::size_t At() const { return at_; }
    bool AtEnd() const { return at_ == text_.size(); }
    char Peek() const { return AtEnd() ? '\n' : text_[at_]; }
    void SkipBlanks();
    /// Skips the word, without regard to case, if it stands here.
    bool Skip(std::string_view word);
    /// Skips blanks, a comment and the line end.
    /// @throws RegistryDamage of the line `began` when something else stands there
    void EndLine(std::size_t began, const char* behind);
    /// The rest of the line, without moving.
    std::string_view Line() const;
    void Advance(std::size_t count) { at_ += count; }

    /// Text in quotes, which may run over line ends; \\ and \" stand for \ and ".
    Text Quoted();
    /// What stands behind the "=" of a value.
    StoredValue Value();

    [[noreturn]] void Fail(std::size_t at, const char* what) const;

private:
    std::uint32_t HexNumber(std::size_t greatestDigitCount, const char* what);
    void SkipToByte();
    Bytes HexBytes();

    std::string_view text_;
    std::size_t at_ = 0;
};

std::string PrintQuoted(TextView text);
/// Text goes between quotes if it has its closing zero and no character that quotes cannot hold safely; else its bytes
/// are written, in lines of at most 80 characters.
/// @param column   characters before it in its line
/// @param lineEnd  of the file
std::string PrintValue(const StoredValue& value, std::size_t column, std::string_view lineEnd);

}  // namespace vmlib::posix
