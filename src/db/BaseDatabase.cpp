#include "db/BaseDatabase.h"

#include "automation/Convert.h"
#include "db/Closing.h"
#include "db/Conversion.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"
#include "db/Info.h"
#include "db/LayoutCatalogue.h"

namespace vmlib::db {

namespace {

constexpr std::int16_t readOnly = 0, readWrite = 1, readWriteIfPossible = 2;

bool IsDotted(TextView fileType)
{
    return fileType.find(u'.') != TextView::npos;
}

/// One examination of a base database. Each step returns the code that ends the work, or 0.
class BaseCheck
{
public:
    BaseCheck(Session& session, const Text& file, const Text& type, const Text& layout, std::int16_t& version,
              std::int16_t& layoutVersion)
        : session_(session), file_(file), type_(type), layout_(layout), version_(version), layoutVersion_(layoutVersion)
    {
    }

    std::int16_t Run(std::int16_t wanted, std::int16_t& opened)
    {
        if (!Exist(session_, file_)) return DatabaseCode::FileNotFound;
        Text storedType = type_;
        if (const auto code = ReadInfo(storedType)) return code;
        if (storedType != type_) return DatabaseCode::WrongFileType;
        if (const auto code = LeesLayoutVersie(session_, layout_, type_, layoutVersion_)) return code;
        if (layoutVersion_ < version_) return DatabaseCode::NewerThanLayout;
        if (layoutVersion_ > version_)
            if (const auto code = BringUpToDate()) return code;
        return OpenAsWanted(wanted, opened);
    }

private:
    std::int16_t ReadInfo(Text& storedType)
    {
        const Closing base(DBL_OpenMdb(session_, file_, true, true, false));
        if (!base) return DatabaseCode::BaseFileNotOpenable;
        Closing<dao::Recordset> info;
        if (ResumeNext([&] { info = Closing(base->OpenRecordset(u"SELECT * FROM Info", dao::dbOpenSnapshot)); }))
            return DatabaseCode::NoInfo;
        const auto error = ResumeNext([&] {
            version_ = ToInteger(info->Field(u"Versie").Value());
            if (IsDotted(type_)) return;
            storedType = InfoText(*info, u"BestandType");
            InfoText(*info, u"InGebruikDoor");  // it has to be there
        });
        return error ? DatabaseCode::InfoFieldMissing : DatabaseCode::Ok;
    }

    std::int16_t BringUpToDate()
    {
        if (DBL_GetRechten(session_, file_) == 0) return DatabaseCode::ConversionNeedsRights;
        Closing base(DBL_OpenMdb(session_, file_, false, false, false));
        if (!IsDotted(type_) && ResumeNext([&] { ConverteerDatabase(session_, *base, type_, layout_); }))
            return DatabaseCode::ConversionFailed;
        TryChangeInfo(*base, u"Info", {{u"Versie", layoutVersion_}});
        return DatabaseCode::Ok;
    }

    bool CanOpen(bool exclusive, bool forReading)
    {
        const Closing base(DBL_OpenMdb(session_, file_, exclusive, forReading, false));
        return static_cast<bool>(base);
    }

    std::int16_t OpenAsWanted(std::int16_t wanted, std::int16_t& opened)
    {
        const bool mayFallBack = wanted == readWriteIfPossible, isForWriting = wanted > readOnly;
        if (isForWriting && CanOpen(false, false))
            opened = readWrite;
        else if ((!isForWriting || mayFallBack) && CanOpen(true, true))
            opened = readOnly;
        else
            return DatabaseCode::CannotOpen;
        return DatabaseCode::Ok;
    }

    Session& session_;
    const Text& file_;
    const Text& type_;
    const Text& layout_;
    std::int16_t& version_;
    std::int16_t& layoutVersion_;
};

}  // namespace

bool DBL_CheckBasisDatabase2(Session& session, const Text& sFileIn, const Text& sBestandType, const Text& sLayoutNaam,
                             std::int16_t nGevraagdeRechten, std::int16_t& nGeOpendRechten, std::int16_t& nVersie,
                             std::int16_t& nLayoutVersie, std::int16_t& nErrorCode)
{
    nErrorCode = BaseCheck(session, sFileIn, sBestandType, sLayoutNaam, nVersie, nLayoutVersie)
                     .Run(nGevraagdeRechten, nGeOpendRechten);
    return nErrorCode == DatabaseCode::Ok;
}

bool DBL_CheckBasisDatabase(Session& session, const Text& sFileIn, const Text& sBestandType, const Text& sLayoutNaam,
                            std::int16_t nGevraagdeRechten, std::int16_t& nGeOpendRechten, std::int16_t& nVersie,
                            std::int16_t& nLayoutVersie, std::int16_t& nErrorCode)
{
    const bool isFit = DBL_CheckBasisDatabase2(session, sFileIn, sBestandType, sLayoutNaam, nGevraagdeRechten,
                                               nGeOpendRechten, nVersie, nLayoutVersie, nErrorCode);
    if (isFit && IsDotted(sBestandType)) {
        const Closing base(DBL_OpenMdb(session, sFileIn, false, false, false));
        TryChangeInfo(*base, u"Info", {{u"Versie", nLayoutVersie}});
    }
    return isFit;
}

std::int16_t DBL_OpenBasisDatabase(const Text& sFileIn, Text& sFileUit)
{
    sFileUit = sFileIn;
    return -1;
}

}  // namespace vmlib::db
