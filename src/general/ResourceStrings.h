#pragma once

#include <array>
#include <span>

#include "automation/Object.h"

/// Texts in English, Danish and Dutch by number, and the forms that refer to them. No error reaches the caller.
namespace vmlib {

/// One row of resources/strings.tsv.
struct ResourceEntry
{
    std::int32_t number;            // of the English text; + 10000 is the Danish one, + 20000 the Dutch one
    std::array<TextView, 3> texts;  // English, Danish, Dutch
};

/// The whole table, numbers ascending.
std::span<const ResourceEntry> ResourceEntries();

/// The text of a number, 30001 is "Annuleren"; "" when there is none. It lives as long as the program.
TextView ResourceString(std::int32_t number);

/// As ResourceString, for any number or text of one, rounded half to even; "" for what is none.
Text VmdLib_LoadResString(const Variant& Id);

/// Replaces the captions, tooltips and texts of a form and its controls that are written "@30001" by the text of that
/// number. Which properties of which controls, their type name tells; the tooltip is every control's.
///
/// - A column header of a list view is a number whether "@" stands before it or not: one with plain text becomes "".
/// - A number that the table does not have, or text that is none, gives "". One that is too large for a double changes
///   nothing.
/// - What is missing, refuses, is Null or Nothing is skipped. On a tab control the first tab is selected afterwards.
void LoadResStrings(const ObjectRef& frm);

}  // namespace vmlib
