#include "platform/NamePattern.h"

namespace vmlib {

bool MatchesPattern(TextView name, TextView pattern)
{
    if (pattern == u"*.*") return true;
    std::size_t n = 0, p = 0, starName = 0;
    std::size_t star = TextView::npos;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            star = p++;
            starName = n;
        } else if (p < pattern.size() && (pattern[p] == u'?' || UpperCase(pattern[p]) == UpperCase(name[n]))) {
            ++p;
            ++n;
        } else if (star != TextView::npos) {
            p = star + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', p) == TextView::npos;
}

}  // namespace vmlib
