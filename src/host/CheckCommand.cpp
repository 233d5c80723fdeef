#include <ostream>

#include "host/CommandLine.h"
#include "host/Json.h"
#include "jet/Check.h"

namespace vmlib::host {

namespace {

jet::CheckReport CheckFile(Session& session, const Text& path)
{
    jet::Workspace workspace = session.Storage();
    jet::OpenOptions options;
    options.readOnly = true;
    options.password = session.Password();
    return jet::Check(*workspace.Open(path, options));
}

int Check(Session& session, const std::string& file)
{
    const jet::CheckReport report = CheckFile(session, session.DatabasePath(file));
    if (session.options.json) {
        const Json json = {{"ok", report.Sound()},  {"tables", report.tables},
                           {"rows", report.rows},   {"indexEntries", report.indexEntries},
                           {"pages", report.pages}, {"faults", report.faults},
                           {"notes", report.notes}};
        session.out << ToLine(json) << "\n";
        return report.Sound() ? exitDone : exitError;
    }
    for (const std::string& note : report.notes) session.err << "note: " << Printable(FromUtf8(note)) << "\n";
    for (const std::string& fault : report.faults) session.out << Printable(FromUtf8(fault)) << "\n";
    if (!report.Sound()) return exitError;
    session.out << "ok " << report.tables << " tables " << report.rows << " rows " << report.indexEntries
                << " index entries " << report.pages << " pages\n";
    return exitDone;
}

}  // namespace

void AddCheckCommand(CommandLine& line)
{
    auto file = std::make_shared<std::string>();
    Session& session = line.TheSession();
    CLI::App& check =
        line.Add("check", "vmlib check Kas.mdb", "Checks the structure of a file strictly: one line a fault.",
                 [=, &session] { return Check(session, *file); });
    check.add_option("file", *file)->required();
    line.TakesPassword(check);
    line.TakesJson(check);
}

}  // namespace vmlib::host
