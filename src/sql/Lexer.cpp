#include "sql/Lexer.h"

#include <charconv>
#include <cmath>

#include "automation/Convert.h"
#include "sql/SyntaxError.h"

namespace vmlib::sql {
namespace {

bool IsDigit(char16_t character)
{
    return character >= u'0' && character <= u'9';
}

bool IsBlank(char16_t character)
{
    return character == u' ' || (character >= u'\t' && character <= u'\r') || character == u'\u00A0';
}

bool IsHexDigit(char16_t character)
{
    return IsDigit(character) || (character >= u'a' && character <= u'f') || (character >= u'A' && character <= u'F');
}

class Scanner
{
public:
    explicit Scanner(TextView text) : text_(text) {}

    std::vector<Token> All()
    {
        std::vector<Token> tokens;
        do {
            tokens.push_back(Next());
        } while (tokens.back().kind != Token::Kind::End);
        return tokens;
    }

private:
    char16_t At(std::size_t position) const { return position < text_.size() ? text_[position] : u'\0'; }

    Token Next()
    {
        while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
        start_ = at_;
        if (at_ == text_.size()) return Made(Token::Kind::End);

        const char16_t first = text_[at_];
        if (IsDigit(first) || (first == u'.' && IsDigit(At(at_ + 1)))) return Number();
        if (IsNameCharacter(first)) return Word();
        switch (first) {
            case u'[':
                return Bracketed(u']');
            case u'`':
                return Bracketed(u'`');
            case u'\'':
            case u'"':
                return String(first);
            case u'#':
                return DateLiteral();
            case u'{':
                return GuidLiteral();
            default:
                return Symbol();
        }
    }

    Token Made(Token::Kind kind)
    {
        Token token;
        token.kind = kind;
        token.extent = {start_, at_};
        return token;
    }

    Token Word()
    {
        while (at_ < text_.size() && IsNameCharacter(text_[at_])) ++at_;
        if (At(at_) == u'$') ++at_;
        Token token = Made(Token::Kind::Word);
        token.text = text_.substr(start_, at_ - start_);
        token.keyword = UpperCase(token.text);
        return token;
    }

    Token Bracketed(char16_t close)
    {
        const std::size_t end = text_.find(close, at_ + 1);
        if (end == TextView::npos) throw Failed(reason::missingBracket);
        const TextView name = text_.substr(at_ + 1, end - at_ - 1);
        if (name.empty() || name.find(u'[') != TextView::npos) {
            at_ = end + 1;
            throw ExpressionError(reason::invalidBracketing, text_, {start_, at_});
        }
        at_ = end + 1;
        Token token = Made(Token::Kind::Bracketed);
        token.text = name;
        return token;
    }

    Token String(char16_t quote)
    {
        Text value;
        for (++at_;; ++at_) {
            if (at_ >= text_.size()) throw Failed(reason::string);
            if (text_[at_] == quote && At(++at_) != quote) break;
            value += text_[at_];
        }
        Token token = Made(Token::Kind::String);
        token.value = std::move(value);
        return token;
    }

    Token Number()
    {
        bool whole = true;
        std::string digits;  // ASCII, for from_chars
        const auto takeDigits = [&] {
            for (; IsDigit(At(at_)); ++at_) digits += static_cast<char>(text_[at_]);
        };
        takeDigits();
        if (At(at_) == u'.') {
            whole = false;
            digits += '.';
            ++at_;
            takeDigits();
        }
        if (At(at_) == u'e' || At(at_) == u'E') {
            whole = false;
            digits += 'e';
            ++at_;
            if (At(at_) == u'+')
                ++at_;
            else if (At(at_) == u'-') {
                digits += '-';
                ++at_;
            }
            if (!IsDigit(At(at_))) throw Failed(reason::number);
            takeDigits();
        }
        if (IsNameCharacter(At(at_))) {
            while (IsNameCharacter(At(at_))) ++at_;
            throw ExpressionError(reason::number, text_, {start_, at_});
        }
        Token token = Made(Token::Kind::Number);
        token.value = NumberValue(digits, whole);
        return token;
    }

    Variant NumberValue(const std::string& digits, bool whole)
    {
        const char* end = digits.data() + digits.size();
        if (whole) {
            std::int32_t number = 0;
            if (std::from_chars(digits.data(), end, number).ec == std::errc()) return number;
        }
        double number = 0;
        const auto result = std::from_chars(digits.data(), end, number);
        // Too small becomes 0 as everywhere in the runtime, too large is an error; from_chars tells neither apart.
        if (result.ec == std::errc::result_out_of_range) {
            const std::size_t exponent = digits.find('e');
            if (exponent == std::string::npos || digits[exponent + 1] != '-') throw Failed(reason::number);
            return 0.0;
        }
        return number;
    }

    Token DateLiteral()
    {
        const std::size_t end = text_.find(u'#', at_ + 1);
        if (end == TextView::npos) throw Failed(reason::date);
        const TextView inside = text_.substr(at_ + 1, end - at_ - 1);
        at_ = end + 1;
        Token token = Made(Token::Kind::Date);
        try {
            token.value = TextToDate(Trim(inside), Locale::English());
        } catch (const Error&) {
            throw ExpressionError(reason::date, text_, {start_, at_});
        }
        return token;
    }

    // {guid {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}}
    Token GuidLiteral()
    {
        constexpr TextView pattern = u"xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
        const auto skipBlanks = [&] {
            while (IsBlank(At(at_))) ++at_;
        };
        ++at_;
        skipBlanks();
        if (!StartsWithIgnoringCase(text_.substr(at_), u"guid")) throw Failed(reason::syntax);
        at_ += 4;
        skipBlanks();
        if (At(at_) != u'{') throw Failed(reason::syntax);
        ++at_;
        const TextView digits = text_.substr(at_, pattern.size());
        if (digits.size() < pattern.size()) throw Failed(reason::syntax);
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            if (pattern[i] == u'x' ? !IsHexDigit(digits[i]) : digits[i] != u'-') throw Failed(reason::syntax);
        }
        at_ += pattern.size();
        for (int i = 0; i < 2; ++i, ++at_) {
            skipBlanks();
            if (At(at_) != u'}') throw Failed(reason::syntax);
        }
        Token token = Made(Token::Kind::Guid);
        token.value = u"{guid {" + Text(digits) + u"}}";
        return token;
    }

    Token Symbol()
    {
        const TextView two = text_.substr(at_, 2);
        const bool isLong = two == u"<>" || two == u"<=" || two == u">=" || two == u"=<" || two == u"=>";
        if (!isLong && TextView(u"()=<>+-*/\\^&,.;!").find(text_[at_]) == TextView::npos) throw Failed(reason::syntax);
        at_ += isLong ? 2 : 1;
        Token token = Made(Token::Kind::Symbol);
        token.text = text_.substr(start_, at_ - start_);
        if (token.text == u"=<") token.text = u"<=";
        if (token.text == u"=>") token.text = u">=";
        return token;
    }

    Error Failed(TextView what) const { return ExpressionError(what, text_, {start_, text_.size()}); }

    TextView text_;
    std::size_t at_ = 0, start_ = 0;
};

}  // namespace

bool IsNameCharacter(char16_t character)
{
    if (character < 0x80) {
        return IsDigit(character) || character == u'_' || (character >= u'a' && character <= u'z') ||
               (character >= u'A' && character <= u'Z');
    }
    if (character < 0x100) {
        return character == u'ª' || character == u'µ' || character == u'º' ||
               (character >= u'À' && character != u'×' && character != u'÷');
    }
    // Beyond Latin-1: letters, but not the spacing marks, the general punctuation and the symbols that code page 1252
    // has.
    const bool punctuation =
        (character >= 0x02C2 && character <= 0x02DF) || (character >= 0x2000 && character <= 0x2BFF);
    return !punctuation && character < 0xD800;
}

std::vector<Token> Tokenize(TextView sql)
{
    return Scanner(sql).All();
}

}  // namespace vmlib::sql
