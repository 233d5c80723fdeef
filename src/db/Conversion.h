#pragma once

#include "db/Session.h"

/// Converts a document to the current layout: a fresh database is built beside it, the data that still fits is moved
/// into it table by table with one statement each, the host's converter may rework it, indexes and relations are added,
/// and the new file replaces the old one.
///
/// The host's converter is a class by name whose objects answer PakketConvert(new database, file type, old version, new
/// version), all by reference as variants. It may put another Database object in the place of the first.
namespace vmlib::db {

/// The name of the working copy, always the same, in the temporary folder. It stays there when a conversion fails; the
/// next one deletes it.
inline constexpr TextView conversionCopyName = u"ConKopie.tmp";

/// @param db  the open document; afterwards the reopened, converted one. Its Info record is not changed.
/// @throws    Error from the building of indexes and relations on; the document's file is then untouched. What fails
///            before (a table, an insert, the converter) is skipped, unless it would cost rows that are still wanted: a
///            full disk, damage, a layout without tables of the type.
void DBL_AutoConvert2(Session& session, dao::Database& db, const Text& sFileType, const Text& sLayoutNaam);

/// Names the host's converter class; "" calls none.
void DBL_AutoConvertPakket(Session& session, const Text& ConvertClass);

void ConverteerDatabase(Session& session, dao::Database& db, const Text& sFileType, const Text& sLayoutNaam);

}  // namespace vmlib::db
