// What the grammar takes, and the errors of what it does not.

#include <gtest/gtest.h>

#include "core/Error.h"
#include "sql/Parser.h"

namespace vmlib::sql {
namespace {

/// Number and text, "" when the statement is sound.
std::string ErrorOf(TextView sql)
{
    try {
        Parse(sql);
        return "";
    } catch (const Error& error) {
        return error.what();
    }
}

Text Repeated(TextView piece, std::size_t count)
{
    Text text;
    for (std::size_t i = 0; i < count; ++i) text += piece;
    return text;
}

TEST(Parser, NumbersOfErrors)
{
    struct Case
    {
        const char16_t* sql;
        int number;
        const char* part;  // of the text
    };
    const Case cases[] = {
        {u"", 3129, ""},
        {u"EXPLAIN x", 3129, "EXPLAIN x"},
        {u"SELECT a b FROM T", 3075, "(missing operator) in query expression 'a b FROM T'. (at position 10)"},
        {u"SELECT a FROM T WHERE x = ", 3075, "(missing operator) in query expression 'x ='. (at the end)"},
        {u"SELECT a FROM T WHERE (x = 1", 3075, "Missing ), ], or Item"},
        {u"SELECT a FROM T WHERE x = 1)", 3075, "Extra ) in query expression 'x = 1)'. (at position 28)"},
        {u"SELECT [a FROM T", 3075, "Missing ), ], or Item"},
        {u"SELECT a FROM T WHERE x = 'open", 3075, "Syntax error in string"},
        {u"SELECT a FROM T WHERE x = \"it''s\" + 'it''s' AND y = #13/13/2000#", 3075,
         "Syntax error in date in query expression '#13/13/2000#'. (at position 53)"},
        {u"SELECT a FROM T WHERE x = #1/1/2000", 3075, "Syntax error in date"},
        {u"SELECT a FROM T WHERE x = 12ab", 3075, "Syntax error in number"},
        {u"SELECT a FROM T WHERE x = 1e", 3075, "Syntax error in number"},
        {u"SELECT a FROM T WHERE x = @y", 3075, "(at position 27)"},
        {u"SELECT a FROM T WHERE x Is 5", 3075, "(at position 28)"},
        {u"SELECT a FROM T WHERE a Between 1", 3075, "missing operator"},
        {u"SELECT Count(DISTINCT x) FROM T", 3075, "missing operator"},
        {u"SELECT a FROM T LIMIT 5", 3137, ""},
        {u"SELECT a FROM T WHERE b = 1 LIMIT 5", 3075, "missing operator"},
        {u"SELECT a FROM T; SELECT", 3142, "SELECT"},
        {u"SELECT FROM T", 3141, "position 8"},
        {u"SELECT a, FROM T", 3141, ""},
        {u"SELECT TOP 0 a FROM T", 3141, ""},
        {u"SELECT a FROM", 3131, "at the end"},
        {u"SELECT a FROM A JOIN B ON A.x = B.x", 3131, ""},
        {u"SELECT a FROM A INNER JOIN B", 3135, ""},
        {u"SELECT a FROM A INNER JOIN B ON A.x = B.x INNER JOIN C ON B.y = C.y", 3075, "missing operator"},
        {u"SELECT a FROM A FULL JOIN B ON A.x = B.x", 3131, ""},
        {u"SELECT a FROM Order", 3131, "Order"},
        {u"SELECT a AS Group FROM A", 3141, "Group"},
        {u"SELECT a FROM A WHERE", 3145, ""},
        {u"SELECT a FROM A GROUP a", 3132, ""},
        {u"SELECT a FROM A HAVING", 3133, ""},
        {u"SELECT a FROM A ORDER a", 3138, ""},
        {u"SELECT a FROM A IN path", 3131, ""},
        {u"SELECT x FROM A WHERE y IN (SELECT 1 UNION SELECT 2)", 3361, ""},
        {u"PARAMETERS p Texto; SELECT p", 3139, ""},
        {u"PARAMETERS p Text SELECT p", 3139, ""},
        {u"INSERT T VALUES (1)", 3134, ""},
        {u"INSERT INTO T VALUES 1", 3134, ""},
        {u"INSERT INTO T (a VALUES (1)", 3134, ""},
        {u"UPDATE T a = 1", 3144, ""},
        {u"UPDATE T SET a", 3144, ""},
        {u"UPDATE T SET a =", 3144, ""},
        {u"DELETE T", 3130, ""},
        {u"TRANSFORM Sum(a) FROM T", 3143, ""},
        {u"CREATE T", 3290, ""},
        {u"CREATE TABLE T", 3290, ""},
        {u"CREATE TABLE T (a)", 3292, ""},
        {u"CREATE TABLE T (a LONG PRIMARY)", 3292, ""},
        {u"CREATE INDEX i ON T", 3291, ""},
        {u"CREATE INDEX i ON T (a) WITH SPEED", 3291, ""},
        {u"ALTER TABLE T CHANGE a", 3293, ""},
        {u"DROP VIEW v", 3295, ""},
    };
    for (const Case& one : cases) {
        const std::string error = ErrorOf(one.sql);
        EXPECT_EQ(error.substr(0, 4), std::to_string(one.number)) << ToUtf8(one.sql) << " -> " << error;
        EXPECT_NE(error.find(one.part), std::string::npos) << ToUtf8(one.sql) << " -> " << error;
    }
}

TEST(Parser, SoundStatements)
{
    const char16_t* const sound[] = {
        u"select Primary, Name, Type, Value, Text, Level, Password, Index, Date, Key, Top, All, Yes, No, Percent from "
        u"Waarden",
        u"SELECT ALL a, b FROM T",
        u"SELECT Coëfficiënt, [met spatie], `ook zo`, Straße FROM Äpfel",
        u"SELECT * FROM (A INNER JOIN B ON A.x=B.x) LEFT JOIN (C RIGHT OUTER JOIN D ON C.y=D.y) ON A.z=C.z",
        u"SELECT * FROM A, (B INNER JOIN C ON B.x = C.x), [SELECT y FROM D]. AS E",
        u"SELECT a FROM T IN '' [;DATABASE=c:\\x.mdb;PWD=geheim] WHERE a = 1",
        u"INSERT INTO T IN 'p' SELECT a, b FROM T",
        u"INSERT INTO T (a, [b c]) IN 'p' VALUES (1, -2.5e3);",
        u"SELECT Naam.* INTO Naam IN 'Z:\\pad\\x.tmp' FROM Naam",
        u"UPDATE A INNER JOIN B ON A.x = B.x SET A.y = B.y, A.[z] = Null WHERE B.q Not In (1,2)",
        u"DELETE DISTINCTROW A.* FROM A INNER JOIN B ON A.x = B.x",
        u"SELECT a FROM T UNION ALL (SELECT b FROM U) UNION TABLE V ORDER BY 1 DESC",
        u"SELECT a FROM T WHERE EXISTS (SELECT 1 FROM U WHERE U.x = T.x) AND b > ALL (SELECT c FROM V) AND (SELECT "
        u"Max(d) FROM W) = 5",
        u"CREATE TABLE T (Id COUNTER CONSTRAINT PK PRIMARY KEY, Naam TEXT(50) NOT NULL, Prijs CURRENCY, Wie LONG "
        u"REFERENCES K (Id), "
        u"CONSTRAINT U UNIQUE (Naam, Prijs), CONSTRAINT F FOREIGN KEY (Wie) REFERENCES K)",
        u"CREATE UNIQUE INDEX i ON T (a, b DESC) WITH DISALLOW NULL",
        u"ALTER TABLE T ADD COLUMN x DOUBLE",
        u"ALTER TABLE T DROP CONSTRAINT PK;",
        u"DROP INDEX i ON T",
        u"TRANSFORM Sum(a) AS S SELECT b FROM T GROUP BY b PIVOT c & 'x' IN ('1x', '2x')",
        u"SELECT a FROM T WHERE Not a Like '*[!x]*' AND -b ^ 2 \\ 3 Mod 4 <> {guid "
        u"{00112233-4455-6677-8899-AABBCCDDEEFF}} Imp c Eqv d Xor e",
        u"SELECT Left(a,1), Right$(a,1), Mod FROM T",
    };
    for (const char16_t* sql : sound) {
        if (Text(sql).find(u", Mod FROM") != Text::npos)
            EXPECT_NE(ErrorOf(sql), "");
        else
            EXPECT_EQ(ErrorOf(sql), "") << ToUtf8(sql);
    }
}

TEST(Parser, PlacesOfOtherDatabases)
{
    struct Case
    {
        const char16_t* in;
        Text path, connect;
    };
    const Case cases[] = {
        {u"IN 'c:\\x.mdb'", u"c:\\x.mdb", u""},
        {u"IN \"c:\\it's.mdb\"", u"c:\\it's.mdb", u""},
        {u"IN '' [;DATABASE=c:\\x.mdb;PWD=p]", u"c:\\x.mdb", u";DATABASE=c:\\x.mdb;PWD=p"},
        {u"IN '' [MS Access;PWD=p;DATABASE=c:\\x.mdb]", u"c:\\x.mdb", u"MS Access;PWD=p;DATABASE=c:\\x.mdb"},
        {u"IN 'c:\\x.mdb' [;PWD=p]", u"c:\\x.mdb", u";PWD=p"},
        {u"IN 'c:\\x.mdb' ';PWD=p'", u"c:\\x.mdb", u";PWD=p"},
    };
    for (const Case& one : cases) {
        const SelectStatement from = ParseSelect(u"SELECT * FROM T " + Text(one.in));
        EXPECT_EQ(from.place, (Place{one.path, one.connect})) << ToUtf8(one.in);
        const SelectStatement into = ParseSelect(u"SELECT * INTO K " + Text(one.in) + u" FROM T");
        EXPECT_EQ(into.intoPlace, (Place{one.path, one.connect})) << ToUtf8(one.in);
        EXPECT_EQ(into.place, Place{});
    }
}

TEST(Parser, ColumnTypesAndSynonyms)
{
    const Statement statement = Parse(
        u"CREATE TABLE T (a INTEGER, b SHORT, c BYTE, d BIT, e YESNO, f DOUBLE PRECISION, g REAL, h MONEY, i DATETIME, "
        u"j VARCHAR(20), k TEXT, l "
        u"MEMO, m OLEOBJECT, n BINARY(8), o GUID, p AUTOINCREMENT, Date DATE)");
    const auto& create = std::get<CreateTableStatement>(statement);
    using enum ValueType;
    const ValueType types[] = {Long, Integer, Byte, Boolean,    Boolean, Double, Single, Currency, Date,
                               Text, Text,    Memo, LongBinary, Binary,  Guid,   Long,   Date};
    ASSERT_EQ(create.columns.size(), std::size(types));
    for (std::size_t i = 0; i < create.columns.size(); ++i)
        EXPECT_EQ(create.columns[i].type, types[i]) << ToUtf8(create.columns[i].name);
    EXPECT_EQ(create.columns[9].size, 20);
    EXPECT_EQ(create.columns[10].size, std::nullopt);
    EXPECT_TRUE(create.columns[15].autoNumber);
}

TEST(Parser, DepthIsAnErrorAndLengthIsNot)
{
    const std::size_t many = 20000;
    EXPECT_EQ(ErrorOf(u"SELECT " + Repeated(u"(", many) + u"1" + Repeated(u")", many)).substr(0, 4), "3360");
    EXPECT_EQ(ErrorOf(u"SELECT " + Repeated(u"-", many) + u"1").substr(0, 4), "3360");
    EXPECT_EQ(ErrorOf(u"SELECT " + Repeated(u"Not ", many) + u"1").substr(0, 4), "3360");
    EXPECT_EQ(ErrorOf(u"SELECT " + Repeated(u"Abs(", many) + u"1").substr(0, 4), "3360");
    EXPECT_EQ(ErrorOf(u"SELECT 1" + Repeated(u"+1", many)).substr(0, 4), "3360");
    EXPECT_EQ(ErrorOf(u"SELECT a FROM " + Repeated(u"(", many)).substr(0, 4), "3360");
    EXPECT_EQ(ErrorOf(Repeated(u"(SELECT a FROM T WHERE a IN ", many)).substr(0, 4), "3360");
    EXPECT_EQ(ErrorOf(u"SELECT a FROM " + Repeated(u"[SELECT a FROM ", 1000)).substr(0, 4), "3075");

    // SQLite would be busy for minutes.
    EXPECT_EQ(ErrorOf(u"SELECT a FROM T WHERE a = 1" + Repeated(u" OR a = 2", 5 * many)).substr(0, 4), "3360");
    EXPECT_EQ(ErrorOf(u"SELECT Choose(1" + Repeated(u", 1", 1000) + u")").substr(0, 4), "3360");

    EXPECT_EQ(ErrorOf(u"SELECT a FROM T WHERE a = 1" + Repeated(u" OR a = 2", many)), "");
    EXPECT_EQ(ErrorOf(u"SELECT a FROM T WHERE a IN (1" + Repeated(u",2", many) + u")"), "");
    EXPECT_EQ(ErrorOf(u"SELECT 'x'" + Repeated(u" & 'y'", many)), "");
    EXPECT_EQ(ErrorOf(u"SELECT '" + Repeated(u"x", 1 << 20) + u"'"), "");
    EXPECT_EQ(ErrorOf(u"SELECT " + Repeated(u"(", 90) + u"1" + Repeated(u")", 90)), "");
}

}  // namespace
}  // namespace vmlib::sql
