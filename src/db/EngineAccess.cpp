#include "db/EngineAccess.h"

#include "automation/ResumeNext.h"
#include "general/Paths.h"

namespace vmlib::db {

namespace {

dao::Database Open(Session& session, const Text& path, bool exclusive, bool readOnly)
{
    return session.engine->Workspace().OpenDatabase(path, exclusive, readOnly, session.connect);
}

}  // namespace

void DBL_InitPassWord(Session& session)
{
    session.connect = session.password.empty() ? Text() : u";PWD=" + session.password;
}

std::int16_t DBL_GetRechten(Session& session, const Text& sPadEnBestandNaam)
{
    const Text folder = VmdLib_ExtractPad(session.platform, sPadEnBestandNaam);
    if (VmdLib_WriteTest(session.platform, folder) == 0) return 0;
    std::optional<FileFacts> facts;
    ResumeNext([&] { facts = session.platform.files.Facts(sPadEnBestandNaam); });
    return facts && !facts->isFolder && facts->isReadOnly ? 0 : 1;
}

dao::Database DBL_OpenMdb(Session& session, const Text& sDatabaseNaam, bool bParExclusief, bool bReadOnly,
                          bool bBepaalRechten, Variant* varError)
{
    bool exclusive = bParExclusief;
    if (bBepaalRechten) exclusive = bReadOnly && DBL_GetRechten(session, sDatabaseNaam) == 0;
    dao::Database database;
    const auto error = ResumeNext([&] { database = Open(session, sDatabaseNaam, exclusive, bReadOnly); });
    if (varError) *varError = error.has_value();
    return database;
}

void DBL_OpenDataControl(Session& session, const ObjectRef& datControl, const Text& sDatabaseNaam, bool bExclusief,
                         bool bReadOnly, const Optional& varOptions)
{
    Put(datControl, u"DatabaseName", sDatabaseNaam);
    if (varOptions.Given()) Put(datControl, u"Options", varOptions.value);
    Put(datControl, u"Exclusive", bExclusief);
    Put(datControl, u"ReadOnly", bReadOnly);
    if (!session.connect.empty()) Put(datControl, u"Connect", session.connect);
}

void DBL_SluitDataControl(const ObjectRef& datControl)
{
    Call(ToObject(Get(datControl, u"Database")), u"Close");
}

void MaakLegeDatabase(Session& session, const Text& path)
{
    if (Exist(session, path)) session.platform.files.Delete(path);
    CreateDatabase(session, path).Close();
}

dao::Database CreateDatabase(Session& session, const Text& path)
{
    return session.engine->Workspace().CreateDatabase(path, Text(dao::dbLangDutch) + session.connect);
}

dao::Database OpenShared(Session& session, const Text& path)
{
    return Open(session, path, false, false);
}

dao::Database OpenExclusive(Session& session, const Text& path)
{
    return Open(session, path, true, false);
}

dao::Database OpenLayout(Session& session, const Text& path)
{
    return Open(session, path, true, true);
}

bool Exist(Session& session, const Text& path)
{
    bool exists = false;
    ResumeNext([&] { exists = session.platform.files.Exists(path); });
    return exists;
}

Text InClause(TextView path)
{
    return u"IN '" + Replaced(path, u"'", u"''") + u"'";
}

}  // namespace vmlib::db
