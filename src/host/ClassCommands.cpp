#include <iostream>
#include <ostream>

#include "automation/Convert.h"
#include "host/CommandLine.h"
#include "host/Json.h"
#include "host/RpcBridge.h"

// call, rpc: the classes from any language.
namespace vmlib::host {

namespace {

/// Objects of a single call: counted, and gone when it is printed.
class CountedObjects : public ObjectNames
{
public:
    Json NameOf(const ObjectRef&) override { return {{"type", "Object"}, {"id", ++count_}}; }
    ObjectRef Named(const Json&) override { throw Error(ErrorNumber::ObjectRequired); }

private:
    int count_ = 0;
};

/// A document layer object without its password could open nothing, and a single call cannot set it first.
ObjectRef Create(Session& session, const Text& className)
{
    ObjectRef object = session.Create(className);
    if (object->TypeName() == u"VmdDbLibRoutines") Call(object, u"DBL_InitPassWord");
    return object;
}

int CallMember(Session& session, const std::string& className, const std::string& member,
               const std::vector<std::string>& words, bool hex)
{
    std::vector<Variant> arguments;
    arguments.reserve(words.size());
    for (const std::string& word : words) arguments.push_back(ParseArgument(word));
    try {
        const ObjectRef object = Create(session, FromUtf8(className));
        const Variant result = object->Invoke(FromUtf8(member), InvokeKind::MethodOrGet, arguments);
        CountedObjects objects;
        const StringForm strings = hex ? StringForm::Bytes : StringForm::Text;
        Json answer = {{"result", ToJson(result, objects, strings)}};
        Json after = Json::array();
        for (const Variant& argument : arguments) after.push_back(ToJson(argument, objects, strings));
        answer["arguments"] = std::move(after);
        session.out << ToLine(answer) << "\n";
        return exitDone;
    } catch (const Error& error) {
        const Json failure = {{"error", {{"number", error.Number()}, {"description", ToUtf8(error.Description())}}}};
        session.out << ToLine(failure) << "\n";
        return exitError;
    }
}

int ServeRpc(Session& session)
{
    RpcBridge bridge(session, std::cin, session.out);
    try {
        bridge.Run();
    } catch (const Disconnected&) {
        // The client went away in the middle of a call; what it held is released like at any other end.
    }
    return exitDone;
}

struct CallArguments
{
    std::string className, member;
    bool hex = false;
};

}  // namespace

void AddClassCommands(CommandLine& line)
{
    auto arguments = std::make_shared<CallArguments>();
    Session& session = line.TheSession();
    CLI::App& call = line.Add(
        "call", "vmlib call AlgemeneLibrary VmdLib_ExtractFileNaam s:C:\\data\\rapport.doc i:1",
        "Makes an object, calls a member, and prints result and arguments as JSON.", [=, &line, &session] {
            return CallMember(session, arguments->className, arguments->member, line.TextArguments(), arguments->hex);
        });
    call.add_option("class", arguments->className)->required();
    call.add_option("member", arguments->member)->required();
    call.add_flag("--hex", arguments->hex, "print strings as the hexadecimal of their code page bytes");
    call.footer(
        "Arguments behind MEMBER are text, or have a type in front: i: l: y: f: d: c: b: t: s: x: and m: e: n: for "
        "missing, empty, null.");
    line.TakesJson(call);
    line.TakesPassword(call);

    CLI::App& rpc =
        line.Add("rpc", "vmlib rpc", "Speaks JSON-RPC 2.0 on standard input and output, one message a line.",
                 [&session] { return ServeRpc(session); });
    line.TakesPassword(rpc);
}

}  // namespace vmlib::host
