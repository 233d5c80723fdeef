#include "sql/Like.h"

#include "core/Error.h"

namespace vmlib::sql {
namespace {

constexpr std::int32_t invalidPattern = 93;

class Matcher
{
public:
    Matcher(TextView text, TextView pattern, const FunctionContext& context)
        : text_(text), pattern_(pattern), context_(context)
    {
    }

    /// Greedy with one place to go back to: a later "*" makes the earlier one settle for what it has.
    bool Matches()
    {
        std::size_t at = 0, in = 0;
        bool starred = false;
        std::size_t starText = 0, starPattern = 0;
        for (;;) {
            if (in < pattern_.size() && pattern_[in] == u'*') {
                starred = true;
                starText = at;
                starPattern = ++in;
                continue;
            }
            if (in == pattern_.size() && at == text_.size()) return true;
            if (in < pattern_.size() && Step(at, in)) continue;
            if (!starred || starText == text_.size()) return false;
            at = ++starText;
            in = starPattern;
        }
    }

private:
    /// Matches one element of the pattern and moves both positions behind it; false leaves them.
    bool Step(std::size_t& at, std::size_t& in) const
    {
        const char16_t element = pattern_[in];
        if (element == u'[') {
            const std::size_t close = ClassEnd(in);
            const TextView inside = pattern_.substr(in + 1, close - in - 1);
            if (!inside.empty()) {
                if (at == text_.size() || !InClass(text_[at], inside)) return false;
                ++at;
            }
            in = close + 1;
            return true;
        }
        if (at == text_.size()) return false;
        const char16_t character = text_[at];
        const bool matches =
            element == u'?' || (element == u'#' ? character >= u'0' && character <= u'9' : Equal(character, element));
        if (!matches) return false;
        ++at;
        ++in;
        return true;
    }

    std::size_t ClassEnd(std::size_t open) const
    {
        const std::size_t close = pattern_.find(u']', open);
        if (close == TextView::npos) throw Error(invalidPattern, u"Invalid pattern string");
        return close;
    }

    bool InClass(char16_t character, TextView inside) const
    {
        const bool negated = inside.size() > 1 && inside[0] == u'!';
        if (negated) inside.remove_prefix(1);
        for (std::size_t i = 0; i < inside.size(); ++i) {
            if (i + 2 < inside.size() && inside[i + 1] == u'-') {
                if (InRange(character, inside[i], inside[i + 2])) return !negated;
                i += 2;
            } else if (Equal(character, inside[i])) {
                return !negated;
            }
        }
        return negated;
    }

    bool InRange(char16_t character, char16_t from, char16_t to) const
    {
        const TextView one(&character, 1);
        return context_.Compare(TextView(&from, 1), one) <= 0 && context_.Compare(one, TextView(&to, 1)) <= 0;
    }

    static bool Equal(char16_t left, char16_t right) { return left == right || UpperCase(left) == UpperCase(right); }

    TextView text_, pattern_;
    const FunctionContext& context_;
};

}  // namespace

bool IsLike(TextView text, TextView pattern, const FunctionContext& context)
{
    return Matcher(text, pattern, context).Matches();
}

}  // namespace vmlib::sql
