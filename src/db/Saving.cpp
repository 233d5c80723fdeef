#include "db/Saving.h"

#include "db/Closing.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"
#include "db/InUse.h"
#include "db/Info.h"
#include "db/LayoutCatalogue.h"
#include "general/Paths.h"

namespace vmlib::db {

namespace {

/// One text of a document's Info record.
/// @param notOpened  the code when the file cannot be opened; 5 and 9 say what is missing in it
std::int16_t ReadInfoField(Session& session, const Text& path, TextView field, std::int16_t notOpened, Text& value)
{
    const Closing document(DBL_OpenMdb(session, path, false, false, false));
    if (!document) return notOpened;
    Closing<dao::Recordset> info;
    bool empty = true;
    ResumeNext([&] {
        info = Closing(document->OpenRecordset(u"SELECT * FROM Info", dao::dbOpenDynaset));
        empty = info->AtEnd();
    });
    if (empty) return DatabaseCode::NoInfo;
    if (ResumeNext([&] { value = InfoText(*info, field); })) return DatabaseCode::InfoFieldMissing;
    return DatabaseCode::Ok;
}

std::int16_t CheckTargetFolder(Session& session, const Text& target)
{
    Text folder = VmdLib_ExtractPad(session.platform, target);
    if (folder.ends_with(u'\\')) folder.pop_back();
    if (VmdLib_WriteTest(session.platform, folder) == 0) return DatabaseCode::FolderNotWritable;
    if (VmdLib_ExtractFileNaam(target).starts_with(u'~')) return DatabaseCode::NameBeginsWithTilde;
    return DatabaseCode::Ok;
}

/// May an existing target be overwritten by this user?
std::int16_t CheckExistingTarget(Session& session, const Text& target, const Text& user)
{
    if (!Exist(session, target)) return DatabaseCode::Ok;
    if (DBL_GetRechten(session, target) == 0) return DatabaseCode::CannotOverwrite;
    Text mark;
    if (const auto code = ReadInfoField(session, target, u"IngebruikDoor", DatabaseCode::CannotOpenTarget, mark))
        return code;
    return MarkedByOther(mark, user) ? DatabaseCode::InUseByOther : DatabaseCode::Ok;
}

std::int16_t Save(Session& session, const Text& source, const Text& target, const Text& layoutPath,
                  const Text& fileType)
{
    const Text user = VmdLib_LeesGebruiker(session.platform);
    if (!Exist(session, source)) return DatabaseCode::FileNotFound;
    if (const auto code = CheckTargetFolder(session, target)) return code;
    Text document;
    if (const auto code = ReadInfoField(session, source, u"BestandNaam", DatabaseCode::CannotOpen, document))
        return code;
    if (const auto code = CheckExistingTarget(session, target, user)) return code;

    if (!EqualIgnoringCase(target, document)) {
        std::int16_t ignored = DatabaseCode::Ok;
        DBL_BestandVrijgeven(session, document, ignored);
    }
    ChangeInfo(*Closing(OpenShared(session, source)), u"SELECT * FROM Info", {{u"BestandNaam", target}});
    if (const auto code = KopieerTabellen(session, source, target, layoutPath, fileType)) return code;
    if (!session.opened.Rename(document, UpperCase(target))) session.opened.Add(UpperCase(target));
    return DatabaseCode::Ok;
}

bool IsSystemTable(TextView name)
{
    return UpperCase(name.substr(0, 4)) == u"MSYS";
}

void CopyTables(const dao::Database& source, const Text& targetPath)
{
    const auto tables = source.TableDefs();
    const std::int32_t count = tables.Count();
    for (std::int32_t i = 0; i < count; ++i) {
        const Text name = tables.Item(i).Name();
        if (IsSystemTable(name)) continue;
        source.Execute(u"SELECT " + name + u".* INTO " + name + u" " + InClause(targetPath) + u" FROM " + name);
    }
}

/// Fills the new database at the path; it is complete and closed on return.
void BuildCopy(Session& session, const Text& path, const Text& sourcePath, const Text& layoutPath, const Text& fileType)
{
    Closing copy(CreateDatabase(session, path));
    Closing source(OpenShared(session, sourcePath));
    CopyTables(*source, path);
    const Closing layout(OpenLayout(session, layoutPath));
    MaakIndexen(fileType, *copy, *layout);
    MaakRelaties(fileType, *copy, *layout);
    copy.Close();
    source.Close();
}

}  // namespace

bool DBL_OpslaanDatabase(Session& session, const Text& sBronNaam, const Text& sDoelNaam, const Text& sLayoutBestand,
                         const Text& sBestandType, std::int16_t& nErrorCode)
{
    nErrorCode = DatabaseCode::Ok;
    nErrorCode = Save(session, sBronNaam, sDoelNaam, sLayoutBestand, sBestandType);
    return nErrorCode == DatabaseCode::Ok;
}

std::int16_t KopieerTabellen(Session& session, const Text& source, const Text& target, const Text& layoutPath,
                             const Text& fileType)
{
    Files& files = session.platform.files;
    Text temporary;
    if (VmdLib_TempFile(session.platform, temporary, Variant(fileType.substr(0, 2))) < 1)
        return DatabaseCode::NoTemporaryFile;
    try {
        files.Delete(temporary);  // only its name was wanted
        BuildCopy(session, temporary, source, layoutPath, fileType);
        files.Replace(temporary, target);
    } catch (const Error&) {
        ResumeNext([&] { files.Delete(temporary); });
        throw;
    }
    return DatabaseCode::Ok;
}

}  // namespace vmlib::db
