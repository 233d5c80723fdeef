#include <ostream>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "host/BackupFiles.h"
#include "host/CommandLine.h"
#include "host/ConvertCheck.h"
#include "host/ConvertSteps.h"
#include "host/Json.h"
#include "host/Leftovers.h"

// restore: a document's newest backup in its place.
namespace vmlib::host {

namespace {

/// Why a file cannot serve as a backup; "" when it can.
std::string WhyUnfit(Session& session, const Text& path)
{
    try {
        const InfoRecord info = ReadInfo(session, path);
        if (!info.type && !info.version) return "it has no record of a document";
        const auto faults = CheckStructure(session, path).faults;
        return faults.empty() ? std::string() : "damaged: " + faults.front();
    } catch (const Error& error) {
        return Described(error);
    }
}

/// The newest backup that is whole; the others are told.
Text FindBackup(Session& session, const Text& document)
{
    for (const Backup& backup : BackupsOf(session, document)) {
        const std::string reason = WhyUnfit(session, backup.path);
        if (reason.empty()) return backup.path;
        session.err << session.Native(backup.path) << " was passed over: " << Printable(FromUtf8(reason)) << "\n";
    }
    return {};
}

/// What stands in the way of replacing the document: a database code, or 0. Settles its journal, as opening does.
std::int16_t WhyNotReplaceable(Session& session, const Text& document)
{
    if (ToInteger(Call(session.Routines(), u"DBL_GetRechten", document)) == 0) return ConvertCode::cannotOverwrite;
    try {
        session.platform.files.Open(document, {FileAccess::ReadWrite, FileSharing::Exclusive});
    } catch (const FileError& error) {
        if (error.Fault() == FileFault::SharingViolation) return ConvertCode::cannotOpen;
        throw;
    }
    InfoRecord info;  // a damaged document is in nobody's use
    ResumeNext([&] { info = ReadInfo(session, document); });
    const bool isOthers = info.inUseBy && !info.inUseBy->empty() && *info.inUseBy != session.UserName();
    return isOthers ? std::int16_t{ConvertCode::inUseByOther} : std::int16_t{0};
}

/// The backup once more, complete beside the document and without the mark of whoever had the document then.
Text CopyBeside(Session& session, const Text& backup, const Text& document)
{
    Files& files = session.platform.files;
    const Text made = MakeUnfinished(files, document, files.Exists(document) ? document : backup);
    try {
        files.Copy(backup, made);
        const InfoRecord info = ReadInfo(session, made);
        if (info.inUseBy && !info.inUseBy->empty()) {
            InfoRecord freed;
            freed.inUseBy = u"";
            WriteInfo(session, made, freed);
        }
        return made;
    } catch (const Error&) {
        ResumeNext([&] { files.Delete(made); });
        throw;
    }
}

/// A journal that could not be played back belongs to the file that it stands beside, and would spoil the next one.
/// Returns its new name, beside that of the kept document; "" for none.
Text MoveJournal(Files& files, const Text& document, const Text& kept)
{
    const Text journal = document + Text(journalMark);
    if (!files.Exists(journal)) return {};
    const Text start = kept.empty() ? document + Text(backupMark) + u"journal" : kept + Text(journalMark);
    for (int n = 1;; ++n) {
        Text name = n == 1 ? start : start + u"-" + Decimal(n);
        if (!TakeName(files, journal, name)) continue;
        files.SyncFolder(document);
        return name;
    }
}

/// Puts the backup in place; returns the name of what stood there, "" for nothing. Until the last step the document is
/// what it was; then it is the backup's copy.
Text PutInPlace(Session& session, const Text& backup, const Text& document)
{
    Files& files = session.platform.files;
    const Text made = CopyBeside(session, backup, document);
    Text kept, journal;
    try {
        if (files.Exists(document)) kept = KeepAsBackup(session, document);
        journal = MoveJournal(files, document, kept);
        if (!kept.empty())
            files.Replace(made, document);
        else if (!TakeName(files, made, document))
            throw FileError(FileFault::Exists, document);  // somebody made it meanwhile
        files.SyncFolder(document);
        return kept;
    } catch (const Error&) {
        ResumeNext([&] { files.Delete(made); });
        ResumeNext([&] {
            if (!journal.empty()) files.Rename(journal, document + Text(journalMark));
            if (!kept.empty() && SameBytes(files, document, kept)) files.Delete(kept);
        });
        throw;
    }
}

void Print(Session& session, const std::string& document, const Text& backup, const Text& kept, bool isRestored)
{
    if (session.options.json) {
        const Json json = {{"document", document},
                           {"backup", session.Native(backup)},
                           {"kept", kept.empty() ? Json() : Json(session.Native(kept))},
                           {"restored", isRestored}};
        session.out << ToLine(json) << "\n";
    } else if (isRestored) {
        session.out << document << " is now what " << session.Native(backup) << " holds\n";
        if (!kept.empty()) session.out << "what stood there is now " << session.Native(kept) << "\n";
    }
}

int Restore(Session& session, const std::string& name)
{
    Files& files = session.platform.files;
    const Text document = files.FullPath(session.DatabasePath(name));
    if (files.Exists(document))
        if (const auto code = WhyNotReplaceable(session, document)) return session.ReportCode(code);
    const Text backup = FindBackup(session, document);
    if (backup.empty()) {
        session.err << "no backup of " << name << " stands beside it\n";
        return exitSomeFailed;
    }
    if (files.Exists(document) && SameBytes(files, document, backup)) {
        Print(session, name, backup, {}, false);
        session.err << name << " is what " << session.Native(backup) << " holds already: nothing was changed\n";
        return exitDone;
    }
    if (!session.desktop.Confirm(u"De reservekopie " + backup + u" terugzetten?")) {
        Print(session, name, backup, {}, false);
        session.err << "nothing was changed; --yes puts " << session.Native(backup) << " in place\n";
        return exitDone;
    }
    Print(session, name, backup, PutInPlace(session, backup, document), true);
    return exitDone;
}

}  // namespace

void AddRestoreCommand(CommandLine& line)
{
    auto document = std::make_shared<std::string>();
    Session& session = line.TheSession();
    CLI::App& restore =
        line.Add("restore", "vmlib restore Kas.mdb",
                 "Brings a document's newest backup back, after asking; what stood there is kept as a backup.",
                 [=, &session] { return Restore(session, *document); });
    restore.add_option("document", *document)->required();
    line.TakesYes(restore, "do it without asking");
    line.TakesPassword(restore);
    line.TakesJson(restore);
}

}  // namespace vmlib::host
