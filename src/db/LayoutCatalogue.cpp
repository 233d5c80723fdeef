#include "db/LayoutCatalogue.h"

#include "automation/Convert.h"
#include "db/Building.h"
#include "db/Closing.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"

namespace vmlib::db {

namespace {

Text ValueText(const dao::Recordset& row, TextView field)
{
    return ToText(row.Field(field).Value());
}

Text NameOf(const dao::Recordset& row, TextView field)
{
    return Text(TrimRight(ValueText(row, field)));
}

/// Null, like a blank name, means that the row names no index or relation.
Text NameOrNone(const dao::Recordset& row, TextView field)
{
    const Variant value = row.Field(field).Value();
    return value.IsNull() ? Text() : Text(TrimRight(ToText(value)));
}

std::int16_t Code(const dao::Recordset& row, TextView field)
{
    return ToInteger(row.Field(field).Value());
}

bool HasNoRows(const dao::Recordset& rows)
{
    return rows.AtBeginning() || rows.AtEnd();
}

VeldDefinitie ReadField(const dao::Recordset& row)
{
    VeldDefinitie field;
    field.VeldNaam = NameOf(row, u"VeldNaam");
    field.VeldType = Code(row, u"VeldType");
    field.VeldLengte = Code(row, u"VeldLengte");
    field.VeldAttribuut = Code(row, u"VeldAttribuut");
    field.NulWaardeToegestaan = ToBoolean(row.Field(u"NulWaardeToegestaan").Value());
    return field;
}

IndexDefinitie ReadIndex(const dao::Recordset& row, TextView name)
{
    IndexDefinitie index;
    index.IndexNaam = name;
    index.VeldNaam = NameOf(row, u"VeldNaam");
    index.Primary = Code(row, u"Primary");
    index.Uniek = Code(row, u"Uniek");
    return index;
}

RelatieDefinitie ReadRelation(const dao::Recordset& row, TextView name)
{
    RelatieDefinitie pair;
    pair.RelatieNaam = name;
    pair.TabelNaam1 = NameOf(row, u"TabelNaam1");
    pair.TabelNaam2 = NameOf(row, u"TabelNaam2");
    pair.VeldNaam1 = NameOf(row, u"VeldNaam1");
    pair.VeldNaam2 = NameOf(row, u"VeldNaam2");
    pair.Attribuut = ToLong(row.Field(u"Attribuut").Value());
    return pair;
}

}  // namespace

std::int16_t DBL_GetVersieNummer(Session& session, const Text& sFileType, const Text& sLayoutNaam)
{
    std::int16_t version = 0;
    ResumeNext([&] {
        const Closing layout(OpenLayout(session, sLayoutNaam));
        const Closing info(
            layout->OpenRecordset(u"SELECT * FROM Info WHERE FileType = '" + sFileType + u"'", dao::dbOpenSnapshot));
        version = Code(*info, u"Versie");
    });
    return version;
}

std::int16_t LeesLayoutVersie(Session& session, const Text& layoutPath, const Text& fileType, std::int16_t& version)
{
    const Closing layout(DBL_OpenMdb(session, layoutPath, true, true, false));
    if (!layout) return DatabaseCode::LayoutNotFound;
    Closing<dao::Recordset> info;
    const Text sql = u"SELECT * FROM Info WHERE FileType = '" + fileType + u"'";
    if (ResumeNext([&] { info = Closing(layout->OpenRecordset(sql, dao::dbOpenSnapshot, dao::dbReadOnly)); }))
        return DatabaseCode::LayoutWithoutInfo;
    bool found = false;
    ResumeNext([&] {
        if (info->AtEnd()) return;
        version = Code(*info, u"Versie");
        found = true;
    });
    return found ? DatabaseCode::Ok : DatabaseCode::FileTypeNotInLayout;
}

void MaakTabellen(const dao::Database& target, const dao::Database& layout, const Text& sFileType)
{
    const Closing rows(layout.OpenRecordset(
        u"SELECT RecNr, FileType, TabelNaam, VeldNaam, VeldType, VeldLengte, VeldAttribuut, NulWaardeToegestaan "
        u"FROM LayOut WHERE FileType = '" +
            Text(Trim(sFileType)) + u"' ORDER BY Tabelnaam & RecNr",
        dao::dbOpenSnapshot));
    rows->MoveFirst();
    std::vector<VeldDefinitie> list;
    Text table = ValueText(*rows, u"TabelNaam"), previousTable;
    while (!rows->AtEnd()) {
        if (!previousTable.empty() && previousTable != table) {
            MaakTabel(previousTable, list, target);
            list.clear();
        }
        list.push_back(ReadField(*rows));
        rows->MoveNext();
        if (rows->AtEnd()) break;
        previousTable = table;
        table = ValueText(*rows, u"TabelNaam");
    }
    MaakTabel(table, list, target);
}

std::size_t ZoekIndex(TextView name, const std::vector<IndexDefinitie>& list, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        if (EqualIgnoringCase(Trim(name), Trim(list[i].IndexNaam))) return count;
    return 0;
}

void MaakIndexen(const Text& sFileType, const dao::Database& target, const dao::Database& layout)
{
    // The join is on the table's name alone; DISTINCT removes what it multiplies.
    const Closing rows(layout.OpenRecordset(
        u"SELECT DISTINCT Indexen.FileType, Indexen.TabelNaam, Indexen.VeldNaam, IndexNaam, Primary, Uniek, Volgorde "
        u"FROM Indexen RIGHT JOIN Layout ON Indexen.TabelNaam=Layout.TabelNaam WHERE Indexen.FileType = '" +
            sFileType + u"' ORDER BY Indexen.TabelNaam, Indexen.IndexNaam, VolgOrde;",
        dao::dbOpenSnapshot));
    if (HasNoRows(*rows)) return;
    rows->MoveFirst();
    // The list outlives its count: rows without an index name leave it as it was, and the last call gets it whatever
    // the count says.
    std::vector<IndexDefinitie> list;
    std::size_t count = 0;
    Text table = ValueText(*rows, u"TabelNaam"), previousTable;
    Text index = NameOrNone(*rows, u"IndexNaam");
    index = Trim(index);
    while (!rows->AtEnd()) {
        if (!previousTable.empty() && previousTable != table) {
            if (count > 0) MaakTabelIndexen(previousTable, list, target);
            count = 0;
        }
        if (!index.empty()) {
            if (const std::size_t found = ZoekIndex(index, list, count)) {
                list[found - 1].VeldNaam += u";" + NameOf(*rows, u"VeldNaam");
            } else {
                list.resize(count++);
                list.push_back(ReadIndex(*rows, index));
            }
        }
        rows->MoveNext();
        if (rows->AtEnd()) break;
        previousTable = table;
        index = NameOrNone(*rows, u"IndexNaam");
        table = ValueText(*rows, u"TabelNaam");
    }
    MaakTabelIndexen(table, list, target);
}

void MaakRelaties(const Text& sFileType, const dao::Database& target, const dao::Database& layout)
{
    const Closing rows(layout.OpenRecordset(
        u"SELECT FileType, RelatieNaam, TabelNaam1, TabelNaam2, VeldNaam1, VeldNaam2, Attribuut, Volgorde "
        u"FROM Relaties WHERE FileType = '" +
            sFileType + u"' ORDER BY TabelNaam1, RelatieNaam, VolgOrde",
        dao::dbOpenSnapshot));
    if (HasNoRows(*rows)) return;
    rows->MoveFirst();
    // As with the indexes: the list outlives its count.
    std::vector<RelatieDefinitie> list;
    std::size_t count = 0;
    Text table = ValueText(*rows, u"TabelNaam1"), previousTable;
    Text relation = NameOrNone(*rows, u"RelatieNaam"), previousRelation;
    relation = Trim(relation);
    while (!rows->AtEnd()) {
        const bool anotherTable = !previousTable.empty() && previousTable != table;
        if (anotherTable || relation.empty() || relation != previousRelation) {
            if (count > 0) MaakRelatie(list, target);
            count = 0;
        }
        if (!relation.empty()) {
            list.resize(count++);
            list.push_back(ReadRelation(*rows, relation));
        }
        rows->MoveNext();
        if (rows->AtEnd()) break;
        previousTable = table;
        previousRelation = relation;
        relation = NameOrNone(*rows, u"RelatieNaam");
        table = ValueText(*rows, u"TabelNaam1");
    }
    MaakRelatie(list, target);
}

void MaakQueries(const dao::Database& target, const dao::Database& layout, const Text& sFileType)
{
    const Closing rows(
        layout.OpenRecordset(u"SELECT * FROM Queries WHERE FileType = '" + sFileType + u"'", dao::dbOpenSnapshot));
    if (HasNoRows(*rows)) return;
    for (rows->MoveFirst(); !rows->AtEnd(); rows->MoveNext()) {
        QueryDefinitie query;
        query.QueryNaam = ValueText(*rows, u"QueryNaam");
        query.QueryParameters = ValueText(*rows, u"QueryParameters");
        query.QueryInhoud = ValueText(*rows, u"QueryInhoud");
        MaakQuery(target, query);
    }
}

}  // namespace vmlib::db
