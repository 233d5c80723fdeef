#include <ostream>

#include "automation/Convert.h"
#include "host/CommandLine.h"
#include "host/Json.h"
#include "host/RecoverSteps.h"

// recover: what a left working copy or conversion copy holds, and the way back into its document.
namespace vmlib::host {

namespace {

struct RecoverArguments
{
    std::string working, document, type, layout;
};

template <class Value>
Json OrNull(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json();
}

Json NamesAsJson(const std::vector<Text>& names)
{
    Json list = Json::array();
    for (const Text& name : names) list.push_back(ToUtf8(name));
    return list;
}

Json RowAsJson(const RowDifference& row)
{
    constexpr const char* kinds[] = {"onlyInCopy", "onlyInDocument", "changed"};
    Json fields = Json::array();
    for (const FieldDifference& field : row.fields) {
        Json one = {{"name", ToUtf8(field.field)}};
        if (row.kind != RowDifference::OnlyInDocument) one["copy"] = OrNull(field.copy);
        if (row.kind != RowDifference::OnlyInCopy) one["document"] = OrNull(field.document);
        fields.push_back(std::move(one));
    }
    return {{"kind", kinds[row.kind]}, {"key", row.key}, {"fields", std::move(fields)}};
}

Json TableAsJson(const TableDifference& table)
{
    Json examples = Json::array();
    for (const RowDifference& row : table.examples) examples.push_back(RowAsJson(row));
    return {{"name", ToUtf8(table.table)},
            {"onlyInCopy", table.onlyInCopy},
            {"onlyInDocument", table.onlyInDocument},
            {"changed", table.changed},
            {"fieldsOnlyInCopy", NamesAsJson(table.copyFields)},
            {"fieldsOnlyInDocument", NamesAsJson(table.documentFields)},
            {"examples", std::move(examples)}};
}

void PrintJson(Session& session, const std::string& copy, const CopyReport& report, const SaveReport& saved)
{
    Json tables = Json::array(), notes = Json::array();
    for (const TableDifference& table : report.tables) tables.push_back(TableAsJson(table));
    for (const auto* list : {&report.notes, &saved.notes})
        for (const std::string& note : *list) notes.push_back(note);
    const auto path = [&](const Text& text) { return text.empty() ? Json() : Json(session.Native(text)); };
    const Json json = {{"copy", copy},
                       {"document", path(report.document)},
                       {"exists", report.isThere},
                       {"inUseBy", report.documentInfo.inUseBy ? Json(ToUtf8(*report.documentInfo.inUseBy)) : Json()},
                       {"version", OrNull(report.copyInfo.version)},
                       {"layoutVersion", report.layoutVersion},
                       {"documentVersion", OrNull(report.documentInfo.version)},
                       {"unread", OrNull(report.unread)},
                       {"tables", std::move(tables)},
                       {"notes", std::move(notes)},
                       {"saved", path(saved.saved)},
                       {"backup", path(saved.backup)},
                       {"removed", saved.isRemoved}};
    session.out << ToLine(json) << "\n";
}

std::string Rows(std::uint64_t count)
{
    return std::to_string(count) + (count == 1 ? " row " : " rows ");
}

void PrintRow(std::ostream& out, const RowDifference& row)
{
    constexpr const char* kinds[] = {"only in the copy:", "only in the document:", "changed:"};
    const auto shown = [](const std::optional<std::string>& value) {
        return value ? "\"" + Printable(FromUtf8(*value)) + "\"" : std::string("Null");
    };
    out << "    " << kinds[row.kind];
    if (!row.key.empty()) out << " " << Printable(FromUtf8(row.key));
    for (const FieldDifference& field : row.fields) {
        out << "  " << Printable(field.field) << " ";
        if (row.kind == RowDifference::Changed)
            out << shown(field.copy) << " in the copy, " << shown(field.document) << " in the document";
        else
            out << shown(field.copy ? field.copy : field.document);
    }
    out << "\n";
}

void PrintTable(std::ostream& out, const TableDifference& table)
{
    out << "  " << Printable(table.table) << ": " << Rows(table.onlyInCopy) << "only in the copy, "
        << table.onlyInDocument << " only in the document, " << table.changed << " changed\n";
    for (const RowDifference& row : table.examples) PrintRow(out, row);
    for (const Text& name : table.copyFields) out << "    field only in the copy: " << Printable(name) << "\n";
    for (const Text& name : table.documentFields) out << "    field only in the document: " << Printable(name) << "\n";
}

void PrintDocument(Session& session, const CopyReport& report)
{
    std::ostream& out = session.out;
    if (report.document.empty()) {
        out << "  it names no document\n";
        return;
    }
    const std::string document = session.Native(report.document);
    const Text user = report.documentInfo.inUseBy.value_or(Text());
    if (!report.isThere)
        out << "  " << document << " is not there\n";
    else if (report.unread)
        out << "  " << document << " cannot be read: " << *report.unread << "\n";
    else
        out << "  " << document << " is in use by " << (user.empty() ? "nobody" : Printable(user)) << "\n";
}

void PrintText(Session& session, const std::string& copy, const CopyReport& report)
{
    std::ostream& out = session.out;
    out << copy << ": " << (report.isConversionCopy ? "a conversion copy" : "a working copy");
    if (!report.document.empty()) out << " of " << session.Native(report.document);
    out << ", version " << *report.copyInfo.version;
    if (*report.copyInfo.version != report.layoutVersion)
        out << " (the layout is of version " << report.layoutVersion << ": saving converts it)";
    out << "\n";
    PrintDocument(session, report);
    for (const std::string& note : report.notes) out << "  " << note << "\n";
    bool differs = false;
    for (const TableDifference& table : report.tables) {
        if (table.IsNone()) continue;
        differs = true;
        PrintTable(out, table);
    }
    if (report.isThere && !report.unread && !differs) out << "  both hold the same rows\n";
}

void PrintSave(Session& session, const std::string& copy, const SaveReport& saved)
{
    session.out << "saved as " << session.Native(saved.saved) << "\n";
    if (!saved.backup.empty()) session.out << "what stood there is now " << session.Native(saved.backup) << "\n";
    for (const std::string& note : saved.notes) session.out << note << "\n";
    if (saved.isRemoved) session.out << copy << " was removed\n";
}

/// Where to save; "" for nowhere.
Text Target(Session& session, const RecoverArguments& arguments, const CopyReport& report)
{
    if (!arguments.document.empty()) {
        Text target = session.platform.files.FullPath(session.DatabasePath(arguments.document));
        if (session.platform.files.Facts(target)) throw FileError(FileFault::Exists, target);
        return target;
    }
    if (report.document.empty()) {
        session.err << "nothing was changed; name a new DOCUMENT to save the copy\n";
        return {};
    }
    session.out.flush();
    if (session.desktop.Confirm(u"De kopie opslaan als " + report.document + u"?")) return report.document;
    session.err << "nothing was changed; --yes saves the copy over " << session.Native(report.document)
                << ", a new DOCUMENT saves it beside\n";
    return {};
}

int Recover(Session& session, const RecoverArguments& arguments)
{
    const Text copy = session.DatabasePath(arguments.working);
    try {
        Recovery recovery(session, {FromUtf8(arguments.type), session.DatabasePath(arguments.layout)}, copy);
        const CopyReport report = recovery.Examine();
        if (!session.options.json) PrintText(session, arguments.working, report);
        SaveReport saved;
        const Text target = Target(session, arguments, report);
        if (!target.empty()) saved = recovery.SaveAs(report, target);
        if (session.options.json)
            PrintJson(session, arguments.working, report, saved);
        else if (!target.empty())
            PrintSave(session, arguments.working, saved);
        return exitDone;
    } catch (const ConversionStop& stop) {
        session.out.flush();
        const int code = stop.code != 0 ? session.ReportCode(stop.code) : exitError;
        if (stop.code == 0) session.err << stop.text << "\n";
        if (!stop.detail.empty()) session.err << Printable(FromUtf8(stop.detail)) << "\n";
        return code;
    }
}

}  // namespace

void AddRecoverCommand(CommandLine& line)
{
    auto arguments = std::make_shared<RecoverArguments>();
    Session& session = line.TheSession();
    CLI::App& recover = line.Add(
        "recover", "vmlib recover /tmp/~FA1A2B.tmp --type FACT --layout layout.mdb",
        "Shows what a left working or conversion copy holds that its document does not; saves it, after asking.",
        [=, &session] { return Recover(session, *arguments); });
    recover.add_option("working", arguments->working, "the copy, as status names it")->required();
    recover.add_option("document", arguments->document, "a new name to save it as, instead of over its document");
    recover.add_option("--type", arguments->type, "file type, as the layout knows it")->required();
    recover.add_option("--layout", arguments->layout, "layout database")->required();
    line.TakesYes(recover, "save it over its document, keeping a backup of that");
    line.TakesPassword(recover);
    line.TakesJson(recover);
}

}  // namespace vmlib::host
