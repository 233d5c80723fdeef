#include "db/InUse.h"

#include "db/Closing.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"
#include "db/Info.h"
#include "general/Paths.h"

namespace vmlib::db {

bool DBL_Ingebruik(Session& session, const Text& sDatabaseNaam, bool bWilSchrijven, std::int16_t& nErrorCode)
{
    const bool mayNotWrite = DBL_GetRechten(session, sDatabaseNaam) == 0;
    const Closing database(
        DBL_OpenMdb(session, sDatabaseNaam, bWilSchrijven || mayNotWrite, !bWilSchrijven || mayNotWrite, false));
    nErrorCode = database ? DatabaseCode::Ok : DatabaseCode::CannotOpen;
    return !database;
}

namespace {

/// Empties the mark unless it is another user's.
std::int16_t ClearMark(Session& session, const Text& path, const Text& user)
{
    if (!Exist(session, path)) return DatabaseCode::FileNotFound;
    if (DBL_GetRechten(session, path) != 1) return DatabaseCode::FileNotWritable;
    const Closing document(DBL_OpenMdb(session, path, false, false, false));
    if (!document) return DatabaseCode::NoInfo;
    Closing<dao::Recordset> info;
    bool empty = true;
    ResumeNext([&] {
        info = Closing(document->OpenRecordset(u"SELECT Ingebruikdoor FROM Info"));
        empty = info->AtEnd();
    });
    if (empty) return DatabaseCode::NoInfo;

    Text mark;
    ResumeNext([&] { mark = InfoText(*info, u"Ingebruikdoor"); });
    if (MarkedByOther(mark, user)) return DatabaseCode::InUseByOther;
    ResumeNext([&] { info->Edit(); });
    ResumeNext([&] { info->Field(u"Ingebruikdoor").SetValue(u" "); });
    ResumeNext([&] { info->Update(); });
    return DatabaseCode::Ok;
}

std::int16_t CheckTmp(Session& session, const Text& path, const Text& type, Text& original)
{
    if (VmdLib_LeesGebruiker(session.platform).empty()) return DatabaseCode::UserUnknown;
    if (!Exist(session, path)) return DatabaseCode::FileNotFound;
    InfoRecord info;
    info.bestandNaam = original;
    LeesInfo(session, path, info);
    original = info.bestandNaam;
    if (info.bestandType != type) return DatabaseCode::WrongFileType;
    if (!VmdLib_ExtractFileNaam(path).starts_with(u'~')) return DatabaseCode::NotRecoverable;
    return DatabaseCode::Ok;
}

}  // namespace

bool DBL_BestandVrijgeven(Session& session, const Text& sFilenaam, std::int16_t& nErrorCode)
{
    const Text user = VmdLib_LeesGebruiker(session.platform);
    nErrorCode = DatabaseCode::Ok;
    if (Trim(sFilenaam).empty()) return true;
    const bool wasInList = session.opened.Release(sFilenaam);
    nErrorCode = ClearMark(session, sFilenaam, user);
    if (nErrorCode == DatabaseCode::Ok && !wasInList) nErrorCode = DatabaseCode::NotInList;
    return nErrorCode == DatabaseCode::Ok;
}

bool DBL_CheckTmp(Session& session, const Text& sFilenaam, const Text& sBestandType, Text& sOrigineelBestand)
{
    return CheckTmp(session, sFilenaam, sBestandType, sOrigineelBestand) == DatabaseCode::Ok;
}

}  // namespace vmlib::db
