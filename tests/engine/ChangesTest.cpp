// The one path by which rows change: conversions, rules, keys, relations; by recordset and by statement.

#include <map>
#include <random>

#include "engine/EngineFixture.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;

class ChangesTest : public EngineTest
{
protected:
    static void PutField(const ObjectRef& records, TextView name, const Variant& value)
    {
        Put(ToObject(Get(records, u"Fields", name)), u"Value", value);
    }
};

enum FieldType : std::int32_t
{
    Bool = 1,
    Byte = 2,
    Int = 3,
    Long = 4,
    Money = 5,
    Single = 6,
    Double = 7,
    Day = 8,
    Binary = 9,
    Text10 = 10,
    Ole = 11,
    Memo = 12,
    Guid = 15,
};

TEST_F(ChangesTest, AssignedValuesBecomeTheFieldsType)
{
    const ObjectRef database = Create(u"v.mdb");
    MakeTable(database, u"T",
              {{u"Bool", Bool},
               {u"Byte", Byte},
               {u"Int", Int},
               {u"Long", Long},
               {u"Money", Money},
               {u"Single", Single},
               {u"Double", Double},
               {u"Day", Day},
               {u"Binary", Binary, 4},
               {u"Text", Text10, 5, 0, true},
               {u"Strict", Text10, 5},
               {u"Ole", Ole},
               {u"Memo", Memo},
               {u"Guid", Guid}});
    const ObjectRef records = Records(database, u"T");
    const Variant null = Null{};
    struct
    {
        TextView field;
        Variant given;
        Variant stored;
        std::int32_t error;
    } const cases[] = {
        {u"Bool", true, true, 0},
        {u"Bool", std::int32_t{7}, true, 0},
        {u"Bool", null, false, 0},  // a Boolean is never Null
        {u"Bool", u"ja", {}, 3421},
        {u"Byte", std::int32_t{255}, std::uint8_t{255}, 0},
        {u"Byte", std::int32_t{256}, {}, 3421},
        {u"Byte", std::int32_t{-1}, {}, 3421},
        {u"Int", 2.5, std::int16_t{2}, 0},  // half to even
        {u"Int", 3.5, std::int16_t{4}, 0},
        {u"Int", std::int32_t{40000}, {}, 3421},
        {u"Int", u" 12 ", std::int16_t{12}, 0},
        {u"Long", u"", {}, 3421},
        {u"Long", u"twaalf", {}, 3421},
        {u"Long", true, std::int32_t{-1}, 0},
        {u"Long", 3e9, {}, 3421},
        {u"Money", 1.23456, Currency{12346}, 0},
        {u"Single", 0.1, 0.1f, 0},
        {u"Single", 1e300, {}, 3421},
        {u"Double", u"1.5", 1.5, 0},
        {u"Double", null, null, 0},
        {u"Day", std::int32_t{2}, Date{2}, 0},
        {u"Day", u"geen datum", {}, 3421},
        {u"Binary", Variant(Array(Bytes{1, 2, 3})), Variant(Array(Bytes{1, 2, 3})), 0},
        {u"Binary", Variant(Array(Bytes{1, 2, 3, 4, 5})), {}, 3163},
        {u"Text", u"vijf ", u"vijf ", 0},  // trailing blanks stay
        {u"Text", u"zessss", {}, 3163},
        {u"Text", u"", u"", 0},
        {u"Text", true, u"-1", 0},
        {u"Text", std::int32_t{12}, u"12", 0},
        {u"Text", u"\u20AC\u00E9", u"\u20AC\u00E9", 0},
        {u"Text", Variant(Array(Bytes{1})), {}, 3421},
        {u"Strict", u"", {}, 3315},
        {u"Strict", u" ", u" ", 0},
        {u"Memo", Variant(Text(9000, u'm')), Variant(Text(9000, u'm')), 0},
        {u"Ole", Variant(Array(Bytes(5000, 7))), Variant(Array(Bytes(5000, 7))), 0},
        {u"Guid", u"{00112233-4455-6677-8899-AABBCCDDEEFF}", u"{guid {00112233-4455-6677-8899-AABBCCDDEEFF}}", 0},
        {u"Guid", u"{guid {00112233-4455-6677-8899-aabbccddeeff}}", u"{guid {00112233-4455-6677-8899-AABBCCDDEEFF}}",
         0},
        {u"Guid", u"geen", {}, 3421},
        {u"Text", ObjectRef(records), {}, 3421},
    };
    for (const auto& each : cases) {
        const std::string what =
            ToUtf8(each.field) + " <- " + (each.given.IsText() ? ToUtf8(each.given.As<Text>()).substr(0, 20) : "value");
        Call(records, u"AddNew");
        EXPECT_EQ(ErrorOf([&] { PutField(records, each.field, each.given); }), each.error) << what;
        if (each.error != 0) {
            Call(records, u"CancelUpdate");
            continue;
        }
        EXPECT_EQ(Field(records, each.field), each.stored) << what << ", in the buffer";
        Call(records, u"Update");
        Put(records, u"Bookmark", Get(records, u"LastModified"));
        EXPECT_EQ(Field(records, each.field), each.stored) << what << ", stored";
    }
}

TEST_F(ChangesTest, StatementsTreatTroubleRowByRow)
{
    const ObjectRef database = Create(u"s.mdb");
    MakeTable(database, u"Bron", {{u"Id", Long}, {u"Tekst", Text10, 20, 0, true}});
    for (const TextView values : {u"1, '7'", u"2, 'zeven'", u"3, '300'", u"4, ''", u"5, 'te lange tekst'"})
        Execute(database, u"INSERT INTO Bron VALUES (" + Text(values) + u")");
    const auto target = [&](TextView name, std::int32_t type, std::int32_t size = 0) {
        MakeTable(database, name, {{u"Id", Long}, {u"Tekst", type, size}});
    };
    target(u"Lang", Long);
    target(u"Bytes", Byte);
    target(u"Kort", Text10, 4);
    struct
    {
        TextView table;
        std::int32_t options;
        std::int32_t error;
        std::vector<std::string> rows;
    } const cases[] = {
        // A value that does not convert leaves Null.
        {u"Lang", 0, 0, {"1|7", "2|-", "3|300", "4|-", "5|-"}},
        // With 128 the statement stops; the rows before stay.
        {u"Lang", 128, 3421, {"1|7"}},
        // Low 8 bits of what is no Byte.
        {u"Bytes", 0, 0, {"1|7", "2|-", "3|44", "4|-", "5|-"}},
        // Text is cut; "" is not allowed, so that row is dropped.
        {u"Kort", 0, 0, {"1|7", "2|zeve", "3|300", "5|te l"}},
        {u"Kort", 128, 3315, {"1|7", "2|zeve", "3|300"}},
    };
    for (const auto& each : cases) {
        Execute(database, u"DELETE FROM " + Text(each.table));
        EXPECT_EQ(ErrorOf([&] {
                      Execute(database, u"INSERT INTO " + Text(each.table) + u" SELECT Id, Tekst FROM Bron",
                              each.options);
                  }),
                  each.error)
            << ToUtf8(each.table) << each.options;
        EXPECT_EQ(Rows(database, u"SELECT * FROM " + Text(each.table) + u" ORDER BY Id"), each.rows)
            << ToUtf8(each.table) << each.options;
        if (each.error == 0) {
            EXPECT_EQ(Affected(database), static_cast<std::int32_t>(each.rows.size()));
        }
    }
}

TEST_F(ChangesTest, RulesKeysAndCountersHold)
{
    const ObjectRef database = Create(u"r.mdb");
    MakeTable(database, u"T",
              {{u"Nr", Long, 0, 17}, {u"Code", Text10, 10, 0, true}, {u"Verplicht", Long}, {u"Aantal", Long}});
    const ObjectRef fields = ToObject(Get(ToObject(Get(database, u"TableDefs", u"T")), u"Fields"));
    Put(ToObject(Get(fields, u"Item", u"Verplicht")), u"Required", true);
    Put(ToObject(Get(fields, u"Item", u"Aantal")), u"ValidationRule", u">0 And <10");
    Put(ToObject(Get(fields, u"Item", u"Verplicht")), u"DefaultValue", u"40 + 2");
    MakeIndex(database, u"T", u"PK", u"Code", true, true);

    const auto add = [&](const Variant& code, const Variant& required, const Variant& count) {
        const ObjectRef records = Records(database, u"T", 2);
        Call(records, u"AddNew");
        PutField(records, u"Code", code);
        if (!required.IsEmpty()) PutField(records, u"Verplicht", required);
        PutField(records, u"Aantal", count);
        Call(records, u"Update");
    };
    const Variant null = Null{};
    EXPECT_EQ(ErrorOf([&] { add(u"a", {}, 1); }), 0);
    EXPECT_EQ(ErrorOf([&] { add(u"A ", 1, 1); }), 3022) << "case and trailing blanks do not make a key another";
    EXPECT_EQ(ErrorOf([&] { add(null, 1, 1); }), 3058);
    EXPECT_EQ(ErrorOf([&] { add(u"b", null, 1); }), 3314);
    EXPECT_EQ(ErrorOf([&] { add(u"b", 1, 10); }), 3317);
    EXPECT_EQ(ErrorOf([&] { add(u"b", 1, null); }), 0) << "a rule refuses only what it finds False";
    // The default came, and each number that was taken is gone, also those of rows that were refused.
    EXPECT_THAT(Rows(database, u"SELECT Code, Verplicht, Nr FROM T ORDER BY Code"), ElementsAre("a|42|1", "b|1|6"));

    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO T (Nr, Code) VALUES (100, 'c')", 128); }), 0);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO T (Code) VALUES ('d')", 128); }), 0);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO T (Code) VALUES ('D')", 128); }), 3022);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO T (Code) VALUES ('D')"); }), 0)
        << "without 128 the row is dropped";
    EXPECT_EQ(Affected(database), 0);
    EXPECT_THAT(Rows(database, u"SELECT Nr, Verplicht FROM T WHERE Code > 'b' ORDER BY Code"),
                ElementsAre("100|42", "101|42"));
    // Each row of a statement takes a number of its own.
    Execute(database, u"INSERT INTO T (Code) SELECT Code & '2' FROM T", 128);
    EXPECT_THAT(Rows(database, u"SELECT Count(*), Min(Nr), Max(Nr) FROM T WHERE Code Like '*2'"),
                ElementsAre("4|104|107"));
    Execute(database, u"DELETE FROM T WHERE Code Like '*2'", 128);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"UPDATE T SET Code = 'a' WHERE Code = 'b'", 128); }), 3022);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"UPDATE T SET Verplicht = Null", 128); }), 3314);

    const ObjectRef records = Records(database, u"T", 2);
    EXPECT_EQ(ErrorOf([&] { PutField(records, u"Aantal", 1); }), 3020);
    EXPECT_EQ(ErrorOf([&] { Call(records, u"Update"); }), 3020);
    Call(records, u"Edit");
    EXPECT_EQ(ErrorOf([&] { PutField(records, u"Nr", 5); }), 3164);
}

TEST_F(ChangesTest, ARowThatSomebodyElseChangedIsNotOverwrittenUnseen)
{
    const ObjectRef database = Create(u"w.mdb");
    MakeTable(database, u"T", {{u"A", Long}, {u"B", Long}});
    Execute(database, u"INSERT INTO T VALUES (1, 1)");
    const ObjectRef records = Records(database, u"T", 2);
    Call(records, u"Edit");
    PutField(records, u"A", 2);
    Execute(database, u"UPDATE T SET B = 9");
    EXPECT_EQ(ErrorOf([&] { Call(records, u"Update"); }), 3197);
    EXPECT_THAT(Rows(database, u"SELECT * FROM T"), ElementsAre("1|9"));
    Call(records, u"Update");
    EXPECT_THAT(Rows(database, u"SELECT * FROM T"), ElementsAre("2|9"));
    Execute(database, u"DELETE FROM T");
    Call(records, u"Move", 0);
    EXPECT_EQ(ErrorOf([&] { Field(records, u"A"); }), 3167);
}

// Parent P(Id, Naam), child K(Id, PId) under P, grandchild L(Id, KId) under K.
class RelationsTest : public ChangesTest
{
protected:
    static constexpr std::int32_t cascadeUpdate = 256, cascadeDelete = 4096;

    ObjectRef Family(TextView name, std::int32_t attributesPK, std::int32_t attributesKL)
    {
        const ObjectRef database = Create(name);
        MakeTable(database, u"P", {{u"Id", Long}, {u"Naam", Text10, 20}});
        MakeTable(database, u"K", {{u"Id", Long}, {u"PId", Long}});
        MakeTable(database, u"L", {{u"Id", Long}, {u"KId", Long}});
        MakeIndex(database, u"P", u"PK", u"Id", true, true);
        MakeIndex(database, u"K", u"PK", u"Id", true, true);
        MakeRelation(database, u"Kind", u"P", u"Id", u"K", u"PId", attributesPK);
        MakeRelation(database, u"Kleinkind", u"K", u"Id", u"L", u"KId", attributesKL);
        for (const TextView row :
             {u"P VALUES (1, 'een')", u"P VALUES (2, 'twee')", u"K VALUES (10, 1)", u"K VALUES (11, 1)",
              u"K VALUES (20, 2)", u"K VALUES (30, Null)", u"L VALUES (100, 10)", u"L VALUES (101, 11)"})
            Execute(database, u"INSERT INTO " + Text(row), 128);
        return database;
    }
    static std::vector<std::string> All(const ObjectRef& database)
    {
        std::vector<std::string> rows;
        for (const TextView table : {u"P", u"K", u"L"})
            for (const auto& row : Rows(database, u"SELECT * FROM " + Text(table) + u" ORDER BY Id"))
                rows.push_back(ToUtf8(table) + row);
        return rows;
    }
    /// Each way in which one row changes.
    static void DeleteBy(const ObjectRef& database, int way, TextView table, std::int32_t id)
    {
        const Text where = Text(table) + u" WHERE Id = " + Decimal(id);
        if (way == 0) return Execute(database, u"DELETE FROM " + where, 128);
        Call(Records(database, u"SELECT * FROM " + where, 2), u"Delete");
    }
    static void RekeyBy(const ObjectRef& database, int way, TextView table, TextView field, std::int32_t id,
                        const Variant& value)
    {
        const Text where = Text(table) + u" WHERE Id = " + Decimal(id);
        if (way == 0) {
            const Text text = value.IsNull() ? Text(u"Null") : u"'" + ToText(value) + u"'";
            return Execute(
                database,
                u"UPDATE " + Text(table) + u" SET " + Text(field) + u" = " + text + u" WHERE Id = " + Decimal(id), 128);
        }
        const ObjectRef records = Records(database, u"SELECT * FROM " + where, 2);
        Call(records, u"Edit");
        PutField(records, field, value);
        Call(records, u"Update");
    }
};

TEST_F(RelationsTest, GuardTheirRows)
{
    for (int way = 0; way < 2; ++way) {
        const ObjectRef database = Family(way == 0 ? u"g0.mdb" : u"g1.mdb", 0, 0);
        const auto before = All(database);
        EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO K VALUES (40, 3)", 128); }), 3201);
        EXPECT_EQ(ErrorOf([&] { RekeyBy(database, way, u"K", u"PId", 20, 3); }), 3201);
        EXPECT_EQ(ErrorOf([&] { DeleteBy(database, way, u"P", 1); }), 3200);
        EXPECT_EQ(ErrorOf([&] { RekeyBy(database, way, u"P", u"Id", 1, 5); }), 3200);
        EXPECT_EQ(All(database), before);
        EXPECT_EQ(ErrorOf([&] { RekeyBy(database, way, u"K", u"PId", 20, Null{}); }), 0)
            << "a Null key refers to nothing";
        EXPECT_EQ(ErrorOf([&] { RekeyBy(database, way, u"P", u"Id", 2, 5); }), 0) << "nobody refers to it any more";
        EXPECT_EQ(ErrorOf([&] { DeleteBy(database, way, u"P", 5); }), 0);
        EXPECT_EQ(ErrorOf([&] { RekeyBy(database, way, u"P", u"Naam", 1, u"nieuw"); }), 0) << "what is no key is free";
    }
}

TEST_F(RelationsTest, CascadeThroughGenerations)
{
    for (int way = 0; way < 2; ++way) {
        const ObjectRef database =
            Family(way == 0 ? u"c0.mdb" : u"c1.mdb", cascadeUpdate | cascadeDelete, cascadeUpdate | cascadeDelete);
        RekeyBy(database, way, u"P", u"Id", 1, 7);
        RekeyBy(database, way, u"K", u"Id", 11, 12);
        EXPECT_THAT(All(database),
                    ElementsAre("P2|twee", "P7|een", "K10|7", "K12|7", "K20|2", "K30|-", "L100|10", "L101|12"));
        DeleteBy(database, way, u"P", 7);
        EXPECT_THAT(All(database), ElementsAre("P2|twee", "K20|2", "K30|-"));
    }
}

TEST_F(RelationsTest, ACascadeThatFailsChangesNothing)
{
    for (int way = 0; way < 2; ++way) {
        // P to K cascades, K to L does not: a row of L keeps its K and so its P.
        const ObjectRef database = Family(way == 0 ? u"f0.mdb" : u"f1.mdb", cascadeUpdate | cascadeDelete, 0);
        const auto before = All(database);
        EXPECT_EQ(ErrorOf([&] { DeleteBy(database, way, u"P", 1); }), 3396);
        EXPECT_EQ(All(database), before);

        MakeIndex(database, u"K", u"OpP", u"PId", false, false);
        Execute(database, u"DELETE FROM L");
        Execute(database, u"INSERT INTO P VALUES (3, 'drie')");
        // A unique index over the child's key: the cascade makes a duplicate.
        Execute(database, u"DELETE FROM K WHERE Id = 11");
        MakeIndex(database, u"K", u"Uniek", u"PId", false, true);
        Execute(database, u"UPDATE K SET PId = 3 WHERE Id = 30");
        const auto again = All(database);
        EXPECT_EQ(ErrorOf([&] { RekeyBy(database, way, u"P", u"Id", 1, 2); }), 3022)
            << "the parent's own key comes first";
        EXPECT_EQ(All(database), again);
    }
}

TEST_F(RelationsTest, ReachIntoTheSameTable)
{
    const ObjectRef database = Create(u"z.mdb");
    MakeTable(database, u"Boom", {{u"Id", Long}, {u"Boven", Long}});
    MakeIndex(database, u"Boom", u"PK", u"Id", true, true);
    MakeRelation(database, u"Tak", u"Boom", u"Id", u"Boom", u"Boven", cascadeUpdate | cascadeDelete);
    Execute(database, u"INSERT INTO Boom VALUES (1, 1)", 128);  // its own parent
    Execute(database, u"INSERT INTO Boom VALUES (2, 1)", 128);
    Execute(database, u"INSERT INTO Boom VALUES (3, 2)", 128);
    Execute(database, u"UPDATE Boom SET Id = 9 WHERE Id = 1", 128);
    EXPECT_THAT(Rows(database, u"SELECT * FROM Boom ORDER BY Id"), ElementsAre("2|9", "3|2", "9|9"));
    Execute(database, u"DELETE FROM Boom WHERE Id = 9", 128);
    EXPECT_THAT(Rows(database, u"SELECT * FROM Boom"), ElementsAre());
}

TEST_F(RelationsTest, ARowThatRefersToItselfCanGo)
{
    const ObjectRef database = Create(u"zelf.mdb");
    MakeTable(database, u"Boom", {{u"Id", Long}, {u"Boven", Long}});
    MakeIndex(database, u"Boom", u"PK", u"Id", true, true);
    MakeRelation(database, u"Tak", u"Boom", u"Id", u"Boom", u"Boven", 0);
    for (const TextView row : {u"(1, 1)", u"(2, 2)", u"(3, 2)"})
        Execute(database, u"INSERT INTO Boom VALUES " + Text(row), 128);
    EXPECT_EQ(ErrorOf([&] { DeleteBy(database, 0, u"Boom", 1); }), 0);
    EXPECT_EQ(ErrorOf([&] { DeleteBy(database, 1, u"Boom", 2); }), 3200);
    EXPECT_THAT(Rows(database, u"SELECT Id FROM Boom ORDER BY Id"), ElementsAre("2", "3"));
}

// A key over 255 bytes is kept as its first 253 and two of a sum, so an index alone cannot tell such texts apart.
TEST_F(RelationsTest, TextsThatDifferBehindTheKeptPartOfTheirKeyStayApart)
{
    const ObjectRef database = Create(u"lang.mdb");
    MakeTable(database, u"P", {{u"Id", Text10, 255}});
    MakeTable(database, u"K", {{u"PId", Text10, 255}});
    MakeIndex(database, u"P", u"PK", u"Id", true, true);
    MakeRelation(database, u"Kind", u"P", u"Id", u"K", u"PId", 0);
    const auto text = [](char16_t last) { return Text(254, u'x') + last; };
    const auto quoted = [&](char16_t last) { return u"('" + text(last) + u"')"; };
    Execute(database, u"INSERT INTO P VALUES " + quoted(u'a'), 128);
    Execute(database, u"INSERT INTO P VALUES " + quoted(u'b'), 128);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO K VALUES " + quoted(u'c'), 128); }), 3201);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO K VALUES " + quoted(u'A'), 128); }), 0);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"DELETE FROM P WHERE Id = " + quoted(u'b'), 128); }), 0);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"DELETE FROM P WHERE Id = " + quoted(u'a'), 128); }), 3200);
    EXPECT_THAT(Rows(database, u"SELECT Count(*) FROM P WHERE Id = " + quoted(u'c')), ElementsAre("0"));
    const ObjectRef records = Records(database, u"P", 1);
    Put(records, u"Index", u"PK");
    for (const char16_t last : {u'a', u'b', u'c'}) {
        Call(records, u"Seek", u"=", text(last));
        EXPECT_EQ(ToBoolean(Get(records, u"NoMatch")), last != u'a') << static_cast<char>(last);
    }
}

// Random changes in every way, beside a model of what must be there; the checker has the last word.
TEST_F(ChangesTest, RandomChangesAgreeWithAModel)
{
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    const auto below = [&](std::uint32_t limit) { return static_cast<std::int32_t>(random() % limit); };
    ObjectRef database = Create(u"model.mdb");
    MakeTable(database, u"P", {{u"Id", Long}, {u"Naam", Text10, 60}});
    MakeTable(database, u"K", {{u"Id", Long}, {u"PId", Long}, {u"Noot", Memo}});
    MakeIndex(database, u"P", u"PK", u"Id", true, true);
    MakeIndex(database, u"P", u"OpNaam", u"Naam", false, false);
    MakeIndex(database, u"K", u"PK", u"Id", true, true);
    MakeRelation(database, u"Kind", u"P", u"Id", u"K", u"PId", 256 + 4096);
    std::map<std::int32_t, std::int32_t> parents, children;  // id to a mark; id to parent

    const auto apply = [&](const Text& sql) { return ErrorOf([&] { Execute(database, sql, 128); }); };
    const auto name = [&](std::int32_t mark) {
        return Text(static_cast<std::size_t>(mark % 50), u'n') + Decimal(mark);
    };
    for (int step = 0; step < 1500; ++step) {
        const std::int32_t id = below(12), other = below(12), child = below(40), mark = 1 + below(999);
        const Text idText = Decimal(id), otherText = Decimal(other), childText = Decimal(child);
        switch (below(7)) {
            case 0:
                EXPECT_EQ(apply(u"INSERT INTO P VALUES (" + idText + u", '" + name(mark) + u"')"),
                          parents.contains(id) ? 3022 : 0);
                parents.emplace(id, mark);
                break;
            case 1: {
                const std::int32_t expected = !parents.contains(id) ? 3201 : children.contains(child) ? 3022 : 0;
                EXPECT_EQ(apply(u"INSERT INTO K VALUES (" + childText + u", " + idText + u", '" +
                                Text(std::size_t(mark), u'm') + u"')"),
                          expected);
                if (expected == 0) children[child] = id;
                break;
            }
            case 2:
                EXPECT_EQ(apply(u"DELETE FROM P WHERE Id = " + idText), 0);
                parents.erase(id);
                std::erase_if(children, [&](const auto& entry) { return entry.second == id; });
                break;
            case 3:
                if (!parents.contains(id)) break;
                EXPECT_EQ(apply(u"UPDATE P SET Id = " + otherText + u" WHERE Id = " + idText),
                          id != other && parents.contains(other) ? 3022 : 0);
                if (id == other || parents.contains(other)) break;
                parents[other] = parents[id];
                parents.erase(id);
                for (auto& [key, parent] : children) parent = parent == id ? other : parent;
                break;
            case 4: {
                const ObjectRef records = Records(database, u"P", 1);
                Put(records, u"Index", u"PK");
                Call(records, u"Seek", u"=", id);
                EXPECT_EQ(ToBoolean(Get(records, u"NoMatch")), !parents.contains(id));
                if (!parents.contains(id)) break;
                Call(records, u"Edit");
                PutField(records, u"Naam", name(mark));
                Call(records, u"Update");
                parents[id] = mark;
                break;
            }
            case 5: {
                const ObjectRef records = Records(database, u"K", 2);
                Call(records, u"FindFirst", u"Id = " + childText);
                EXPECT_EQ(ToBoolean(Get(records, u"NoMatch")), !children.contains(child));
                if (!children.contains(child)) break;
                Call(records, u"Delete");
                children.erase(child);
                break;
            }
            default:
                if (!children.contains(child)) break;
                EXPECT_EQ(apply(u"UPDATE K SET PId = " + idText + u", Noot = Noot & 'x' WHERE Id = " + childText),
                          parents.contains(id) ? 0 : 3201);
                if (parents.contains(id)) children[child] = id;
        }
        ASSERT_FALSE(HasFailure()) << "seed " << seed << ", step " << step;
    }
    std::vector<std::string> expected;
    for (const auto& [id, mark] : parents) expected.push_back(std::to_string(id) + "|" + ToUtf8(name(mark)));
    EXPECT_EQ(Rows(database, u"SELECT * FROM P ORDER BY Id"), expected) << "seed " << seed;
    expected.clear();
    for (const auto& [id, parent] : children) expected.push_back(std::to_string(id) + "|" + std::to_string(parent));
    EXPECT_EQ(Rows(database, u"SELECT Id, PId FROM K ORDER BY Id"), expected) << "seed " << seed;
    Call(database, u"Close");
    EXPECT_THAT(FaultsOf(u"model.mdb"), testing::IsEmpty()) << "seed " << seed;
}

TEST_F(ChangesTest, TransactionsTakeEverythingBack)
{
    const ObjectRef database = Create(u"t.mdb");
    MakeTable(database, u"T", {{u"A", Long}});
    Execute(database, u"INSERT INTO T VALUES (1)");
    const ObjectRef workspace = Workspace();
    Call(workspace, u"BeginTrans");
    Execute(database, u"INSERT INTO T VALUES (2)");
    Execute(database, u"SELECT * INTO U FROM T");
    Call(workspace, u"BeginTrans");
    Execute(database, u"DELETE FROM T");
    Call(workspace, u"Rollback");
    EXPECT_THAT(Rows(database, u"SELECT A FROM T ORDER BY A"), ElementsAre("1", "2"));
    const ObjectRef records = Records(database, u"T", 2);
    Call(records, u"Edit");
    PutField(records, u"A", 8);
    Call(workspace, u"Rollback");
    EXPECT_EQ(ErrorOf([&] { Call(records, u"Update"); }), 3020) << "a rollback ends the edit";
    EXPECT_THAT(Rows(database, u"SELECT A FROM T"), ElementsAre("1"));
    EXPECT_EQ(ErrorOf([&] { Rows(database, u"SELECT * FROM U"); }), 3078);
    EXPECT_EQ(ErrorOf([&] { Call(workspace, u"CommitTrans"); }), 3034);
}

}  // namespace
}  // namespace vmlib::test
