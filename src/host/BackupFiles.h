#pragma once

#include "host/Session.h"

/// Backups that stand beside a document.
namespace vmlib::host {

bool SameBytes(Files& files, TextView left, TextView right);

/// A free name beside the path for what is not finished yet. It says so when a crash leaves it there, and has an
/// extension: the engine would add one.
Text UnfinishedName(Files& files, const Text& path);

/// An empty file beside the path for what is not finished yet, with the permissions of another file ("": those of a new
/// file).
Text MakeUnfinished(Files& files, const Text& path, TextView permissionsOf);

/// Gives a finished copy its name; false when the name is taken.
bool TakeName(Files& files, const Text& from, const Text& to);

/// A backup of a document as it is now, complete and synced under a name that was free. Returns the name.
///
///     Kas.mdb-backup-20240305-060000
///     Kas.mdb-backup-20240305-060000-2    another one of that second
Text KeepAsBackup(Session& session, const Text& document);

struct Backup
{
    Text path;
    Date made;  // as the name says, else when the file was changed last
};

/// All backups of a document beside it, the newest first.
std::vector<Backup> BackupsOf(Session& session, const Text& document);

}  // namespace vmlib::host
