#include <gmock/gmock.h>

#include <deque>
#include <sstream>

#include "host/RpcBridge.h"
#include "platform/Platform.h"
#include "support/FakePorts.h"

// A form that lives in a client: its controls are JSON objects with their properties, and the library reaches them
// through the bridge only.
namespace vmlib::host {
namespace {

/// A client that answers what it is asked. It is the input of the bridge: lines are made when they are read, from what
/// the bridge has printed by then.
class FormClient : public std::streambuf
{
public:
    explicit FormClient(Json objects) : objects(std::move(objects)) {}

    void Say(Json line) { lines_.push_back(line.dump()); }

    Json objects;                 // by id: "class" and properties
    std::ostringstream heard;     // what the bridge prints
    std::vector<Json> responses;  // to what the client asked

protected:
    int_type underflow() override
    {
        for (std::string line; std::getline(printed_, line) || Refill();) {
            if (line.empty()) continue;
            const Json spoken = Json::parse(line);
            if (!spoken.contains("method")) {
                responses.push_back(spoken);
                continue;
            }
            return Give(Answer(spoken).dump());
        }
        if (lines_.empty()) return traits_type::eof();
        const std::string line = lines_.front();
        lines_.pop_front();
        return Give(line);
    }

private:
    bool Refill()
    {
        const std::string all = heard.str();
        if (all.size() == taken_) return false;
        printed_ = std::istringstream(all.substr(taken_));
        taken_ = all.size();
        return true;
    }

    int_type Give(const std::string& line)
    {
        current_ = line + "\n";
        setg(current_.data(), current_.data(), current_.data() + current_.size());
        return traits_type::to_int_type(current_[0]);
    }

    Json Answer(const Json& request)
    {
        Json answer = {{"jsonrpc", "2.0"}, {"id", request["id"]}};
        const Json& params = request["params"];
        if (request["method"] == "release") {
            answer["result"] = nullptr;
            return answer;
        }
        Json* property = Property(objects[std::to_string(params["object"].get<int>())], params);
        if (!property)
            answer["error"] = {{"code", 438}, {"message", "no such property"}};
        else if (request["method"] == "set")
            *property = params["value"], answer["result"] = nullptr;
        else
            answer["result"] = {{"result", *property}};
        return answer;
    }

    /// An item by its position from 1; the caption of a control with captions is that of its selected tab.
    static Json* Property(Json& object, const Json& params)
    {
        const std::string name = params["member"];
        if (name == "Item" && object.contains("Items"))
            return &object["Items"].at(params["arguments"][0]["value"].get<std::size_t>() - 1);
        if (name == "Caption" && object.contains("Captions"))
            return &object["Captions"].at(object["Tab"]["value"].get<std::size_t>());
        return object.contains(name) ? &object[name] : nullptr;
    }

    std::deque<std::string> lines_;
    std::string current_;
    std::istringstream printed_;
    std::size_t taken_ = 0;
};

Json Ref(int id, const char* className)
{
    return {{"type", "Object"}, {"id", id}, {"client", true}, {"class", className}};
}

TEST(RpcFormsTest, EveryControlTypeGetsItsTexts)
{
    const Json before = Json::parse(R"({
        "1": {"Caption": "@30000", "Controls": {"type": "Object", "id": 2, "client": true, "class": "Controls"}},
        "10": {"Caption": "@30001", "ToolTipText": "@10001"},
        "11": {"Caption": "@20000"},
        "12": {"Caption": "@10000", "Columns": {"type": "Object", "id": 20, "client": true, "class": "Columns"}},
        "13": {"Captions": ["@30000", "Naam", "@30003"], "Tabs": {"type": "Integer", "value": 3},
               "Tab": {"type": "Integer", "value": 2}, "ToolTipText": "@"},
        "14": {"Tabs": {"type": "Object", "id": 21, "client": true, "class": "Tabs"}},
        "15": {"Buttons": {"type": "Object", "id": 20, "client": true, "class": "Buttons"}},
        "16": {"SimpleText": "@10003 tekst"},
        "17": {"ColumnHeaders": {"type": "Object", "id": 22, "client": true, "class": "ColumnHeaders"}},
        "18": {"Caption": "@30001", "Text": "@30001", "ToolTipText": "@30001"},
        "20": {"_NewEnum": {"type": "Array", "items": [{"type": "Object", "id": 30, "client": true, "class": "Column"},
                                                       {"type": "Object", "id": 31, "client": true, "class": "Column"}]}},
        "21": {"Count": {"type": "Integer", "value": 2},
               "Items": [{"type": "Object", "id": 32, "client": true, "class": "Tab"},
                         {"type": "Object", "id": 33, "client": true, "class": "Tab"}]},
        "22": {"Count": {"type": "Integer", "value": 2},
               "Items": [{"type": "Object", "id": 34, "client": true, "class": "ColumnHeader"},
                         {"type": "Object", "id": 35, "client": true, "class": "ColumnHeader"}]},
        "30": {"Caption": "@30001", "ToolTipText": "@30003"}, "31": {"Caption": "Naam", "ToolTipText": "Naam"},
        "32": {"Caption": "@20001"}, "33": {"Caption": "@20003"},
        "34": {"Text": "@10003"}, "35": {"Text": "Naam"}
    })");
    FormClient client(before);
    client.objects["2"]["_NewEnum"] = {
        {"type", "Array"},
        {"items", Json::array({Ref(10, "CommandButton"), Ref(11, "menu"), Ref(12, "TDBGrid"), Ref(13, "SSTab"),
                               Ref(14, "TabStrip"), Ref(15, "Toolbar"), Ref(16, "StatusBar"), Ref(17, "ListView"),
                               Ref(18, "TextBox"), Json{{"type", "Object"}, {"id", 0}}})}};
    client.Say({{"jsonrpc", "2.0"}, {"id", 1}, {"method", "create"}, {"params", {{"class", "AlgemeneLibrary"}}}});
    client.Say(
        {{"jsonrpc", "2.0"},
         {"id", 2},
         {"method", "call"},
         {"params", {{"object", 1}, {"member", "LoadResStrings"}, {"arguments", Json::array({Ref(1, "frmKas")})}}}});

    test::FakeDesktop desktop;
    test::FakeSystem system;
    Platform platform = vmlib::test::PlatformOf(NativePlatform().files, system, desktop);
    ClassRegistry classes;
    std::ostringstream out, err;
    Session session(platform, classes, out, err);
    std::istream in(&client);
    {
        RpcBridge bridge(session, in, client.heard);
        bridge.Run();
    }
    ASSERT_FALSE(client.responses.empty());
    EXPECT_TRUE(client.responses.back().contains("result")) << client.responses.back();

    const struct
    {
        const char* id;
        const char* property;
        Json text;
    } expected[] = {
        {"1", "Caption", "Afdrukken"},
        {"10", "Caption", "Annuleren"},
        {"10", "ToolTipText", "Cancel"},
        {"11", "Caption", "Udskriv"},
        {"12", "Caption", "Print"},
        {"13", "Captions", {"Afdrukken", "Naam", "Aantal"}},
        {"13", "Tab", {{"type", "Long"}, {"value", 0}}},
        {"13", "ToolTipText", ""},
        {"16", "SimpleText", "Number"},
        {"18", "Caption", "@30001"},
        {"18", "Text", "@30001"},
        {"18", "ToolTipText", "Annuleren"},
        {"30", "Caption", "Annuleren"},
        {"30", "ToolTipText", "Aantal"},
        {"31", "Caption", "Naam"},
        {"32", "Caption", "Annuller"},
        {"33", "Caption", "Antal"},
        {"34", "Text", "Number"},
        {"35", "Text", ""},  // a header is a number whatever it says
    };
    for (const auto& e : expected) EXPECT_EQ(client.objects[e.id][e.property], e.text) << e.id << "." << e.property;
}

}  // namespace
}  // namespace vmlib::host
