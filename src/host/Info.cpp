#include "host/Info.h"

#include "automation/Convert.h"
#include "automation/ResumeNext.h"

namespace vmlib::host {

namespace {

constexpr std::int16_t dynaset = 2;
constexpr std::int16_t snapshot = 4;

ObjectRef OpenInfo(const ObjectRef& database, std::int16_t type)
{
    return ToObject(Call(database, u"OpenRecordset", u"SELECT * FROM Info", type));
}

ObjectRef FieldOf(const ObjectRef& recordset, TextView name)
{
    return ToObject(Get(ToObject(Get(recordset, u"Fields")), u"Item", name));
}

std::optional<Text> TextField(const ObjectRef& recordset, TextView name)
{
    std::optional<Text> text;
    ResumeNext([&] {
        const Variant value = Get(FieldOf(recordset, name), u"Value");
        if (!value.IsNull()) text = ToText(value);
    });
    return text;
}

}  // namespace

InfoRecord ReadInfo(Session& session, TextView path)
{
    const Closer database(session.OpenDatabase(path, true));
    const Closer recordset(OpenInfo(database.Object(), snapshot));
    InfoRecord record;
    if (ToBoolean(Get(recordset.Object(), u"EOF"))) return record;
    if (const auto version = TextField(recordset.Object(), u"Versie"))
        ResumeNext([&] { record.version = ToLong(Val(*version)); });
    record.type = TextField(recordset.Object(), u"BestandType");
    record.name = TextField(recordset.Object(), u"BestandNaam");
    if (const auto user = TextField(recordset.Object(), u"InGebruikDoor")) record.inUseBy = Text(Trim(*user));
    return record;
}

void WriteInfo(Session& session, TextView path, const InfoRecord& record)
{
    Closer database(session.OpenDatabase(path, false));
    Closer recordset(OpenInfo(database.Object(), dynaset));
    const bool isEmpty = ToBoolean(Get(recordset.Object(), u"EOF"));
    Call(recordset.Object(), isEmpty ? u"AddNew" : u"Edit");
    const auto put = [&](TextView name, const Variant& value) {
        try {
            Put(FieldOf(recordset.Object(), name), u"Value", value);
        } catch (const Error& error) {
            throw Error(error.Number(), error.Description() + u" (" + Text(name) + u" of Info)");
        }
    };
    if (record.version) put(u"Versie", ToInteger(*record.version));
    if (record.type) put(u"BestandType", *record.type);
    if (record.name) put(u"BestandNaam", *record.name);
    if (record.inUseBy) put(u"InGebruikDoor", record.inUseBy->empty() ? Text(nobody) : *record.inUseBy);
    Call(recordset.Object(), u"Update");
    recordset.Close();
    database.Close();
}

}  // namespace vmlib::host
