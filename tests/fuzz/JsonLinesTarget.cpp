#include <sstream>

#include "automation/Collection.h"
#include "fuzz/FuzzTarget.h"
#include "fuzz/SmallDocument.h"
#include "fuzz/TextMutation.h"
#include "host/Layout.h"
#include "host/RpcBridge.h"
#include "support/FakePorts.h"

// Lines of JSON: each as a layout, all of them as what a client of the rpc bridge says.
namespace vmlib::fuzz {

using host::Json;

namespace {

constexpr std::string_view texts[] = {
    R"({"type":"FACT","version":2,"tables":[{"name":"Info","fields":[{"name":"Versie","type":3,"length":2}],)"
    R"("indexes":[{"name":"S","fields":["-Versie"],"primary":-1,"unique":-1}]}],"relations":[{"name":"R","table":"Info",)"
    R"("foreignTable":"Info","attributes":4096,"fields":[{"name":"Versie","foreignName":"Versie"}]}],)"
    R"("queries":[{"name":"Q","parameters":"","sql":"SELECT Versie FROM Info"}]})",
    R"({"jsonrpc":"2.0","id":1,"method":"create","params":{"class":"Collection"}}
{"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"member":"Add","arguments":["een","k"]}}
{"jsonrpc":"2.0","id":3,"method":"get","params":{"object":1,"member":"_NewEnum"}}
{"jsonrpc":"2.0","id":4,"method":"get","params":{"object":1,"member":"Item","arguments":["k"],"hex":true}})",
    R"({"jsonrpc":"2.0","id":1,"method":"create","params":{"class":"VMDEngine.DBEngine"}}
{"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"member":"OpenDatabase","arguments":["Z:\\small.mdb",false,false,";PWD=geheim"]}}
{"jsonrpc":"2.0","id":3,"method":"call","params":{"object":2,"member":"OpenRecordset","arguments":["Klanten"]}}
{"jsonrpc":"2.0","id":4,"method":"call","params":{"object":3,"member":"Edit"}}
{"jsonrpc":"2.0","id":5,"method":"set","params":{"object":3,"member":"Saldo","value":{"type":"Currency","value":"12.5"}}}
{"jsonrpc":"2.0","id":6,"method":"call","params":{"object":3,"member":"Update"}})",
    R"({"jsonrpc":"2.0","id":1,"method":"create","params":{"class":"VmdDbLibRoutines"}}
{"jsonrpc":"2.0","id":2,"method":"call","params":{"object":1,"member":"DBL_GetDatabaseError","arguments":[{"type":"Integer","value":3}]}}
{"jsonrpc":"2.0","id":3,"method":"call","params":{"object":1,"member":"DBL_OpenDatabase","arguments":["Z:\\small.mdb"]}}
{"jsonrpc":"2.0","method":"release","params":{"object":1}})",
    R"({"jsonrpc":"2.0","id":1,"method":"register","params":{"class":"Host.Converter"}}
{"jsonrpc":"2.0","id":2,"method":"create","params":{"class":"Host.Converter"}}
{"jsonrpc":"2.0","id":"vmlib-1","result":{"type":"Object","id":9,"client":true,"class":"Converter"}}
{"jsonrpc":"2.0","id":3,"method":"call","params":{"object":{"type":"Object","id":9,"client":true},"member":"X"}}
{"jsonrpc":"2.0","id":"vmlib-2","error":{"code":3022,"message":"dubbel"}})",
    R"([{"jsonrpc":"2.0","id":1,"method":"create","params":{"class":"AlgemeneLibrary"}},{"jsonrpc":"2.0","id":2,"method":"desktop","params":{"messages":true}}]
{"jsonrpc":"2.0","id":3,"method":"call","params":{"object":1,"member":"VmdLib_LeesGebruiker"}})",
};

const Vocabulary& Words()
{
    static const Vocabulary words = {
        {"1",
         "2",
         "3",
         "0",
         "-1",
         "70000",
         "1e999",
         "9223372036854775808",
         "null",
         "true",
         "\"x\"",
         R"("\ud800")",
         R"("k")",
         R"({"type":"Object","id":0})",
         R"({"type":"Object","id":4,"client":true})",
         R"({"type":"Bytes","value":"00FF"})",
         R"({"type":"Date","value":"2024-03-05T06:00:00"})",
         R"({"type":"Date","value":1e300})",
         R"({"type":"Currency","value":"1,5"})",
         R"({"type":"Decimal","value":"79228162514264337593543950335"})",
         R"({"type":"Byte","value":256})",
         R"({"type":"Array","items":[1,[2]]})",
         R"({"type":"Missing"})",
         R"({"type":"Error","value":-2146828275})"},
        {"\"call\"", "\"get\"", "\"set\""},
        {"\"create\"", "\"register\"", "\"release\"", "\"desktop\""},
        {"\"Add\"", "\"Item\"", "\"_NewEnum\"", "\"Count\"", "\"Remove\""},
        {"\"OpenDatabase\"", "\"OpenRecordset\"", "\"CreateDatabase\"", "\"Workspaces\"", "\"TableDefs\"",
         "\"Execute\"", "\"CreateTableDef\"", "\"CreateQueryDef\"", "\"CompactDatabase\"", "\"BeginTrans\"",
         "\"Rollback\"", "\"CommitTrans\""},
        {"\"Edit\"",        "\"Update\"",    "\"AddNew\"",   "\"Delete\"", "\"Fields\"",
         "\"Seek\"",        "\"FindFirst\"", "\"Bookmark\"", "\"Index\"",  "\"AbsolutePosition\"",
         "\"MoveLast\"",    "\"MoveNext\"",  "\"Move\"",     "\"Close\"",  "\"Saldo\"",
         "\"RecordCount\"", "\"Filter\"",    "\"Sort\"",     "\"Clone\"",  "\"GetRows\""},
        {"\"DBL_GetDatabaseError\"", "\"DBL_OpenDatabase\"", "\"DBL_SaveDatabase\"", "\"DBL_OpenMdb\"",
         "\"DBL_GetRechten\""},
        {"\"Collection\"", "\"VMDEngine.DBEngine\"", "\"VmdDbLibRoutines\"", "\"AlgemeneLibrary\"",
         "\"Host.Converter\""},
        {"\"Klanten\"", "\"Regels\"", "\"SELECT * FROM Soorten\"", "\"PrimaryKey\"", "\"Z:\\\\small.mdb\"",
         "\"Z:\\\\new.mdb\""},
        {"\"name\"", "\"type\"", "\"length\"", "\"attributes\"", "\"fields\"", "\"indexes\"", "\"version\"",
         "\"zeroLength\""},
        {"{", "}", "[", "]", ":", ",", "\n"},
    };
    return words;
}

void RunLayout(const std::string& line)
{
    const auto json = host::ParseLine(line);
    if (!json) return;
    host::ToLine(*json);
    try {
        const host::Layout layout = host::LayoutFromJson(*json);
        host::LayoutFaults(layout);
        Promise(host::LayoutFromJson(host::LayoutToJson(layout)) == layout, "a layout is what its text says");
    } catch (const host::UsageError&) {
    }
}

void RunBridge(const std::string& lines)
{
    test::MemoryFiles files;
    files.Put(documentPath, SmallDocument());
    test::FakeDesktop desktop;
    test::FakeSystem system(Text(u"Z:\\"));
    Platform platform = test::PlatformOf(files, system, desktop);
    ClassRegistry classes;
    classes.Register(u"Collection", [] { return std::make_shared<Collection>(); });
    std::ostringstream out, err;
    std::istringstream in(lines);
    host::Session session(platform, classes, out, err);
    std::ostringstream said;
    {
        host::RpcBridge bridge(session, in, said);
        try {
            bridge.Run();
        } catch (const host::Disconnected&) {
        }
    }
    std::istringstream answers(said.str());
    for (std::string line; std::getline(answers, line);)
        Promise(host::ParseLine(line).has_value(), "an answer is JSON");
}

void Run(std::string_view input)
{
    std::istringstream lines{std::string(input)};
    for (std::string line; std::getline(lines, line);) RunLayout(line);
    RunBridge(std::string(input));
}

std::vector<std::string> Seeds()
{
    return {std::begin(texts), std::end(texts)};
}

std::string Mutate(std::string_view input, std::mt19937& random)
{
    return MutateText(input, Words(), texts[random() % std::size(texts)], random);
}

}  // namespace

const Target jsonLines{"jsonLines", Run, Seeds, Mutate};

}  // namespace vmlib::fuzz
