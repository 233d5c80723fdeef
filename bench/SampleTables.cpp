#include "SampleTables.h"

#include "Rows.h"

namespace vmlib::bench {

void MakeTables(const ObjectRef& database)
{
    const auto execute = [&](const std::string& sql) { Call(database, u"Execute", FromUtf8(sql), std::int32_t{128}); };
    for (int table = 0; table < tableCount; ++table) {
        const std::string name = TableName(table);
        execute("CREATE TABLE " + name +
                " (Id LONG, Nummer LONG, Naam TEXT(40), Plaats TEXT(30), Bedrag CURRENCY, Datum DATETIME, "
                "Aantal SHORT, Actief BIT)");
        execute("CREATE UNIQUE INDEX Sleutel ON " + name + " (Id)");
        execute("CREATE INDEX OpNaam ON " + name + " (Naam)");
    }
}

void AddRows(const ObjectRef& database, int table, int first, int count)
{
    const ObjectRef recordset = ToObject(Call(database, u"OpenRecordset", FromUtf8(TableName(table)), std::int32_t{1}));
    const ObjectRef fields = ToObject(Get(recordset, u"Fields"));
    const auto set = [&](TextView name, Variant value) {
        Put(ToObject(Get(fields, u"Item", name)), u"Value", std::move(value));
    };
    for (int row = first; row < first + count; ++row) {
        const SampleRow values = MakeRow(table, row);
        Call(recordset, u"AddNew");
        set(u"Id", values.id);
        set(u"Nummer", values.number);
        set(u"Naam", FromUtf8(values.name));
        set(u"Plaats", FromUtf8(values.place));
        set(u"Bedrag", Currency{values.amount});
        set(u"Datum", Date{values.date});
        set(u"Aantal", values.count);
        set(u"Actief", values.active);
        Call(recordset, u"Update");
    }
    Call(recordset, u"Close");
}

}  // namespace vmlib::bench
