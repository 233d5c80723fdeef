#include <algorithm>

#include "fuzz/FuzzTarget.h"
#include "fuzz/PageParts.h"
#include "fuzz/SmallDocument.h"
#include "jet/Check.h"
#include "jet/Salvage.h"

// A document with damage anywhere: repaired, opened, checked, read whole, changed. Everything ends, with an Error at
// worst. What the check finds sound stays sound whatever is done with it, and so does what a repair makes.
namespace vmlib::fuzz {

using namespace jet;

namespace {

const PageParts& Parts()
{
    static const PageParts parts(SmallDocument());
    return parts;
}

/// False when the step raised an Error.
template <class Step>
bool Succeeds(Step step)
{
    try {
        step();
    } catch (const Error&) {
        return false;
    }
    return true;
}

std::shared_ptr<Database> Open(Workspace& workspace, bool forRepair)
{
    std::shared_ptr<Database> database;
    Succeeds([&] {
        database = workspace.Open(documentPath,
                                  {.exclusive = true, .password = Text(documentPassword), .forRepair = forRepair});
    });
    return database;
}

std::vector<std::string> FaultsOf(Database& database)
{
    try {
        return Check(database).faults;
    } catch (const Error& error) {
        throw Broken{"the check raised " + std::to_string(error.Number())};
    }
}

/// No more rows or entries than their bytes allow.
std::size_t GreatestCount(Database& database)
{
    return std::size_t{database.GetPager().PageCount()} * pageSize;
}

void WalkIndexes(Database& database, Table& table)
{
    const std::size_t greatest = GreatestCount(database);
    for (std::size_t i = 0; i < table.Definition().trees.size(); ++i) {
        Succeeds([&] {
            std::size_t count = 0;
            for (auto at = table.Tree(i).First(); !at.AtEnd(); at.Next()) Promise(++count < greatest, "endless tree");
            for (auto at = table.Tree(i).Last(); !at.AtEnd(); at.Previous())
                Promise(++count < 2 * greatest, "endless tree, backwards");
        });
    }
}

/// The rows that can be read; a scan goes on behind a damaged one.
std::vector<std::pair<RowPointer, Row>> RowsOf(Database& database, Table& table)
{
    std::vector<std::pair<RowPointer, Row>> rows;
    const std::size_t greatest = GreatestCount(database);
    Succeeds([&] {
        auto cursor = table.Scan();
        bool more = true;
        for (std::size_t step = 0; more; ++step) {
            Promise(step < greatest, "endless scan");
            Succeeds([&] {
                more = cursor.Next();
                if (more) rows.emplace_back(cursor.Where(), cursor.Current());
            });
        }
    });
    return rows;
}

/// Changes of rows below know nothing of relations.
void DropRelations(Database& database)
{
    Succeeds([&] {
        for (const RelationDefinition& relation : database.Relations())
            Succeeds([&] { database.DropRelation(relation.name); });
    });
}

void ChangeRows(Database& database, Table& table)
{
    const auto rows = RowsOf(database, table);
    if (rows.empty()) return;
    const auto attempt = [&](const auto& change) {
        Succeeds([&] {
            UnitOfWork unit(database.GetPager());
            change();
            unit.Commit();
        });
    };
    Row fresh = rows.front().second;
    if (std::holds_alternative<std::int32_t>(fresh[0])) attempt([&] { fresh[0] = table.TakeAutoNumber(); });
    for (Value& value : fresh)
        if (auto* text = std::get_if<std::string>(&value)) *text = "nieuw";
    attempt([&] { table.Insert(fresh); });
    attempt([&] { table.Update(rows.back().first, rows.front().second); });
    attempt([&] { table.Update(rows.back().first, rows.back().second); });
    attempt([&] { table.Delete(rows[rows.size() / 2].first); });
}

/// Of every table that can be opened.
template <class Use>
void ForEachTable(Database& database, Use use)
{
    std::vector<Text> names;
    Succeeds([&] {
        for (const ObjectEntry& entry : database.Objects())
            if (entry.type == 1) names.push_back(entry.name);
    });
    for (const Text& name : names) {
        Succeeds([&] {
            const auto table = database.OpenTable(name);
            use(*table);
        });
    }
}

void ReadAll(Database& database)
{
    Succeeds([&] { database.Relations(); });
    Succeeds([&] { database.Queries(); });
    ForEachTable(database, [&](Table& table) {
        RowsOf(database, table);
        WalkIndexes(database, table);
    });
}

/// What a repair makes of the file is sound; one that it cannot repair stays as it is.
void Repair(const Bytes& file)
{
    test::MemoryFiles files;
    files.Put(documentPath, file);
    try {
        Salvage(
            files, u"Z:\\", [] { return Date{45000.25}; }, documentPath);
    } catch (const Error& error) {
        Promise(error.Is(ErrorNumber::CannotRepair) || error.Is(ErrorNumber::UnrecognizedFormat),
                "a repair that fails says that it cannot");
        Promise(files.Contents(documentPath) == file, "a file that is not repaired stays as it is");
        return;
    }
    Workspace workspace = WorkspaceOn(files);
    const auto database = Open(workspace, false);
    if (!database) return;  // the header was damaged where the password stands
    const auto faults = FaultsOf(*database);
    if (!faults.empty()) throw Broken{"a repaired file is sound: " + faults.front()};
}

void Run(std::string_view input)
{
    Bytes file = SmallDocument();
    for (const ByteEdit& edit : ParseEdits(input)) Parts().Apply(edit, file);
    Repair(file);
    test::MemoryFiles files;
    files.Put(documentPath, file);
    Workspace workspace = WorkspaceOn(files);
    auto database = Open(workspace, false);
    if (!database) database = Open(workspace, true);
    if (!database) {
        Promise(files.Contents(documentPath) == file, "a file that is refused stays as it is");
        return;
    }
    const bool wasSound = FaultsOf(*database).empty();
    ReadAll(*database);
    DropRelations(*database);
    ForEachTable(*database, [&](Table& table) {
        if (!table.Definition().system) ChangeRows(*database, table);
    });
    const auto faults = FaultsOf(*database);
    if (wasSound && !faults.empty()) throw Broken{"a sound file is sound after changes: " + faults.front()};
    Succeeds([&] { database->Close(); });
}

std::vector<std::string> Seeds()
{
    return {"",                                     // as it was made
            "leaf 0 at 12: 03 00 00 00\n",          // the next leaf is a table definition
            "long 0 at 10: 00 40\n",                // a long value has moved
            "definition 4 at 21: FF FF\n",          // as many columns as there can be
            "maps 0 at 2040: FF FF FF FF FF FF\n",  // pages owned twice
            "header 0 at 1536: 00 00\n",            // somebody died while writing
            "cut 40960\n"};
}

std::string Mutate(std::string_view input, std::mt19937& random)
{
    return MutateEdits(input, random, [&] { return Parts().RandomEdit(random); });
}

}  // namespace

const Target jetFile{"jetFile", Run, Seeds, Mutate};

}  // namespace vmlib::fuzz
