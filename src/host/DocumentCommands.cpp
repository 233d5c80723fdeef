#include <ostream>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "host/CommandLine.h"
#include "host/Info.h"
#include "host/Json.h"

// open, save, release, create, error: the operations of the document layer as commands.
namespace vmlib::host {

namespace {

/// The arguments that most of these commands take.
struct DocumentArguments
{
    std::string document;
    std::string type;
    std::string layout;
};

void TakesTypeAndLayout(CLI::App& command, DocumentArguments& arguments)
{
    command.add_option("--type", arguments.type, "file type, as the layout knows it")->required();
    command.add_option("--layout", arguments.layout, "layout database")->required();
}

int Open(Session& session, const DocumentArguments& arguments)
{
    const Text document = session.PathText(arguments.document);
    Variant workingFile = u"", status = std::int16_t{0}, version = std::int16_t{0}, layoutVersion = std::int16_t{0},
            code = std::int16_t{0};
    Call(session.Routines(), u"DBL_OpenDatabase", document, workingFile, FromUtf8(arguments.type),
         session.PathText(arguments.layout), status, version, layoutVersion, code);
    const bool opened = ToInteger(code) == 0;
    const std::int16_t howOpened = ToInteger(status);

    // The layer does not say whether the mark could be written.
    bool marked = false;
    if (opened && howOpened != 2)
        ResumeNext([&] {
            const InfoRecord info = ReadInfo(session, document);
            marked = info.inUseBy && !info.inUseBy->empty() && *info.inUseBy == session.UserName();
        });
    if (session.options.json) {
        Json json = {{"workingFile", opened ? Json(session.Native(ToText(workingFile))) : Json()},
                     {"status", howOpened},
                     {"version", ToInteger(version)},
                     {"layoutVersion", ToInteger(layoutVersion)},
                     {"marked", marked},
                     {"code", ToInteger(code)}};
        session.out << json.dump() << "\n";
    } else if (opened) {
        session.out << session.Native(ToText(workingFile)) << "\n";
    }
    if (!opened) return session.ReportCode(ToInteger(code));
    if (!marked && howOpened != 2)
        session.err << "warning: " << arguments.document << " could not be marked as in use\n";
    return exitDone;
}

int PrintOutcome(Session& session, const std::string& document, std::int16_t code)
{
    if (session.options.json) session.out << Json{{"document", document}, {"code", code}}.dump() << "\n";
    return code == 0 ? exitDone : session.ReportCode(code);
}

int Save(Session& session, const std::string& working, const DocumentArguments& arguments)
{
    Variant code = std::int16_t{0};
    Call(session.Routines(), u"DBL_OpslaanDatabase", session.PathText(working), session.PathText(arguments.document),
         session.PathText(arguments.layout), FromUtf8(arguments.type), code);
    return PrintOutcome(session, arguments.document, ToInteger(code));
}

/// Clears the mark of another user, whom it names; asks first.
void ClearForeignMark(Session& session, const std::string& document, const Text& path)
{
    const InfoRecord info = ReadInfo(session, path);
    if (!info.inUseBy || info.inUseBy->empty() || *info.inUseBy == session.UserName()) return;
    session.err << document << " is in use by " << Printable(*info.inUseBy) << "\n";
    if (!session.desktop.Confirm(u"Het bestand is in gebruik door " + *info.inUseBy + u". Toch vrijgeven?")) return;
    InfoRecord cleared;
    cleared.inUseBy = u"";
    WriteInfo(session, path, cleared);
}

int Release(Session& session, const std::string& document, bool force)
{
    constexpr std::int16_t notInList = 23;
    const Text path = session.PathText(document);
    if (force && session.platform.files.Exists(path)) ClearForeignMark(session, document, path);
    Variant code = std::int16_t{0};
    Call(session.Routines(), u"DBL_BestandVrijgeven", path, code);
    // Another process opened the document; that this one did not is no failure.
    const std::int16_t result = ToInteger(code) == notInList ? std::int16_t{0} : ToInteger(code);
    return PrintOutcome(session, document, result);
}

void AddInfoRecord(Session& session, const DocumentArguments& arguments, const Text& path)
{
    const Variant version =
        Call(session.Routines(), u"DBL_GetVersieNummer", FromUtf8(arguments.type), session.PathText(arguments.layout));
    InfoRecord record;
    record.version = ToLong(version);
    record.type = FromUtf8(arguments.type);
    record.name = path;
    record.inUseBy = u"";
    WriteInfo(session, path, record);
}

int Create(Session& session, const DocumentArguments& arguments, bool withInfo)
{
    const Text path = session.PathText(arguments.document);
    const bool existed = session.platform.files.Exists(path);
    try {
        Variant code = std::int16_t{0};
        Call(session.Routines(), u"DBL_MaakNieuweDatabase", path, FromUtf8(arguments.type),
             session.PathText(arguments.layout), code);
        if (ToInteger(code) == 0 && withInfo) AddInfoRecord(session, arguments, path);
        return PrintOutcome(session, arguments.document, ToInteger(code));
    } catch (const Error&) {
        // Half a document helps nobody; what was there before is gone either way, so only a file that this call made is
        // removed.
        if (!existed) ResumeNext([&] { session.platform.files.Delete(path); });
        throw;
    }
}

int PrintErrorText(Session& session, std::int16_t code)
{
    const std::string text = session.CodeText(code);
    if (session.options.json)
        session.out << Json{{"code", code}, {"text", text}}.dump() << "\n";
    else
        session.out << text << "\n";
    return exitDone;
}

void AddOpen(CommandLine& line)
{
    auto arguments = std::make_shared<DocumentArguments>();
    Session& session = line.TheSession();
    CLI::App& open = line.Add("open", "vmlib open Kas.mdb --type FACT --layout layout.mdb",
                              "Marks a document as in use and makes the working file that is edited; prints its path.",
                              [=, &session] { return Open(session, *arguments); });
    open.add_option("document", arguments->document)->required();
    TakesTypeAndLayout(open, *arguments);
    line.TakesYes(open, "work on a copy when another user has the document");
    line.TakesPassword(open);
    line.TakesJson(open);
}

void AddSave(CommandLine& line)
{
    auto arguments = std::make_shared<DocumentArguments>();
    auto working = std::make_shared<std::string>();
    Session& session = line.TheSession();
    CLI::App& save = line.Add("save", "vmlib save /tmp/~FA1A2B.tmp Kas.mdb --type FACT --layout layout.mdb",
                              "Saves a working file over its document, or as another one.",
                              [=, &session] { return Save(session, *working, *arguments); });
    save.add_option("working", *working, "working file")->required();
    save.add_option("document", arguments->document)->required();
    TakesTypeAndLayout(save, *arguments);
    line.TakesPassword(save);
    line.TakesJson(save);
}

void AddRelease(CommandLine& line)
{
    auto document = std::make_shared<std::string>();
    auto force = std::make_shared<bool>(false);
    Session& session = line.TheSession();
    CLI::App& release = line.Add("release", "vmlib release Kas.mdb", "Clears the mark that a document is in use.",
                                 [=, &session] { return Release(session, *document, *force); });
    release.add_option("document", *document)->required();
    release.add_flag("--force", *force, "clear another user's mark too, after showing whose it is and asking");
    line.TakesYes(release, "clear it without asking");
    line.TakesPassword(release);
    line.TakesJson(release);
}

void AddCreate(CommandLine& line)
{
    auto arguments = std::make_shared<DocumentArguments>();
    auto noInfo = std::make_shared<bool>(false);
    Session& session = line.TheSession();
    CLI::App& create = line.Add("create", "vmlib create Nieuw.mdb --type FACT --layout layout.mdb",
                                "Makes a new document from the layout.",
                                [=, &session] { return Create(session, *arguments, !*noInfo); });
    create.add_option("document", arguments->document)->required();
    TakesTypeAndLayout(create, *arguments);
    create.add_flag("--no-info", *noInfo, "leave the Info table empty");
    line.TakesPassword(create);
    line.TakesJson(create);
}

}  // namespace

void AddDocumentCommands(CommandLine& line)
{
    AddOpen(line);
    AddSave(line);
    AddRelease(line);
    AddCreate(line);
    auto code = std::make_shared<std::int16_t>();
    Session& session = line.TheSession();
    CLI::App& error = line.Add("error", "vmlib error 14", "Prints the text of a database code.",
                               [=, &session] { return PrintErrorText(session, *code); });
    error.add_option("code", *code)->required();
    line.TakesJson(error);
}

}  // namespace vmlib::host
