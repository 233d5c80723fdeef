#pragma once

#include <initializer_list>
#include <utility>

#include "db/Session.h"

/// The table Info: one record that says what a document is, which document a working copy belongs to and who has it in
/// use. A released document carries one space in InGebruikDoor, never an empty text, which the field need not accept.
namespace vmlib::db {

struct InfoRecord
{
    std::int16_t versie = 0;
    Text bestandType;
    Text bestandNaam;
    Text inGebruikDoor;
};

/// Reads the Info record through an exclusive, read-only open.
/// @param info  fields that cannot be read keep what they hold; Null reads as ""
/// @return      0, DatabaseCode::CannotOpen (nothing is read) or DatabaseCode::NoInfo
std::int16_t LeesInfo(Session& session, const Text& path, InfoRecord& info);

/// The record that an opened table Info stands on; Null reads as "".
Text InfoText(const dao::Recordset& info, TextView field);

/// True when the mark names somebody else than the user.
bool MarkedByOther(TextView inGebruikDoor, TextView user);

using InfoValues = std::initializer_list<std::pair<TextView, Variant>>;

/// Changes the Info record, each step skipped when it fails.
/// @param source  the table's name or a SELECT
void TryChangeInfo(const dao::Database& document, TextView source, InfoValues values);
/// The same; the first error goes to the caller.
void ChangeInfo(const dao::Database& document, TextView source, InfoValues values);

}  // namespace vmlib::db
