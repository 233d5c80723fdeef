#pragma once

#include "db/Session.h"

/// Base databases: reference files of the applications that are opened in place, without a working copy and without a
/// mark. A file type with a full stop in it is one that is never converted; only its version is kept up to date.
namespace vmlib::db {

/// Examines a base database, brings an older one up to the layout's version, and finds out how it can be opened.
/// @param sBestandType       compared exactly with the one in Info; also the key into the layout, as it is
/// @param nGevraagdeRechten  below 1 reading; 2 writing, or reading where that fails; else writing
/// @param nGeOpendRechten    out, on success: 1 writing, 0 reading
/// @param nVersie            out: the file's version, where Info could be read
/// @param nLayoutVersie      out: the layout's, where that could be read
/// @param nErrorCode         out: 0, 1, 5, 6, 7, 8, 9, 10, 11, 12, 13, 24, 26. A file that somebody holds open gives 24;
///                           8 only when it is opened between two steps
/// @return                   true exactly when nErrorCode is 0
bool DBL_CheckBasisDatabase2(Session& session, const Text& sFileIn, const Text& sBestandType, const Text& sLayoutNaam,
                             std::int16_t nGevraagdeRechten, std::int16_t& nGeOpendRechten, std::int16_t& nVersie,
                             std::int16_t& nLayoutVersie, std::int16_t& nErrorCode);

/// The same; a file of a type with a full stop then gets the layout's version.
bool DBL_CheckBasisDatabase(Session& session, const Text& sFileIn, const Text& sBestandType, const Text& sLayoutNaam,
                            std::int16_t nGevraagdeRechten, std::int16_t& nGeOpendRechten, std::int16_t& nVersie,
                            std::int16_t& nLayoutVersie, std::int16_t& nErrorCode);

/// A base database is opened in place: its working file is the file itself. @return -1
std::int16_t DBL_OpenBasisDatabase(const Text& sFileIn, Text& sFileUit);

}  // namespace vmlib::db
