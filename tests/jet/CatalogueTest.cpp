#include "jet/CatalogueFixture.h"
#include "support/FailingFiles.h"

namespace vmlib::jet {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class CatalogueTest : public CatalogueFixture
{
};

TEST_F(CatalogueTest, ATableWithPropertiesComesBack)
{
    database_->CreateTable(Klanten());
    database_->Close();
    database_ = workspace_->Open(At("A.mdb"), {});
    const ObjectEntry* entry = database_->FindObject(u"KLANTEN   ", 1);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->created, now);
    EXPECT_EQ(entry->parent, 0x0F000001);
    const TableDefinition table = database_->OpenTable(u"klanten")->Definition();
    EXPECT_EQ(table.page, static_cast<PageNumber>(entry->id));
    EXPECT_EQ(table.name, u"Klanten");
    ASSERT_EQ(table.columns.size(), 4u);
    EXPECT_TRUE(table.columns[0].autoNumber);
    EXPECT_FALSE(table.columns[0].Required());
    EXPECT_TRUE(table.columns[1].Required());
    EXPECT_EQ(table.columns[1].AllowZeroLength(), false);
    EXPECT_EQ(table.columns[2].properties.String(u"DefaultValue"), u"0");
    EXPECT_EQ(table.columns[1].locale, dutch);
    ExpectSound();
}

TEST_F(CatalogueTest, OtherProgramsReadWhatWasMade)
{
    MakeBoth();
    database_->CreateRelation(Relation(u"KlantenOrders", 4096));
    Insert(*database_, u"Klanten", {std::int32_t{1}, std::string("Jan\xE9"), Currency{12500}, std::string(9000, 'm')});
    database_->Close();
    OUTPUT_OR_SKIP(tables, "mdb-tables", "-1 " + Native());
    EXPECT_EQ(tables, "Klanten\nOrders\n");
    OUTPUT_OR_SKIP(schema, "mdb-schema", Native() + " postgres");
    for (const char* line :
         {"\"id\"\t\t\tSERIAL", "\"naam\"\t\t\tVARCHAR (50) NOT NULL", "\"saldo\"\t\t\tNUMERIC(15,2)",
          "PRIMARY KEY (\"id\")", "FOREIGN KEY (\"klant\") REFERENCES \"Klanten\"(\"id\") ON DELETE CASCADE"}) {
        EXPECT_THAT(schema, HasSubstr(line));
    }
    OUTPUT_OR_SKIP(rows, "mdb-export", "-H " + Native() + " Klanten");
    EXPECT_THAT(rows, HasSubstr("1,\"Jané\",1.2500,\"mmm"));
    EXPECT_GT(rows.size(), 9000u);
}

TEST_F(CatalogueTest, CreateTableRefuses)
{
    MakeBoth();
    database_->StoreQuery({u"Vraag", 0, {}});
    std::vector<ColumnDefinition> many(256, Column(u"", ColumnType::Boolean));
    for (std::size_t i = 0; i < many.size(); ++i) many[i].name = u"F" + Decimal(static_cast<long long>(i));
    ColumnDefinition odd = Column(u"A", static_cast<ColumnType>(14));
    ColumnDefinition counter = Column(u"A", ColumnType::Long);
    counter.autoNumber = true;
    ColumnDefinition second = counter;
    second.name = u"B";
    const auto one = Column(u"A", ColumnType::Long);
    const struct
    {
        const char* why;
        TableDefinition table;
        std::int32_t number;
    } cases[] = {
        {"exists", TableOf(u"KLANTEN", {one}), 3010},
        {"exists but for blanks", TableOf(u"Klanten  ", {one}), 3010},
        {"a query has the name", TableOf(u"vraag", {one}), 3012},
        {"a system table has the name", TableOf(u"MSysObjects", {one}), 3010},
        {"no columns", TableOf(u"T", {}), 3264},
        {"256 columns", TableOf(u"T", many), 3190},
        {"a name twice", TableOf(u"T", {one, Column(u"a", ColumnType::Text)}), 3191},
        {"a type that does not exist", TableOf(u"T", {odd}), 3259},
        {"text of 256", TableOf(u"T", {Column(u"A", ColumnType::Text, 256)}), 3382},
        {"two counters", TableOf(u"T", {counter, second}), 3090},
        {"no name", TableOf(u"", {one}), 3125},
        {"65 characters", TableOf(Text(65, u'x'), {one}), 3125},
        {"a leading blank", TableOf(u" T", {one}), 3125},
        {"a bracket", TableOf(u"T[1]", {one}), 3125},
        {"a control character", TableOf(u"T\t", {one}), 3125},
        {"a letter without a byte", TableOf(u"T\u0416", {one}), 3125},
        {"a column with a dot", TableOf(u"T", {Column(u"a.b", ColumnType::Long)}), 3125},
    };
    const PageNumber pages = database_->GetFacts().pages;
    for (const auto& row : cases)
        EXPECT_EQ(NumberOf([&] { database_->CreateTable(row.table); }), row.number) << row.why;
    EXPECT_THAT(TableNames(*database_), ElementsAre(u"Klanten", u"Orders"));
    EXPECT_EQ(database_->GetFacts().pages, pages);
    many.pop_back();
    database_->CreateTable(TableOf(Text(64, u'x'), many));
    ExpectSound();
}

TEST_F(CatalogueTest, DroppedTablesLeaveNothing)
{
    MakeBoth();
    for (int i = 0; i < 300; ++i)
        Insert(*database_, u"Klanten", {i, std::string(40, 'a'), Null{}, std::string(3000, 'm')});
    database_->DropTable(u"klanten");
    database_->DropTable(u"ORDERS ");
    EXPECT_THAT(TableNames(*database_), IsEmpty());
    EXPECT_EQ(database_->OpenTable(u"MSysACEs")->RowCount(), 16u);
    EXPECT_EQ(NumberOf([&] { database_->DropTable(u"Klanten"); }), 3011);
    EXPECT_EQ(NumberOf([&] { database_->OpenTable(u"Klanten"); }), 3078);
    EXPECT_EQ(NumberOf([&] { database_->DropTable(u"MSysObjects"); }), 3033);
    ExpectSound();
    const PageNumber pages = database_->GetFacts().pages;
    MakeBoth();  // takes the pages that were given back
    EXPECT_EQ(database_->GetFacts().pages, pages);
}

TEST_F(CatalogueTest, DesignChanges)
{
    MakeBoth();
    Insert(*database_, u"Klanten", {std::int32_t{1}, std::string("Jan"), Null{}, Null{}});
    ColumnDefinition added = Column(u"Stad", ColumnType::Text, 30);
    added.properties.SetBoolean(u"Required", true);
    database_->AddColumn(u"Klanten", added);
    database_->RenameColumn(u"Klanten", u"Naam", u"Achternaam");
    database_->DropColumn(u"Klanten", u"Saldo");
    database_->RenameTable(u"Klanten", u"Relaties");
    PropertyList properties = database_->OpenTable(u"Relaties")->Definition().columns[0].properties;
    properties.SetString(u"Caption", u"Nummer");
    database_->SetFieldProperties(u"Relaties", u"Id", properties);

    database_->Close();
    database_ = workspace_->Open(At("a.mdb"), {});
    EXPECT_EQ(database_->FindObject(u"Klanten", 1), nullptr);
    const auto table = database_->OpenTable(u"Relaties");
    const TableDefinition& definition = table->Definition();
    std::vector<Text> names;
    for (const auto& column : definition.columns) names.push_back(column.name);
    EXPECT_THAT(names, ElementsAre(u"Id", u"Achternaam", u"Opmerking", u"Stad"));
    EXPECT_EQ(definition.columns[0].properties.String(u"Caption"), u"Nummer");
    EXPECT_TRUE(definition.columns[1].Required());  // moved with the name
    EXPECT_TRUE(definition.columns[3].Required());
    auto cursor = table->Scan();
    ASSERT_TRUE(cursor.Next());
    EXPECT_EQ(cursor.Current(), (Row{std::int32_t{1}, std::string("Jan"), Null{}, Null{}}));
    ExpectSound();
}

TEST_F(CatalogueTest, HoldersOfATableFollowItsDesign)
{
    MakeBoth();
    const auto held = database_->OpenTable(u"Klanten");
    const auto id = held->Definition().columns[0].number, name = held->Definition().columns[1].number;
    database_->CreateIndex(u"Klanten", {u"P", {{id, false}}, false, true, false, false});
    database_->CreateIndex(u"Klanten", {u"Q", {{name, false}}, false, false, false, false});
    {
        UnitOfWork unit(database_->GetPager());
        const std::int32_t number = held->TakeAutoNumber();
        held->Insert({number, std::string("Jan"), Null{}, Null{}});
        EXPECT_EQ(NumberOf([&] { held->Insert({number, std::string("Piet"), Null{}, Null{}}); }), 3022);
        unit.Commit();
    }
    ExpectSound();
    database_->RenameTable(u"Klanten", u"Relaties");
    EXPECT_EQ(database_->OpenTable(u"Relaties")->Definition().name, u"Relaties");
    database_->DropTable(u"Relaties");
    EXPECT_EQ(NumberOf([&] { held->Definition(); }), 3011);
}

TEST_F(CatalogueTest, DesignChangesRefuse)
{
    MakeBoth();
    database_->CreateIndex(u"Orders", IndexOver(*database_->OpenTable(u"Orders"), u"OpNaam", {u"Naam"}));
    database_->CreateRelation(Relation(u"R"));
    database_->CreateRelation({u"Los", u"Klanten", u"Orders", 2, {{u"Naam", u"Naam"}}});
    const struct
    {
        const char* why;
        std::function<void(Database&)> change;
        std::int32_t number;
    } cases[] = {
        {"column exists", [](Database& d) { d.AddColumn(u"Klanten", Column(u"NAAM", ColumnType::Long)); }, 3380},
        {"no such column", [](Database& d) { d.DropColumn(u"Klanten", u"X"); }, 3381},
        {"column of a relation", [](Database& d) { d.DropColumn(u"Orders", u"Klant"); }, 3303},
        {"column of an unenforced relation", [](Database& d) { d.DropColumn(u"Klanten", u"Naam"); }, 3303},
        {"new name taken", [](Database& d) { d.RenameColumn(u"Klanten", u"Naam", u"Saldo"); }, 3380},
        {"new table name taken", [](Database& d) { d.RenameTable(u"Klanten", u"orders"); }, 3010},
        {"table of a relation", [](Database& d) { d.DropTable(u"Orders"); }, 3281},
        {"index of a relation's one side", [](Database& d) { d.DropIndex(u"Klanten", u"PrimaryKey"); }, 3281},
        {"the relation's own index", [](Database& d) { d.DropIndex(u"Orders", u"R"); }, 3281},
        {"no such index", [](Database& d) { d.DropIndex(u"Klanten", u"X"); }, 3372},
        {"no such relation", [](Database& d) { d.DropRelation(u"X"); }, 3011},
        {"no such query", [](Database& d) { d.DropQuery(u"X"); }, 3011},
    };
    for (const auto& row : cases) EXPECT_EQ(NumberOf([&] { row.change(*database_); }), row.number) << row.why;
    EXPECT_EQ(NumberOf([&] { database_->RenameColumn(u"Klanten", u"naam", u"NAAM"); }),
              0);  // another spelling of itself
    EXPECT_EQ(database_->OpenTable(u"Klanten")->Definition().columns.size(), 4u);
    ExpectSound();
}

TEST_F(CatalogueTest, GenuineQueriesComeBackRowForRow)
{
    VMLIB_GENUINE_FILE(genuine, "queryTestV1997.mdb");
    const auto theirs = workspace_->Open(CopyOf(genuine), {});
    const auto queries = theirs->Queries();
    ASSERT_EQ(queries.size(), 9u);
    const std::pair<TextView, std::uint32_t> types[] = {
        {u"AppendQuery", 64}, {u"CrosstabQuery", 16},  {u"DataDefinitionQuery", 96},
        {u"DeleteQuery", 32}, {u"MakeTableQuery", 80}, {u"PassthroughQuery", 112},
        {u"SelectQuery", 0},  {u"UnionQuery", 128},    {u"UpdateQuery", 48},
    };
    for (std::size_t i = 0; i < queries.size(); ++i) {
        EXPECT_EQ(queries[i].name, types[i].first);
        EXPECT_EQ(queries[i].flags & 0xF0, types[i].second) << ToUtf8(queries[i].name);
        database_->StoreQuery(queries[i]);
    }
    const auto ours = database_->Queries();
    ASSERT_EQ(ours.size(), queries.size());
    for (std::size_t i = 0; i < ours.size(); ++i) {
        ASSERT_EQ(ours[i].rows.size(), queries[i].rows.size()) << ToUtf8(ours[i].name);
        for (std::size_t row = 0; row < ours[i].rows.size(); ++row) {
            const QueryRow &one = ours[i].rows[row], &other = queries[i].rows[row];
            EXPECT_EQ(one.attribute, other.attribute);
            EXPECT_EQ(one.order, other.order);
            EXPECT_EQ(one.name1, other.name1);
            EXPECT_EQ(one.name2, other.name2);
            EXPECT_EQ(one.expression, other.expression);
            EXPECT_EQ(one.flag, other.flag);
        }
    }
    ExpectSound();
    database_->Close();
    OUTPUT_OR_SKIP(names, "mdb-queries", "-1 " + Native());
    EXPECT_THAT(names, HasSubstr("UnionQuery"));
    OUTPUT_OR_SKIP(sql, "mdb-queries", Native() + " SelectQuery");
    EXPECT_EQ(sql, OutputOf("mdb-queries", genuine.string() + " SelectQuery").value());
}

TEST_F(CatalogueTest, QueriesAreReplacedRenamedAndDropped)
{
    database_->CreateTable(Klanten());
    QueryRow source;
    source.attribute = 5;
    source.order = 1;
    source.name1 = u"Klanten";
    database_->StoreQuery({u"Vraag", 0, {source}});
    const std::int32_t id = database_->FindObject(u"vraag", 5)->id;
    EXPECT_EQ(id, static_cast<std::int32_t>(0x80000000u));
    QueryRow type;
    type.attribute = 1;
    type.order = 1;
    type.flag = 5;
    database_->StoreQuery({u"VRAAG", 32, {type, source}});
    EXPECT_EQ(database_->FindObject(u"vraag", 5)->id, id);
    auto queries = database_->Queries();
    ASSERT_EQ(queries.size(), 1u);
    EXPECT_EQ(queries[0].flags, 32u);
    std::vector<int> attributes;
    for (const QueryRow& row : queries[0].rows) attributes.push_back(row.attribute);
    EXPECT_THAT(attributes, ElementsAre(0, 255, 1, 5));
    EXPECT_EQ(queries[0].rows[0].order, 1u);
    EXPECT_EQ(database_->OpenTable(u"MSysACEs")->RowCount(), 20u);

    database_->RenameQuery(u"Vraag", u"Antwoord");
    EXPECT_EQ(NumberOf([&] { database_->RenameQuery(u"Antwoord", u"klanten"); }), 3012);
    EXPECT_EQ(NumberOf([&] { database_->StoreQuery({u"Klanten", 0, {}}); }), 3012);
    database_->StoreQuery({u"Tweede", 0, {}});
    EXPECT_EQ(database_->FindObject(u"Tweede", 5)->id, id + 1);
    database_->DropQuery(u"antwoord");
    database_->DropQuery(u"Tweede");
    EXPECT_THAT(database_->Queries(), IsEmpty());
    EXPECT_EQ(database_->OpenTable(u"MSysQueries")->RowCount(), 0u);
    EXPECT_EQ(database_->OpenTable(u"MSysACEs")->RowCount(), 18u);
    ExpectSound();
}

TEST_F(CatalogueTest, UndoneChangesLeaveNoTrace)
{
    MakeBoth();
    const std::vector<ObjectEntry> before = database_->Objects();
    workspace_->Begin();
    database_->RenameTable(u"Klanten", u"Anders");
    database_->AddColumn(u"Anders", Column(u"Extra", ColumnType::Memo));
    database_->CreateTable(TableOf(u"Nieuw", {Column(u"A", ColumnType::Long)}));
    EXPECT_EQ(database_->OpenTable(u"Anders")->Definition().columns.size(), 5u);
    workspace_->Rollback();
    ASSERT_EQ(database_->Objects().size(), before.size());
    EXPECT_EQ(database_->OpenTable(u"Klanten")->Definition().name, u"Klanten");
    EXPECT_EQ(database_->OpenTable(u"Klanten")->Definition().columns.size(), 4u);
    EXPECT_EQ(NumberOf([&] { database_->OpenTable(u"Anders"); }), 3078);
    ExpectSound();
}

TEST_F(CatalogueTest, AnotherWorkspaceSeesTheChange)
{
    database_->CreateTable(Klanten());
    database_->Close();
    database_ = workspace_->Open(At("a.mdb"), {});
    const auto other = NewWorkspace(files_);
    const auto theirs = other->Open(At("a.mdb"), {});
    EXPECT_EQ(theirs->OpenTable(u"Klanten")->Definition().columns[1].Required(), true);
    PropertyList none;
    database_->SetFieldProperties(u"Klanten", u"Naam", none);
    database_->AddColumn(u"Klanten", Column(u"Extra", ColumnType::Long));
    EXPECT_EQ(theirs->OpenTable(u"Klanten")->Definition().columns[1].Required(), false);
    EXPECT_EQ(theirs->OpenTable(u"Klanten")->Definition().columns.size(), 5u);
}

TEST_F(CatalogueTest, ADesignChangeThatFailsChangesNothing)
{
    using namespace test;
    MakeBoth();
    database_->Close();
    bool struck = true;
    for (int n = 1; struck; ++n) {
        FailingFiles failing(files_);
        const auto workspace = NewWorkspace(failing);
        const auto database = workspace->Open(At("a.mdb"), {});
        const auto rights = database->OpenTable(u"MSysACEs")->RowCount();
        failing.Arm(
            {.at = n, .kind = FaultKind::Fails, .fault = FileFault::DiskFull, .steps = {Step::Write, Step::Create}});
        const std::int32_t number = NumberOf([&] { database->CreateRelation(Relation(u"R", 4096)); });
        struck = failing.Struck();
        failing.Disarm();
        if (!struck) break;
        EXPECT_EQ(number, 3026) << n;
        EXPECT_THAT(database->Relations(), IsEmpty()) << n;
        EXPECT_EQ(database->OpenTable(u"Orders")->Definition().indexes.size(), 0u) << n;
        EXPECT_EQ(database->OpenTable(u"MSysACEs")->RowCount(), rights) << n;
        EXPECT_TRUE(Check(*database).Sound()) << n;
    }
}

TEST_F(CatalogueTest, GenuineFilesStaySoundThroughChanges)
{
    for (const char* name : {"testV1997.mdb", "indexTestV1997.mdb", "queryTestV1997.mdb", "employee.mdb"}) {
        VMLIB_GENUINE_FILE(genuine, name);
        database_ = workspace_->Open(CopyOf(genuine), {});
        const std::size_t faults = Check(*database_).faults.size();
        MakeBoth();
        database_->CreateRelation(Relation(u"R"));
        database_->StoreQuery({u"Vraag", 0, {}});
        database_->AddColumn(TableNames(*database_)[0], Column(u"Extra", ColumnType::Text));
        EXPECT_THAT(Check(*database_).faults, testing::SizeIs(faults)) << name;
        // New objects get the rights that the file's own objects of their kind have (in employee.mdb these are older
        // than the rights of the container).
        const bool alike = std::string_view(name) != "employee.mdb";
        if (alike) {
            EXPECT_EQ(RightsOf(u"Klanten", 1), RightsOf(TableNames(*database_)[1], 1)) << name;
        }
        for (const auto& relation : database_->Relations())
            EXPECT_EQ(RightsOf(u"R", 8), RightsOf(relation.name, 8)) << name;
        database_->DropRelation(u"R");
        database_->DropTable(u"Orders");
        database_->DropQuery(u"Vraag");
        EXPECT_THAT(Check(*database_).faults, testing::SizeIs(faults)) << name;
    }
}

}  // namespace
}  // namespace vmlib::jet
