#pragma once

#include "automation/MemberTable.h"
#include "db/Session.h"

/// How the document layer touches files through the engine.
namespace vmlib::db {

/// Sets the connect string. Called by the host once, before anything is opened.
void DBL_InitPassWord(Session& session);

/// 1: the user may write the file, or make it; 0: the folder or the file forbids it.
std::int16_t DBL_GetRechten(Session& session, const Text& sPadEnBestandNaam);

/// Opens a database file with the connect string.
/// @param bBepaalRechten  the sharing follows from the rights and not from bParExclusief: exclusive when the file is
/// wanted read-only and may
///                        not be written, as a shared opener needs a lock file beside it; else shared
/// @param varError        out: True when the file could not be opened
/// @return                Nothing when it could not be opened
dao::Database DBL_OpenMdb(Session& session, const Text& sDatabaseNaam, bool bParExclusief, bool bReadOnly,
                          bool bBepaalRechten, Variant* varError = nullptr);

/// Tells a data control of the host's which database it shows. Errors of the control go to the caller.
void DBL_OpenDataControl(Session& session, const ObjectRef& datControl, const Text& sDatabaseNaam, bool bExclusief,
                         bool bReadOnly, const Optional& varOptions);
void DBL_SluitDataControl(const ObjectRef& datControl);

/// Makes an empty database with the Dutch sort order and the password; an existing file of the name is deleted first.
void MaakLegeDatabase(Session& session, const Text& path);

/// The same, left open; error 3204 when the file exists.
dao::Database CreateDatabase(Session& session, const Text& path);

/// As DBL_OpenMdb without rights, but the engine's error goes to the caller: shared and writable; exclusive and
/// writable; exclusive and read-only, as layouts are opened.
dao::Database OpenShared(Session& session, const Text& path);
dao::Database OpenExclusive(Session& session, const Text& path);
dao::Database OpenLayout(Session& session, const Text& path);

/// True when the file exists; a folder is no file.
bool Exist(Session& session, const Text& path);

/// "IN '...'" of the SQL dialect.
Text InClause(TextView path);

}  // namespace vmlib::db
