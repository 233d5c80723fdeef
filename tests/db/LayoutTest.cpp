#include <gmock/gmock.h>

#include "automation/ResumeNext.h"
#include "db/Building.h"
#include "db/ConversionTables.h"
#include "db/ErrorCodes.h"
#include "db/FakeEngine.h"
#include "db/LayoutCatalogue.h"

// How rows of a layout become objects of an engine: the statements that read them, and the grouping of the rows.
namespace vmlib::db::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using vmlib::test::FakeEngine;
using vmlib::test::FakeRow;

const char* const tablesSql =
    "layout: SELECT RecNr, FileType, TabelNaam, VeldNaam, VeldType, VeldLengte, VeldAttribuut, NulWaardeToegestaan "
    "FROM "
    "LayOut WHERE FileType = 'ORD' ORDER BY Tabelnaam & RecNr";
const char* const indexesSql =
    "layout: SELECT DISTINCT Indexen.FileType, Indexen.TabelNaam, Indexen.VeldNaam, IndexNaam, Primary, Uniek, "
    "Volgorde "
    "FROM Indexen RIGHT JOIN Layout ON Indexen.TabelNaam=Layout.TabelNaam WHERE Indexen.FileType = 'ORD' ORDER BY "
    "Indexen.TabelNaam, Indexen.IndexNaam, VolgOrde;";
const char* const relationsSql =
    "layout: SELECT FileType, RelatieNaam, TabelNaam1, TabelNaam2, VeldNaam1, VeldNaam2, Attribuut, Volgorde FROM "
    "Relaties "
    "WHERE FileType = 'ORD' ORDER BY TabelNaam1, RelatieNaam, VolgOrde";
const char* const queriesSql = "layout: SELECT * FROM Queries WHERE FileType = 'ORD'";
const char* const conversionSql = "layout: SELECT * FROM Layout WHERE FileType='ORD' ORDER BY TabelNaam";

FakeRow FieldRow(const Text& table, const Text& name, std::int16_t type = 4, std::int16_t length = 0,
                 bool zeroLength = false)
{
    return {{u"TabelNaam", table},
            {u"VeldNaam", name},
            {u"VeldType", type},
            {u"VeldLengte", length},
            {u"VeldAttribuut", std::int16_t{1}},
            {u"NulWaardeToegestaan", zeroLength}};
}

FakeRow IndexRow(const Text& table, const Variant& index, const Text& field, std::int16_t primary = 0,
                 std::int16_t unique = 0)
{
    return {
        {u"TabelNaam", table}, {u"IndexNaam", index}, {u"VeldNaam", field}, {u"Primary", primary}, {u"Uniek", unique}};
}

FakeRow RelationRow(const Text& table, const Variant& relation, const Text& foreignTable, const Text& field,
                    const Text& foreignField, std::int32_t attributes = 0)
{
    return {{u"TabelNaam1", table}, {u"RelatieNaam", relation},   {u"TabelNaam2", foreignTable},
            {u"VeldNaam1", field},  {u"VeldNaam2", foreignField}, {u"Attribuut", attributes}};
}

class LayoutTest : public testing::Test
{
protected:
    dao::Database Target() { return dao::Database(engine_->Database("doc")); }
    dao::Database Layout() { return dao::Database(engine_->Database("layout")); }

    /// What was done to the document, without the file's name.
    std::vector<std::string> Done(const std::vector<std::string>& wanted = {""})
    {
        std::vector<std::string> lines;
        for (const std::string& line : engine_->transcript) {
            if (!line.starts_with("doc: ")) continue;
            for (const std::string& part : wanted)
                if (line.find(part) != std::string::npos) {
                    lines.push_back(line.substr(5));
                    break;
                }
        }
        return lines;
    }

    std::shared_ptr<FakeEngine> engine_ = std::make_shared<FakeEngine>();
};

TEST_F(LayoutTest, ErrorTexts)
{
    const std::pair<int, std::string> cases[] = {
        {0, ""},
        {11, "Database LAYOUT.??? bevat geen tabel info"},
        {13,
         "Dit bestand moet geconverteerd worden, maar u heeft hiervoor geen rechten\r\nof het bestand is readonly."},
        {14, "Het bestand is in gebruik door een andere gebruiker.\r\nU wilt geen kopie maken."},
        {16, "Geen schrijfrechten in de directory"},
        {22, "De directory bestaat niet."},
        {23, "Bestand staat niet in de lijst met geopende bestanden"},
        {25, "Dit bestand is geen te herstellen bestand."},
        {26, "Het converteren van dit bestand is mislukt. Openen is niet mogelijk."},
        {27, "Onbekende fout. Fout: 27"},
        {-1, "Onbekende fout. Fout: -1"},
        {32767, "Onbekende fout. Fout: 32767"},
    };
    for (const auto& [code, text] : cases)
        EXPECT_EQ(ToUtf8(DBL_GetDatabaseError(static_cast<std::int16_t>(code))), text) << code;
}

TEST_F(LayoutTest, TablesAreBuiltFieldByField)
{
    const Text longName = u"EenVeldnaamVanEenendertigLetter";
    ASSERT_EQ(longName.size(), 31u);
    engine_->rows[tablesSql] = {FieldRow(u"Klanten", u"Naam  ", 10, 60, true),
                                FieldRow(u"Klanten", longName, 3, 2, true), FieldRow(u"KLANTEN", u"Notitie", 12)};
    MaakTabellen(Target(), Layout(), u" ORD ");
    EXPECT_THAT(Done(), ElementsAre("CreateTableDef", "TableDef1.Name = Klanten",  //
                                    "TableDef1.CreateField", "Field1.Name = Naam", "Field1.Type = 10",
                                    "Field1.Size = 60", "Field1.Attributes = 1", "Field1.AllowZeroLength = True",
                                    "TableDef1.Fields.Append Field1",  //
                                    "TableDef1.CreateField", "Field2.Name = EenVeldnaamVanEenendertigLette",
                                    "Field2.Type = 3", "Field2.Size = 2", "Field2.Attributes = 1",
                                    "TableDef1.Fields.Append Field2", "TableDefs.Append TableDef1",  //
                                    "CreateTableDef", "TableDef2.Name = KLANTEN", "TableDef2.CreateField",
                                    "Field3.Name = Notitie", "Field3.Type = 12", "Field3.Size = 0",
                                    "Field3.Attributes = 1", "Field3.AllowZeroLength = False",
                                    "TableDef2.Fields.Append Field3", "TableDefs.Append TableDef2"));
    EXPECT_EQ(engine_->transcript.back(), "layout: Close");
}

TEST_F(LayoutTest, FileTypeWithoutRows)
{
    for (const char* sql : {tablesSql, indexesSql, relationsSql, queriesSql}) engine_->rows[sql] = {};
    try {
        MaakTabellen(Target(), Layout(), u"ORD");
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), 3021);
    }
    MaakIndexen(u"ORD", Target(), Layout());
    MaakRelaties(u"ORD", Target(), Layout());
    MaakQueries(Target(), Layout(), u"ORD");
    EXPECT_THAT(Done(), IsEmpty());
}

TEST_F(LayoutTest, IndexRowsAreGrouped)
{
    struct Case
    {
        const char* reason;
        std::vector<FakeRow> rows;
        std::vector<std::string> built;  // "table: name (fields)"
    };
    const Case cases[] = {
        {"three fields in the order of the rows",
         {IndexRow(u"A", u"K", u"X"), IndexRow(u"A", u"k ", u"Y "), IndexRow(u"A", u"K", u"Z")},
         {"A: K (X;Y;Z)"}},
        {"two indexes of a table, then another table",
         {IndexRow(u"A", u"K", u"X"), IndexRow(u"A", u"L", u"Y"), IndexRow(u"B", u"L", u"Z")},
         {"A: K (X)", "A: L (Y)", "B: L (Z)"}},
        {"rows without a name count for nothing",
         {IndexRow(u"A", Null{}, u"X"), IndexRow(u"A", u"  ", u"X"), IndexRow(u"A", u"K", u"Y"),
          IndexRow(u"B", Null{}, u"X"), IndexRow(u"B", u"M", u"X")},
         {"A: K (Y)", "B: M (X)"}},
        {"a last table without names gets the list that is still held",
         {IndexRow(u"A", u"K", u"X"), IndexRow(u"B", Null{}, u"X")},
         {"A: K (X)", "B: K (X)"}},
        {"tables are told apart by case: two lists, though the engine finds one table",
         {IndexRow(u"A", u"K", u"X"), IndexRow(u"a", u"K", u"Y")},
         {"A: K (X)", "A: K (Y)"}},
    };
    for (const Case& c : cases) {
        engine_ = std::make_shared<FakeEngine>();
        for (const char16_t* table : {u"A", u"B"}) engine_->Database("doc")->AddTable(table, {});
        engine_->rows[indexesSql] = c.rows;
        MaakIndexen(u"ORD", Target(), Layout());
        std::vector<std::string> built;
        std::string name, fields;
        for (const std::string& line : Done()) {
            if (line.find(".Name = ") != std::string::npos) name = line.substr(line.find("= ") + 2);
            if (line.find(".Fields = ") != std::string::npos) fields = line.substr(line.find("= ") + 2);
            if (line.find(".Indexes.Append") != std::string::npos)
                built.push_back(line.substr(0, 1) + ": " + name + " (" + fields + ")");
        }
        EXPECT_EQ(built, c.built) << c.reason;
    }
}

TEST_F(LayoutTest, IndexProperties)
{
    engine_->Database("doc")->AddTable(u"A", {u"X"});
    engine_->rows[indexesSql] = {IndexRow(u"A", u"K", u"X", -1, 0), IndexRow(u"A", u"L", u"X", 0, 1)};
    MaakIndexen(u"ORD", Target(), Layout());
    EXPECT_THAT(Done(), ElementsAre("A.CreateIndex", "Index1.Name = K", "Index1.Fields = X", "Index1.Primary = True",
                                    "Index1.Unique = False", "A.Indexes.Append Index1",  //
                                    "A.CreateIndex", "Index2.Name = L", "Index2.Fields = X", "Index2.Primary = False",
                                    "Index2.Unique = True", "A.Indexes.Append Index2"));
}

TEST_F(LayoutTest, IndexOfATableThatIsNotInTheLayoutFails)
{
    engine_->rows[indexesSql] = {IndexRow(u"A", u"K", u"X")};
    EXPECT_THROW(MaakIndexen(u"ORD", Target(), Layout()), Error);
}

TEST_F(LayoutTest, RelationRowsAreGrouped)
{
    engine_->rows[relationsSql] = {
        RelationRow(u"A", Null{}, u"B", u"X", u"X"),  // names no relation
        RelationRow(u"A", u"R1", u"B", u"X", u"BX", 4096), RelationRow(u"A", u"R1", u"B", u"Y", u"BY", 4096),
        RelationRow(u"A", u"R2", u"C", u"X", u"CX"),  //
        RelationRow(u"B", u"R2", u"C", u"Z", u"CZ"),  // the same name at another table
    };
    MaakRelaties(u"ORD", Target(), Layout());
    const std::string pad(38, ' ');
    EXPECT_THAT(Done(),
                ElementsAre("CreateRelation [R1" + pad + "]", "Relation1.Table = A", "Relation1.ForeignTable = B",
                            "Relation1.Attributes = 4096", "Relation1.CreateField [X]", "Field1.ForeignName = BX",
                            "Relation1.Fields.Append Field1", "Relation1.CreateField [Y]", "Field2.ForeignName = BY",
                            "Relation1.Fields.Append Field2", "Relations.Append Relation1",  //
                            "CreateRelation [R2" + pad + "]", "Relation2.Table = A", "Relation2.ForeignTable = C",
                            "Relation2.Attributes = 0", "Relation2.CreateField [X]", "Field3.ForeignName = CX",
                            "Relation2.Fields.Append Field3", "Relations.Append Relation2",  //
                            "CreateRelation [R2" + pad + "]", "Relation3.Table = B", "Relation3.ForeignTable = C",
                            "Relation3.Attributes = 0", "Relation3.CreateField [Z]", "Field4.ForeignName = CZ",
                            "Relation3.Fields.Append Field4", "Relations.Append Relation3"));
}

TEST_F(LayoutTest, QueriesKeepTheirPaddedNames)
{
    engine_->rows[queriesSql] = {
        {{u"QueryNaam", u"Omzet"}, {u"QueryParameters", u"PARAMETERS p Long; "}, {u"QueryInhoud", u"SELECT p"}},
        {{u"QueryNaam", u"EenNaamVanMeerDanTwintig"}, {u"QueryParameters", u""}, {u"QueryInhoud", u"SELECT 1"}}};
    MaakQueries(Target(), Layout(), u"ORD");
    EXPECT_THAT(Done(),
                ElementsAre("CreateQueryDef [Omzet               ]", "QueryDef1.SQL = PARAMETERS p Long; SELECT p",
                            "QueryDef1.Close", "CreateQueryDef [EenNaamVanMeerDanTwi]", "QueryDef2.SQL = SELECT 1",
                            "QueryDef2.Close"));
}

TEST_F(LayoutTest, ConversionBuildsTablesFromTheRowsAsTheyCome)
{
    engine_->rows[conversionSql] = {FieldRow(u"A", u"X "), FieldRow(u"B", u"Y"), FieldRow(u"A", u"x"),
                                    FieldRow(u"A", u"X")};
    BuildConvertedTables(Target(), Layout(), u"ORD");
    EXPECT_THAT(Done({"Create", "Append"}),
                ElementsAre("CreateTableDef [A]", "TableDef1.CreateField [X]", "TableDef1.Fields.Append Field1",
                            "TableDefs.Append TableDef1", "CreateTableDef [B]", "TableDef2.CreateField [Y]",
                            "TableDef2.Fields.Append Field2", "TableDefs.Append TableDef2",
                            // a table that is there takes what it has not: x is not X
                            "TableDef1.CreateField [x]", "TableDef1.Fields.Append Field3"));
}

TEST_F(LayoutTest, ConversionSkipsWhatFails)
{
    engine_->rows[conversionSql] = {
        FieldRow(u"A", u"X"), FieldRow(u"A", u"Y"), {{u"TabelNaam", u"A"}}, FieldRow(u"B", u"Z")};
    engine_->failures = {{"doc: TableDef1.CreateField [X]", 3125}, {"doc: TableDefs.Append TableDef1", 3010}};
    BuildConvertedTables(Target(), Layout(), u"ORD");
    EXPECT_THAT(Done({"Append", "Type"}),
                ElementsAre("Field2.Type = 4", "TableDef1.Fields.Append Field2", "Field3.Type = 4",
                            "TableDef2.Fields.Append Field3", "TableDefs.Append TableDef2"));
}

TEST_F(LayoutTest, ConversionEndsAtTroubleThatTakesRowsAlong)
{
    struct Case
    {
        const char* reason;
        std::int32_t number;
        bool ends;
    };
    const Case cases[] = {
        {"disk full", 3026, true},
        {"database full", 3036, true},
        {"input or output", 3043, true},
        {"locked by another", 3187, true},
        {"damaged page", 3428, true},
        {"out of memory", 7, true},
        {"a name that is a word", 3134, false},
        {"a field that is not there", 3127, false},
        {"too few parameters", 3061, false},
    };
    for (const Case& c : cases) {
        for (const char* failing : {"layout: query", "doc: TableDefs.Append", "old: Execute"}) {
            SCOPED_TRACE(std::string(c.reason) + ", " + failing);
            engine_ = std::make_shared<FakeEngine>();
            engine_->rows[conversionSql] = {FieldRow(u"A", u"X"), FieldRow(u"B", u"X")};
            engine_->Database("old")->AddTable(u"A", {u"X"});
            engine_->Database("doc")->AddTable(u"A", {u"X"});
            engine_->failures = {{failing, c.number}};
            const auto error = ResumeNext([&] {
                BuildConvertedTables(Target(), Layout(), u"ORD");
                CopyConvertedData(dao::Database(engine_->Database("old")), Target(), u"C:\\ConKopie.tmp");
            });
            EXPECT_EQ(error ? error->Number() : 0, c.ends ? c.number : 0);
        }
    }
}

TEST_F(LayoutTest, ConversionCopiesCommonFields)
{
    const auto source = engine_->Database("old");
    source->AddTable(u"A", {u"naam", u"Weg", u"Nr"});
    source->AddTable(u"b", {u"Nr"});
    source->AddTable(u"C", {u"Nr"});
    const auto target = engine_->Database("doc");
    target->AddTable(u"C", {u"Anders"});
    target->AddTable(u"B", {u"Nr"});
    target->AddTable(u"A", {u"Nr", u"Nieuw", u"Naam"});
    CopyConvertedData(dao::Database(source), Target(), u"C:\\t's\\ConKopie.tmp");
    EXPECT_THAT(engine_->transcript,
                ElementsAre("old: Execute INSERT INTO A IN 'C:\\t''s\\ConKopie.tmp' SELECT Nr, Naam FROM A"));
}

}  // namespace
}  // namespace vmlib::db::test
