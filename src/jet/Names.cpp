#include "jet/Names.h"

#include <algorithm>

#include "core/Error.h"
#include "jet/Format.h"

namespace vmlib::jet {

void RequireName(TextView name)
{
    const auto isBad = [](char16_t character) {
        return character < 0x20 || TextView(u".!`[]").find(character) != TextView::npos;
    };
    const bool good = !TrimRight(name).empty() && name.size() <= greatestNameLength && name.front() != u' ' &&
                      FitsAnsi(name) && std::ranges::none_of(name, isBad);
    if (!good) throw Error(ErrorNumber::BadName, {Text(name)});
}

bool SameName(TextView left, TextView right)
{
    return EqualIgnoringCase(TrimRight(left), TrimRight(right));
}

}  // namespace vmlib::jet
