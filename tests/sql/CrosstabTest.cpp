// TRANSFORM ... PIVOT over the sample's orders.

#include <gtest/gtest.h>

#include "Sample.h"
#include "core/Error.h"

namespace vmlib::sql {
namespace {

class Crosstabs : public testing::Test
{
protected:
    std::string Names(TextView sql)
    {
        std::string names;
        for (const OutputColumn& column : sample_.Run(sql).translation.columns)
            names += (names.empty() ? "" : "|") + ToUtf8(column.name);
        return names;
    }
    Sample sample_;
};

TEST_F(Crosstabs, ColumnsAndRows)
{
    const struct
    {
        const char16_t *transform, *pivot;
        const char *names, *rows;
    } cases[] = {
        {u"TRANSFORM Sum(Bedrag) SELECT Klant, Count(*) AS N FROM Orders GROUP BY Klant", u"UCase(Soort)",
         "Klant|N|<>|A|B", "1,2,Null,10$,20$; 2,1,Null,5$,Null; 9,1,Null,Null,Null"},
        {u"TRANSFORM Count(*) SELECT Klant FROM Orders GROUP BY Klant", u"Datum", "Klant|<>|1/1/2000|1/2/2000|1/3/2000",
         "1,Null,1,1,Null; 2,Null,Null,Null,1; 9,1,Null,Null,Null"},
        {u"TRANSFORM Count(Nr) SELECT Klant FROM Orders GROUP BY Klant", u"Bedrag / 8", "Klant|<>|0_625|1_25|2_5",
         "1,Null,Null,1,1; 2,Null,1,Null,Null; 9,1,Null,Null,Null"},
        {u"TRANSFORM First(Nr) SELECT Klant FROM Orders GROUP BY Klant ORDER BY Klant DESC", u"Klant", "Klant|1|2|9",
         "9,Null,Null,13; 2,Null,12,Null; 1,10,Null,Null"},
        // Where a cell has no rows its aggregates are Null.
        {u"TRANSFORM IIf(IsNull(Sum(Bedrag)), 0, Sum(Bedrag)) SELECT Nr > 11 AS Laat FROM Orders GROUP BY Nr > 11",
         u"Klant", "Laat|1|2|9", "True,0$,5$,0$; False,30$,0$,0$"},
        // An IN list gives the columns; the totals count all rows.
        {u"TRANSFORM Sum(Bedrag) SELECT Klant, Sum(Bedrag) AS S FROM Orders GROUP BY Klant", u"Soort IN ('b', 'x.[y]')",
         "Klant|S|b|x__y_", "1,30$,20$,Null; 2,5$,Null,Null; 9,Null,Null,Null"},
        {u"TRANSFORM Count(*) SELECT 1 AS E FROM Orders GROUP BY 1", u"Klant IN (9, '1', 2.5, '<>')", "E|9|1|2_5|<>",
         "1,1,2,Null,Null"},
        {u"TRANSFORM Count(*) SELECT 1 AS E FROM Orders GROUP BY 1", u"CStr(Nr / 8) IN (1.5, 2.5)", "E|1_5|2_5",
         "1,1,Null"},
        {u"TRANSFORM Count(*) SELECT Soort IS NULL AS Leeg FROM Orders GROUP BY Soort IS NULL",
         u"IIf(Nr = 10, 'tekst', Nr)", "Leeg|11|12|13|tekst", "True,Null,Null,1,Null; False,1,1,Null,1"},
    };
    for (const auto& one : cases) {
        const Text sql = Text(one.transform) + u" PIVOT " + one.pivot;
        EXPECT_EQ(Names(sql), one.names) << ToUtf8(sql);
        EXPECT_EQ(sample_.Rows(sql), one.rows) << ToUtf8(sql);
    }
}

TEST_F(Crosstabs, AsSourceAndWithParameters)
{
    sample_.AddQuery(u"Kruis",
                     u"PARAMETERS grens Currency; TRANSFORM Sum(Bedrag) SELECT Klant FROM Orders "
                     u"WHERE Bedrag >= [grens] GROUP BY Klant PIVOT UCase(Soort);");
    const std::map<Text, Variant> ten{{u"grens", Currency{100000}}}, five{{u"grens", Currency{50000}}};
    EXPECT_EQ(sample_.Rows(u"SELECT * FROM Kruis", ten), "1,10$,20$");
    EXPECT_EQ(sample_.Rows(u"SELECT * FROM Kruis", five), "1,10$,20$; 2,5$,Null");
    EXPECT_EQ(sample_.Rows(u"SELECT Naam, [A] + [B] FROM Klanten INNER JOIN Kruis ON Klanten.Id = Kruis.Klant "
                           u"WHERE [B] > 1",
                           five),
              "Jansen,30$");
    EXPECT_EQ(sample_.ErrorOf(u"SELECT * FROM Kruis"), 3061);
    sample_.AddQuery(u"KruisKring", u"TRANSFORM Count(*) SELECT Klant FROM KruisKring GROUP BY Klant PIVOT Klant");
    EXPECT_EQ(sample_.ErrorOf(u"SELECT * FROM KruisKring"), 3102);
}

TEST_F(Crosstabs, Errors)
{
    Text list = u"'0'";
    for (int i = 1; i < 255; ++i) list += u",'" + Decimal(i) + u"'";
    const Text sum = u"TRANSFORM Sum(Bedrag) SELECT Klant FROM Orders ";
    const struct
    {
        Text sql;
        int number;
    } cases[] = {
        {sum + u"GROUP BY Klant PIVOT Kleur", 3070},
        {sum + u"WHERE Nr > [grens] GROUP BY Klant PIVOT Soort", 3070},
        {sum + u"GROUP BY Klant PIVOT Soort IN (Rood)", 3070},
        {sum + u"GROUP BY Klant PIVOT Soort IN (SELECT Plaats FROM Klanten)", 3143},
        {sum + u"GROUP BY Klant PIVOT Klant IN ('x')", 3464},
        {sum + u"GROUP BY Klant PIVOT Soort IN (" + list + u")", 3205},
        {sum + u"GROUP BY Klant PIVOT Soort IN ('A', 'a')", 3062},
        {sum + u"GROUP BY Klant PIVOT", 3143},
        {sum + u"GROUP BY Klant", 3143},
        {sum + u"PIVOT Soort", 3143},
        {sum + u"GROUP BY Klant HAVING Count(*) > 1 PIVOT Soort", 3143},
        {u"TRANSFORM Sum(Bedrag) SELECT DISTINCT Klant FROM Orders GROUP BY Klant PIVOT Soort", 3143},
        {u"TRANSFORM Sum(Bedrag) SELECT TOP 1 Klant FROM Orders GROUP BY Klant PIVOT Soort", 3143},
        {u"TRANSFORM Bedrag SELECT Klant FROM Orders GROUP BY Klant PIVOT Soort", 3122},
        {u"TRANSFORM Sum(Bedrag) SELECT Nr FROM Orders GROUP BY Klant PIVOT Soort", 3122},
        {u"TRANSFORM Count(*) SELECT Id FROM Klanten GROUP BY Id PIVOT Opmerking", 3119},
        {u"SELECT * FROM (TRANSFORM Count(*) SELECT Id FROM Klanten GROUP BY Id PIVOT Id)", 3131},
    };
    for (const auto& one : cases) EXPECT_EQ(sample_.ErrorOf(one.sql), one.number) << ToUtf8(one.sql);
}

}  // namespace
}  // namespace vmlib::sql
