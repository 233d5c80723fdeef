// CompactDatabase and RepairDatabase, as hosts call them.

#include "engine/EngineFixture.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class MaintenanceTest : public EngineTest
{
protected:
    void MakeDocument(TextView password)
    {
        const ObjectRef database = Create(u"a.mdb", password.empty() ? Text() : u";pwd=" + Text(password));
        MakeTable(database, u"P", {{u"Id", 4, 0, 17}, {u"Naam", 10, 200}});
        MakeIndex(database, u"P", u"PK", u"Id", true, true);
        MakeTable(database, u"K", {{u"PId", 4}, {u"Noot", 12}});
        MakeRelation(database, u"PnaarK", u"P", u"Id", u"K", u"PId", 4096);
        for (int i = 1; i <= 60; ++i) {
            Execute(database, u"INSERT INTO P (Naam) VALUES ('" + Text(150, u'n') + u"')", 128);
            Execute(database, u"INSERT INTO K VALUES (" + Decimal(i) + u", 'noot')", 128);
        }
        Execute(database, u"DELETE FROM P WHERE Id > 50", 128);
        Call(database, u"CreateQueryDef", u"Namen", u"SELECT Naam FROM P;");
        Call(database, u"Close");
    }
    std::int32_t Compact(TextView locale, std::int32_t options, TextView sourceLocale)
    {
        return ErrorOf([&] {
            Call(Engine(), u"CompactDatabase", folder_.Path(u"a.mdb"), folder_.Path(u"b.mdb"), locale, options,
                 sourceLocale);
        });
    }
    std::vector<std::string> Errors()
    {
        std::vector<std::string> texts;
        const ObjectRef errors = ToObject(Get(Engine(), u"Errors"));
        for (std::int32_t i = 0; i < ToLong(Get(errors, u"Count")); ++i) {
            const ObjectRef error = ToObject(Get(errors, u"Item", i));
            texts.push_back(std::to_string(ToLong(Get(error, u"Number"))) + " " +
                            ToUtf8(ToText(Get(error, u"Description"))));
        }
        return texts;
    }
};

TEST_F(MaintenanceTest, CompactDatabaseTakesAllFormsOfItsArguments)
{
    const TextView general = u";LANGID=0x0409;CP=1252;COUNTRY=0";
    const struct
    {
        const char* reason;
        Text locale;
        std::int32_t options;
        TextView sourceLocale;
        std::int32_t error;
        TextView opens;
        std::int32_t order;
    } cases[] = {
        {"locale without password keeps it", Text(general), 0, u";pwd=geheim", 0, u"geheim", 1033},
        {"a new password alone keeps the locale", u";pwd=nieuw", 32, u";pwd=geheim", 0, u"nieuw", 1043},
        {"an empty password takes it away", Text(general) + u";PWD=", 4, u";PWD=geheim", 0, u"", 1033},
        {"nothing but the source's password", u"", 0, u";pwd=geheim", 0, u"geheim", 1043},
        {"the locale's password opens the source", Text(dutchLocale) + u";pwd=geheim", 0, u"", 0, u"geheim", 1043},
        {"wrong password", u"", 0, u";pwd=Geheim", 3031, u"", 0},
        {"no password", u"", 0, u"", 3031, u"", 0},
        {"password in another form", u"", 0, u"geheim", 3170, u"", 0},
        {"encryption", u"", 2, u";pwd=geheim", 3251, u"", 0},
        {"another version", u"", 64, u";pwd=geheim", 3343, u"", 0},
        {"no locale", u"Dutch", 0, u";pwd=geheim", 3424, u"", 0},
    };
    MakeDocument(u"geheim");
    for (const auto& each : cases) {
        SCOPED_TRACE(each.reason);
        ASSERT_EQ(Compact(each.locale, each.options, each.sourceLocale), each.error);
        if (each.error != 0) {
            EXPECT_FALSE(Platform().files.Exists(folder_.Path(u"b.mdb")));
            continue;
        }
        {
            const ObjectRef database = Open(u"b.mdb", false, false, each.opens);
            EXPECT_EQ(ToLong(Get(database, u"CollatingOrder")), each.order);
            EXPECT_THAT(Rows(database, u"SELECT Count(*), Max(Id) FROM P"), ElementsAre("50|50"));
            EXPECT_THAT(Rows(database, u"SELECT Count(*) FROM Namen"), ElementsAre("50"));
            EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO K VALUES (99, 'wees')", 128); }), 3201);
            Execute(database, u"INSERT INTO P (Naam) VALUES ('volgende')", 128);
            EXPECT_THAT(Rows(database, u"SELECT Max(Id) FROM P"), ElementsAre("51"));
            Call(database, u"Close");
        }
        Platform().files.Delete(folder_.Path(u"b.mdb"));
    }
}

TEST_F(MaintenanceTest, FilesInUseAreRefused)
{
    MakeDocument(u"");
    const ObjectRef database = Open(u"a.mdb");
    EXPECT_EQ(Compact(u"", 0, u""), 3196);
    EXPECT_EQ(ErrorOf([&] { Call(Engine(), u"RepairDatabase", folder_.Path(u"a.mdb")); }), 3196);
    Call(database, u"Close");
    EXPECT_EQ(ErrorOf([&] { Call(Engine(), u"RepairDatabase", folder_.Path(u"geen.mdb")); }), 3024);
}

TEST_F(MaintenanceTest, RepairTellsItsLossesInErrors)
{
    MakeDocument(u"geheim");
    EXPECT_EQ(ErrorOf([&] { Call(Engine(), u"RepairDatabase", folder_.Path(u"geen.mdb")); }), 3024);
    Call(Engine(), u"RepairDatabase", folder_.Path(u"a.mdb"));
    EXPECT_THAT(Errors(), IsEmpty());

    // One page of rows of P.
    std::string file = folder_.Read("a.mdb");
    const std::size_t row = file.find(std::string(150, 'n'), file.size() / 2);
    const std::size_t page = row / jet::pageSize * jet::pageSize;
    file.replace(page, jet::pageSize, jet::pageSize, '\0');
    folder_.Write("a.mdb", file);
    EXPECT_EQ(ErrorOf([&] { Call(Engine(), u"RepairDatabase", folder_.Path(u"a.mdb")); }), 0);
    const auto errors = Errors();
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_THAT(errors[1], HasSubstr("3428 K: relation PnaarK is no longer enforced"));
    const ObjectRef database = Open(u"a.mdb", false, false, u"geheim");
    const std::int32_t left = std::stoi(Rows(database, u"SELECT Count(*) FROM P")[0]);
    EXPECT_THAT(errors[0], HasSubstr("3428 P: lost " + std::to_string(50 - left) + " rows, 1 page;"));
    EXPECT_THAT(Rows(database, u"SELECT Count(*) FROM K"), ElementsAre("50"));
    Call(database, u"Close");

    folder_.Write("a.mdb", std::string(9000, '?'));
    EXPECT_EQ(ErrorOf([&] { Call(Engine(), u"RepairDatabase", folder_.Path(u"a.mdb")); }), 3343);
}

TEST_F(MaintenanceTest, TextThatFormat3CannotHoldIsToldAndNeverReplaced)
{
    VMLIB_GENUINE_FILE(genuine, "test2V2000.mdb");
    std::string file = ReadNative(genuine);
    const std::string title = "\xFF\xFEProject1";  // a compressed text becomes one in UTF-16, as long
    const std::size_t at = file.find(title);
    ASSERT_NE(at, std::string::npos);
    file.replace(at, title.size(),
                 std::string("\xA9\x03\x16\x04\x9E\x8A"
                             "a\0!\0",
                             title.size()));
    folder_.Write("a.mdb", file);
    const ObjectRef wide = Open(u"a.mdb", false, true);
    EXPECT_EQ(ToText(Field(Records(wide, u"SELECT PROJ_PROP_TITLE FROM MSP_PROJECTS"), u"PROJ_PROP_TITLE")),
              u"\u03A9\u0416\u8A9Ea!");
    Call(wide, u"Close");

    EXPECT_EQ(Compact(u"", 0, u""), 3421);
    const ObjectRef database = Create(u"c.mdb");
    MakeTable(database, u"K", {{u"T", 10, 50}});
    const Text from = u" FROM MSP_PROJECTS IN '" + folder_.Path(u"a.mdb") + u"'";
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"INSERT INTO K (T) SELECT PROJ_PROP_TITLE" + from, 0); }), 3421);
    EXPECT_THAT(Rows(database, u"SELECT * FROM K"), IsEmpty());
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"SELECT PROJ_PROP_TITLE INTO N" + from, 0); }), 3421);
    EXPECT_EQ(ErrorOf([&] { Records(database, u"N"); }), 3078);
}

}  // namespace
}  // namespace vmlib::test
