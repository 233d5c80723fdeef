#include "jet/CatalogueFixture.h"
#include "support/FailingFiles.h"

namespace vmlib::jet {
namespace {

using testing::IsEmpty;

class RelationsTest : public CatalogueFixture
{
};

TEST_F(RelationsTest, RelationsRoundTrip)
{
    MakeBoth();
    const RelationDefinition enforced = Relation(u"KlantenOrders", 256 | 4096);
    const RelationDefinition loose{u"Los", u"Klanten", u"Orders", 2, {{u"Id", u"Klant"}, {u"Naam", u"Naam"}}};
    database_->CreateRelation(enforced);
    database_->CreateRelation(loose);
    database_->Close();
    database_ = workspace_->Open(At("a.mdb"), {});

    const auto relations = database_->Relations();
    ASSERT_EQ(relations.size(), 2u);
    EXPECT_EQ(relations[0].fields, enforced.fields);
    EXPECT_EQ(relations[0].attributes, enforced.attributes);
    EXPECT_EQ(relations[1].fields, loose.fields);
    EXPECT_FALSE(relations[1].Enforced());
    const TableDefinition klanten = database_->OpenTable(u"Klanten")->Definition();
    const TableDefinition orders = database_->OpenTable(u"Orders")->Definition();
    ASSERT_EQ(orders.indexes.size(), 1u);
    const IndexDefinition& many = orders.indexes[0];
    EXPECT_EQ(many.name, u"KlantenOrders");
    EXPECT_EQ(many.otherTable, klanten.page);
    EXPECT_TRUE(many.cascadeUpdate && many.cascadeDelete);
    ASSERT_EQ(klanten.indexes.size(), 2u);
    const IndexDefinition& one = klanten.indexes[0];
    EXPECT_EQ(one.name, u".rB");
    EXPECT_EQ(one.realIndex, klanten.IndexNamed(u"PrimaryKey")->realIndex);
    EXPECT_EQ(one.otherTable, orders.page);
    EXPECT_EQ(one.otherIndex, static_cast<std::int32_t>(many.number));
    EXPECT_EQ(many.otherIndex, static_cast<std::int32_t>(one.number));
    ExpectSound();

    database_->RenameTable(u"Klanten", u"Relaties");
    database_->RenameColumn(u"Orders", u"Klant", u"Relatie");
    EXPECT_EQ(database_->Relations()[0].table, u"Relaties");
    EXPECT_EQ(database_->Relations()[0].fields[0], (std::pair<Text, Text>{u"Id", u"Relatie"}));
    database_->DropRelation(u"klantenorders");
    database_->DropRelation(u"Los");
    EXPECT_THAT(database_->Relations(), IsEmpty());
    EXPECT_THAT(database_->OpenTable(u"Orders")->Definition().trees, testing::SizeIs(0));
    EXPECT_EQ(database_->OpenTable(u"MSysACEs")->RowCount(), 20u);  // two tables
    ExpectSound();
}

// The same relations as in a genuine file, made in a copy of it without them, give the same definitions.
TEST_F(RelationsTest, ARelationMadeAnewEqualsTheGenuineOne)
{
    VMLIB_GENUINE_FILE(genuine, "indexTestV1997.mdb");
    const auto theirs = workspace_->Open(CopyOf(genuine), {});
    std::vector<RelationDefinition> relations = theirs->Relations();
    ASSERT_EQ(relations.size(), 2u);
    std::vector<TableDefinition> before;
    for (const TextView name : {u"Table1", u"Table2", u"Table3"})
        before.push_back(theirs->OpenTable(name)->Definition());
    for (const auto& relation : relations) theirs->DropRelation(relation.name);
    EXPECT_THAT(Check(*theirs).faults, IsEmpty());
    for (const auto& relation : relations)
        theirs->CreateRelation(relation);  // in the order of their names: as they had been made
    EXPECT_THAT(Check(*theirs).faults, IsEmpty());
    for (const TableDefinition& expected : before) {
        const TableDefinition found = theirs->OpenTable(expected.name)->Definition();
        ASSERT_EQ(found.indexes.size(), expected.indexes.size());
        for (std::size_t i = 0; i < found.indexes.size(); ++i) {
            const IndexDefinition &one = found.indexes[i], &other = expected.indexes[i];
            SCOPED_TRACE(ToUtf8(expected.name + u"." + other.name));
            EXPECT_EQ(one.name, other.name);
            EXPECT_EQ(one.number, other.number);
            EXPECT_EQ(one.realIndex, other.realIndex);
            EXPECT_EQ(one.otherTableKind, other.otherTableKind);
            EXPECT_EQ(one.otherIndex, other.otherIndex);
            EXPECT_EQ(one.otherTable, other.otherTable);
            EXPECT_EQ(one.cascadeUpdate, other.cascadeUpdate);
            EXPECT_EQ(one.cascadeDelete, other.cascadeDelete);
        }
    }
    EXPECT_EQ(theirs->Relations().size(), 2u);
}

TEST_F(RelationsTest, CreateRelationRefuses)
{
    MakeBoth();
    database_->CreateRelation(Relation(u"Er"));
    Insert(*database_, u"Klanten", {std::int32_t{1}, std::string("Jan"), Null{}, Null{}});
    database_->CreateTable(TableOf(u"Wezen", {Column(u"Klant", ColumnType::Long)}));
    Insert(*database_, u"Wezen", {std::int32_t{1}});
    Insert(*database_, u"Wezen", {Null{}});  // refers to nobody
    database_->CreateRelation({u"Goed", u"Klanten", u"Wezen", 0, {{u"Id", u"Klant"}}});
    database_->DropRelation(u"Goed");
    Insert(*database_, u"Wezen", {std::int32_t{2}});
    const struct
    {
        const char* why;
        RelationDefinition relation;
        std::int32_t number;
    } cases[] = {
        {"no fields", {u"R", u"Klanten", u"Orders", 0, {}}, 3366},
        {"exists", Relation(u"ER"), 3012},
        {"no such table", {u"R", u"X", u"Orders", 0, {{u"Id", u"Klant"}}}, 3078},
        {"no such foreign table", {u"R", u"Klanten", u"X", 0, {{u"Id", u"Klant"}}}, 3078},
        {"no such field", {u"R", u"Klanten", u"Orders", 0, {{u"Id", u"X"}}}, 3409},
        {"another type", {u"R", u"Klanten", u"Orders", 0, {{u"Id", u"Naam"}}}, 3368},
        {"not unique", {u"R", u"Klanten", u"Orders", 0, {{u"Naam", u"Naam"}}}, 3609},
        {"a row without its other", {u"R", u"Klanten", u"Wezen", 0, {{u"Id", u"Klant"}}}, 3379},
    };
    for (const auto& row : cases)
        EXPECT_EQ(NumberOf([&] { database_->CreateRelation(row.relation); }), row.number) << row.why;
    EXPECT_EQ(database_->Relations().size(), 1u);
    database_->CreateRelation({u"Los", u"Klanten", u"Wezen", 2, {{u"Id", u"Klant"}}});  // nobody enforces it
    ExpectSound();
}

TEST_F(RelationsTest, ATableMayRelateToItself)
{
    database_->CreateTable(TableOf(u"Boom", {Column(u"Id", ColumnType::Long), Column(u"Ouder", ColumnType::Long)}));
    database_->CreateIndex(u"Boom", IndexOver(*database_->OpenTable(u"Boom"), u"PrimaryKey", {u"Id"}, true));
    database_->CreateRelation({u"Takken", u"Boom", u"Boom", 0, {{u"Id", u"Ouder"}}});
    const TableDefinition table = database_->OpenTable(u"Boom")->Definition();
    ASSERT_EQ(table.indexes.size(), 3u);
    EXPECT_EQ(table.IndexNamed(u"Takken")->otherIndex, static_cast<std::int32_t>(table.IndexNamed(u".rC")->number));
    EXPECT_EQ(table.IndexNamed(u".rC")->otherIndex, static_cast<std::int32_t>(table.IndexNamed(u"Takken")->number));
    ExpectSound();
    database_->DropRelation(u"Takken");
    EXPECT_EQ(database_->OpenTable(u"Boom")->Definition().indexes.size(), 1u);
    ExpectSound();
}

}  // namespace
}  // namespace vmlib::jet
