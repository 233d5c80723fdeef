#include <ostream>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "host/BackupFiles.h"
#include "host/CommandLine.h"
#include "host/Json.h"

// repair, compact: files made sound, and small, in place or under another name.
namespace vmlib::host {

namespace {

constexpr std::int32_t systemObject = static_cast<std::int32_t>(0x80000002);

ObjectRef Engine(Session& session)
{
    return session.Create(u"VMDEngine.DBEngine");
}

struct TableRows
{
    Text name;
    std::int32_t rows;
};

/// How many rows each user table has now.
std::vector<TableRows> CountRows(Session& session, const Text& path)
{
    std::vector<TableRows> counts;
    const Closer database(session.OpenDatabase(path, true));
    const ObjectRef tables = ToObject(Get(database.Object(), u"TableDefs"));
    const std::int32_t count = ToLong(Get(tables, u"Count"));
    for (std::int32_t i = 0; i < count; ++i) {
        const ObjectRef table = ToObject(Get(tables, u"Item", i));
        if ((ToLong(Get(table, u"Attributes")) & systemObject) != 0) continue;
        counts.push_back({ToText(Get(table, u"Name")), ToLong(Get(table, u"RecordCount"))});
    }
    return counts;
}

/// What the engine's Errors say of the repair: a table each.
std::vector<Text> Losses(const ObjectRef& engine)
{
    std::vector<Text> losses;
    const ObjectRef errors = ToObject(Get(engine, u"Errors"));
    const std::int32_t count = ToLong(Get(errors, u"Count"));
    losses.reserve(static_cast<std::size_t>(count));
    for (std::int32_t i = 0; i < count; ++i)
        losses.push_back(ToText(Get(ToObject(Get(errors, u"Item", i)), u"Description")));
    return losses;
}

int Repair(Session& session, const std::string& file)
{
    const Text path = session.DatabasePath(file);
    Variant code = std::int16_t{0};
    Call(session.Routines(), u"DBL_RepareerDataBase", path, code);
    if (ToInteger(code) != 0) return session.ReportCode(ToInteger(code));
    const std::vector<Text> losses = Losses(Engine(session));  // what the repair left there; compacting adds nothing
    // A repair needs no password, looking at the tables does: what is known is told in any case.
    std::vector<TableRows> tables;
    const auto unread = ResumeNext([&] { tables = CountRows(session, path); });

    if (session.options.json) {
        Json json = {{"ok", losses.empty()}, {"tables", Json::array()}, {"losses", Json::array()}};
        for (const TableRows& table : tables)
            json["tables"].push_back({{"name", ToUtf8(table.name)}, {"rows", table.rows}});
        for (const Text& loss : losses) json["losses"].push_back(ToUtf8(loss));
        session.out << ToLine(json) << "\n";
    } else {
        for (const TableRows& table : tables)
            session.out << Printable(table.name) << ": " << table.rows << (table.rows == 1 ? " row\n" : " rows\n");
        for (const Text& loss : losses) session.out << Printable(loss) << "\n";
        if (losses.empty()) session.out << "nothing was lost\n";
    }
    if (unread) session.err << "the tables of the repaired file were not counted\n";
    return losses.empty() ? exitDone : exitSomeFailed;
}

std::uint64_t SizeOf(Session& session, const Text& path)
{
    const auto facts = session.platform.files.Facts(path);
    return facts ? facts->size : 0;
}

/// A file of a later format would come back as one of format 3, which its own programs may not want.
void RequireWritableFormat(Session& session, const Text& path)
{
    const Closer database(session.OpenDatabase(path, true));
    if (ToText(Get(database.Object(), u"Version")) == u"3.0") return;
    const Error plain(ErrorNumber::UnrecognizedFormat, {path});
    throw Error(plain.Number(), plain.Description() + u" (the file has a later format: name a NEW file of format 3)");
}

/// Compacted beside the file, then put in its place in one step.
void CompactInPlace(Session& session, const Text& path)
{
    Files& files = session.platform.files;
    const Text beside = UnfinishedName(files, path);
    RequireWritableFormat(session, path);
    const ObjectRef engine = Engine(session);
    Call(engine, u"CompactDatabase", path, beside, u"", std::int32_t{0}, session.Connect());
    try {
        files.Replace(beside, path);
    } catch (const Error&) {
        ResumeNext([&] { files.Delete(beside); });
        throw;
    }
}

int Compact(Session& session, const std::string& file, const std::string& target)
{
    const Text path = session.DatabasePath(file);
    const std::uint64_t before = SizeOf(session, path);
    const Text made = target.empty() ? path : session.DatabasePath(target);
    if (target.empty())
        CompactInPlace(session, path);
    else
        Call(Engine(session), u"CompactDatabase", path, made, u"", std::int32_t{0}, session.Connect());
    const std::uint64_t after = SizeOf(session, made);
    if (session.options.json)
        session.out << ToLine({{"file", session.Native(made)}, {"oldSize", before}, {"newSize", after}}) << "\n";
    else
        session.out << before << " bytes before, " << after << " bytes now\n";
    return exitDone;
}

struct RepairArguments
{
    std::string file, target;
};

}  // namespace

void AddRepairCommands(CommandLine& line)
{
    auto arguments = std::make_shared<RepairArguments>();
    Session& session = line.TheSession();
    CLI::App& repair =
        line.Add("repair", "vmlib repair Kas.mdb",
                 "Repairs and compacts a damaged file in place; prints the rows of each table and what was lost.",
                 [=, &session] { return Repair(session, arguments->file); });
    repair.add_option("file", arguments->file)->required();
    line.TakesPassword(repair);
    line.TakesJson(repair);

    CLI::App& compact = line.Add("compact", "vmlib compact Kas.mdb Klein.mdb",
                                 "Writes a file anew without the room that it has no use for; in place without NEW.",
                                 [=, &session] { return Compact(session, arguments->file, arguments->target); });
    compact.add_option("file", arguments->file)->required();
    compact.add_option("new", arguments->target, "the new file, which must not be there yet");
    line.TakesPassword(compact);
    line.TakesJson(compact);
}

}  // namespace vmlib::host
