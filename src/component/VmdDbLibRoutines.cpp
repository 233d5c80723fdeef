#include "component/VmdDbLibRoutines.h"

#include "automation/ResumeNext.h"
#include "db/BaseDatabase.h"
#include "db/Building.h"
#include "db/Conversion.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"
#include "db/InUse.h"
#include "db/LayoutCatalogue.h"
#include "db/Opening.h"
#include "db/Repairing.h"
#include "db/Saving.h"

namespace vmlib {

const MemberTable& VmdDbLibRoutines::Members()
{
    using Self = VmdDbLibRoutines;
    static const MemberTable table =
        MemberTable::Of<Self>(u"VmdDbLibRoutines")
            .Method<&Self::InitPassWord>(u"DBL_InitPassWord")
            .Method<&Self::GetDatabaseError>(u"DBL_GetDatabaseError", {u"nErrorCode"})
            .Method<&Self::GetRechten>(u"DBL_GetRechten", {u"sPadEnBestandNaam"})
            .Method<&Self::OpenMdb>(u"DBL_OpenMdb",
                                    {u"sDatabaseNaam", u"bParExclusief", u"bReadOnly", u"bBepaalRechten", u"varError"})
            .Method<&Self::OpenDataControl>(
                u"DBL_OpenDataControl", {u"datControl", u"sDatabaseNaam", u"bExclusief", u"bReadOnly", u"varOptions"})
            .Method<&Self::SluitDataControl>(u"DBL_SluitDataControl", {u"datControl"})
            .Method<&Self::Ingebruik>(u"DBL_Ingebruik", {u"sDatabaseNaam", u"bWilSchrijven", u"nErrorCode"})
            .Method<&Self::BestandVrijgeven>(u"DBL_BestandVrijgeven", {u"sFilenaam", u"nErrorCode"})
            .Method<&Self::CheckTmp>(u"DBL_CheckTmp", {u"sFilenaam", u"sBestandType", u"sOrigineelBestand"})
            .Method<&Self::OpenDatabase>(u"DBL_OpenDatabase", {u"sFileIn", u"sFileUit", u"sBestandType", u"sLayoutNaam",
                                                               u"nStatus", u"nVersie", u"nLayoutVersie", u"nErrorCode"})
            .Method<&Self::CheckBasisDatabase2>(u"DBL_CheckBasisDatabase2",
                                                {u"sFileIn", u"sBestandType", u"sLayoutNaam", u"nGevraagdeRechten",
                                                 u"nGeOpendRechten", u"nVersie", u"nLayoutVersie", u"nErrorCode"})
            .Method<&Self::CheckBasisDatabase>(u"DBL_CheckBasisDatabase",
                                               {u"sFileIn", u"sBestandType", u"sLayoutNaam", u"nGevraagdeRechten",
                                                u"nGeOpendRechten", u"nVersie", u"nLayoutVersie", u"nErrorCode"})
            .Method<&Self::OpenBasisDatabase>(u"DBL_OpenBasisDatabase",
                                              {u"sFileIn", u"sFileUit", u"nRechten", u"datLayout"})
            .Method<&Self::RepareerDataBase>(u"DBL_RepareerDataBase", {u"sFilenaam", u"nErrorCode"})
            .Method<&Self::OpslaanDatabase>(
                u"DBL_OpslaanDatabase", {u"sBronNaam", u"sDoelNaam", u"sLayoutBestand", u"sBestandType", u"nErrorCode"})
            .Method<&Self::GetVersieNummer>(u"DBL_GetVersieNummer", {u"sFileType", u"sLayoutNaam"})
            .Method<&Self::MaakNieuweDatabase>(u"DBL_MaakNieuweDatabase",
                                               {u"sFilenaam", u"sFileType", u"sLayoutNaam", u"nErrorCode"})
            .Method<&Self::AutoConvert2>(u"DBL_AutoConvert2", {u"db", u"sFileType", u"sLayoutNaam"})
            .Method<&Self::AutoConvertPakket>(u"DBL_AutoConvertPakket", {u"ConvertClass"});
    return table;
}

void VmdDbLibRoutines::InitPassWord()
{
    db::DBL_InitPassWord(session_);
}

Text VmdDbLibRoutines::GetDatabaseError(std::int16_t& nErrorCode)
{
    return db::DBL_GetDatabaseError(nErrorCode);
}

std::int16_t VmdDbLibRoutines::GetRechten(Text& sPadEnBestandNaam)
{
    return db::DBL_GetRechten(session_, sPadEnBestandNaam);
}

ObjectRef VmdDbLibRoutines::OpenMdb(Text& sDatabaseNaam, bool& bParExclusief, bool& bReadOnly, bool& bBepaalRechten,
                                    Optional& varError)
{
    Variant* error = varError.Given() ? &varError.value : nullptr;
    return db::DBL_OpenMdb(session_, sDatabaseNaam, bParExclusief, bReadOnly, bBepaalRechten, error).Reference();
}

void VmdDbLibRoutines::OpenDataControl(ObjectRef& datControl, Text& sDatabaseNaam, bool& bExclusief, bool& bReadOnly,
                                       Optional& varOptions)
{
    db::DBL_OpenDataControl(session_, datControl, sDatabaseNaam, bExclusief, bReadOnly, varOptions);
}

void VmdDbLibRoutines::SluitDataControl(ObjectRef& datControl)
{
    db::DBL_SluitDataControl(datControl);
}

bool VmdDbLibRoutines::Ingebruik(Text& sDatabaseNaam, bool& bWilSchrijven, std::int16_t& nErrorCode)
{
    return db::DBL_Ingebruik(session_, sDatabaseNaam, bWilSchrijven, nErrorCode);
}

bool VmdDbLibRoutines::BestandVrijgeven(Text& sFilenaam, std::int16_t& nErrorCode)
{
    return db::DBL_BestandVrijgeven(session_, sFilenaam, nErrorCode);
}

bool VmdDbLibRoutines::CheckTmp(Text& sFilenaam, Text& sBestandType, Text& sOrigineelBestand)
{
    return db::DBL_CheckTmp(session_, sFilenaam, sBestandType, sOrigineelBestand);
}

bool VmdDbLibRoutines::OpenDatabase(Text& sFileIn, Text& sFileUit, Text& sBestandType, Text& sLayoutNaam,
                                    std::int16_t& nStatus, std::int16_t& nVersie, std::int16_t& nLayoutVersie,
                                    std::int16_t& nErrorCode)
{
    return db::DBL_OpenDatabase(session_, sFileIn, sFileUit, sBestandType, sLayoutNaam, nStatus, nVersie, nLayoutVersie,
                                nErrorCode);
}

bool VmdDbLibRoutines::CheckBasisDatabase2(Text& sFileIn, Text& sBestandType, Text& sLayoutNaam,
                                           std::int16_t& nGevraagdeRechten, std::int16_t& nGeOpendRechten,
                                           std::int16_t& nVersie, std::int16_t& nLayoutVersie, std::int16_t& nErrorCode)
{
    return db::DBL_CheckBasisDatabase2(session_, sFileIn, sBestandType, sLayoutNaam, nGevraagdeRechten, nGeOpendRechten,
                                       nVersie, nLayoutVersie, nErrorCode);
}

bool VmdDbLibRoutines::CheckBasisDatabase(Text& sFileIn, Text& sBestandType, Text& sLayoutNaam,
                                          std::int16_t& nGevraagdeRechten, std::int16_t& nGeOpendRechten,
                                          std::int16_t& nVersie, std::int16_t& nLayoutVersie, std::int16_t& nErrorCode)
{
    return db::DBL_CheckBasisDatabase(session_, sFileIn, sBestandType, sLayoutNaam, nGevraagdeRechten, nGeOpendRechten,
                                      nVersie, nLayoutVersie, nErrorCode);
}

std::int16_t VmdDbLibRoutines::OpenBasisDatabase(Text& sFileIn, Text& sFileUit, std::int16_t&, Optional&)
{
    return db::DBL_OpenBasisDatabase(sFileIn, sFileUit);
}

bool VmdDbLibRoutines::RepareerDataBase(Text& sFilenaam, std::int16_t& nErrorCode)
{
    return db::DBL_RepareerDataBase(session_, sFilenaam, nErrorCode);
}

bool VmdDbLibRoutines::OpslaanDatabase(Text& sBronNaam, Text& sDoelNaam, Text& sLayoutBestand, Text& sBestandType,
                                       std::int16_t& nErrorCode)
{
    return db::DBL_OpslaanDatabase(session_, sBronNaam, sDoelNaam, sLayoutBestand, sBestandType, nErrorCode);
}

std::int16_t VmdDbLibRoutines::GetVersieNummer(Text& sFileType, Text& sLayoutNaam)
{
    return db::DBL_GetVersieNummer(session_, sFileType, sLayoutNaam);
}

bool VmdDbLibRoutines::MaakNieuweDatabase(Text& sFilenaam, Text& sFileType, Text& sLayoutNaam, std::int16_t& nErrorCode)
{
    return db::DBL_MaakNieuweDatabase(session_, sFilenaam, sFileType, sLayoutNaam, nErrorCode);
}

void VmdDbLibRoutines::AutoConvert2(ObjectRef& db, Text& sFileType, Text& sLayoutNaam)
{
    db::dao::Database database(std::move(db));
    const auto error = ResumeNext([&] { db::DBL_AutoConvert2(session_, database, sFileType, sLayoutNaam); });
    db = database.Reference();
    if (error) throw *error;
}

void VmdDbLibRoutines::AutoConvertPakket(Text& ConvertClass)
{
    db::DBL_AutoConvertPakket(session_, ConvertClass);
}

}  // namespace vmlib
