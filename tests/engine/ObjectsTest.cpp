// Databases, their designs and collections, through the objects.

#include "engine/EngineFixture.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;

using ObjectsTest = EngineTest;

std::vector<std::string> NamesIn(const ObjectRef& collection)
{
    std::vector<std::string> names;
    for (const Variant& item : Get(collection, u"_NewEnum").AsArray().Items())
        names.push_back(ToUtf8(ToText(Get(ToObject(item), u"Name"))));
    return names;
}

TEST_F(ObjectsTest, ReadsAGenuineFile)
{
    VMLIB_GENUINE_FILE(genuine, "employee.mdb");
    const ObjectRef database = OpenCopy(genuine, u"employee.mdb");
    const ObjectRef table = ToObject(Get(database, u"TableDefs", u"employee8"));
    EXPECT_EQ(ToLong(Get(table, u"RecordCount")), 10021);
    EXPECT_THAT(NamesIn(ToObject(Get(table, u"Fields"))),
                ElementsAre("Email", "Name", "Phone", "Location", "Title", "Department", "Division"));
    EXPECT_EQ(ToLong(Get(ToObject(Get(table, u"Fields", u"Name")), u"Size")), 41);
    EXPECT_EQ(Get(ToObject(Get(table, u"Fields", u"Name")), u"AllowZeroLength"), Variant(false));
    EXPECT_EQ(ToLong(Get(database, u"CollatingOrder")), 1033);

    const ObjectRef direct = Records(database, u"Employee8");
    const ObjectRef projected = Records(database, u"SELECT * FROM Employee8", 4);
    const ObjectRef throughSqlite = Records(database, u"SELECT * FROM Employee8 WHERE True", 4);
    std::int32_t rows = 0;
    for (; !ToBoolean(Get(direct, u"EOF")); ++rows) {
        for (std::int32_t i = 0; i < 7; ++i) {
            const Variant value = Get(direct, u"Collect", i);
            ASSERT_EQ(value, Get(projected, u"Collect", i)) << "row " << rows << " field " << i;
            ASSERT_EQ(value, Get(throughSqlite, u"Collect", i)) << "row " << rows << " field " << i;
        }
        for (const auto& records : {direct, projected, throughSqlite}) Call(records, u"MoveNext");
    }
    EXPECT_EQ(rows, 10021);
    EXPECT_TRUE(ToBoolean(Get(projected, u"EOF")));
    EXPECT_TRUE(ToBoolean(Get(throughSqlite, u"EOF")));
}

TEST_F(ObjectsTest, AFreshFileShowsItsSystemTables)
{
    const ObjectRef database = Create(u"fresh");
    EXPECT_TRUE(Platform().files.Exists(folder_.Path(u"fresh.mdb")));
    const ObjectRef tables = ToObject(Get(database, u"TableDefs"));
    EXPECT_THAT(NamesIn(tables), ElementsAre("MSysACEs", "MSysObjects", "MSysQueries", "MSysRelationships"));
    EXPECT_EQ(ToLong(Get(ToObject(Get(tables, u"Item", 0)), u"Attributes")), std::int32_t(0x80000000));
    EXPECT_EQ(ToLong(Get(database, u"CollatingOrder")), 1043);
    EXPECT_EQ(Get(database, u"Version"), Variant(u"3.0"));
}

TEST_F(ObjectsTest, ObjectsAreDatedByThePlatformsClock)
{
    const ObjectRef database = Create(u"a.mdb");
    const Date before = Platform().system.Now();
    Call(database, u"Execute", u"CREATE TABLE T (Id LONG)");
    const Date created = ToDate(Get(ToObject(Get(database, u"TableDefs", u"T")), u"DateCreated"));
    EXPECT_GE(created, before);
    EXPECT_LE(created, Platform().system.Now());
}

TEST_F(ObjectsTest, DesignComesBackAfterReopening)
{
    {
        const ObjectRef database = Create(u"d.mdb", u";pwd=Geheim");
        MakeTable(database, u"Klant",
                  {{u"Id", 4, 0, 17},
                   {u"Naam", 10, 30, 2, true},
                   {u"Leeg", 10},
                   {u"Notitie", 12, 99},
                   {u"Actief", 1},
                   {u"Bedrag", 5}});
        MakeTable(database, u"Order", {{u"Nr", 4}, {u"KlantId", 4}, {u"Datum", 8}});
        MakeIndex(database, u"Klant", u"PK", u"Id", true, true);
        MakeIndex(database, u"Klant", u"OpNaam", u"+Naam;-Bedrag", false, false);
        MakeRelation(database, Text(u"KlantOrder").append(30, u' '), u"Klant", u"Id", u"Order", u"KlantId", 4096);
        const ObjectRef query = ToObject(Call(database, u"CreateQueryDef", Text(u"Actieven").append(12, u' ')));
        Put(query, u"SQL", u"SELECT Naam FROM Klant WHERE Actief");
        Call(database, u"Close");
    }
    const ObjectRef database = Open(u"d.mdb", false, false, u"Geheim");
    const ObjectRef table = ToObject(Get(database, u"TableDefs", u"KLANT"));
    const ObjectRef fields = ToObject(Get(table, u"Fields"));
    const auto property = [&](TextView field, TextView name) {
        return Get(ToObject(Get(fields, u"Item", field)), name);
    };
    struct
    {
        TextView field, property;
        Variant expected;
    } const cases[] = {
        {u"Id", u"Attributes", std::int32_t{17}},    {u"Id", u"Type", std::int16_t{4}},
        {u"Naam", u"Size", std::int32_t{30}},        {u"Naam", u"Attributes", std::int32_t{2}},
        {u"Naam", u"AllowZeroLength", true},         {u"Leeg", u"AllowZeroLength", false},
        {u"Leeg", u"Size", std::int32_t{255}},       {u"Notitie", u"Size", std::int32_t{0}},
        {u"Actief", u"Type", std::int16_t{1}},       {u"Bedrag", u"OrdinalPosition", std::int16_t{5}},
        {u"Bedrag", u"Attributes", std::int32_t{1}}, {u"Bedrag", u"Required", false},
    };
    for (const auto& each : cases)
        EXPECT_EQ(property(each.field, each.property), each.expected) << ToUtf8(each.field) << ToUtf8(each.property);

    const ObjectRef indexes = ToObject(Get(table, u"Indexes"));
    EXPECT_THAT(NamesIn(indexes), ElementsAre("OpNaam", "PK"));
    const ObjectRef byName = ToObject(Get(indexes, u"Item", u"OpNaam"));
    EXPECT_EQ(Get(ToObject(Get(byName, u"Fields")), u""), Variant(u"+Naam;-Bedrag"));
    EXPECT_EQ(Get(ToObject(Get(indexes, u"Item", u"PK")), u"Primary"), Variant(true));

    // Names padded with blanks are found by both forms and keep the given one.
    const ObjectRef relation = ToObject(Get(ToObject(Get(database, u"Relations")), u"Item", u"KlantOrder"));
    EXPECT_EQ(Get(relation, u"Name"), Variant(Text(u"KlantOrder").append(30, u' ')));
    EXPECT_EQ(ToLong(Get(relation, u"Attributes")), 4096);
    EXPECT_EQ(Get(ToObject(Get(relation, u"Fields", 0)), u"ForeignName"), Variant(u"KlantId"));
    EXPECT_EQ(ErrorOf([&] { Get(ToObject(Get(database, u"QueryDefs")), u"Item", Text(u"Actieven").append(12, u' ')); }),
              0);
    EXPECT_EQ(ErrorOf([&] { Records(database, u"Actieven"); }), 0);
    const ObjectRef foreign = ToObject(Get(ToObject(Get(database, u"TableDefs", u"Order")), u"Indexes", 0));
    EXPECT_EQ(Get(foreign, u"Foreign"), Variant(true));
}

TEST_F(ObjectsTest, CollectionsAnswerByPositionAndName)
{
    const ObjectRef database = Create(u"c.mdb");
    MakeTable(database, u"T", {{u"A", 4}, {u"B", 10, 5}});
    Execute(database, u"INSERT INTO T (A, B) VALUES (7, 'x')");
    const ObjectRef records = Records(database, u"SELECT * FROM T");
    EXPECT_EQ(Field(records, u"a"), Variant(std::int32_t{7}));
    // Default members: recordset to Fields, field to Value.
    EXPECT_EQ(Get(ToObject(Get(records, u"", u"A")), u""), Variant(std::int32_t{7}));
    EXPECT_EQ(Get(ToObject(Get(ToObject(Get(database, u"", u"T")), u"", 1)), u"Name"), Variant(u"B"));
    const ObjectRef fields = ToObject(Get(records, u"Fields"));
    EXPECT_EQ(ErrorOf([&] { Get(fields, u"Item", u"C"); }), 3265);
    EXPECT_EQ(ErrorOf([&] { Get(fields, u"Item", 2); }), 3265);
    EXPECT_EQ(ErrorOf([&] { Get(fields, u"Item", u"0"); }), 3265) << "text is a name, also of digits";

    // What SQL makes is seen after Refresh.
    const ObjectRef tables = ToObject(Get(database, u"TableDefs"));
    const std::int32_t before = ToLong(Get(tables, u"Count"));
    Execute(database, u"SELECT * INTO Kopie FROM T");
    EXPECT_EQ(ToLong(Get(tables, u"Count")), before);
    Call(tables, u"Refresh");
    EXPECT_EQ(ToLong(Get(tables, u"Count")), before + 1);
    Call(tables, u"Delete", u"kopie");
    EXPECT_EQ(ToLong(Get(tables, u"Count")), before);
    EXPECT_EQ(ErrorOf([&] { Call(tables, u"Delete", u"kopie"); }), 3265);
}

TEST_F(ObjectsTest, RefusesWrongDesigns)
{
    const ObjectRef database = Create(u"r.mdb");
    MakeTable(database, u"T", {{u"A", 4}, {u"M", 12}});
    MakeIndex(database, u"T", u"PK", u"A", true, true);
    const auto field = [&](TextView name, std::int32_t type, std::int32_t size = 0) {
        const ObjectRef made = ToObject(Call(ToObject(Call(database, u"CreateTableDef", u"N")), u"CreateField", name));
        Put(made, u"Type", type);
        Put(made, u"Size", size);
        return made;
    };
    const auto appendTo = [](const ObjectRef& table, const ObjectRef& made) {
        Call(ToObject(Get(table, u"Fields")), u"Append", made);
    };
    const ObjectRef fresh = ToObject(Call(database, u"CreateTableDef", u"N"));
    EXPECT_EQ(ErrorOf([&] { Call(ToObject(Get(database, u"TableDefs")), u"Append", fresh); }), 3264);
    appendTo(fresh, field(u"X", 4));
    const ObjectRef taken = field(u"Y", 10);
    appendTo(fresh, taken);
    struct
    {
        const char* what;
        std::function<void()> step;
        std::int32_t number;
    } const cases[] = {
        {"name taken in a new table", [&] { appendTo(fresh, field(u"x", 4)); }, 3191},
        {"field already in a table", [&] { appendTo(fresh, taken); }, 3266},
        {"no type", [&] { appendTo(fresh, field(u"Z", 0)); }, 3259},
        {"unknown type", [&] { appendTo(fresh, field(u"Z", 20)); }, 3259},
        {"text too long", [&] { appendTo(fresh, field(u"Z", 10, 256)); }, 3382},
        {"bad name", [&] { appendTo(fresh, field(u"a.b", 4)); }, 3125},
        {"type set after append", [&] { Put(taken, u"Type", 4); }, 3268},
        {"value of a design field", [&] { Get(taken, u"Value"); }, 3267},
        {"table name taken",
         [&] {
             MakeTable(database, u"t", {{u"A", 4}});
         },
         3010},
        {"second primary key", [&] { MakeIndex(database, u"T", u"PK2", u"A", true, true); }, 3283},
        {"index name taken", [&] { MakeIndex(database, u"T", u"pk", u"A", false, false); }, 3284},
        {"index on unknown field", [&] { MakeIndex(database, u"T", u"I", u"Q", false, false); }, 3409},
        {"index on memo", [&] { MakeIndex(database, u"T", u"I", u"M", false, false); }, 3409},
        {"index without fields",
         [&] {
             const ObjectRef index = ToObject(Call(fresh, u"CreateIndex", u"Leeg"));
             Call(ToObject(Get(fresh, u"Indexes")), u"Append", index);
         },
         3264},
        {"linked table", [&] { Call(database, u"CreateTableDef", u"L", 0, u"S", u";DATABASE=x"); }, 3251},
        {"unknown property", [&] { Get(fresh, u"Properties", u"Kleur"); }, 3270},
        {"unknown item", [&] { Get(ToObject(Get(fresh, u"Properties")), u"Item", u"Kleur"); }, 3270},
    };
    for (const auto& each : cases) EXPECT_EQ(ErrorOf(each.step), each.number) << each.what;
}

TEST_F(ObjectsTest, OpenDatabaseChecksItsArguments)
{
    Call(Create(u"p.mdb", u";PWD=Zon"), u"Close");
    const Text path = folder_.Path(u"p.mdb");
    const ObjectRef workspace = Workspace();
    const Variant missing = Variant::Missing();
    struct
    {
        const char* what;
        std::vector<Variant> arguments;
        std::int32_t number;
    } cases[] = {
        {"all four", {path, false, false, u";PWD=Zon"}, 0},
        {"keys ignore case", {path, false, false, u"MS Access;pwd=Zon"}, 0},
        {"no password", {path, false, false}, 3031},
        {"wrong case", {path, false, false, u";PWD=zon"}, 3031},
        {"options left out", {path, missing, false, u";PWD=Zon"}, 3031},
        {"read only left out", {path, false, missing, u";PWD=Zon"}, 3031},
        {"foreign driver", {path, false, false, u"dBASE IV;PWD=Zon"}, 3170},
        {"no such file", {folder_.Path(u"geen.mdb"), false, false, u""}, 3024},
        {"no such folder", {folder_.Path(u"geen\\p.mdb"), false, false, u""}, 3044},
        {"a stranger's file", {folder_.Path(u"tekst.mdb"), false, false, u""}, 3343},
    };
    folder_.Write("tekst.mdb", std::string(5000, 'x'));
    for (auto& each : cases) {
        EXPECT_EQ(ErrorOf([&] { Call(ToObject(CallWith(workspace, u"OpenDatabase", each.arguments)), u"Close"); }),
                  each.number)
            << each.what;
    }
    EXPECT_EQ(ErrorOf([&] { Call(workspace, u"CreateDatabase", path, dutchLocale); }), 3204);
    EXPECT_EQ(ErrorOf([&] { Call(workspace, u"CreateDatabase", folder_.Path(u"q"), u"LANGID=7"); }), 3424);
    EXPECT_EQ(ErrorOf([&] { Call(workspace, u"CreateDatabase", folder_.Path(u"q"), u";LANGID=0x0413;KLEUR=1"); }),
              3424);
    EXPECT_EQ(ErrorOf([&] { Call(workspace, u"CreateDatabase", folder_.Path(u"q")); }), 3424);
    EXPECT_FALSE(Platform().files.Exists(folder_.Path(u"q.mdb")));
}

TEST_F(ObjectsTest, UsersKeepEachOtherOut)
{
    const ObjectRef owner = Create(u"x.mdb");
    MakeTable(owner, u"T", {{u"A", 4}});
    const ObjectRef other = ToObject(Call(Engine(), u"CreateWorkspace", u"ander", u"admin", u""));
    const auto open = [&](const ObjectRef& workspace, bool exclusive, bool readOnly) {
        return ToObject(Call(workspace, u"OpenDatabase", folder_.Path(u"x.mdb"), exclusive, readOnly, u""));
    };
    EXPECT_EQ(ErrorOf([&] { open(other, false, false); }), 3045) << "created files are exclusive";
    EXPECT_EQ(ErrorOf([&] { Call(open(Workspace(), false, true), u"Close"); }), 0) << "the same workspace may";
    Call(owner, u"Close");
    const ObjectRef shared = open(Workspace(), false, false);
    EXPECT_EQ(ErrorOf([&] { Call(open(other, false, true), u"Close"); }), 0);
    EXPECT_EQ(ErrorOf([&] { open(other, true, false); }), 3356);

    const ObjectRef reader = open(Workspace(), false, true);
    EXPECT_EQ(Get(reader, u"Updatable"), Variant(false));
    EXPECT_EQ(ErrorOf([&] { Execute(reader, u"DELETE FROM T"); }), 3027);
    EXPECT_EQ(ErrorOf([&] { Call(Records(reader, u"T", 2), u"AddNew"); }), 3027);
    EXPECT_EQ(ErrorOf([&] { MakeTable(reader, u"N", {{u"A", 4}}); }), 3370);
}

TEST_F(ObjectsTest, ClosedObjectsSayThatTheyAre)
{
    const ObjectRef database = Create(u"k.mdb");
    MakeTable(database, u"T", {{u"A", 4}});
    Execute(database, u"INSERT INTO T (A) VALUES (1)");
    const ObjectRef records = Records(database, u"T");
    const ObjectRef field = ToObject(Get(records, u"Fields", 0));
    const ObjectRef table = ToObject(Get(database, u"TableDefs", u"T"));
    Call(database, u"Close");
    EXPECT_EQ(ErrorOf([&] { Get(database, u"TableDefs"); }), 3420);
    EXPECT_EQ(ErrorOf([&] { Call(database, u"Close"); }), 3420);
    EXPECT_EQ(ErrorOf([&] { Call(records, u"MoveNext"); }), 3420);
    EXPECT_EQ(ErrorOf([&] { Get(field, u"Value"); }), 3420);
    EXPECT_EQ(ErrorOf([&] { Get(table, u"RecordCount"); }), 3420);
    EXPECT_EQ(ToLong(Get(ToObject(Get(Engine(), u"Errors", 0)), u"Number")), 3420);
    EXPECT_EQ(ErrorOf([&] { Platform().files.Delete(folder_.Path(u"k.mdb")); }), 0) << "the last Close frees the file";
}

TEST_F(ObjectsTest, ErrorsRememberTheLastFailure)
{
    EXPECT_EQ(ErrorOf([&] { Open(u"niet.mdb"); }), 3024);
    const ObjectRef error = ToObject(Get(Engine(), u"Errors", 0));
    EXPECT_EQ(ToLong(Get(error, u"Number")), 3024);
    EXPECT_EQ(Get(error, u"Source"), Variant(u"DAO.Workspace"));
    EXPECT_NE(ToText(Get(error, u"")).find(u"niet.mdb"), Text::npos);
    Create(u"goed.mdb");
    EXPECT_EQ(ToLong(Get(ToObject(Get(Engine(), u"Errors")), u"Count")), 1) << "a success clears nothing";
}

TEST_F(ObjectsTest, ATablesRuleIsStoredAndHoldsForEveryWrite)
{
    {
        const ObjectRef database = Create(u"r.mdb");
        const ObjectRef table = ToObject(Call(database, u"CreateTableDef", u"T"));
        for (const TextView name : {u"A", u"B"})
            Call(ToObject(Get(table, u"Fields")), u"Append", ToObject(Call(table, u"CreateField", name, 4)));
        Put(table, u"ValidationRule", u"[A] <= [B]");
        Call(ToObject(Get(database, u"TableDefs")), u"Append", table);
        Call(database, u"Close");
    }
    const ObjectRef database = Open(u"r.mdb");
    const ObjectRef table = ToObject(Get(database, u"TableDefs", u"T"));
    EXPECT_EQ(Get(table, u"ValidationRule"), Variant(u"[A] <= [B]"));
    const auto add = [&](TextView values) { Execute(database, u"INSERT INTO T VALUES (" + Text(values) + u")", 128); };
    EXPECT_EQ(ErrorOf([&] { add(u"1, 2"); }), 0);
    EXPECT_EQ(ErrorOf([&] { add(u"Null, 2"); }), 0) << "only False refuses";
    EXPECT_EQ(ErrorOf([&] { add(u"3, 2"); }), 3317);
    Put(table, u"ValidationText", u"A before B");
    try {
        Execute(database, u"UPDATE T SET A = 9 WHERE A = 1", 128);
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), 3316);
        EXPECT_EQ(ToUtf8(error.Description()), "A before B");
    }
    {
        const ObjectRef records = Records(database, u"SELECT * FROM T", 2);
        EXPECT_EQ(Get(records, u"ValidationText"), Variant(u"A before B"));
        EXPECT_EQ(ErrorOf([&] { Put(table, u"ValidationRule", u""); }), 3211) << "in use";
    }
    EXPECT_EQ(ErrorOf([&] { Put(ToObject(Get(table, u"Fields", u"B")), u"Name", u"C"); }), 3320) << "the rule names it";
    EXPECT_EQ(ErrorOf([&] { Call(ToObject(Get(table, u"Fields")), u"Delete", u"B"); }), 3320);
    Put(table, u"ValidationRule", u"");
    EXPECT_EQ(ErrorOf([&] { add(u"3, 2"); }), 0);
    Call(database, u"Close");
    EXPECT_THAT(FaultsOf(u"r.mdb"), testing::IsEmpty());
}

TEST_F(ObjectsTest, AnExpressionThatIsNoneIsRefusedWhenItIsStored)
{
    const ObjectRef database = Create(u"e.mdb");
    MakeTable(database, u"T", {{u"A", 4}, {u"N", 10, 20}});
    const ObjectRef table = ToObject(Get(database, u"TableDefs", u"T"));
    const ObjectRef fields = ToObject(Get(table, u"Fields"));
    struct
    {
        ObjectRef object;
        TextView property, value;
        std::int32_t number;
    } const cases[] = {
        {ToObject(Get(fields, u"Item", u"A")), u"ValidationRule", u">= (", 3320},
        {ToObject(Get(fields, u"Item", u"A")), u"ValidationRule", u"> [N]", 3320},
        {ToObject(Get(fields, u"Item", u"A")), u"ValidationRule", u">= 0 And < 100", 0},
        {ToObject(Get(fields, u"Item", u"A")), u"ValidationRule", u"[A] <> 7", 0},
        {ToObject(Get(fields, u"Item", u"N")), u"DefaultValue", u"abc def", 3320},
        {ToObject(Get(fields, u"Item", u"N")), u"DefaultValue", u"abc", 3320},
        {ToObject(Get(fields, u"Item", u"N")), u"DefaultValue", u"\"abc def\"", 0},
        {ToObject(Get(fields, u"Item", u"N")), u"DefaultValue", u"Format(Date(), \"yyyy\")", 0},
        {table, u"ValidationRule", u"[A] > [Z]", 3320},
        {table, u"ValidationRule", u"Len([N]) > [A]", 0},
    };
    for (const auto& each : cases) {
        const Variant before = Get(each.object, each.property);
        EXPECT_EQ(ErrorOf([&] { Put(each.object, each.property, each.value); }), each.number) << ToUtf8(each.value);
        EXPECT_EQ(Get(each.object, each.property), each.number == 0 ? Variant(each.value) : before);
    }
    const ObjectRef field = ToObject(Call(table, u"CreateField", u"Bad", 4));
    Put(field, u"ValidationRule", u"= = 1");
    EXPECT_EQ(ErrorOf([&] { Call(fields, u"Append", field); }), 3320);
    EXPECT_EQ(ToLong(Get(fields, u"Count")), 2);
}

TEST_F(ObjectsTest, FieldsMoveAndCheckValuesAtOnce)
{
    const ObjectRef database = Create(u"f.mdb");
    MakeTable(database, u"T", {{u"A", 4}, {u"B", 4}, {u"C", 4}});
    Execute(database, u"INSERT INTO T VALUES (1, 2, 3)");
    const ObjectRef fields = ToObject(Get(ToObject(Get(database, u"TableDefs", u"T")), u"Fields"));
    Put(ToObject(Get(fields, u"Item", u"A")), u"OrdinalPosition", 9);
    EXPECT_THAT(Rows(database, u"SELECT * FROM T"), ElementsAre("2|3|1"));
    EXPECT_EQ(ErrorOf([&] { Put(ToObject(Get(fields, u"Item", u"A")), u"Attributes", 2); }), 0) << "impossible bits";
    EXPECT_EQ(ErrorOf([&] { Put(ToObject(Get(fields, u"Item", u"A")), u"Attributes", 17); }), 3268);

    Put(ToObject(Get(fields, u"Item", u"B")), u"ValidationRule", u"< 10");
    const ObjectRef records = Records(database, u"T", 2);
    Call(records, u"Edit");
    const ObjectRef field = ToObject(Get(records, u"Fields", u"B"));
    EXPECT_EQ(ErrorOf([&] { Put(field, u"Value", 50); }), 0);
    Put(field, u"ValidateOnSet", true);
    EXPECT_EQ(ErrorOf([&] { Put(field, u"Value", 60); }), 3317);
    EXPECT_EQ(ToLong(Get(field, u"Value")), 50);
    EXPECT_EQ(ErrorOf([&] { Call(records, u"Update"); }), 3317);
}

TEST_F(ObjectsTest, AnEditLocksItsRowForOtherSessions)
{
    {
        const ObjectRef database = Create(u"l.mdb");
        MakeTable(database, u"T", {{u"A", 4}});
        Execute(database, u"INSERT INTO T VALUES (1)");
        Call(database, u"Close");
    }
    const ObjectRef other = ToObject(Call(Engine(), u"CreateWorkspace", u"ander", u"admin", u""));
    const ObjectRef theirs = ToObject(Call(other, u"OpenDatabase", folder_.Path(u"l.mdb"), false, false, u""));
    const ObjectRef mine = Records(Open(u"l.mdb"), u"T", 2), held = Records(theirs, u"T", 2);
    const auto takes = [&] {
        return ErrorOf([&] {
            Call(held, u"Edit");
            Call(held, u"CancelUpdate");
        });
    };
    const std::pair<const char*, std::function<void()>> ends[] = {
        {"Update", [&] { Call(mine, u"Update"); }},  {"CancelUpdate", [&] { Call(mine, u"CancelUpdate"); }},
        {"move", [&] { Call(mine, u"MoveFirst"); }}, {"Rollback", [&] { Call(Workspace(), u"Rollback"); }},
        {"Close", [&] { Call(mine, u"Close"); }},
    };
    for (const auto& [what, end] : ends) {
        const bool rollsBack = what == std::string("Rollback");
        if (rollsBack) Call(Workspace(), u"BeginTrans");
        Call(mine, u"Edit");
        EXPECT_EQ(takes(), 3188) << what;
        EXPECT_EQ(ErrorOf([&] { Execute(theirs, u"DELETE FROM T", 128); }), 3188) << what;
        end();
        EXPECT_EQ(takes(), 0) << what;
    }
}

TEST_F(ObjectsTest, ContainersShowTheCatalogue)
{
    const ObjectRef database = Create(u"c.mdb");
    MakeTable(database, u"T", {{u"A", 4}});
    Call(database, u"CreateQueryDef", u"Q", u"SELECT A FROM T");
    const ObjectRef containers = ToObject(Get(database, u"Containers"));
    EXPECT_THAT(NamesIn(containers), ElementsAre("Databases", "Relationships", "Tables"));
    const ObjectRef tables = ToObject(Get(containers, u"Item", u"Tables"));
    EXPECT_THAT(NamesIn(ToObject(Get(tables, u"Documents"))),
                ElementsAre("MSysACEs", "MSysObjects", "MSysQueries", "MSysRelationships", "Q", "T"));
    EXPECT_EQ(Get(ToObject(Get(tables, u"Documents", u"T")), u"Owner"), Variant(u"admin"));
}

TEST_F(ObjectsTest, AClosedWorkspaceLeaves)
{
    const ObjectRef workspaces = ToObject(Get(Engine(), u"Workspaces"));
    const ObjectRef other = ToObject(Call(Engine(), u"CreateWorkspace", u"ander", u"admin", u""));
    Call(workspaces, u"Append", other);
    EXPECT_EQ(ToLong(Get(workspaces, u"Count")), 2);
    Call(other, u"Close");
    EXPECT_EQ(ToLong(Get(workspaces, u"Count")), 1);
    Call(Workspace(), u"Close");
    EXPECT_EQ(ErrorOf([&] { Create(u"n.mdb"); }), 0) << "there is always a first one";
    const auto create = [&](std::int32_t option) {
        return ErrorOf([&] { Call(Workspace(), u"CreateDatabase", folder_.Path(u"o.mdb"), dutchLocale, option); });
    };
    EXPECT_EQ(create(64), 3343);
    EXPECT_EQ(create(2), 3251);
    EXPECT_EQ(create(512), 3001);
}

}  // namespace
}  // namespace vmlib::test
