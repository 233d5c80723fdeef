#include <ostream>

#include "host/CommandLine.h"
#include "host/Info.h"
#include "host/Json.h"
#include "host/Leftovers.h"
#include "host/ValueText.h"

namespace vmlib::host {

namespace {

template <class Value>
Json OrNull(const std::optional<Value>& value)
{
    if constexpr (std::is_same_v<Value, Text>)
        return value ? Json(ToUtf8(*value)) : Json();
    else
        return value ? Json(*value) : Json();
}

/// The document path as people write it; what is stored may be a path of another machine.
std::string NativeOrText(Session& session, const Text& path)
{
    try {
        return path.empty() ? std::string() : session.Native(path);
    } catch (const Error&) {
        return ToUtf8(path);
    }
}

void PrintJson(Session& session, const std::string& document, const InfoRecord& info,
               const std::optional<std::string>& modified, const std::vector<Leftover>& leftovers)
{
    Json list = Json::array();
    for (const Leftover& leftover : leftovers)
        list.push_back({{"path", session.Native(leftover.path)}, {"kind", leftover.kind}});
    const Json json = {{"document", document},        {"version", OrNull(info.version)}, {"type", OrNull(info.type)},
                       {"name", OrNull(info.name)},   {"inUseBy", OrNull(info.inUseBy)}, {"modified", OrNull(modified)},
                       {"leftovers", std::move(list)}};
    session.out << ToLine(json) << "\n";
}

void PrintText(Session& session, const std::string& document, const InfoRecord& info,
               const std::optional<std::string>& modified, const std::vector<Leftover>& leftovers)
{
    std::ostream& out = session.out;
    out << document << "\n  type      " << (info.type ? Printable(*info.type) : "") << "\n  version   ";
    if (info.version) out << *info.version;
    out << "\n  path      " << (info.name ? Printable(FromUtf8(NativeOrText(session, *info.name))) : "");
    out << "\n  in use by " << (info.inUseBy && !info.inUseBy->empty() ? Printable(*info.inUseBy) : "nobody");
    out << "\n  modified  " << modified.value_or("") << "\n";
    for (const Leftover& leftover : leftovers)
        out << "  " << leftover.kind << ": " << session.Native(leftover.path) << "\n";
}

void PrintStatus(Session& session, const std::string& document)
{
    const Text path = session.DatabasePath(document);
    auto leftovers = FindLeftovers(session, path);
    const auto print = session.options.json ? PrintJson : PrintText;
    const auto facts = session.platform.files.Facts(path);
    const auto modified = facts ? std::optional(IsoDate(facts->modified)) : std::nullopt;
    InfoRecord info;
    try {
        info = ReadInfo(session, path);
    } catch (const Error&) {
        // A document that cannot be read is when one most wants to know what else there is.
        KeepOfType(leftovers, u"");
        if (!leftovers.empty()) print(session, document, info, modified, leftovers);
        throw;
    }
    KeepOfType(leftovers, info.type.value_or(Text()));
    print(session, document, info, modified, leftovers);
}

int Status(Session& session, const std::vector<std::string>& documents)
{
    int failures = 0;
    for (const std::string& document : documents) {
        try {
            PrintStatus(session, document);
        } catch (const Error& error) {
            if (documents.size() == 1) throw;
            session.err << document << ": error " << error.Number() << ": " << Printable(error.Description()) << "\n";
            ++failures;
        }
    }
    return failures ? exitSomeFailed : exitDone;
}

}  // namespace

void AddStatusCommand(CommandLine& line)
{
    auto documents = std::make_shared<std::vector<std::string>>();
    Session& session = line.TheSession();
    CLI::App& status = line.Add("status", "vmlib status Kas.mdb",
                                "Shows a document's record, who has it in use, and what interrupted work left.",
                                [=, &session] { return Status(session, *documents); });
    status.add_option("document", *documents)->required();
    line.TakesPassword(status);
    line.TakesJson(status);
}

}  // namespace vmlib::host
