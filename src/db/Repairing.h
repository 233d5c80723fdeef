#pragma once

#include "db/Session.h"

namespace vmlib::db {

/// Repairs and compacts a file in place. What the repair could not read stands in the engine's Errors.
/// @param nErrorCode  out: 0 or 1
/// @return            true exactly when nErrorCode is 0
/// @throws            Error of the engine or of the files: the file is then as it was, or repaired and whole
bool DBL_RepareerDataBase(Session& session, const Text& sFilenaam, std::int16_t& nErrorCode);

}  // namespace vmlib::db
