// Moves, places, searches and the forms of results.

#include <random>

#include "engine/EngineFixture.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;

class RecordsetTest : public EngineTest
{
protected:
    ObjectRef Numbers(TextView name, int count)
    {
        const ObjectRef database = Create(name);
        MakeTable(database, u"T", {{u"Id", 4}, {u"Naam", 10, 20, 0, true}});
        MakeIndex(database, u"T", u"PK", u"Id", true, true);
        MakeIndex(database, u"T", u"OpNaam", u"Naam;-Id", false, false);
        for (int i = 1; i <= count; ++i)
            Execute(database, u"INSERT INTO T VALUES (" + Decimal(i * 10) + u", 'naam" + Decimal(i % 3) + u"')", 128);
        return database;
    }
    static std::string Place(const ObjectRef& records)
    {
        const bool bof = ToBoolean(Get(records, u"BOF")), eof = ToBoolean(Get(records, u"EOF"));
        if (bof || eof) return std::string(bof ? "BOF" : "") + (eof ? "EOF" : "");
        return ToUtf8(ToText(Field(records, u"Id")));
    }
};

TEST_F(RecordsetTest, MovesAndEnds)
{
    const ObjectRef database = Numbers(u"m.mdb", 3);
    for (const std::int32_t type : {1, 2, 4}) {
        const ObjectRef records = Records(database, u"T", type);
        if (type == 1) Put(records, u"Index", u"PK");
        struct
        {
            TextView move;
            std::int32_t error;
            const char* place;
        } const steps[] = {
            {u"MoveFirst", 0, "10"},    {u"MovePrevious", 0, "BOF"}, {u"MovePrevious", 3021, "BOF"},
            {u"MoveNext", 0, "10"},     {u"MoveNext", 0, "20"},      {u"MoveLast", 0, "30"},
            {u"MoveNext", 0, "EOF"},    {u"MoveNext", 3021, "EOF"},  {u"MovePrevious", 0, "30"},
            {u"MovePrevious", 0, "20"}, {u"MoveFirst", 0, "10"},
        };
        for (const auto& step : steps) {
            EXPECT_EQ(ErrorOf([&] { Call(records, step.move); }), step.error) << ToUtf8(step.move) << type;
            EXPECT_EQ(Place(records), step.place) << ToUtf8(step.move) << type;
        }
        Call(records, u"Move", 5);
        EXPECT_EQ(Place(records), "EOF") << "beyond an end it stops there";
        EXPECT_EQ(ErrorOf([&] { Field(records, u"Id"); }), 3021);
        Call(records, u"Move", -2);
        EXPECT_EQ(Place(records), "20");
        EXPECT_EQ(ToLong(Get(records, u"Type")), type);
    }
    const ObjectRef empty = Records(database, u"SELECT * FROM T WHERE Id = 1");
    EXPECT_EQ(Place(empty), "BOFEOF");
    EXPECT_EQ(ToLong(Get(empty, u"RecordCount")), 0);
    for (const TextView move : {u"MoveFirst", u"MoveLast", u"MoveNext", u"MovePrevious"})
        EXPECT_EQ(ErrorOf([&] { Call(empty, move); }), 3021) << ToUtf8(move);
}

TEST_F(RecordsetTest, CountsWhatWasVisited)
{
    const ObjectRef database = Numbers(u"n.mdb", 5);
    const ObjectRef dynaset = Records(database, u"SELECT * FROM T ORDER BY Id", 2);
    EXPECT_EQ(ToLong(Get(dynaset, u"RecordCount")), 1);
    Call(dynaset, u"MoveNext");
    EXPECT_EQ(ToLong(Get(dynaset, u"RecordCount")), 2);
    Call(dynaset, u"MoveLast");
    EXPECT_EQ(ToLong(Get(dynaset, u"RecordCount")), 5);
    EXPECT_EQ(ToLong(Get(dynaset, u"AbsolutePosition")), 4);
    Call(dynaset, u"Delete");
    EXPECT_EQ(ErrorOf([&] { Field(dynaset, u"Id"); }), 3167) << "the row stays current, deleted";
    EXPECT_EQ(ToLong(Get(dynaset, u"RecordCount")), 4);
    Call(dynaset, u"MovePrevious");
    EXPECT_EQ(Place(dynaset), "40");
    EXPECT_EQ(ToLong(Get(Records(database, u"T"), u"RecordCount")), 4) << "a table knows all its rows";
}

TEST_F(RecordsetTest, OnlyWhatTheTypeCanDo)
{
    const ObjectRef database = Numbers(u"o.mdb", 2);
    const ObjectRef snapshot = Records(database, u"T", 4), forward = Records(database, u"T", 8),
                    table = Records(database, u"T", 1);
    EXPECT_EQ(ErrorOf([&] { Call(snapshot, u"Edit"); }), 3251);
    EXPECT_EQ(ErrorOf([&] { Call(snapshot, u"AddNew"); }), 3251);
    EXPECT_EQ(ErrorOf([&] { Call(forward, u"MovePrevious"); }), 3251);
    EXPECT_EQ(ErrorOf([&] { Call(forward, u"MoveFirst"); }), 3251);
    EXPECT_EQ(ErrorOf([&] { Get(forward, u"Bookmark"); }), 3251);
    EXPECT_EQ(ErrorOf([&] { Call(table, u"FindFirst", u"Id = 1"); }), 3251);
    EXPECT_EQ(ErrorOf([&] { Call(table, u"Seek", u"=", 1); }), 3019);
    EXPECT_EQ(ErrorOf([&] { Put(table, u"Index", u"Geen"); }), 3015);
    EXPECT_EQ(ErrorOf([&] { Put(snapshot, u"Index", u"PK"); }), 3251);
    EXPECT_EQ(ErrorOf([&] { Records(database, u"T", 3); }), 3001);
    const auto open = [&](int options, int lockEdit) { Call(database, u"OpenRecordset", u"T", 2, options, lockEdit); };
    EXPECT_EQ(ErrorOf([&] { open(48, 3); }), 3001);
    EXPECT_EQ(ErrorOf([&] { open(4, 4); }), 3001);
    EXPECT_EQ(Get(ToObject(Call(database, u"OpenRecordset", u"T", 2, 0, 4)), u"Updatable"), Variant(false));
    const ObjectRef readOnly = ToObject(Call(database, u"OpenRecordset", u"T", 2, 4));
    EXPECT_EQ(ErrorOf([&] { Call(readOnly, u"Delete"); }), 3027);
    // A snapshot keeps its rows as they were.
    Execute(database, u"UPDATE T SET Naam = 'anders'");
    EXPECT_NE(Field(snapshot, u"Naam"), Variant(u"anders"));
    EXPECT_EQ(Field(Records(database, u"T", 2), u"Naam"), Variant(u"anders"));
}

TEST_F(RecordsetTest, BookmarksAndClones)
{
    const ObjectRef database = Numbers(u"b.mdb", 3);
    for (const std::int32_t type : {1, 2}) {
        const ObjectRef records = Records(database, u"T", type);
        if (type == 1) Put(records, u"Index", u"PK");
        Call(records, u"MoveNext");
        const std::string second = Place(records);
        const Variant bookmark = Get(records, u"Bookmark");
        Call(records, u"MoveLast");
        Put(records, u"Bookmark", bookmark);
        EXPECT_EQ(Place(records), second);
        const ObjectRef clone = ToObject(Call(records, u"Clone"));
        EXPECT_EQ(ErrorOf([&] { Field(clone, u"Id"); }), 3021) << "a clone begins without row";
        Put(clone, u"Bookmark", bookmark);
        EXPECT_EQ(Place(clone), second);
        EXPECT_EQ(ErrorOf([&] { Put(records, u"Bookmark", Get(Records(database, u"T", type), u"Bookmark")); }), 3159);
        Call(records, u"AddNew");
        Put(records, u"Collect", u"Id", type == 1 ? 15 : 16);
        Call(records, u"Update");
        EXPECT_EQ(Place(records), second) << "after AddNew the old row is current";
        Put(records, u"Bookmark", Get(records, u"LastModified"));
        EXPECT_EQ(Place(records), type == 1 ? "15" : "16");
        Call(clone, u"Delete");
        EXPECT_EQ(ErrorOf([&] { Put(records, u"Bookmark", bookmark); }), 3167);
    }
    EXPECT_THAT(Rows(database, u"SELECT Id FROM T ORDER BY Id"), ElementsAre("10", "15", "16"));
}

TEST_F(RecordsetTest, FindsByCriteria)
{
    const ObjectRef database = Numbers(u"f.mdb", 6);
    const ObjectRef records = Records(database, u"SELECT * FROM T ORDER BY Id", 2);
    struct
    {
        TextView find, criteria;
        const char* place;  // "" for no match
    } const steps[] = {
        {u"FindFirst", u"Naam = 'NAAM2'", "20"}, {u"FindNext", u"[Naam] = 'naam2'", "50"},
        {u"FindNext", u"Naam = 'naam2'", ""},    {u"FindPrevious", u"Id < 50", "40"},
        {u"FindLast", u"Id Mod 20 = 10", "50"},  {u"FindFirst", u"Naam Like 'n*0' And Id > 30", "60"},
        {u"FindFirst", u"Id = 7", ""},
    };
    for (const auto& step : steps) {
        Call(records, step.find, step.criteria);
        EXPECT_EQ(ToBoolean(Get(records, u"NoMatch")), *step.place == 0) << ToUtf8(step.criteria);
        if (*step.place) {
            EXPECT_EQ(Place(records), step.place) << ToUtf8(step.criteria);
        }
    }
    EXPECT_EQ(ErrorOf([&] { Call(records, u"FindFirst", u"Kleur = 1"); }), 3070);

    Put(records, u"Filter", u"Id > 20");
    Put(records, u"Sort", u"Naam, Id DESC");
    const ObjectRef chosen = ToObject(Call(records, u"OpenRecordset"));
    std::vector<std::string> places;
    for (; !ToBoolean(Get(chosen, u"EOF")); Call(chosen, u"MoveNext")) places.push_back(Place(chosen));
    EXPECT_THAT(places, ElementsAre("60", "30", "40", "50"));
}

TEST_F(RecordsetTest, SeeksAsAFullScanFinds)
{
    const ObjectRef database = Create(u"s.mdb");
    MakeTable(database, u"T", {{u"Tekst", 10, 20, 0, true}, {u"Getal", 4}});
    MakeIndex(database, u"T", u"I", u"Tekst;Getal", false, false);
    const std::vector<Text> words = {u"",  u"a",       u"A",   u"\u00E4", u"ab", u"a b",
                                     u"b", u"\u00DFa", u"ssa", u"zz",     u"ij", u"\u00FF"};
    std::mt19937 random(7);
    const ObjectRef adding = Records(database, u"T");
    for (int i = 0; i < 150; ++i) {
        Call(adding, u"AddNew");
        Put(adding, u"Collect", u"Tekst", Variant(words[random() % words.size()]));
        Put(adding, u"Collect", u"Getal", static_cast<std::int32_t>(random() % 4));
        Call(adding, u"Update");
    }
    // The whole table in the order of the index, and what SQLite says of it without index.
    const ObjectRef sorted = Records(database, u"SELECT Tekst, Getal FROM T ORDER BY Tekst, Getal", 4);
    const ObjectRef records = Records(database, u"T");
    Put(records, u"Index", u"I");
    for (; !ToBoolean(Get(sorted, u"EOF")); Call(sorted, u"MoveNext"), Call(records, u"MoveNext"))
        ASSERT_EQ(Get(records, u"Collect", u"Getal"), Get(sorted, u"Collect", u"Getal"));

    const auto count = [&](TextView condition) {
        return std::stoi(Rows(database, u"SELECT Count(*) FROM T WHERE " + Text(condition))[0]);
    };
    for (const Text& word : words) {
        for (const TextView comparison : {u"=", u">=", u">", u"<=", u"<"}) {
            for (std::int32_t number = -1; number < 5; ++number) {
                const Text text = u"'" + word + u"'", getal = Decimal(number);
                const Text sign(comparison);
                // Rows with a smaller or larger word count whatever their number.
                const Text strict = sign.substr(0, 1);
                const Text condition = sign == u"="
                                           ? u"(Tekst & '') = " + text + u" And Getal = " + getal
                                           : u"(Tekst & '') " + strict + u" " + text + u" Or ((Tekst & '') = " + text +
                                                 u" And Getal " + sign + u" " + getal + u")";
                Call(records, u"Seek", comparison, word, number);
                ASSERT_EQ(!ToBoolean(Get(records, u"NoMatch")), count(condition) > 0) << ToUtf8(condition);
                if (ToBoolean(Get(records, u"NoMatch"))) continue;
                // From the found row to the end (or beginning) there are as many rows as the condition says.
                if (sign == u"=") continue;
                int rows = 0;
                const bool forward = sign[0] == u'>';
                for (; !ToBoolean(Get(records, forward ? u"EOF" : u"BOF")); ++rows)
                    Call(records, forward ? u"MoveNext" : u"MovePrevious");
                ASSERT_EQ(rows, count(condition)) << ToUtf8(condition);
            }
        }
        // An index seek inside SQLite, and the same without.
        ASSERT_EQ(count(u"Tekst = '" + word + u"'"), count(u"(Tekst & '') = '" + word + u"'")) << ToUtf8(word);
        ASSERT_EQ(count(u"Tekst >= '" + word + u"'"), count(u"(Tekst & '') >= '" + word + u"'")) << ToUtf8(word);
    }
}

TEST_F(RecordsetTest, GivesRowsAndChunks)
{
    const ObjectRef database = Create(u"g.mdb");
    MakeTable(database, u"T", {{u"Id", 4}, {u"Noot", 12}, {u"Bits", 11}});
    const ObjectRef records = Records(database, u"T");
    for (std::int32_t i = 1; i <= 3; ++i) {
        Call(records, u"AddNew");
        Put(records, u"Collect", u"Id", i);
        const ObjectRef memo = ToObject(Get(records, u"Fields", u"Noot")),
                        bits = ToObject(Get(records, u"Fields", u"Bits"));
        for (int part = 0; part < 2; ++part) {
            Call(memo, u"AppendChunk", Text(static_cast<std::size_t>(i), u'm'));
            Call(bits, u"AppendChunk", Variant(Array(Bytes(static_cast<std::size_t>(i), 5))));
        }
        Call(records, u"Update");
    }
    const ObjectRef all = Records(database, u"SELECT * FROM T ORDER BY Id");
    const Variant rows = Call(all, u"GetRows", 2);
    ASSERT_TRUE(rows.IsArray());
    EXPECT_THAT(rows.AsArray().Dimensions(), ElementsAre(Array::Dimension{0, 3}, Array::Dimension{0, 2}));
    EXPECT_EQ(rows.AsArray().Items()[1], Variant(u"mm"));
    EXPECT_EQ(rows.AsArray().Items()[3], Variant(std::int32_t{2}));
    EXPECT_EQ(Place(all), "3");
    const ObjectRef memo = ToObject(Get(all, u"Fields", u"Noot")), bits = ToObject(Get(all, u"Fields", u"Bits"));
    EXPECT_EQ(ToLong(Call(memo, u"FieldSize")), 6);
    EXPECT_EQ(Call(memo, u"GetChunk", 4, 10), Variant(u"mm"));
    EXPECT_EQ(Call(bits, u"GetChunk", 5, 1), Variant(Array(Bytes{5})));
    EXPECT_EQ(ErrorOf([&] { Call(memo, u"AppendChunk", u"x"); }), 3020);
    // Bytes count as text of two bytes a character.
    EXPECT_THAT(Rows(database, u"SELECT Len(Bits), LenB(Bits), Len(Noot) FROM T ORDER BY Id"),
                ElementsAre("1|2|2", "2|4|4", "3|6|6"));
}

TEST_F(RecordsetTest, FieldsShowTheDesignOfTheirColumn)
{
    const ObjectRef database = Create(u"f.mdb");
    Execute(database, u"CREATE TABLE T (Id COUNTER, Naam TEXT(20) NOT NULL)");
    const ObjectRef tables = ToObject(Get(database, u"TableDefs"));
    const ObjectRef column = ToObject(Get(ToObject(Get(tables, u"Item", u"T")), u"Fields", u"Naam"));
    Put(column, u"AllowZeroLength", true);
    Put(column, u"DefaultValue", u"\"x\"");
    for (const TextView source : {u"T", u"SELECT Naam FROM T ORDER BY Id", u"SELECT DISTINCT Naam FROM T",
                                  u"SELECT A.Naam FROM T AS A, T AS B", u"SELECT Naam FROM (SELECT * FROM T) AS Q"})
        for (const std::int32_t type : {2, 4, 8}) {
            const ObjectRef records = Records(database, source, type);
            const ObjectRef field = ToObject(Get(records, u"Fields", u"Naam"));
            const std::string which = ToUtf8(source) + ", type " + std::to_string(type);
            EXPECT_EQ(Get(field, u"Required"), Variant(true)) << which;
            EXPECT_EQ(Get(field, u"AllowZeroLength"), Variant(true)) << which;
            EXPECT_EQ(Get(field, u"DefaultValue"), Variant(u"\"x\"")) << which;
            EXPECT_EQ(ToLong(Get(field, u"Attributes")) & ~32, 2) << which;
            Call(records, u"Close");
        }
    const ObjectRef computed = Records(database, u"SELECT Naam & '' AS Naam FROM T", 4);
    EXPECT_EQ(Get(ToObject(Get(computed, u"Fields", u"Naam")), u"Required"), Variant(false));
}

}  // namespace
}  // namespace vmlib::test
