#pragma once

#include <vector>

#include "host/Session.h"

namespace vmlib::host {

/// A file that interrupted work left lying about.
struct Leftover
{
    Text path;
    const char* kind;         // working copy, conversion copy, journal, temporary, backup, list of users
    bool isHalfMade = false;  // it names no document, so it may be any document's
};

/// What belongs to a document: beside it its journal, unfinished copies and backups; in the temporary folder the
/// working and conversion copies whose record names it, with what stands beside those, and half made ones. To be asked
/// before the document is opened, as opening settles a journal.
///
///     Kas.mdb-journal                  the engine's journal
///     Kas.mdb-new-1A2B                 an unfinished copy
///     Kas.mdb-backup-20240305-060000   a backup
///     Kas.mdb-v1.bak                   a backup that a conversion made
///     Kas.ldb                          the list of those who share it, with nobody there
///     TMPDIR\vmlib-convert-Ab3dEf\     what a conversion of many documents was at when it was killed
///
/// A file that somebody holds open is somebody's work and no leftover.
std::vector<Leftover> FindLeftovers(Session& session, TextView document);

/// Takes out the half made ones that cannot be of this file type: temporary files have its first two letters in their
/// names; a conversion copy and what the engine puts there have one name for all types.
void KeepOfType(std::vector<Leftover>& leftovers, TextView fileType);

inline constexpr TextView journalMark = u"-journal";
inline constexpr TextView backupMark = u"-backup-";

/// The working copy of a conversion, and the start of its name after it was moved aside.
inline constexpr TextView conversionCopy = u"ConKopie.tmp";
inline constexpr TextView asideCopyStart = u"~ConKopie-";

/// A name as conversions give it, or as it is after the move.
bool IsConversionCopy(TextView name);

}  // namespace vmlib::host
