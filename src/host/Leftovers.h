#pragma once

#include <vector>

#include "host/Session.h"

namespace vmlib::host {

/// A file that interrupted work left lying about.
struct Leftover
{
    Text path;
    const char* kind;  // working copy, conversion copy, journal, temporary, backup
};

/// What belongs to a document: working and conversion copies in the temporary folder whose record names it, and beside
/// it its journal, unfinished copies of a replacement and backups. To be asked before the document is opened, as
/// opening settles a journal.
///
///     Kas.mdb-journal             the engine's journal
///     Kas.mdb-new-1A2B            an unfinished copy
///     Kas.mdb-backup-20240305-060000   a backup
std::vector<Leftover> FindLeftovers(Session& session, TextView document);

inline constexpr TextView journalMark = u"-journal";
inline constexpr TextView backupMark = u"-backup-";

}  // namespace vmlib::host
