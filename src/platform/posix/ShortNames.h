#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Text.h"

// Names of at most eight characters, a point and three, for programs that take no others. File systems here keep none,
// so they are computed from the long ones:
//
//   Jaarverslag 2024.document   JA4F3C~1.DOC    two characters of the base, four hexadecimal digits of a hash of the
//                                               whole name without regard to case, "~1", three of the last extension
//   kas.mdb                     kas.mdb         short already: stays
//
// A short name thus does not change when other files come and go. Only where two entries of one folder get the same one,
// the character behind "~" counts up, 1 to 9 and A to Z, in the order of their upper-case names and past names that
// stand in the folder. What has no place among them has no short name.
//
// Allowed are letters and digits of code page 1252 and !#$%&'()-@^_`{}~ ; in what is derived, a character without a byte
// there becomes "_", and blanks, points and the like are left out.
namespace vmlib::posix {

/// True when a name fits eight characters, a point and three, all of them allowed.
bool IsShortName(TextView name);

/// True for what may be a derived short name.
bool IsDerivedName(TextView name);

/// The short name of an entry of a native folder: its own name when that is short. No value when it has none.
std::optional<Text> ShortNameOf(const std::string& folder, const std::string& entry);

/// The entry of a native folder that a derived short name stands for, in any case. Reads the folder only when the name
/// looks like a derived one.
std::optional<std::string> FindByShortName(const std::string& folder, TextView shortName);

/// Calls `visit` with the name of each entry of a native folder without "." and "..", in no order; not at all when it
/// cannot be read.
void VisitEntries(const std::string& folder, const std::function<void(std::string_view)>& visit);

/// The same names as a list.
std::vector<std::string> EntriesOf(const std::string& folder);

}  // namespace vmlib::posix
