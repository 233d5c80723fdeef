#include <chrono>
#include <iostream>

#include "host/CommandLine.h"
#include "host/ConvertJobs.h"
#include "host/ConvertList.h"
#include "host/ConvertProgress.h"
#include "host/FileStream.h"
#include "host/ValueText.h"

namespace vmlib::host {

namespace {

struct ConvertArguments
{
    std::vector<std::string> documents, globs, allowed;
    std::string type, layout, backupFolder, report;
    bool recursive = false, noBackup = false, dryRun = false;
    int jobs = 4;  // most of the time goes into waiting for the disk
};

bool EndsWithIgnoringCase(const std::string& text, std::string_view end)
{
    return text.size() >= end.size() &&
           EqualIgnoringCase(FromUtf8(std::string_view(text).substr(text.size() - end.size())), FromUtf8(end));
}

Text FolderArgument(Session& session, const std::string& native)
{
    Text folder = session.platform.files.FullPath(session.PathText(native));
    const auto facts = session.platform.files.Facts(folder);
    if (!facts || !facts->isFolder) throw UsageError{native + " is no folder"};
    if (!folder.ends_with(u'\\')) folder += u'\\';
    return folder;
}

ConvertOptions OptionsOf(Session& session, const ConvertArguments& arguments)
{
    ConvertOptions options;
    options.type = FromUtf8(arguments.type);
    options.layout = session.platform.files.FullPath(session.DatabasePath(arguments.layout));
    options.backup = !arguments.noBackup;
    options.dryRun = arguments.dryRun;
    if (!arguments.backupFolder.empty()) options.backupFolder = FolderArgument(session, arguments.backupFolder);
    for (const std::string& allowed : arguments.allowed) options.allowed.push_back(FromUtf8(allowed));
    return options;
}

/// Said before the work begins: nobody wants to hear after an hour that the report has no place.
void RequireReport(Session& session, const std::string& report)
{
    if (report.empty()) return;
    if (!EndsWithIgnoringCase(report, ".json") && !EndsWithIgnoringCase(report, ".html"))
        throw UsageError{"a report is a .json or a .html file"};
    const Text path = session.platform.files.FullPath(session.PathText(report));
    const auto folder = session.platform.files.Facts(path.substr(0, path.rfind(u'\\') + 1));
    if (!folder || !folder->isFolder) throw UsageError{"there is no folder for the report " + report};
}

void WriteReport(Session& session, const std::string& file, const BatchReport& report)
{
    FileStream out(session.platform.files.Open(
        session.PathText(file), {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateOrTruncate}));
    out << (EndsWithIgnoringCase(file, ".html") ? ReportAsHtml(report) : ReportAsJson(report));
    out.Close();
}

/// What is printed of a document: on a terminal with a bar only what somebody has to know.
void Print(Session& session, ConvertProgress& progress, const Json& document, bool onlyTroubles)
{
    const std::string outcome = document.at("outcome").get<std::string>();
    const bool isQuiet = document.at("losses").empty() && outcome != "failed" && document.at("notes").empty();
    if (onlyTroubles && isQuiet) return;
    progress.Clear();
    if (session.options.json)
        session.out << ToLine(document) << "\n" << std::flush;
    else
        session.out << Printable(FromUtf8(ReportLines(document))) << std::flush;
}

void PrintSummary(Session& session, const BatchReport& report)
{
    const char* const done = report.dryRun ? "planned" : "converted";
    session.err << CountOf(report, done) << " " << done << ", " << CountOf(report, "skipped") << " skipped, "
                << CountOf(report, "failed") << " failed";
    if (report.stopped) session.err << ", " << CountOf(report, "not done") << " not done: stopped";
    session.err << "\n";
    for (const std::string& note : report.notes) session.err << "note: " << Printable(FromUtf8(note)) << "\n";
}

int Convert(Session& session, const ConvertArguments& arguments)
{
    const auto begin = std::chrono::steady_clock::now();
    const ConvertOptions options = OptionsOf(session, arguments);
    RequireReport(session, arguments.report);
    BatchReport report;
    report.type = arguments.type;
    report.layout = session.Native(options.layout);
    report.started = IsoDate(session.platform.system.Now());
    report.dryRun = arguments.dryRun;
    const auto documents =
        ListDocuments(session, {arguments.documents, arguments.recursive, arguments.globs, options.layout}, std::cin);

    Batch* const batch = session.platform.processes.LongBatch();
    ConvertProgress progress(batch, documents.size(), session.err);
    const bool onlyTroubles = progress.IsShown() && batch->OutputIsTerminal() && !session.options.json;
    ConvertJobs jobs(session, options, arguments.jobs);
    progress.Draw();
    const auto done = [&](const Json& document) {
        progress.Done(document);
        Print(session, progress, document, onlyTroubles);
        report.documents.push_back(document);
    };
    report.stopped = jobs.Run(documents, done, [&] { progress.Draw(); });
    progress.Clear();
    report.notes = jobs.Notes();
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    PrintSummary(session, report);
    if (!arguments.report.empty()) WriteReport(session, arguments.report, report);
    return CountOf(report, "failed") + CountOf(report, "not done") > 0 ? exitSomeFailed : exitDone;
}

}  // namespace

void AddConvertCommand(CommandLine& line)
{
    auto arguments = std::make_shared<ConvertArguments>();
    Session& session = line.TheSession();
    CLI::App& convert =
        line.Add("convert", "vmlib convert Archief --recursive --type FACT --layout layout.mdb --report bericht.html",
                 "Brings documents to the layout's version: backup, conversion, verification, save. A document is "
                 "changed whole or "
                 "not at all; run again, what is done is skipped.",
                 [=, &session] { return Convert(session, *arguments); });
    convert.add_option("documents", arguments->documents, "documents, folders, or - for names on standard input")
        ->required();
    convert.add_option("--type", arguments->type, "file type, as the layout knows it")->required();
    convert.add_option("--layout", arguments->layout, "layout database")->required();
    convert.add_flag("--recursive", arguments->recursive, "folders in folders too");
    convert.add_option("--glob", arguments->globs, "names in folders, as *.mdb; else all that are databases")
        ->allow_extra_args(false);
    auto* noBackup = convert.add_flag("--no-backup", arguments->noBackup, "keep no copy of the old document");
    convert.add_option("--backup-folder", arguments->backupFolder, "where NAME-vN.bak goes; else beside the document")
        ->excludes(noBackup);
    convert.add_flag("--dry-run", arguments->dryRun, "do it on a copy and tell what would be lost");
    convert.add_option("--allow", arguments->allowed, "TABLE or TABLE.FIELD (or a query) that may lose something")
        ->allow_extra_args(false);
    convert.add_option("--jobs", arguments->jobs, "processes that convert at the same time; 4 unless given")
        ->check(CLI::Range(1, 256));
    convert.add_option("--report", arguments->report, "a .json or .html file that tells of the whole batch");
    line.TakesPassword(convert);
    line.TakesJson(convert);
}

}  // namespace vmlib::host
