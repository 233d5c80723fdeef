#pragma once

#include <random>

#include "jet/DatabaseFixture.h"
#include "jet/PlainQuery.h"

namespace vmlib::jet {

/// A document with some of everything the format has: all field types, long values of each form, moved and deleted
/// rows, a column added and one dropped later, indexes of each kind, a tree of two levels, a relation with rows,
/// properties, a stored query.
class SampleDocument : public DatabaseFixture
{
protected:
    static constexpr int customerCount = 300;

    /// The file's bytes.
    std::string Make(TextView password = u"geheim")
    {
        auto database = workspace_->Create(At("sample.mdb"), SortLocale{0, dutchOrder, 1252}, password);
        MakeCustomers(*database);
        MakeLines(*database);
        ChangeRows(*database);
        database->StoreQuery(PlainQuery(u"Alle klanten", u"Klanten.Naam & \" te \" & Klanten.Plaats"));
        database->Close();
        return folder_.Read("sample.mdb");
    }

    static Row Customer(const TableDefinition& table, int n, std::mt19937& random)
    {
        Row row(table.columns.size());
        const auto set = [&](TextView name, Value value) {
            row.at(table.ColumnNamed(name).value()) = std::move(value);
        };
        set(u"Id", n);
        set(u"Naam", "K\xE9te " + std::string(static_cast<std::size_t>(n) % 40, 'x') + std::to_string(n * 7919 % 1000));
        set(u"Plaats", std::string(n % 3 == 0 ? "IJmuiden" : n % 3 == 1 ? "\xFFsselstein" : "gouda  "));
        set(u"Saldo", Currency{n * 12345ll - 1000000});
        set(u"Geboren", Date{n * 1.25 - 100});
        set(u"Actief", n % 2 == 0);
        set(u"Klein", static_cast<std::uint8_t>(n));
        set(u"Kort", static_cast<std::int16_t>(n - 150));
        set(u"Enkel", static_cast<float>(n) / 3 - 40);
        set(u"Dubbel", n * -1.5);
        Guid guid;
        for (auto& byte : guid.bytes) byte = static_cast<std::uint8_t>(random());
        set(u"Sleutel", guid);
        if (n % 4 != 0) set(u"Code", Bytes(static_cast<std::size_t>(n % 20 + 1), static_cast<std::uint8_t>(n)));
        const std::size_t sizes[] = {0, 10, 32, 33, 500, 2036, 2037, 9000};
        if (n % 9 != 8)
            set(u"Notitie", std::string(sizes[n % 9 == 7 && n > 50 ? 0 : n % 9], static_cast<char>('a' + n % 26)));
        if (n % 50 == 1) set(u"Beeld", Bytes(22970, static_cast<std::uint8_t>(n)));
        return row;
    }

private:
    void MakeCustomers(Database& database)
    {
        TableDefinition wanted =
            TableOf(u"Klanten", {Column(u"Id", ColumnType::Long), Column(u"Naam", ColumnType::Text, 60),
                                 Column(u"Plaats", ColumnType::Text, 30), Column(u"Saldo", ColumnType::Currency),
                                 Column(u"Geboren", ColumnType::Date), Column(u"Actief", ColumnType::Boolean),
                                 Column(u"Klein", ColumnType::Byte), Column(u"Kort", ColumnType::Integer),
                                 Column(u"Enkel", ColumnType::Single), Column(u"Dubbel", ColumnType::Double),
                                 Column(u"Sleutel", ColumnType::Guid), Column(u"Code", ColumnType::Binary, 20),
                                 Column(u"Notitie", ColumnType::Memo), Column(u"Beeld", ColumnType::LongBinary),
                                 Column(u"Weg", ColumnType::Text, 20)});
        wanted.columns[0].autoNumber = true;
        wanted.columns[1].properties.SetBoolean(u"Required", true);
        wanted.columns[1].properties.SetString(u"ValidationRule", u"Is Not Null");
        database.CreateTable(wanted);
        auto table = database.OpenTable(u"Klanten");
        database.CreateIndex(u"Klanten", IndexOver(*table, u"PrimaryKey", {u"Id"}, true));
        NewIndex byPlace = IndexOver(*table, u"PlaatsNaam", {u"Plaats", u"Naam"});
        byPlace.columns[1].descending = true;
        database.CreateIndex(u"Klanten", byPlace);
        NewIndex code = IndexOver(*table, u"Code", {u"Code", u"Id"});
        code.columns[0].descending = true;
        database.CreateIndex(u"Klanten", code);
        NewIndex key = IndexOver(*table, u"Sleutel", {u"Sleutel"}, false, true);
        key.ignoreNulls = true;
        database.CreateIndex(u"Klanten", key);
        for (const TextView column : {u"Saldo", u"Geboren", u"Klein", u"Kort", u"Enkel", u"Dubbel", u"Actief"}) {
            database.CreateIndex(u"Klanten", IndexOver(*table, column, {column}));
        }
        table = database.OpenTable(u"Klanten");  // as it is now
        std::mt19937 random(1);
        UnitOfWork unit(database.GetPager());
        for (int n = 1; n <= customerCount; ++n)
            table->Insert(Customer(table->Definition(), table->TakeAutoNumber(), random));
        unit.Commit();
    }

    void MakeLines(Database& database)
    {
        database.CreateTable(TableOf(u"Regels", {Column(u"Klant", ColumnType::Long), Column(u"Nr", ColumnType::Integer),
                                                 Column(u"Tekst", ColumnType::Text, 255)}));
        const auto table = database.OpenTable(u"Regels");
        {
            UnitOfWork unit(database.GetPager());
            for (int n = 0; n < 900; ++n) {
                const Value customer = n % 10 == 9 ? Value(Null{}) : Value(n % customerCount + 1);
                table->Insert({customer, static_cast<std::int16_t>(n),
                               std::string(static_cast<std::size_t>(n) % 256, static_cast<char>('A' + n % 50))});
            }
            unit.Commit();
        }
        database.CreateIndex(u"Regels",
                             IndexOver(*table, u"Tekst", {u"Tekst"}));  // keys over 255 bytes too; built over the rows
        database.CreateIndex(u"Regels", IndexOver(*table, u"Uniek", {u"Nr", u"Klant"}, false, true));
        RelationDefinition relation;
        relation.name = u"KlantenRegels";
        relation.table = u"Klanten";
        relation.foreignTable = u"Regels";
        relation.attributes = 256 | 4096;
        relation.fields = {{u"Id", u"Klant"}};
        database.CreateRelation(relation);
    }

    void ChangeRows(Database& database)
    {
        database.AddColumn(u"Klanten", Column(u"Later", ColumnType::Text, 200));
        database.DropColumn(u"Klanten", u"Weg");
        const auto table = database.OpenTable(u"Klanten");
        std::vector<std::pair<RowPointer, Row>> rows;
        for (auto cursor = table->Scan(); cursor.Next();) rows.emplace_back(cursor.Where(), cursor.Current());
        const std::size_t later = table->Definition().ColumnNamed(u"Later").value();
        UnitOfWork unit(database.GetPager());
        for (std::size_t n = 0; n < rows.size(); n += 7) {
            rows[n].second[later] = std::string(200, 'y');  // no longer fits its page: moves
            table->Update(rows[n].first, rows[n].second);
        }
        const auto lines = database.OpenTable(u"Regels");
        std::vector<RowPointer> doomed;
        for (auto cursor = lines->Scan(); cursor.Next();) {
            if (cursor.Where().row % 4 == 1) doomed.push_back(cursor.Where());
        }
        for (const RowPointer at : doomed) lines->Delete(at);
        unit.Commit();
    }
};

}  // namespace vmlib::jet
