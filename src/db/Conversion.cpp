#include "db/Conversion.h"

#include "automation/Convert.h"
#include "db/Closing.h"
#include "db/ConversionTables.h"
#include "db/EngineAccess.h"
#include "db/Info.h"
#include "db/LayoutCatalogue.h"
#include "general/Paths.h"

namespace vmlib::db {

namespace {

dao::Database MakeCopy(Session& session, const Text& path)
{
    if (Exist(session, path)) ResumeNext([&] { session.platform.files.Delete(path); });
    dao::Database copy;
    ResumeNext([&] { copy = CreateDatabase(session, path); });
    return copy;
}

std::int32_t CopiedVersion(const dao::Database& copy)
{
    std::int32_t version = 0;
    ResumeNext([&] {
        const Closing info(copy.OpenRecordset(u"Select * from Info", dao::dbOpenSnapshot));
        version = ToLong(Val(InfoText(*info, u"Versie")));
    });
    return version;
}

/// Calls the host's converter, if there is one, and returns the database that it left in place of `copy`.
dao::Database AfterConverter(Session& session, const dao::Database& copy, const Text& fileType, const Text& layoutPath)
{
    if (session.sConvertClass.empty()) return copy;
    ObjectRef converter;
    ResumeNext([&] { converter = session.classes.Create(session.sConvertClass); });
    if (!converter) return copy;
    const std::int32_t oldVersion = CopiedVersion(copy);
    const std::int32_t newVersion = DBL_GetVersieNummer(session, fileType, layoutPath);
    Variant arguments[] = {copy.Reference(), fileType, oldVersion, newVersion};
    ResumeNext([&] { CallWith(converter, u"PakketConvert", arguments); });
    return arguments[0].IsObject() ? dao::Database(arguments[0].As<ObjectRef>()) : copy;
}

}  // namespace

void DBL_AutoConvert2(Session& session, dao::Database& db, const Text& sFileType, const Text& sLayoutNaam)
{
    ConverteerDatabase(session, db, sFileType, sLayoutNaam);
}

void DBL_AutoConvertPakket(Session& session, const Text& ConvertClass)
{
    session.sConvertClass = ConvertClass;
}

void ConverteerDatabase(Session& session, dao::Database& db, const Text& sFileType, const Text& sLayoutNaam)
{
    // What fails is skipped up to the converter's call.
    const Text copyPath = VmdLib_TempPath(session.platform) + Text(conversionCopyName);
    Closing made(MakeCopy(session, copyPath));
    Closing layout(DBL_OpenMdb(session, sLayoutNaam, true, true, false));
    BuildConvertedTables(*made, *layout, sFileType);
    CopyConvertedData(db, *made, copyPath);
    Closing copy(AfterConverter(session, *made, sFileType, sLayoutNaam));

    MaakIndexen(sFileType, *copy, *layout);
    MaakRelaties(sFileType, *copy, *layout);
    layout.Close();
    const Text documentPath = db.Name();
    db.Close();
    copy.Close();
    // Another object when the converter put its own in place: whoever still has ours must not hold the file.
    ResumeNext([&] { made.Close(); });
    // The old file is there until the whole new one is: deleting it first would leave the only copy in the temporary
    // folder for a while.
    session.platform.files.Replace(copyPath, documentPath);
    db = DBL_OpenMdb(session, documentPath, false, false, false);
}

}  // namespace vmlib::db
