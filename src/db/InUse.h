#pragma once

#include "db/Session.h"

/// Who works on a document: registered in its Info record, not by holding the file open.
namespace vmlib::db {

/// True, with code 8, when the file cannot be opened in the wanted mode: for itself alone to write, shared to read.
bool DBL_Ingebruik(Session& session, const Text& sDatabaseNaam, bool bWilSchrijven, std::int16_t& nErrorCode);

/// Clears the mark of a document and its entry in the list. Codes 1, 5, 17, 21 (the mark is another's and stays), 23
/// (it was not in the list; the mark is cleared all the same). A blank name is released already.
bool DBL_BestandVrijgeven(Session& session, const Text& sFilenaam, std::int16_t& nErrorCode);

/// True when the file is a working copy of the type that can be opened again.
/// @param sOrigineelBestand  out: the document that it belongs to
bool DBL_CheckTmp(Session& session, const Text& sFilenaam, const Text& sBestandType, Text& sOrigineelBestand);

}  // namespace vmlib::db
