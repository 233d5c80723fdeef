#include "jet/Damage.h"

namespace vmlib::jet {

namespace {

Text Finding(PageNumber page, std::string_view finding)
{
    return ErrorText(static_cast<std::int32_t>(ErrorNumber::DamagedDatabase)) + u" Page " + Decimal(page) + u": " + FromUtf8(finding) + u".";
}

}  // namespace

Damaged::Damaged(PageNumber page, std::string_view finding)
    : Error(static_cast<std::int32_t>(ErrorNumber::DamagedDatabase), Finding(page, finding)), page_(page)
{
}

}  // namespace vmlib::jet
