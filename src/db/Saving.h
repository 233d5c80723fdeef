#pragma once

#include "db/Session.h"

namespace vmlib::db {

/// Saves a working copy as a document: a fresh database takes its tables, the layout's indexes and relations are added,
/// and it replaces the target in one step. Saving under a new name releases the old document and takes the new one over
/// in the list.
/// @param sBronNaam   the working copy
/// @param sDoelNaam   the document; the list holds it upper-cased
/// @param nErrorCode  out: 0, 1, 3, 5, 8, 9, 16, 18, 19, 20, 21
/// @return            true exactly when nErrorCode is 0
/// @throws            Error of the engine or of the files while tables are copied; the target is then what it was
bool DBL_OpslaanDatabase(Session& session, const Text& sBronNaam, const Text& sDoelNaam, const Text& sLayoutBestand,
                         const Text& sBestandType, std::int16_t& nErrorCode);

/// Copies all tables but those whose names begin with "MSys" into a fresh database that then replaces the target.
/// @return  0 or DatabaseCode::NoTemporaryFile
std::int16_t KopieerTabellen(Session& session, const Text& source, const Text& target, const Text& layoutPath,
                             const Text& fileType);

}  // namespace vmlib::db
