// Statements: those of the document layer as it writes them, IN between files, data definition, errors.

#include <random>

#include "engine/EngineFixture.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A layout catalogue with two file types.
class QueriesTest : public EngineTest
{
protected:
    ObjectRef Catalogue()
    {
        const ObjectRef database = Create(u"layout.mdb", u";PWD=Zonnebloemen");
        MakeTable(database, u"Info", {{u"FileType", 10, 10}, {u"Versie", 3}});
        MakeTable(database, u"LayOut",
                  {{u"RecNr", 3},
                   {u"FileType", 10, 10},
                   {u"TabelNaam", 10, 30},
                   {u"VeldNaam", 10, 30},
                   {u"VeldType", 3},
                   {u"VeldLengte", 3},
                   {u"VeldAttribuut", 3},
                   {u"NulWaardeToegestaan", 1}});
        MakeTable(database, u"Indexen",
                  {{u"FileType", 10, 10},
                   {u"TabelNaam", 10, 30},
                   {u"VeldNaam", 10, 30},
                   {u"IndexNaam", 10, 30},
                   {u"Primary", 3},
                   {u"Uniek", 3},
                   {u"Volgorde", 3}});
        Execute(database, u"INSERT INTO Info VALUES ('LED', 7)");
        Execute(database, u"INSERT INTO Info VALUES ('FAK', 3)");
        for (const TextView row :
             {u"(10, 'LED', 'Leden', 'Datum', 8, 8, 1, False)", u"(2, 'LED', 'Leden', 'Naam', 10, 30, 2, True)",
              u"(1, 'LED', 'Leden', 'Id', 4, 4, 17, False)", u"(1, 'LED', 'Info', 'Versie', 3, 2, 1, False)",
              u"(1, 'FAK', 'Leden', 'Anders', 4, 4, 1, False)"})
            Execute(database, u"INSERT INTO LayOut VALUES " + Text(row), 128);
        for (const TextView row :
             {u"('LED', 'Leden', 'Naam', 'OpNaam', 0, 0, 1)", u"('LED', 'Leden', 'Datum', 'OpNaam', 0, 0, 2)",
              u"('LED', 'Leden', 'Id', 'PK', 1, 1, 1)", u"('FAK', 'Leden', 'Anders', 'X', 0, 0, 1)"})
            Execute(database, u"INSERT INTO Indexen VALUES " + Text(row), 128);
        return database;
    }
};

TEST_F(QueriesTest, TheDocumentLayersStatements)
{
    const ObjectRef layout = Catalogue();
    EXPECT_THAT(Rows(layout, u"SELECT * FROM Info WHERE FileType = 'LED'"), ElementsAre("LED|7"));
    EXPECT_THAT(Rows(layout, u"SELECT * FROM Info WHERE FileType = 'XXX'"), IsEmpty());
    // Text order of name and number together: 1, 10, 2.
    EXPECT_THAT(Rows(layout,
                     u"SELECT RecNr, FileType, TabelNaam, VeldNaam, VeldType, VeldLengte, VeldAttribuut, "
                     u"NulWaardeToegestaan FROM LayOut "
                     u"WHERE FileType = 'LED' ORDER BY Tabelnaam & RecNr"),
                ElementsAre("1|LED|Info|Versie|3|2|1|False", "1|LED|Leden|Id|4|4|17|False",
                            "10|LED|Leden|Datum|8|8|1|False", "2|LED|Leden|Naam|10|30|2|True"));
    EXPECT_THAT(Rows(layout,
                     u"SELECT DISTINCT Indexen.FileType, Indexen.TabelNaam, Indexen.VeldNaam, IndexNaam, Primary, "
                     u"Uniek, Volgorde FROM Indexen "
                     u"RIGHT JOIN Layout ON Indexen.TabelNaam=Layout.TabelNaam WHERE Indexen.FileType = 'LED' ORDER BY "
                     u"Indexen.TabelNaam, "
                     u"Indexen.IndexNaam, VolgOrde;"),
                ElementsAre("LED|Leden|Naam|OpNaam|0|0|1", "LED|Leden|Datum|OpNaam|0|0|2", "LED|Leden|Id|PK|1|1|1"));
    EXPECT_THAT(Rows(layout, u"SELECT * FROM Layout WHERE FileType='FAK' ORDER BY TabelNaam"),
                ElementsAre("1|FAK|Leden|Anders|4|4|1|False"));
    // A join result cannot be changed, a column keeps its field's name.
    const ObjectRef records = Records(layout, u"SELECT DISTINCT Indexen.TabelNaam FROM Indexen", 2);
    EXPECT_EQ(Get(records, u"Updatable"), Variant(false));
    EXPECT_EQ(Get(ToObject(Get(records, u"Fields", 0)), u"Name"), Variant(u"TabelNaam"));
}

TEST_F(QueriesTest, TablesMoveBetweenProtectedFiles)
{
    const ObjectRef source = Create(u"bron.mdb", u";PWD=Zonnebloemen");
    MakeTable(source, u"Leden",
              {{u"Id", 4, 0, 17}, {u"Naam", 10, 30, 0, true}, {u"Noot", 12}, {u"Geld", 5}, {u"Ja", 1}, {u"Dag", 8}});
    Execute(source,
            u"INSERT INTO Leden (Id, Naam, Noot, Geld, Ja, Dag) VALUES (5, 'Jan  ', 'lang', 12.5, True, #3/31/1998#)",
            128);
    Execute(source, u"INSERT INTO Leden (Id, Naam) VALUES (9, '')", 128);
    const Text path = folder_.Path(u"doel.mdb");
    const ObjectRef target = Create(u"doel.mdb", u";PWD=Zonnebloemen");

    Execute(source, u"SELECT Leden.* INTO Leden IN '" + path + u"' FROM Leden");
    EXPECT_EQ(Affected(source), 2);
    EXPECT_EQ(Rows(target, u"SELECT * FROM Leden ORDER BY Id"), Rows(source, u"SELECT * FROM Leden ORDER BY Id"));
    const ObjectRef fields = ToObject(Get(ToObject(Get(target, u"TableDefs", u"Leden")), u"Fields"));
    EXPECT_EQ(ToLong(Get(ToObject(Get(fields, u"Item", u"Id")), u"Attributes")), 17)
        << "a plain column keeps its AutoNumber";
    EXPECT_EQ(ToLong(Get(ToObject(Get(fields, u"Item", u"Naam")), u"Size")), 30);
    EXPECT_EQ(Get(ToObject(Get(fields, u"Item", u"Naam")), u"AllowZeroLength"), Variant(false)) << "and nothing else";
    Execute(target, u"INSERT INTO Leden (Naam) VALUES ('')", 128);  // unset, it reads False and still takes ""
    EXPECT_THAT(Rows(target, u"SELECT Max(Id) FROM Leden"), ElementsAre("10"));
    EXPECT_EQ(ErrorOf([&] { Execute(source, u"SELECT Leden.* INTO Leden IN '" + path + u"' FROM Leden"); }), 3010);

    // Columns pair by name, in any order; unknown ones are refused.
    MakeTable(target, u"Nieuw", {{u"naam", 10, 3}, {u"Extra", 4}, {u"Id", 10, 5}});
    Execute(source, u"INSERT INTO Nieuw IN '" + path + u"' SELECT Id, Naam FROM Leden");
    EXPECT_THAT(Rows(target, u"SELECT * FROM Nieuw ORDER BY Id"), ElementsAre("Jan|-|5"))
        << "the row with an empty name is refused";
    EXPECT_EQ(ErrorOf([&] { Execute(source, u"INSERT INTO Nieuw IN '" + path + u"' SELECT Id, Geld FROM Leden"); }),
              3127);

    EXPECT_EQ(Rows(source, u"SELECT Naam FROM Nieuw IN '" + path + u"'"), Rows(target, u"SELECT Naam FROM Nieuw"));
    EXPECT_EQ(ErrorOf([&] { Execute(source, u"SELECT * INTO N IN '" + folder_.Path(u"weg.mdb") + u"' FROM Leden"); }),
              3024);

    Call(Create(u"anders.mdb", u";PWD=Anders"), u"Close");
    const Text other = folder_.Path(u"anders.mdb");
    EXPECT_EQ(ErrorOf([&] { Execute(source, u"SELECT * INTO N IN '" + other + u"' FROM Leden"); }), 3031);
    EXPECT_EQ(
        ErrorOf([&] { Execute(source, u"SELECT * INTO N IN '' [;DATABASE=" + other + u";PWD=Anders] FROM Leden"); }),
        0);
    {
        // Open on its path with its own password, it needs none behind IN, read only or not.
        const ObjectRef opened = Open(u"anders.mdb", false, false, u"Anders");
        EXPECT_THAT(Rows(source, u"SELECT Id FROM N IN '" + other + u"' ORDER BY Id"), ElementsAre("5", "9"));
        EXPECT_EQ(ErrorOf([&] { Rows(source, u"SELECT Id FROM N IN '" + other + u"' [;PWD=Fout]"); }), 3031)
            << "the one that is given counts";
        const ObjectRef reader = Open(u"bron.mdb", false, true, u"Zonnebloemen");
        EXPECT_THAT(Rows(reader, u"SELECT Id FROM N IN '" + other + u"' ORDER BY Id"), ElementsAre("5", "9"));
        Call(reader, u"Close");
        Call(opened, u"Close");
    }
    EXPECT_EQ(ErrorOf([&] { Platform().files.Delete(other); }), 0) << "the file behind IN is free again";
    EXPECT_EQ(ErrorOf([&] { Platform().files.Delete(path); }), 70) << "the open one is not";
}

TEST_F(QueriesTest, SystemTablesAreReadAndNotWritten)
{
    const ObjectRef database = Create(u"m.mdb");
    EXPECT_THAT(Rows(database, u"SELECT Name FROM MSysObjects WHERE Type = 1 ORDER BY Name"),
                ElementsAre("MSysACEs", "MSysObjects", "MSysQueries", "MSysRelationships"));
    const Text path = folder_.Path(u"m.mdb");
    for (const Text& sql :
         {Text(u"DELETE FROM MSysObjects"), Text(u"UPDATE MSysObjects SET Flags = 0"),
          Text(u"INSERT INTO MSysACEs (ACM) VALUES (1)"),
          u"INSERT INTO MSysACEs IN '" + path + u"' SELECT ACM FROM MSysACEs", Text(u"DROP TABLE MSysQueries")})
        EXPECT_EQ(ErrorOf([&] { Execute(database, sql); }), 3033) << ToUtf8(sql);
    EXPECT_NE(ErrorOf([&] { Call(Records(database, u"MSysObjects", 2), u"Delete"); }), 0);
}

TEST_F(QueriesTest, AnIndexFindsWhatAScanFinds)
{
    const ObjectRef database = Create(u"i.mdb");
    MakeTable(
        database, u"T",
        {{u"L", 4}, {u"B", 2}, {u"M", 5}, {u"S", 6}, {u"D", 7}, {u"Dag", 8}, {u"J", 1}, {u"G", 15}, {u"T", 10, 9}});
    // The same rows without any index.
    std::mt19937 random(11);
    for (int i = 0; i < 60; ++i) {
        const Text n = Decimal(static_cast<int>(random() % 7) - 3);
        const Text values = n + u", " + Decimal(static_cast<int>(random() % 4)) + u", " + n + u" / 2, " + n +
                            u" / 4, " + n + u" * 1.5, #1/1/2000# + " + n + u", " + n + u" > 0, {guid {0000000" +
                            Decimal(static_cast<int>(random() % 3)) + u"-0000-0000-0000-000000000000}}, '" + n + u"'";
        Execute(database, u"INSERT INTO T VALUES (" + values + u")", 128);
    }
    Execute(database, u"INSERT INTO T (B) VALUES (1)", 128);  // Null in every other field
    Execute(database, u"SELECT * INTO Kaal FROM T");
    for (const TextView field : {u"L", u"B", u"M", u"S", u"D", u"Dag", u"J", u"G", u"T"})
        MakeIndex(database, u"T", u"I" + Text(field), field, false, false);
    MakeIndex(database, u"T", u"Twee", u"B;-L", false, false);
    MakeIndex(database, u"T", u"Drie", u"J;D", false, false);

    for (const TextView condition : {u"L = 2",
                                     u"L = 2.5",
                                     u"L > 1.5",
                                     u"L < -1",
                                     u"L Between -1 And 1",
                                     u"L = 3000000000",

                                     u"B >= 2",
                                     u"B = -1",
                                     u"B = 1 And L = 2",
                                     u"B = 1 And L > 0",
                                     u"M = 0.5",
                                     u"M > 0.1",
                                     u"M <= -0.5",
                                     u"M = 1",
                                     u"S = 0.25",
                                     u"S < 0.1",
                                     u"D = 1.5",
                                     u"D > 1",
                                     u"D = 3",
                                     u"Dag = #1/2/2000#",
                                     u"Dag > #1/1/2000 12:00#",
                                     u"J = True",
                                     u"J = False",
                                     u"J",
                                     u"J = 1",
                                     u"J = True And D > 2",
                                     u"G = {guid {00000001-0000-0000-0000-000000000000}}",
                                     u"T = '-1'",
                                     u"T > '0'",
                                     u"T = '1 '",
                                     u"T >= '-' And T < '1'",
                                     u"L In (1, 2)",
                                     u"L Is Null",
                                     u"L = Null",
                                     u"L = 1 Or D = -3"}) {
        const Text where = u" WHERE " + Text(condition) + u" ORDER BY L, B, D, T";
        EXPECT_EQ(Rows(database, u"SELECT * FROM T" + where), Rows(database, u"SELECT * FROM Kaal" + where))
            << ToUtf8(condition);
    }
}

TEST_F(QueriesTest, UpdateAndDeleteThroughJoins)
{
    const ObjectRef database = Create(u"j.mdb");
    MakeTable(database, u"A", {{u"Id", 4}, {u"Naam", 10, 10}});
    MakeTable(database, u"B", {{u"AId", 4}, {u"Aantal", 4}});
    MakeIndex(database, u"A", u"PK", u"Id", true, true);
    for (const TextView row :
         {u"A VALUES (1, 'a')", u"A VALUES (2, 'b')", u"B VALUES (1, 10)", u"B VALUES (1, 11)", u"B VALUES (2, 20)"})
        Execute(database, u"INSERT INTO " + Text(row), 128);
    Execute(database, u"UPDATE B INNER JOIN A ON B.AId = A.Id SET B.Aantal = B.Aantal * 2 WHERE A.Naam = 'A'");
    EXPECT_EQ(Affected(database), 2);
    EXPECT_THAT(Rows(database, u"SELECT Aantal FROM B ORDER BY Aantal"), ElementsAre("20", "20", "22"));
    Execute(database, u"DELETE B.* FROM B INNER JOIN A ON B.AId = A.Id WHERE A.Naam = 'b'");
    EXPECT_THAT(Rows(database, u"SELECT AId, Aantal FROM B ORDER BY Aantal"), ElementsAre("1|20", "1|22"));
    // What a statement adds is not among the rows that it reads.
    Execute(database, u"INSERT INTO B SELECT AId, Aantal FROM B");
    EXPECT_EQ(Affected(database), 2);
    MakeIndex(database, u"B", u"OpA", u"AId", false, false);
    Execute(database, u"INSERT INTO B SELECT AId + 100 AS AId, 500 AS Aantal FROM B WHERE AId Between 1 And 900");
    EXPECT_EQ(Affected(database), 4) << "also when it walks the index that grows";
    Execute(database, u"DELETE FROM B WHERE AId > 100");
    // A dynaset over a join changes the row behind each column.
    const ObjectRef records =
        Records(database, u"SELECT A.Naam, B.Aantal FROM A INNER JOIN B ON A.Id = B.AId ORDER BY B.Aantal", 2);
    Call(records, u"Edit");
    Put(ToObject(Get(records, u"Fields", u"Naam")), u"Value", u"nieuw");
    Put(ToObject(Get(records, u"Fields", u"Aantal")), u"Value", 1);
    Call(records, u"Update");
    EXPECT_THAT(Rows(database, u"SELECT Naam FROM A ORDER BY Id"), ElementsAre("nieuw", "b"));
    EXPECT_THAT(Rows(database, u"SELECT Min(Aantal) FROM B"), ElementsAre("1"));
}

TEST_F(QueriesTest, StoredQueriesServeAsSourcesAndActions)
{
    const ObjectRef database = Create(u"q.mdb");
    MakeTable(database, u"T", {{u"Id", 4}, {u"Naam", 10, 10}});
    for (const TextView row : {u"(1, 'a')", u"(2, 'b')", u"(3, 'c')"})
        Execute(database, u"INSERT INTO T VALUES " + Text(row));
    Call(database, u"CreateQueryDef", u"Vanaf", u"PARAMETERS [grens] Long; SELECT Id, Naam FROM T WHERE Id >= [grens]");
    Call(database, u"CreateQueryDef", u"Weg", u"DELETE FROM T WHERE Id = 2");
    Call(database, u"CreateQueryDef", u"Alle", u"SELECT Naam AS N FROM T");
    EXPECT_THAT(Rows(database, u"SELECT N FROM Alle WHERE N > 'a' ORDER BY N"), ElementsAre("b", "c"));
    EXPECT_EQ(ErrorOf([&] { Records(database, u"Vanaf"); }), 3061);
    const ObjectRef query = ToObject(Get(ToObject(Get(database, u"QueryDefs")), u"Item", u"Vanaf"));
    Put(ToObject(Get(query, u"Parameters", u"grens")), u"Value", 2);
    const ObjectRef records = ToObject(Call(query, u"OpenRecordset", 4));
    EXPECT_EQ(Field(records, u"Naam"), Variant(u"b"));
    Execute(database, u"Weg");
    EXPECT_EQ(Affected(database), 1);
    EXPECT_EQ(ToLong(Get(ToObject(Get(ToObject(Get(database, u"QueryDefs")), u"Item", u"Weg")), u"Type")), 32);
    EXPECT_EQ(ErrorOf([&] { Call(database, u"CreateQueryDef", u"weg", u"SELECT * FROM T"); }), 3012);
    // Close ends the object that was closed, and nothing else.
    Call(query, u"Close");
    EXPECT_EQ(ErrorOf([&] { Get(query, u"SQL"); }), 3420);
    const ObjectRef again = ToObject(Get(ToObject(Get(database, u"QueryDefs")), u"Item", u"Vanaf"));
    EXPECT_EQ(ToLong(Get(again, u"Type")), 0);
    const ObjectRef made = ToObject(Call(database, u"CreateQueryDef", u"Nieuw", u"SELECT * FROM T"));
    Call(made, u"Close");
    EXPECT_EQ(ErrorOf([&] { Get(ToObject(Get(ToObject(Get(database, u"QueryDefs")), u"Item", u"Nieuw")), u"SQL"); }),
              0);
}

TEST_F(QueriesTest, DataDefinition)
{
    const ObjectRef database = Create(u"ddl.mdb");
    Execute(database, u"CREATE TABLE P (Id COUNTER CONSTRAINT PK PRIMARY KEY, Naam TEXT(20) NOT NULL)");
    Execute(database, u"CREATE TABLE K (Id LONG, PId LONG CONSTRAINT KP REFERENCES P (Id))");
    Execute(database, u"CREATE UNIQUE INDEX OpNaam ON P (Naam DESC)");
    Execute(database, u"ALTER TABLE K ADD COLUMN Extra CURRENCY");
    Execute(database, u"INSERT INTO P (Naam) VALUES ('x')", 128);
    Execute(database, u"INSERT INTO K VALUES (1, 1, 2.5)", 128);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO P (Naam) VALUES ('X')", 128); }), 3022);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO P (Naam) VALUES (Null)", 128); }), 3314);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO K VALUES (1, 9, 1)", 128); }), 3201);
    const ObjectRef records = Records(database, u"K");
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"ALTER TABLE K DROP COLUMN Extra"); }), 3211) << "a recordset reads it";
    Call(records, u"Close");
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"DROP TABLE P"); }), 3281);
    Execute(database, u"ALTER TABLE K DROP CONSTRAINT KP");
    // Layouts pad the names of relations and indexes with blanks.
    MakeRelation(database, u"KP2      ", u"P", u"Id", u"K", u"PId", 0);
    Execute(database, u"ALTER TABLE K DROP CONSTRAINT KP2");
    Execute(database, u"CREATE INDEX [OpExtra   ] ON K (Extra)");
    Execute(database, u"DROP INDEX OpExtra ON K");
    Execute(database, u"ALTER TABLE K DROP COLUMN Extra");
    Execute(database, u"DROP TABLE P");
    EXPECT_THAT(Rows(database, u"SELECT * FROM K"), ElementsAre("1|1"));
}

TEST_F(QueriesTest, RefusedDefinitionsLeaveTheFileAsItWas)
{
    const ObjectRef database = Create(u"ddl.mdb");
    for (const TextView sql :
         {u"CREATE TABLE P (Id LONG CONSTRAINT PK PRIMARY KEY, N LONG, Naam TEXT(20), Noot MEMO)",
          u"CREATE TABLE K (Id LONG, PId LONG CONSTRAINT KP REFERENCES P, S SHORT)", u"CREATE INDEX OpN ON P (N)",
          u"INSERT INTO P VALUES (1, 5, 'a', Null)", u"INSERT INTO P VALUES (2, 5, 'A ', Null)",
          u"INSERT INTO P VALUES (3, Null, Null, Null)"})
        Execute(database, sql, 128);
    struct
    {
        TextView sql;
        std::int32_t error;
    } const cases[] = {
        {u"CREATE TABLE P (A LONG)", 3010},
        {u"CREATE TABLE Q (A LONG, a TEXT)", 3191},
        {u"CREATE TABLE Q (A TEXT(256))", 3382},
        {u"CREATE TABLE Q (A LONG, CONSTRAINT X PRIMARY KEY (B))", 3369},
        {u"CREATE TABLE Q (A LONG CONSTRAINT X REFERENCES Weg)", 3376},
        {u"CREATE TABLE Q (A LONG CONSTRAINT X REFERENCES K)", 3373},
        {u"CREATE TABLE Q (A LONG CONSTRAINT X REFERENCES P (N))", 3374},
        {u"CREATE TABLE Q (A SHORT CONSTRAINT X REFERENCES P)", 3368},
        {u"CREATE TABLE Q (A LONG CONSTRAINT KP REFERENCES P)", 3378},
        {u"CREATE INDEX X ON Weg (A)", 3376},
        {u"CREATE INDEX X ON P (Weg)", 3369},
        {u"CREATE INDEX X ON P (Noot)", 3409},
        {u"CREATE INDEX opn ON P (Naam)", 3375},
        {u"ALTER TABLE P ADD CONSTRAINT OpN UNIQUE (Id)", 3375},
        {u"CREATE INDEX X ON P (Naam) WITH PRIMARY", 3283},
        {u"CREATE UNIQUE INDEX X ON P (N)", 3022},
        {u"CREATE UNIQUE INDEX X ON P (Naam)", 3022},
        {u"CREATE INDEX X ON P (N) WITH DISALLOW NULL", 3058},
        {u"DROP INDEX PK ON P", 3281},
        {u"DROP INDEX Weg ON P", 3372},
        {u"DROP TABLE P", 3281},
        {u"DROP TABLE Weg", 3376},
        {u"ALTER TABLE P DROP COLUMN Id", 3383},
        {u"ALTER TABLE P DROP COLUMN N", 3280},
        {u"ALTER TABLE P ADD COLUMN Z LONG NOT NULL CONSTRAINT PK UNIQUE", 3375},
        {u"ALTER TABLE P DROP COLUMN Weg", 3381},
        {u"ALTER TABLE P ADD COLUMN naam LONG", 3380},
        {u"ALTER TABLE P DROP CONSTRAINT Weg", 3371},
        {u"ALTER TABLE P DROP CONSTRAINT KP", 3371},
    };
    for (const auto& each : cases)
        EXPECT_EQ(ErrorOf([&] { Execute(database, each.sql); }), each.error) << ToUtf8(each.sql);
    const ObjectRef tables = ToObject(Get(database, u"TableDefs"));
    EXPECT_EQ(ErrorOf([&] { Get(tables, u"Item", u"Q"); }), 3265);
    EXPECT_EQ(ToLong(Get(ToObject(Get(ToObject(Get(tables, u"Item", u"P")), u"Indexes")), u"Count")), 2);
    EXPECT_EQ(ToLong(Get(ToObject(Get(database, u"Relations")), u"Count")), 1);
    Call(database, u"Close");
    EXPECT_THAT(FaultsOf(u"ddl.mdb"), IsEmpty());
}

TEST_F(QueriesTest, WrongStatementsSayWhatIsWrong)
{
    const ObjectRef database = Create(u"e.mdb");
    MakeTable(database, u"T", {{u"Id", 4}, {u"Naam", 10, 10}});
    struct
    {
        TextView sql;
        std::int32_t opening, executing;  // 0: not tried
    } const cases[] = {
        {u"SELECT * FROM Niets", 3078, 0},
        {u"Niets", 3078, 0},
        {u"SELECT Kleur FROM T", 3061, 0},
        {u"SELECT Id FROM T WHERE Naam = Kleur", 3061, 0},
        {u"SELECT Nz(Id) FROM T", 3085, 0},
        {u"SELECT Id FROM T WHERE Id = (1", 3075, 3075},
        {u"SELECT * FROM T", 0, 3065},
        {u"DELETE FROM T", 3219, 0},
        {u"VERWIJDER T", 3129, 3129},
        {u"INSERT INTO T (Id, Kleur) VALUES (1, 2)", 0, 3127},
        {u"INSERT INTO T (Id) VALUES (1, 2)", 0, 3346},
        {u"UPDATE Niets SET A = 1", 0, 3078},
        {u"SELECT * INTO T FROM T", 3219, 3010},
    };
    for (const auto& each : cases) {
        if (each.opening != 0) {
            EXPECT_EQ(ErrorOf([&] { Records(database, each.sql, 2); }), each.opening) << ToUtf8(each.sql);
        }
        if (each.executing != 0) {
            EXPECT_EQ(ErrorOf([&] { Execute(database, each.sql); }), each.executing) << ToUtf8(each.sql);
        }
    }
    EXPECT_EQ(ErrorOf([&] { Records(database, u"SELECT * FROM T", 1); }), 3011) << "SQL as table type";
}

TEST_F(QueriesTest, StoredCrosstabs)
{
    const ObjectRef database = Create(u"k.mdb");
    MakeTable(database, u"Posten", {{u"Naam", 10, 10}, {u"Jaar", 4}, {u"Bedrag", 5}});
    for (const TextView row : {u"('Jan', 1996, 10)", u"('Jan', 1997, 5)", u"('Piet', 1997, 2.5)"})
        Execute(database, u"INSERT INTO Posten VALUES " + Text(row), 128);
    Call(database, u"CreateQueryDef", u"PerJaar",
         u"TRANSFORM Sum(Bedrag) AS S SELECT Naam FROM Posten GROUP BY Naam PIVOT Jaar");
    for (const std::int32_t type : {2, 4, 8})
        EXPECT_THAT(Rows(database, u"PerJaar", type), ElementsAre("Jan|10|5", "Piet|-|2.5")) << type;
    const ObjectRef records = Records(database, u"PerJaar", 2);
    EXPECT_FALSE(ToBoolean(Get(records, u"Updatable")));
    for (const TextView change : {u"Edit", u"AddNew", u"Delete"})
        EXPECT_EQ(ErrorOf([&] { Call(records, change); }), 3027) << ToUtf8(change);
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"DROP TABLE Posten"); }), 3211) << "read through a stored query";
    Execute(database, u"INSERT INTO Posten VALUES ('Jan', 1995, 1)");
    EXPECT_EQ(ToLong(Get(ToObject(Get(records, u"Fields")), u"Count")), 3) << "fixed when it was opened";
    Call(records, u"Close");
    Execute(database, u"SELECT * INTO Kruis FROM PerJaar WHERE Naam = 'Jan'");
    EXPECT_THAT(Rows(database, u"SELECT Naam, [1995], [1997] FROM Kruis"), ElementsAre("Jan|1|5"));

    const ObjectRef query = ToObject(Call(database, u"CreateQueryDef", u"Vanaf",
                                          u"PARAMETERS jaar1 Long; TRANSFORM Count(*) SELECT Naam FROM Posten "
                                          u"WHERE Jaar >= [jaar1] GROUP BY Naam PIVOT Jaar"));
    EXPECT_EQ(ToLong(Get(query, u"Type")), 16);
    EXPECT_EQ(ErrorOf([&] { Call(query, u"OpenRecordset"); }), 3061);
    const ObjectRef parameters = ToObject(Get(query, u"Parameters"));
    EXPECT_EQ(ToLong(Get(parameters, u"Count")), 1);
    Put(ToObject(Get(parameters, u"Item", 0)), u"Value", 1997);
    EXPECT_EQ(ToLong(Get(ToObject(Get(query, u"Fields")), u"Count")), 2);
    const ObjectRef since = ToObject(Call(query, u"OpenRecordset"));
    EXPECT_EQ(ToLong(Field(since, u"1997")), 1);
    EXPECT_EQ(ErrorOf([&] { Field(since, u"1996"); }), 3265);
}

}  // namespace
}  // namespace vmlib::test
