#include "jet/Damage.h"

namespace vmlib::jet {

namespace {

constexpr auto number = static_cast<std::int32_t>(ErrorNumber::DamagedDatabase);

Text TextOf(PageNumber page, std::string_view finding)
{
    return ErrorText(number) + u" (page " + Decimal(page) + u": " + FromUtf8(finding) + u")";
}

}  // namespace

Damaged::Damaged(PageNumber page, std::string_view finding)
    : Error(number, TextOf(page, finding)), page_(page), finding_(finding)
{
}

}  // namespace vmlib::jet
