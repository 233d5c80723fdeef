#include <gmock/gmock.h>

#include <sstream>

#include "automation/Collection.h"
#include "automation/Convert.h"
#include "host/RpcBridge.h"
#include "platform/Platform.h"
#include "support/FakePorts.h"

namespace vmlib::host {
namespace {

/// What the tests call: changes arguments, calls the client back, holds on to objects.
class Probe : public AutomationClass<Probe>
{
public:
    static int alive;
    explicit Probe(ClassRegistry& classes, Desktop& desktop) : classes_(classes), desktop_(desktop) { ++alive; }
    ~Probe() override { --alive; }

    bool Change(Text& text, std::int16_t& number, std::int16_t byValue)
    {
        text += u"!";
        number = static_cast<std::int16_t>(number + byValue);
        return true;
    }
    Text Greeting() const { return greeting_; }
    void SetGreeting(const Text& greeting) { greeting_ = greeting; }
    void Fail() { throw Error(3021, u"No current record."); }
    ObjectRef Child() { return std::make_shared<Probe>(classes_, desktop_); }
    std::int16_t Ask() { return desktop_.MessageBox(u"Doorgaan?", 4 | 32, u"Vraag"); }

    /// Makes an object of the client's class and lets it change what it is given.
    Text Convert(const Text& className)
    {
        const ObjectRef converter = classes_.Create(className);
        Variant first = shared_from_this(), second = u"oud";
        const Variant result = vmlib::Call(converter, u"PakketConvert", first, second);
        Put(converter, u"Status", std::int16_t{3});
        return ToText(second) + u" " + ToText(result);
    }
    std::int32_t CountMembers(const ObjectRef& collection)
    {
        std::int32_t sum = 0;
        const Variant members = Get(collection, u"_NewEnum");
        for (const Variant& item : members.AsArray().Items()) sum += ToLong(item);
        return sum;
    }
    void Keep(const ObjectRef& object) { kept_ = object; }

    static const MemberTable& Members()
    {
        static const MemberTable table = MemberTable::Of<Probe>(u"Probe")
                                             .Method<&Probe::Change>(u"Change", {u"text", u"number", u"byValue"})
                                             .Property<&Probe::Greeting, &Probe::SetGreeting>(u"Greeting")
                                             .Method<&Probe::Fail>(u"Fail")
                                             .Method<&Probe::Child>(u"Child")
                                             .Method<&Probe::Ask>(u"Ask")
                                             .Method<&Probe::Convert>(u"Convert", {u"className"})
                                             .Method<&Probe::CountMembers>(u"CountMembers", {u"collection"})
                                             .Method<&Probe::Keep>(u"Keep", {u"object"});
        return table;
    }

private:
    ClassRegistry& classes_;
    Desktop& desktop_;
    Text greeting_ = u"hallo";
    ObjectRef kept_;
};

int Probe::alive = 0;

/// Plays a client: its lines, written beforehand in the order in which they will be read, and what the program said.
class RpcTest : public testing::Test
{
protected:
    RpcTest()
    {
        classes_.Register(u"Probe", [this] { return std::make_shared<Probe>(classes_, session_.desktop); });
    }

    std::vector<Json> Talk(std::initializer_list<const char*> lines)
    {
        std::string input;
        for (const char* line : lines) input += std::string(line) + "\n";
        std::istringstream in(input);
        std::ostringstream out;
        {
            RpcBridge bridge(session_, in, out);
            try {
                bridge.Run();
            } catch (const Disconnected&) {
            }
        }
        std::vector<Json> said;
        std::istringstream printed(out.str());
        for (std::string line; std::getline(printed, line);) said.push_back(Json::parse(line));
        return said;
    }

    static Json Result(const char* id, const char* result)
    {
        return {{"jsonrpc", "2.0"}, {"id", Json::parse(id)}, {"result", Json::parse(result)}};
    }

    test::FakeDesktop desktop_;
    test::FakeSystem system_;
    Platform platform_ = vmlib::test::PlatformOf(NativePlatform().files, system_, desktop_);
    ClassRegistry classes_;
    std::ostringstream out_, err_;
    Session session_{platform_, classes_, out_, err_};
};

constexpr const char* createProbe = R"({"jsonrpc":"2.0","id":1,"method":"create","params":{"class":"Probe"}})";

TEST_F(RpcTest, CallsGetsAndSets)
{
    const auto said = Talk(
        {createProbe,
         R"({"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"member":"change","arguments":["a",5,"7"]}})",
         R"({"jsonrpc":"2.0","id":"x","method":"set","params":{"object":1,"member":"Greeting","value":"dag"}})",
         R"({"jsonrpc":"2.0","id":4,"method":"get","params":{"object":1,"member":"Greeting","hex":true}})",
         R"({"jsonrpc":"2.0","method":"get","params":{"object":1,"member":"Greeting"}})",
         R"({"jsonrpc":"2.0","id":5,"method":"release","params":{"object":1}})",
         R"({"jsonrpc":"2.0","id":6,"method":"get","params":{"object":1,"member":"Greeting"}})"});
    ASSERT_EQ(said.size(), 6u);  // a notification has no answer
    EXPECT_EQ(said[0], Result("1", R"({"type":"Object","id":1})"));
    // By reference in the parameter's own type, by value as given.
    EXPECT_EQ(said[1], Result("2", R"({"result":true,"arguments":["a!",{"type":"Integer","value":12},"7"]})"));
    EXPECT_EQ(said[2]["id"], "x");
    EXPECT_EQ(said[3], Result("4", R"({"result":{"type":"Bytes","value":"646167"},"arguments":[]})"));
    EXPECT_EQ(said[4], Result("5", "null"));
    EXPECT_EQ(said[5]["error"]["code"], 424);
    EXPECT_EQ(Probe::alive, 0);
}

TEST_F(RpcTest, ErrorsCarryNumberAndText)
{
    const auto said = Talk(
        {createProbe, R"({"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"member":"Fail"}})",
         R"({"jsonrpc":"2.0","id":3,"method":"call","params":{"object":1,"member":"Nothing"}})",
         R"({"jsonrpc":"2.0","id":4,"method":"create","params":{"class":"No.Such"}})",
         R"({"jsonrpc":"2.0","id":5,"method":"dance"})",
         R"({"jsonrpc":"2.0","id":6,"method":"call","params":{"member":"Fail"}})",
         R"({"jsonrpc":"2.0","id":7,"method":"call","params":[]})",
         R"({"jsonrpc":"2.0","id":9,"method":"call","params":{"object":1,"member":"Child","hex":"yes"}})", "not json",
         "42", R"({"jsonrpc":"2.0","id":8,"method":"get","params":{"object":1,"member":"Greeting"}})"});
    ASSERT_EQ(said.size(), 11u);
    EXPECT_EQ(said[1]["error"], Json::parse(R"({"code":3021,"message":"No current record."})"));
    const int codes[] = {438, 429, -32601, -32602, -32602, -32602, -32700, -32600};
    for (std::size_t i = 0; i < std::size(codes); ++i) EXPECT_EQ(said[i + 2]["error"]["code"], codes[i]) << said[i + 2];
    EXPECT_EQ(said[10]["result"]["result"], "hallo");  // and it goes on
}

TEST_F(RpcTest, WhatNoRequestMayBeIsRefusedWithItsId)
{
    const struct
    {
        const char* line;
        Json id;
    } rows[] = {
        {R"({"jsonrpc":"1.0","id":7,"method":"create"})", 7},
        {R"({"jsonrpc":"2.0","id":"a","method":5})", "a"},
        {R"({"jsonrpc":"2.0","id":[1],"method":"create"})", Json()},
        {R"({"jsonrpc":"2.0","id":8})", 8},
        {"[]", Json()},
    };
    for (const auto& row : rows) {
        const auto said = Talk({row.line});
        ASSERT_EQ(said.size(), 1u) << row.line;
        EXPECT_EQ(said[0]["error"]["code"], -32600) << row.line;
        EXPECT_EQ(said[0]["id"], row.id) << row.line;
    }
    const std::string deep(100000, '[');
    EXPECT_EQ(Talk({deep.c_str()})[0]["error"]["code"], -32700) << "as deep as no message is";
    EXPECT_THAT(Talk({R"({"jsonrpc":"2.0","id":"vmlib-1","result":null})"}), ::testing::IsEmpty()) << "to no question";
}

TEST_F(RpcTest, ABatchIsAnsweredByOne)
{
    const auto said = Talk({R"([{"jsonrpc":"2.0","id":1,"method":"create","params":{"class":"Probe"}}, 5,)"
                            R"({"jsonrpc":"2.0","method":"call","params":{"object":1,"member":"Fail"}},)"
                            R"({"jsonrpc":"2.0","id":2,"method":"get","params":{"object":1,"member":"Greeting"}}])"});
    ASSERT_EQ(said.size(), 1u);
    ASSERT_EQ(said[0].size(), 3u) << "none for the notification";
    EXPECT_EQ(said[0][0]["result"]["id"], 1);
    EXPECT_EQ(said[0][1]["error"]["code"], -32600);
    EXPECT_EQ(said[0][2]["result"]["result"], "hallo");
}

TEST_F(RpcTest, ObjectsHaveIdsOfTheirOwnUntilReleasedOrTheEnd)
{
    const auto said = Talk(
        {createProbe, R"({"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"member":"Child"}})",
         R"({"jsonrpc":"2.0","id":3,"method":"call","params":{"object":2,"member":"Child"}})",
         R"({"jsonrpc":"2.0","id":4,"method":"call","params":{"object":1,"member":"Keep","arguments":[{"type":"Object","id":3}]}})",
         R"({"jsonrpc":"2.0","id":5,"method":"call","params":{"object":1,"member":"Keep","arguments":[{"type":"Object","id":0}]}})"});
    ASSERT_EQ(said.size(), 5u);
    EXPECT_EQ(said[1]["result"]["result"], Json::parse(R"({"type":"Object","id":2})"));
    EXPECT_EQ(said[2]["result"]["result"], Json::parse(R"({"type":"Object","id":3})"));
    EXPECT_EQ(said[3]["result"]["arguments"], Json::parse(R"([{"type":"Object","id":3}])"));  // the id it came by
    EXPECT_EQ(said[4]["result"]["arguments"], Json::parse(R"([{"type":"Object","id":0}])"));
    EXPECT_EQ(Probe::alive, 0);
}

TEST_F(RpcTest, AConverterOfTheClientWorksInTheMiddleOfACall)
{
    const auto said = Talk(
        {R"({"jsonrpc":"2.0","id":1,"method":"register","params":{"class":"Host.Converter"}})",
         R"({"jsonrpc":"2.0","id":2,"method":"create","params":{"class":"Probe"}})",
         R"({"jsonrpc":"2.0","id":3,"method":"call","params":{"object":1,"member":"Convert","arguments":["host.converter"]}})",
         R"({"jsonrpc":"2.0","id":"vmlib-1","result":{"type":"Object","id":9,"client":true,"class":"Converter"}})",
         // Before it answers the call the client asks the object that it was given.
         R"({"jsonrpc":"2.0","id":4,"method":"get","params":{"object":2,"member":"Greeting"}})",
         R"({"jsonrpc":"2.0","id":"vmlib-2","result":{"result":{"type":"Integer","value":1},"arguments":[null,"nieuw"]}})",
         R"({"jsonrpc":"2.0","id":"vmlib-3","result":null})", R"({"jsonrpc":"2.0","id":"vmlib-4","result":null})"});
    ASSERT_EQ(said.size(), 8u);
    EXPECT_EQ(said[2],
              Json::parse(R"({"jsonrpc":"2.0","id":"vmlib-1","method":"create","params":{"class":"Host.Converter"}})"));
    EXPECT_EQ(
        said[3],
        Json::parse(R"({"jsonrpc":"2.0","id":"vmlib-2","method":"call","params":{"object":9,"member":"PakketConvert",
                                       "arguments":[{"type":"Object","id":2},"oud"]}})"));
    EXPECT_EQ(said[4]["result"]["result"], "hallo");
    EXPECT_EQ(said[5],
              Json::parse(R"({"jsonrpc":"2.0","id":"vmlib-3","method":"set","params":{"object":9,"member":"Status",
                                       "arguments":[],"value":{"type":"Integer","value":3}}})"));
    EXPECT_EQ(said[6], Json::parse(R"({"jsonrpc":"2.0","id":"vmlib-4","method":"release","params":{"object":9}})"));
    EXPECT_EQ(said[7]["result"]["result"], "nieuw 1");
}

TEST_F(RpcTest, AClientsErrorReachesTheCallerWithItsNumber)
{
    const auto said = Talk(
        {R"({"jsonrpc":"2.0","id":1,"method":"register","params":{"class":"Host.Converter"}})",
         R"({"jsonrpc":"2.0","id":2,"method":"create","params":{"class":"Probe"}})",
         R"({"jsonrpc":"2.0","id":3,"method":"call","params":{"object":1,"member":"Convert","arguments":["Host.Converter"]}})",
         R"({"jsonrpc":"2.0","id":"vmlib-1","result":{"type":"Object","id":9,"client":true}})",
         R"({"jsonrpc":"2.0","id":"vmlib-2","error":{"code":3022,"message":"dubbel"}})",
         R"({"jsonrpc":"2.0","id":"vmlib-3","result":null})"});
    ASSERT_EQ(said.size(), 6u);
    EXPECT_EQ(said[5]["error"], Json::parse(R"({"code":3022,"message":"dubbel"})"));
}

TEST_F(RpcTest, ACollectionOfTheClientIsWalked)
{
    const auto walked = Talk(
        {createProbe,
         R"({"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"member":"CountMembers","arguments":[{"type":"Object","id":4,"client":true,"class":"Collection"}]}})",
         R"({"jsonrpc":"2.0","id":"vmlib-1","result":{"result":{"type":"Array","items":[1,2,{"type":"Integer","value":4}]}}})",
         R"({"jsonrpc":"2.0","id":"vmlib-2","result":null})"});
    ASSERT_EQ(walked.size(), 4u);
    EXPECT_EQ(walked[1]["params"]["member"], "_NewEnum");
    EXPECT_EQ(walked[1]["method"], "get");
    EXPECT_EQ(walked[3]["result"]["result"], Json::parse(R"({"type":"Long","value":7})"));
}

TEST_F(RpcTest, MessagesComeToTheClientThatAsksForThem)
{
    desktop_.answers = {6};
    const auto said =
        Talk({createProbe, R"({"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"member":"Ask"}})",
              R"({"jsonrpc":"2.0","id":3,"method":"desktop","params":{"messages":true}})",
              R"({"jsonrpc":"2.0","id":4,"method":"call","params":{"object":1,"member":"Ask"}})",
              R"({"jsonrpc":"2.0","id":"vmlib-1","result":6})",
              R"({"jsonrpc":"2.0","id":5,"method":"call","params":{"object":1,"member":"Ask"}})",
              R"({"jsonrpc":"2.0","id":"vmlib-2","error":{"code":5,"message":"no window"}})"});
    ASSERT_EQ(said.size(), 7u);
    EXPECT_EQ(said[1]["result"]["result"]["value"], 6);  // the platform's own
    EXPECT_EQ(
        said[3],
        Json::parse(
            R"({"jsonrpc":"2.0","id":"vmlib-1","method":"message","params":{"text":"Doorgaan?","style":36,"title":"Vraag",
                                       "buttons":["Ja","Nee"]}})"));
    EXPECT_EQ(said[4]["result"]["result"]["value"], 6);
    EXPECT_EQ(said[6]["result"]["result"]["value"], 7);  // the safe answer
    EXPECT_EQ(desktop_.messages.size(), 2u) << "what the client could not show is not lost";
}

TEST_F(RpcTest, AClientThatLeavesInTheMiddleOfACallLeavesNothingBehind)
{
    const auto said = Talk(
        {R"({"jsonrpc":"2.0","id":1,"method":"register","params":{"class":"Host.Converter"}})",
         R"({"jsonrpc":"2.0","id":2,"method":"create","params":{"class":"Probe"}})",
         R"({"jsonrpc":"2.0","id":3,"method":"call","params":{"object":1,"member":"Convert","arguments":["Host.Converter"]}})"});
    EXPECT_EQ(said.size(), 3u);
    EXPECT_EQ(Probe::alive, 0);
    try {
        classes_.Create(u"Host.Converter");
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), 429);
    }
}

}  // namespace
}  // namespace vmlib::host
