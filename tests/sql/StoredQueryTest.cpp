// Stored queries both ways. Rows are written as "attribute.order N1=.. N2=.. E=.. F=..", without the start and end
// rows.

#include <gtest/gtest.h>

#include "core/Error.h"
#include "sql/StoredQuery.h"

namespace vmlib::sql {
namespace {

std::string Print(const std::vector<ClauseRow>& rows)
{
    std::string text;
    const auto field = [&](const char* name, const std::optional<Text>& value) {
        if (value) text += std::string(" ") + name + "=" + ToUtf8(*value);
    };
    for (const ClauseRow& row : rows) {
        if (row.attribute == 0 || row.attribute == 255) continue;
        text += std::to_string(row.attribute) + "." + std::to_string(row.order.value_or(0));
        field("N1", row.name1);
        field("N2", row.name2);
        field("E", row.expression);
        if (row.flag) text += " F=" + std::to_string(*row.flag);
        text += "\n";
    }
    return text;
}

struct Case
{
    const char16_t* sql;
    std::int32_t type;
    const char* rows;
    const char16_t* text;  // as DAO gives it back
};

const Case cases[] = {
    {u"SELECT Naam, Plaats AS Stad FROM Klanten WHERE Id > 1 ORDER BY Naam DESC", 0,
     "6.1 E=Naam F=0\n6.2 N1=Stad E=Plaats F=0\n5.1 N1=Klanten\n8.1 E=Id > 1\n11.1 N1=d E=Naam\n",
     u"SELECT Naam, Plaats AS Stad\r\nFROM Klanten\r\nWHERE Id > 1\r\nORDER BY Naam DESC;\r\n"},
    {u"PARAMETERS [De stad] Text, Vanaf DateTime; SELECT * FROM Klanten WHERE Plaats=[De stad]", 0,
     "2.1 N1=[De stad] F=10\n2.2 N1=Vanaf F=8\n5.1 N1=Klanten\n8.1 E=Plaats=[De stad]\n3.1 F=1\n",
     u"PARAMETERS [De stad] Text, Vanaf DateTime;\r\nSELECT *\r\nFROM Klanten\r\nWHERE Plaats=[De stad];\r\n"},
    {u"SELECT DISTINCT TOP 5 k.Naam, Sum(r.Bedrag) AS Som FROM (Klanten AS k INNER JOIN [Order kop] AS o ON k.Id = "
     u"o.Klant) LEFT JOIN Regels AS r "
     u"ON (o.Id = r.Kop) AND (o.Jaar = r.Jaar) GROUP BY k.Naam HAVING Sum(r.Bedrag)>0",
     0,
     "6.1 E=k.Naam F=0\n6.2 N1=Som E=Sum(r.Bedrag) F=0\n"
     "7.1 N1=k N2=o E=k.Id = o.Klant F=1\n7.2 N1=o N2=r E=o.Jaar = r.Jaar F=2\n7.3 N1=o N2=r E=o.Id = r.Kop F=2\n"
     "5.1 N1=Klanten N2=k\n5.2 N1=Order kop N2=o\n5.3 N1=Regels N2=r\n9.1 E=k.Naam F=0\n10.1 E=Sum(r.Bedrag)>0\n3.1 "
     "N1=5 F=18\n",
     u"SELECT DISTINCT TOP 5 k.Naam, Sum(r.Bedrag) AS Som\r\nFROM (Klanten AS k INNER JOIN [Order kop] AS o ON k.Id = "
     u"o.Klant) LEFT JOIN Regels AS "
     u"r ON (o.Id = r.Kop) AND (o.Jaar = r.Jaar)\r\nGROUP BY k.Naam\r\nHAVING Sum(r.Bedrag)>0;\r\n"},
    {u"INSERT INTO Archief ( Id, [Volle naam] ) SELECT Id, Naam FROM Klanten", 64,
     "1.1 N1=Archief F=3\n6.1 N2=Id E=Id F=0\n6.2 N2=Volle naam E=Naam F=0\n5.1 N1=Klanten\n",
     u"INSERT INTO Archief ( Id, [Volle naam] )\r\nSELECT Id, Naam\r\nFROM Klanten;\r\n"},
    {u"INSERT INTO Archief (Id, Naam) VALUES (1, 'a, b')", 64,
     "1.1 N1=Archief F=3\n6.1 N2=Id E=1 F=-32768\n6.2 N2=Naam E='a, b' F=-32768\n",
     u"INSERT INTO Archief ( Id, Naam )\r\nVALUES (1, 'a, b');\r\n"},
    {u"UPDATE Klanten SET Plaats = 'Gouda' WHERE Id = 3", 48,
     "1.1 F=4\n6.1 N2=Plaats E='Gouda' F=0\n5.1 N1=Klanten\n8.1 E=Id = 3\n",
     u"UPDATE Klanten SET Plaats = 'Gouda'\r\nWHERE Id = 3;\r\n"},
    {u"DELETE * FROM Klanten WHERE Id < 0", 32, "1.1 F=5\n5.1 N1=Klanten\n8.1 E=Id < 0\n3.1 F=1\n",
     u"DELETE *\r\nFROM Klanten\r\nWHERE Id < 0;\r\n"},
    {u"SELECT Id, Naam INTO Kopie IN 'c:\\b.mdb' FROM Klanten", 80,
     "1.1 N1=Kopie N2=c:\\b.mdb F=2\n6.1 E=Id F=0\n6.2 E=Naam F=0\n5.1 N1=Klanten\n",
     u"SELECT Id, Naam INTO Kopie IN 'c:\\b.mdb'\r\nFROM Klanten;\r\n"},
    {u"SELECT Id FROM A UNION ALL SELECT Id FROM B UNION SELECT Id FROM C ORDER BY Id", 128,
     "1.1 F=9\n5.1 N2=X7YZ_____1 E=SELECT Id FROM A UNION ALL SELECT Id FROM B \n5.2 N2=X7YZ_____2 E=SELECT Id FROM "
     "C\n11.1 E=Id\n3.1 F=3\n",
     u"SELECT Id FROM A UNION ALL SELECT Id FROM B UNION SELECT Id FROM C\r\nORDER BY Id;\r\n"},
    {u"TRANSFORM Sum(Bedrag) SELECT Klant FROM Orders GROUP BY Klant PIVOT Soort IN ('a','b')", 16,
     "1.1 F=6\n6.1 E=Sum(Bedrag) F=0\n6.2 E=Klant F=2\n6.3 E=Soort IN ('a','b') F=1\n5.1 N1=Orders\n9.1 E=Klant "
     "F=2\n9.2 E=Soort F=1\n",
     u"TRANSFORM Sum(Bedrag)\r\nSELECT Klant\r\nFROM Orders\r\nGROUP BY Klant\r\nPIVOT Soort IN ('a','b');\r\n"},
    {u"SELECT DISTINCTROW t.*, Id FROM [Order kop] IN 'd:\\x.mdb' WITH OWNERACCESS OPTION;", 0,
     "6.1 E=t.* F=0\n6.2 E=Id F=0\n5.1 N1=Order kop\n4.1 N1=d:\\x.mdb\n3.1 F=12\n",
     u"SELECT DISTINCTROW t.*, Id\r\nFROM [Order kop] IN 'd:\\x.mdb'\r\nWITH OWNERACCESS OPTION;\r\n"},
    {u"SELECT q.Id FROM (SELECT Id FROM A WHERE (Id > 1)) AS q, B WHERE ((([q].[Id])=1))", 0,
     "6.1 E=q.Id F=0\n5.1 N2=q E=SELECT Id FROM A WHERE (Id > 1)\n5.2 N1=B\n8.1 E=((([q].[Id])=1))\n",
     u"SELECT q.Id\r\nFROM (SELECT Id FROM A WHERE (Id > 1)) AS q, B\r\nWHERE ((([q].[Id])=1));\r\n"},
};

TEST(StoredQueries, TextToRowsAndBack)
{
    for (const Case& one : cases) {
        const ClauseRows clauses = ToClauses(one.sql);
        EXPECT_EQ(clauses.type, one.type) << ToUtf8(one.sql);
        EXPECT_EQ(Print(clauses.rows), one.rows) << ToUtf8(one.sql);
        EXPECT_EQ(clauses.rows[0].attribute, 0);
        EXPECT_EQ(clauses.rows[1].attribute, 255);
        EXPECT_EQ(ToUtf8(ToText(clauses.type, clauses.rows)), ToUtf8(one.text)) << ToUtf8(one.sql);
    }
}

TEST(StoredQueries, ItsOwnTextGivesTheSameRows)
{
    for (const Case& one : cases) EXPECT_EQ(Print(ToClauses(one.text).rows), one.rows) << ToUtf8(one.text);
}

TEST(StoredQueries, DefinitionsStayTextWithAZeroBehind)
{
    const ClauseRows clauses = ToClauses(u"CREATE TABLE T (a LONG)");
    EXPECT_EQ(clauses.type, 96);
    ASSERT_EQ(clauses.rows.size(), 3U);
    EXPECT_EQ(clauses.rows[2].flag, 7);
    EXPECT_EQ(clauses.rows[2].expression, Text(u"CREATE TABLE T (a LONG)") + u'\0');
    EXPECT_EQ(ToText(96, clauses.rows), u"CREATE TABLE T (a LONG)");
}

TEST(StoredQueries, WithoutTextThereAreTwoRows)
{
    const ClauseRows clauses = ToClauses(u"");
    EXPECT_EQ(clauses.rows.size(), 2U);
    EXPECT_EQ(ToText(clauses.type, clauses.rows), u"");
}

ClauseRow Row(std::uint8_t attribute, std::uint32_t order, std::optional<Text> name1, std::optional<Text> name2,
              std::optional<Text> expression, std::optional<std::int16_t> flag)
{
    ClauseRow row;
    row.attribute = attribute;
    row.order = order;
    row.name1 = std::move(name1);
    row.name2 = std::move(name2);
    row.expression = std::move(expression);
    row.flag = flag;
    return row;
}

/// What Access stores and a program does not: bare parameter names, an options row without bits, D, type row 1.
TEST(StoredQueries, DesignersRows)
{
    const std::optional<Text> no;
    const std::vector<ClauseRow> rows = {
        Row(11, 1, u"D", no, u"[A].[Year]", {}),
        Row(0, 1, no, no, no, 0),
        Row(1, 1, no, no, no, 1),
        Row(2, 1, u"Forms!My Form!Box", no, no, 8),
        Row(3, 1, no, no, no, 0),
        Row(5, 1, u"Year", no, no, {}),
        Row(5, 2, u"Order Details", u"A", no, {}),
        Row(5, 3, u"Los", no, no, {}),
        Row(6, 1, u"Group", no, u"[A].[Year]", 0),
        Row(7, 1, u"Year", u"A", u"[Year].[Id] = [A].[Id]", 1),
        Row(255, 1, no, no, no, {}),
    };
    EXPECT_EQ(ToUtf8(ToText(0, rows)),
              "PARAMETERS Forms![My Form]!Box DateTime;\r\nSELECT [A].[Year] AS [Group]\r\nFROM Los, [Year] INNER JOIN "
              "[Order Details] AS A ON "
              "[Year].[Id] = [A].[Id]\r\nORDER BY [A].[Year] DESC;\r\n");
}

TEST(StoredQueries, AJoinOfEqualNamesIsRefused)
{
    try {
        ToClauses(u"SELECT A.x FROM A INNER JOIN A ON A.x = A.y");
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), 3296);
    }
}

TEST(StoredQueries, DamagedRowsAreRefused)
{
    const std::optional<Text> no;
    const std::vector<ClauseRow> damaged[] = {
        {Row(1, 1, no, no, no, 42)},
        {Row(5, 1, no, no, no, {}), Row(3, 1, no, no, no, 1)},
        {Row(5, 1, u"A", no, no, {})},
        {Row(5, 1, u"A", no, no, {}), Row(6, 1, no, no, u"x", 0), Row(7, 1, u"A", u"Weg", u"A.x = Weg.x", 1)},
        {Row(5, 1, u"A", no, no, {}), Row(5, 2, u"B", no, no, {}), Row(6, 1, no, no, u"x", 0),
         Row(7, 1, u"A", u"B", u"A.x = B.x", 9)},
        {Row(1, 1, no, no, no, 9), Row(5, 1, no, u"X7YZ_____1", u"SELECT 1 ", {})},
        {Row(3, 1, u"vijf", no, no, 0x11), Row(5, 1, u"A", no, no, {})},
        {Row(2, 1, u"p", no, no, 99), Row(3, 1, no, no, no, 1), Row(5, 1, u"A", no, no, {})},
        {Row(1, 1, no, no, no, 7)},
    };
    for (const auto& rows : damaged) {
        try {
            ADD_FAILURE() << ToUtf8(ToText(0, rows));
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), 3340) << Print(rows);
        }
    }
}

}  // namespace
}  // namespace vmlib::sql
