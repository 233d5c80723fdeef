#include "db/Building.h"

#include "db/Closing.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"
#include "db/LayoutCatalogue.h"
#include "general/Paths.h"

namespace vmlib::db {

namespace {

void BuildDocument(Session& session, const Text& path, const Text& type, const Text& layoutPath)
{
    // An unreadable layout ends the work here, before an existing file of the name is deleted.
    Closing layout(OpenLayout(session, layoutPath));
    MaakLegeDatabase(session, path);
    Closing document(OpenExclusive(session, path));
    MaakTabellen(*document, *layout, type);
    MaakIndexen(type, *document, *layout);
    MaakRelaties(type, *document, *layout);
    document.Close();
    layout.Close();
}

}  // namespace

bool DBL_MaakNieuweDatabase(Session& session, const Text& sFilenaam, const Text& sFileType, const Text& sLayoutNaam,
                            std::int16_t& nErrorCode)
{
    if (nErrorCode != DatabaseCode::Ok) return false;
    const Text folder = VmdLib_ExtractPad(session.platform, sFilenaam);
    if (VmdLib_WriteTest(session.platform, folder) == 0)
        nErrorCode = DatabaseCode::FileNotWritable;
    else if (Exist(session, sFilenaam) && DBL_GetRechten(session, sFilenaam) == 0)
        nErrorCode = DatabaseCode::CannotOverwrite;
    if (nErrorCode != DatabaseCode::Ok) return false;

    Desktop& desktop = session.platform.desktop;
    const std::int16_t pointer = desktop.MousePointer();
    desktop.SetMousePointer(hourglassPointer);
    BuildDocument(session, sFilenaam, sFileType, sLayoutNaam);
    desktop.SetMousePointer(pointer);  // an error leaves the hourglass to the caller, with the rest
    return true;
}

void MaakTabel(TextView tableName, const std::vector<VeldDefinitie>& list, const dao::Database& database)
{
    if (list.empty()) return;
    const dao::TableDef table = database.CreateTableDef();
    table.SetName(tableName);
    for (const VeldDefinitie& definition : list) {
        const dao::Field field = table.CreateField();
        field.SetName(Trim(definition.VeldNaam));
        field.SetType(definition.VeldType);
        field.SetSize(definition.VeldLengte);
        field.SetAttributes(definition.VeldAttribuut);
        if (const auto type = field.Type(); type == dao::dbText || type == dao::dbMemo)
            field.SetAllowZeroLength(definition.NulWaardeToegestaan);
        table.Fields().Append(field);
    }
    database.TableDefs().Append(table);
}

void MaakTabelIndexen(TextView tableName, const std::vector<IndexDefinitie>& list, const dao::Database& database)
{
    if (list.empty()) return;
    const dao::TableDef table = database.TableDefs().Item(tableName);
    for (const IndexDefinitie& definition : list) {
        const dao::Index index = table.CreateIndex();
        index.SetName(Trim(definition.IndexNaam));
        index.SetFields(definition.VeldNaam);
        index.SetPrimary(definition.Primary != 0);
        index.SetUnique(definition.Uniek != 0);
        table.Indexes().Append(index);
    }
}

void MaakRelatie(const std::vector<RelatieDefinitie>& list, const dao::Database& database)
{
    if (list.empty()) return;
    const dao::Relation relation = database.CreateRelation(list[0].RelatieNaam);
    relation.SetTable(list[0].TabelNaam1);
    relation.SetForeignTable(list[0].TabelNaam2);
    relation.SetAttributes(list[0].Attribuut);
    for (const RelatieDefinitie& pair : list) {
        const dao::Field field = relation.CreateField(pair.VeldNaam1);
        field.SetForeignName(pair.VeldNaam2);
        relation.Fields().Append(field);
    }
    database.Relations().Append(relation);
}

void MaakQuery(const dao::Database& database, const QueryDefinitie& query)
{
    const dao::QueryDef definition = database.CreateQueryDef(query.QueryNaam);
    definition.SetSql(query.QueryParameters + query.QueryInhoud);
    definition.Close();
}

}  // namespace vmlib::db
