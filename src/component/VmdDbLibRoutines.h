#pragma once

#include "automation/MemberTable.h"
#include "db/Session.h"

namespace vmlib {

/// The document layer as a late-bound class. Members and parameters are those of the functions in src/db; all arguments
/// go by reference.
class VmdDbLibRoutines : public AutomationClass<VmdDbLibRoutines>
{
public:
    explicit VmdDbLibRoutines(db::Session session) : session_(std::move(session)) {}
    static const MemberTable& Members();

private:
    void InitPassWord();
    Text GetDatabaseError(std::int16_t& nErrorCode);
    std::int16_t GetRechten(Text& sPadEnBestandNaam);
    ObjectRef OpenMdb(Text& sDatabaseNaam, bool& bParExclusief, bool& bReadOnly, bool& bBepaalRechten,
                      Optional& varError);
    void OpenDataControl(ObjectRef& datControl, Text& sDatabaseNaam, bool& bExclusief, bool& bReadOnly,
                         Optional& varOptions);
    void SluitDataControl(ObjectRef& datControl);
    bool Ingebruik(Text& sDatabaseNaam, bool& bWilSchrijven, std::int16_t& nErrorCode);
    bool BestandVrijgeven(Text& sFilenaam, std::int16_t& nErrorCode);
    bool CheckTmp(Text& sFilenaam, Text& sBestandType, Text& sOrigineelBestand);
    bool OpenDatabase(Text& sFileIn, Text& sFileUit, Text& sBestandType, Text& sLayoutNaam, std::int16_t& nStatus,
                      std::int16_t& nVersie, std::int16_t& nLayoutVersie, std::int16_t& nErrorCode);
    bool CheckBasisDatabase2(Text& sFileIn, Text& sBestandType, Text& sLayoutNaam, std::int16_t& nGevraagdeRechten,
                             std::int16_t& nGeOpendRechten, std::int16_t& nVersie, std::int16_t& nLayoutVersie,
                             std::int16_t& nErrorCode);
    bool CheckBasisDatabase(Text& sFileIn, Text& sBestandType, Text& sLayoutNaam, std::int16_t& nGevraagdeRechten,
                            std::int16_t& nGeOpendRechten, std::int16_t& nVersie, std::int16_t& nLayoutVersie,
                            std::int16_t& nErrorCode);
    std::int16_t OpenBasisDatabase(Text& sFileIn, Text& sFileUit, std::int16_t& nRechten, Optional& datLayout);
    bool RepareerDataBase(Text& sFilenaam, std::int16_t& nErrorCode);
    bool OpslaanDatabase(Text& sBronNaam, Text& sDoelNaam, Text& sLayoutBestand, Text& sBestandType,
                         std::int16_t& nErrorCode);
    std::int16_t GetVersieNummer(Text& sFileType, Text& sLayoutNaam);
    bool MaakNieuweDatabase(Text& sFilenaam, Text& sFileType, Text& sLayoutNaam, std::int16_t& nErrorCode);
    void AutoConvert2(ObjectRef& db, Text& sFileType, Text& sLayoutNaam);
    void AutoConvertPakket(Text& ConvertClass);

    db::Session session_;
};

}  // namespace vmlib
