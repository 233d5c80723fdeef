#include <algorithm>

#include "jet/Salvage.h"

// What a repair says of its work.
namespace vmlib::jet {

namespace {

constexpr std::size_t greatestReasonCount = 8;  // a table

}  // namespace

void SalvagedTable::Note(std::string reason)
{
    if (reasons.size() < greatestReasonCount) reasons.push_back(std::move(reason));
}

Text SalvagedTable::Summary() const
{
    const struct
    {
        std::size_t count;
        const char16_t *one, *many;
    } losses[] = {{lostRows, u"row", u"rows"},
                  {lostValues, u"value", u"values"},
                  {lostLongValues, u"long value", u"long values"},
                  {cutLongValues, u"end of a memo", u"ends of memos"},
                  {lostPages, u"page", u"pages"}};
    Text text = name + u": ";
    bool first = true;
    for (const auto& loss : losses) {
        if (loss.count == 0) continue;
        text += (first ? u"lost " : u", ") + Decimal(static_cast<std::int64_t>(loss.count)) + u" " +
                (loss.count == 1 ? loss.one : loss.many);
        first = false;
    }
    for (const std::string& reason : reasons) {
        text += (first ? u"" : u"; ") + FromUtf8(reason);
        first = false;
    }
    return text;
}

bool SalvageReport::LostNothing() const
{
    return std::ranges::all_of(tables, &SalvagedTable::LostNothing);
}

}  // namespace vmlib::jet
