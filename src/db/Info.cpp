#include "db/Info.h"

#include "automation/Convert.h"
#include "db/Closing.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"

namespace vmlib::db {

std::int16_t LeesInfo(Session& session, const Text& path, InfoRecord& info)
{
    const Closing document(DBL_OpenMdb(session, path, true, true, false));
    if (!document) return DatabaseCode::CannotOpen;
    Closing<dao::Recordset> record;
    bool empty = true;
    ResumeNext([&] {
        record = Closing(document->OpenRecordset(u"Select * from Info", dao::dbOpenSnapshot));
        empty = record->AtEnd();
    });
    if (empty) return DatabaseCode::NoInfo;
    ResumeNext([&] { info.versie = ToInteger(Val(InfoText(*record, u"Versie"))); });
    ResumeNext([&] { info.bestandType = InfoText(*record, u"BestandType"); });
    ResumeNext([&] { info.bestandNaam = InfoText(*record, u"BestandNaam"); });
    ResumeNext([&] { info.inGebruikDoor = InfoText(*record, u"InGebruikDoor"); });
    return DatabaseCode::Ok;
}

Text InfoText(const dao::Recordset& info, TextView field)
{
    const Variant value = info.Field(field).Value();
    return value.IsNull() ? Text() : ToText(value);
}

bool MarkedByOther(TextView inGebruikDoor, TextView user)
{
    const TextView mark = Trim(inGebruikDoor);
    return !mark.empty() && mark != user;
}

void TryChangeInfo(const dao::Database& document, TextView source, InfoValues values)
{
    dao::Recordset info;
    ResumeNext([&] { info = document.OpenRecordset(source, dao::dbOpenDynaset); });
    ResumeNext([&] { info.Edit(); });
    for (const auto& change : values) ResumeNext([&] { info.Field(change.first).SetValue(change.second); });
    ResumeNext([&] { info.Update(); });
    ResumeNext([&] { info.Close(); });
}

void ChangeInfo(const dao::Database& document, TextView source, InfoValues values)
{
    const Closing info(document.OpenRecordset(source, dao::dbOpenDynaset));
    info->Edit();
    for (const auto& [field, value] : values) info->Field(field).SetValue(value);
    info->Update();
}

}  // namespace vmlib::db
