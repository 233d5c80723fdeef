#pragma once

#include "db/Session.h"

namespace vmlib::db {

/// How a document was opened.
namespace OpenStatus {
enum : std::int16_t
{
    Normal = 0,          // a working copy; the document is marked as in use by this user
    WorkingFile = 1,     // the "~" working copy of an earlier run, in place
    CopyOfAnothers = 2,  // a working copy of a document that another user has in use; the document is not marked
};
}  // namespace OpenStatus

/// Opens a document: marks it, copies it to a temporary working copy, converts the copy to the current layout.
/// @param sFileIn        the document, or a "~" working copy to recover
/// @param sFileUit       out: the working copy
/// @param sBestandType   upper-cased the key into the layout; its first two characters begin the working copy's name
/// after "~"
/// @param nStatus        out: OpenStatus
/// @param nVersie        out: the document's version; what was passed where its Info cannot be read
/// @param nLayoutVersie  out: the current version of the file type
/// @param nErrorCode     out: 0, 1, 2, 3, 4, 7, 10, 11, 12, 14, 15, 26. After 3, 4 and 26 the document stays marked
/// @return               true exactly when nErrorCode is 0
bool DBL_OpenDatabase(Session& session, const Text& sFileIn, Text& sFileUit, const Text& sBestandType,
                      const Text& sLayoutNaam, std::int16_t& nStatus, std::int16_t& nVersie,
                      std::int16_t& nLayoutVersie, std::int16_t& nErrorCode);

}  // namespace vmlib::db
