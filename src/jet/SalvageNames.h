#pragma once

#include <map>
#include <optional>

#include "jet/SalvageSurvey.h"

namespace vmlib::jet {

/// Names of objects whose rows are gone, from the indexes of MSysObjects: one leads from the id to the place where the
/// row was, the other one has name and place. What a key says of a name is all that counts in names: accents, not
/// capitals.
class SalvageNames
{
public:
    /// Looks at the leaves of both indexes wherever they stand, as their trees may be damaged.
    SalvageNames(Pager& pager, const SalvageSurvey& survey, std::uint16_t langid);

    /// The name of the object with that id: a capital first, then small letters.
    std::optional<Text> NameOf(std::int32_t id) const;

private:
    void TakeEntries(const PageRef& page);

    std::uint16_t langid_;
    std::map<std::int32_t, std::uint32_t> places_;      // row pointers by id
    std::map<std::uint32_t, std::string> keysOfNames_;  // by row pointer
};

/// The text of a key of the sort order; no value when the bytes are no such key.
std::optional<std::string> TextOfKey(std::string_view key, std::uint16_t langid);

}  // namespace vmlib::jet
