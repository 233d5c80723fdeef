#include "db/Repairing.h"

#include "automation/ResumeNext.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"
#include "general/Paths.h"

namespace vmlib::db {

namespace {

/// In place, and compacted by way of a file in the temporary folder, which may lie on another volume.
void RepairAndCompact(Session& session, const Text& path)
{
    Files& files = session.platform.files;
    Text temporary;
    VmdLib_TempFile(session.platform, temporary);
    try {
        files.Delete(temporary);  // only its name was wanted, and the engine makes no file over another
        const dao::DBEngine engine = session.engine->Engine();
        engine.RepairDatabase(path);
        engine.CompactDatabase(path, temporary, Text(dao::dbLangDutch) + session.connect);
        files.Replace(temporary, path);
    } catch (const Error&) {
        ResumeNext([&] { files.Delete(temporary); });
        throw;
    }
}

}  // namespace

bool DBL_RepareerDataBase(Session& session, const Text& sFilenaam, std::int16_t& nErrorCode)
{
    nErrorCode = Exist(session, sFilenaam) ? DatabaseCode::Ok : DatabaseCode::FileNotFound;
    if (nErrorCode == DatabaseCode::Ok) RepairAndCompact(session, sFilenaam);
    return nErrorCode == DatabaseCode::Ok;
}

}  // namespace vmlib::db
