#pragma once

#include <vector>

#include "db/LayoutRecords.h"
#include "db/Session.h"

/// Turns records of the layout into objects of the engine. The builders trap no errors; an empty list builds nothing.
namespace vmlib::db {

/// Makes a new, empty document.
/// @param nErrorCode  0 on entry, else nothing is done; out: 17 the folder cannot be written, 19 the file exists and
/// cannot be overwritten
/// @return            true when it was made; an engine error goes to the caller, and what was built stays
bool DBL_MaakNieuweDatabase(Session& session, const Text& sFilenaam, const Text& sFileType, const Text& sLayoutNaam,
                            std::int16_t& nErrorCode);

void MaakTabel(TextView tableName, const std::vector<VeldDefinitie>& list, const dao::Database& database);
void MaakTabelIndexen(TextView tableName, const std::vector<IndexDefinitie>& list, const dao::Database& database);
/// One relation from its field pairs.
void MaakRelatie(const std::vector<RelatieDefinitie>& list, const dao::Database& database);
void MaakQuery(const dao::Database& database, const QueryDefinitie& query);

}  // namespace vmlib::db
