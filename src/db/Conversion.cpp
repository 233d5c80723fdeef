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

/// Calls the host's converter, if there is one; afterwards `copy` is the database that it left.
void CallConverter(Session& session, dao::Database& copy, const Text& fileType, const Text& layoutPath)
{
    if (session.sConvertClass.empty()) return;
    ObjectRef converter;
    ResumeNext([&] { converter = session.classes.Create(session.sConvertClass); });
    if (!converter) return;
    const std::int32_t oldVersion = CopiedVersion(copy);
    const std::int32_t newVersion = DBL_GetVersieNummer(session, fileType, layoutPath);
    Variant arguments[] = {copy.Reference(), fileType, oldVersion, newVersion};
    ResumeNext([&] { CallWith(converter, u"PakketConvert", arguments); });
    if (arguments[0].IsObject()) copy = dao::Database(arguments[0].As<ObjectRef>());
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
    // Every error skipped up to the converter's call.
    const Text copyPath = VmdLib_TempPath(session.platform) + Text(conversionCopyName);
    Closing copy(MakeCopy(session, copyPath));
    Closing layout(DBL_OpenMdb(session, sLayoutNaam, true, true, false));
    BuildConvertedTables(*copy, *layout, sFileType);
    CopyConvertedData(db, *copy, copyPath);
    CallConverter(session, *copy, sFileType, sLayoutNaam);

    MaakIndexen(sFileType, *copy, *layout);
    MaakRelaties(sFileType, *copy, *layout);
    layout.Close();
    const Text documentPath = db.Name();
    db.Close();
    copy.Close();
    // The old file is there until the whole new one is: deleting it first would leave the only copy in the temporary
    // folder for a while.
    session.platform.files.Replace(copyPath, documentPath);
    db = DBL_OpenMdb(session, documentPath, false, false, false);
}

}  // namespace vmlib::db
