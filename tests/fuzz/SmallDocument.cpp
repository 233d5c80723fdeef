#include "fuzz/SmallDocument.h"

#include "jet/Pager.h"
#include "jet/PlainQuery.h"

namespace vmlib::fuzz {

using namespace jet;

namespace {

ColumnDefinition Column(TextView name, ColumnType type, std::uint16_t size = 0)
{
    ColumnDefinition column;
    column.name = name;
    column.type = type;
    column.size = size;
    return column;
}

TableDefinition TableOf(TextView name, std::vector<ColumnDefinition> columns)
{
    TableDefinition table;
    table.name = name;
    table.columns = std::move(columns);
    return table;
}

void MakeCustomers(Database& database)
{
    TableDefinition wanted =
        TableOf(u"Klanten", {Column(u"Id", ColumnType::Long), Column(u"Naam", ColumnType::Text, 40),
                             Column(u"Saldo", ColumnType::Currency), Column(u"Geboren", ColumnType::Date),
                             Column(u"Actief", ColumnType::Boolean), Column(u"Notitie", ColumnType::Memo),
                             Column(u"Beeld", ColumnType::LongBinary)});
    wanted.columns[0].autoNumber = true;
    wanted.columns[1].properties.SetBoolean(u"Required", true);
    wanted.columns[2].properties.SetString(u"DefaultValue", u"0");
    database.CreateTable(wanted);
    database.CreateIndex(u"Klanten", {.name = u"PrimaryKey", .columns = {{0, false}}, .primary = true});
    database.CreateIndex(u"Klanten", {.name = u"Naam", .columns = {{1, true}, {2, false}}});
    database.CreateIndex(u"Klanten", {.name = u"Geboren", .columns = {{3, false}, {4, true}}, .ignoreNulls = true});
    const auto table = database.OpenTable(u"Klanten");
    UnitOfWork unit(database.GetPager());
    const std::size_t sizes[] = {0, 20, 300, 2036, 5000};
    for (std::int32_t n = 0; n < 10; ++n) {
        const auto letter = static_cast<char>('a' + n);
        const Value picture = n == 3 ? Value(Bytes(2500, 7)) : Value(Null{});
        table->Insert({table->TakeAutoNumber(), "K\xE9" + std::string(5, letter), Currency{n * 12345},
                       n % 3 == 0 ? Value(Null{}) : Value(Date{n * 1.25}), n % 2 == 0,
                       std::string(sizes[n % 5], letter), picture});
    }
    unit.Commit();
}

void MakeLines(Database& database)
{
    database.CreateTable(TableOf(u"Regels", {Column(u"Klant", ColumnType::Long), Column(u"Nr", ColumnType::Integer),
                                             Column(u"Tekst", ColumnType::Text, 255)}));
    const auto table = database.OpenTable(u"Regels");
    {
        UnitOfWork unit(database.GetPager());
        for (int n = 0; n < 24; ++n)
            table->Insert({n % 10 + 1, static_cast<std::int16_t>(n),
                           std::string(static_cast<std::size_t>(n) * 9, static_cast<char>('A' + n))});
        unit.Commit();
    }
    database.CreateIndex(u"Regels", {.name = u"Tekst", .columns = {{2, false}}});
    database.CreateIndex(u"Regels", {.name = u"Nr", .columns = {{1, false}}, .unique = true});
    RelationDefinition relation;
    relation.name = u"KlantenRegels";
    relation.table = u"Klanten";
    relation.foreignTable = u"Regels";
    relation.attributes = 256 | 4096;
    relation.fields = {{u"Id", u"Klant"}};
    database.CreateRelation(relation);
}

void MakeTypes(Database& database)
{
    database.CreateTable(
        TableOf(u"Soorten", {Column(u"Klein", ColumnType::Byte), Column(u"Kort", ColumnType::Integer),
                             Column(u"Enkel", ColumnType::Single), Column(u"Dubbel", ColumnType::Double),
                             Column(u"Sleutel", ColumnType::Guid), Column(u"Code", ColumnType::Binary, 20)}));
    database.CreateIndex(u"Soorten", {.name = u"Alles", .columns = {{0, false}, {1, true}, {2, false}, {4, true}}});
    database.CreateIndex(u"Soorten", {.name = u"Code", .columns = {{5, true}}});
    const auto table = database.OpenTable(u"Soorten");
    UnitOfWork unit(database.GetPager());
    for (int n = 0; n < 6; ++n)
        table->Insert({static_cast<std::uint8_t>(n), static_cast<std::int16_t>(-n), static_cast<float>(n) / 4,
                       n == 5 ? Value(Null{}) : Value(n * -1.5), Guid{{static_cast<std::uint8_t>(n)}},
                       Bytes(static_cast<std::size_t>(n) * 4, static_cast<std::uint8_t>(n))});
    unit.Commit();
}

// A column that rows lack, one that is gone.
void ChangeColumns(Database& database)
{
    database.AddColumn(u"Regels", Column(u"Later", ColumnType::Text, 200));
    database.DropColumn(u"Soorten", u"Dubbel");
}

// Rows that no longer fit their page, deleted ones.
void MoveRows(Database& database)
{
    const auto table = database.OpenTable(u"Regels");
    std::vector<std::pair<RowPointer, Row>> rows;
    for (auto cursor = table->Scan(); cursor.Next();) rows.emplace_back(cursor.Where(), cursor.Current());
    UnitOfWork unit(database.GetPager());
    for (std::size_t n = 0; n < rows.size(); n += 5) {
        rows[n].second.back() = std::string(200, 'y');
        table->Update(rows[n].first, rows[n].second);
    }
    for (std::size_t n = 1; n < rows.size(); n += 7) table->Delete(rows[n].first);
    unit.Commit();
}

Bytes Make()
{
    test::MemoryFiles files;
    Workspace workspace = WorkspaceOn(files);
    const auto database = workspace.Create(documentPath, SortLocale{}, documentPassword);
    MakeCustomers(*database);
    MakeLines(*database);
    MakeTypes(*database);
    ChangeColumns(*database);
    MoveRows(*database);
    database->StoreQuery(PlainQuery(u"Namen", u"Klanten.Naam"));
    database->Close();
    return files.Contents(documentPath).value();
}

}  // namespace

Workspace WorkspaceOn(Files& files)
{
    return Workspace(files, u"Z:\\", [] { return Date{45000.25}; });
}

const Bytes& SmallDocument()
{
    static const Bytes document = Make();
    return document;
}

}  // namespace vmlib::fuzz
