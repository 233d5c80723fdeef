#include <gmock/gmock.h>

#include "db/EngineAccess.h"
#include "db/FakeEngine.h"
#include "db/LayoutCatalogue.h"
#include "db/Opening.h"
#include "platform/posix/PosixFiles.h"
#include "support/FakePorts.h"
#include "support/TemporaryFolder.h"

// What any engine is asked when the document layer uses it: which class, which opens, which statements.
namespace vmlib::db::test {
namespace {

using testing::ElementsAre;
using vmlib::test::FakeEngine;

class EngineUseTest : public testing::Test
{
protected:
    Session NewSession()
    {
        Session session{platform_, classes_, handle_};
        DBL_InitPassWord(session);
        return session;
    }

    vmlib::test::TemporaryFolder folder_;
    posix::PosixFiles files_;
    vmlib::test::FakeSystem system_{folder_.Path() + u"\\"};
    vmlib::test::FakeDesktop desktop_;
    Platform platform_ = vmlib::test::PlatformOf(files_, system_, desktop_);
    ClassRegistry classes_;
    std::shared_ptr<EngineHandle> handle_ = std::make_shared<EngineHandle>(classes_);
    std::shared_ptr<FakeEngine> engine_ = std::make_shared<FakeEngine>();
};

TEST_F(EngineUseTest, TheFirstClassThatCanBeCreatedIsKept)
{
    Session session = NewSession();
    Variant error;
    EXPECT_FALSE(DBL_OpenMdb(session, u"C:\\a.mdb", false, false, false, &error));
    EXPECT_EQ(error, Variant(true)) << "no engine at all";

    engine_->RegisterIn(classes_);
    const ObjectRef object = classes_.Create(u"DAO.DBEngine.35");
    std::vector<std::string> made;
    classes_.Register(u"DAO.DBEngine.35", [&]() -> ObjectRef {
        made.push_back("DAO");
        throw Error(ErrorNumber::CannotCreateObject);
    });
    classes_.Register(u"VMDEngine.DBEngine", [&] {
        made.push_back("VMDEngine");
        return object;
    });
    EXPECT_TRUE(DBL_OpenMdb(session, u"C:\\a.mdb", false, false, false));
    Session another = NewSession();
    EXPECT_TRUE(DBL_OpenMdb(another, u"C:\\a.mdb", true, true, false));
    EXPECT_THAT(made, ElementsAre("DAO", "VMDEngine"));
    EXPECT_THAT(engine_->transcript, ElementsAre("open C:\\a.mdb shared writable ;PWD=Zonnebloemen",
                                                 "open C:\\a.mdb exclusive read-only ;PWD=Zonnebloemen"));
}

TEST_F(EngineUseTest, OpeningADocument)
{
    engine_->RegisterIn(classes_);
    folder_.Write("a.ord", "");
    engine_->rows["a.ord: Select * from Info"] = {
        {{u"Versie", u"2"}, {u"BestandType", u"ORDERS"}, {u"BestandNaam", Null{}}, {u"InGebruikDoor", u" "}}};
    engine_->rows["a.ord: SELECT * FROM Info"] = {{}};
    engine_->rows["L: SELECT * FROM Info WHERE FileType = 'ORDERS'"] = {{{u"Versie", std::int16_t{2}}}};
    Session session = NewSession();
    Text working;
    std::int16_t status = 0, version = 0, layoutVersion = 0, code = 0;
    EXPECT_TRUE(DBL_OpenDatabase(session, folder_.Path(u"a.ord"), working, u"Orders", u"C:\\L", status, version,
                                 layoutVersion, code));
    // The working copy's own name differs each time; an engine that refuses to write into it is no failure of the
    // opening.
    const std::string path = ToUtf8(folder_.Path(u"a.ord")), password = " ;PWD=Zonnebloemen";
    const std::string copy = ToUtf8(working), name = copy.substr(copy.rfind('\\') + 1);
    EXPECT_THAT(engine_->transcript,
                ElementsAre("open " + path + " exclusive read-only" + password, "a.ord: query Select * from Info (4)",
                            "a.ord: Close", "a.ord: Close",  //
                            "open C:\\L exclusive read-only" + password,
                            "L: query SELECT * FROM Info WHERE FileType = 'ORDERS' (4) (4)", "L: Close", "L: Close",  //
                            "open " + path + " shared writable" + password, "a.ord: query SELECT * FROM Info (2)",
                            "a.ord: Edit", "a.ord: IngebruikDoor = 'anna'", "a.ord: Update 1 False", "a.ord: Close",
                            "a.ord: Close",  //
                            "open " + copy + " shared writable" + password, name + ": query SELECT * FROM Info (2)",
                            name + ": Close"));
}

TEST_F(EngineUseTest, AnIndexIsFoundAtTheEndOfTheList)
{
    std::vector<IndexDefinitie> list(3);
    const char16_t* names[] = {u"Een", u"Twee", u"Drie"};
    for (std::size_t i = 0; i < 3; ++i) list[i].IndexNaam = names[i];
    EXPECT_EQ(ZoekIndex(u" EEN", list, 3), 3u) << "rows come sorted: the place is always the last";
    EXPECT_EQ(ZoekIndex(u"Drie", list, 2), 0u) << "behind the count nothing is looked at";
}

}  // namespace
}  // namespace vmlib::db::test
