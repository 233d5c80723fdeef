#include <algorithm>

#include "fuzz/ByteEdits.h"
#include "fuzz/FuzzTarget.h"
#include "fuzz/SmallDocument.h"
#include "jet/Journal.h"
#include "support/FailingFiles.h"

// A document whose power was cut in the middle of a commit, with its journal, and damage to either. The next opener
// finds the document as it was before the commit, or leaves it as it stands.
//
//     state 3 at 0:              which of the moments of the power cut
//     journal 0 at 512: FF       damage to the journal; "cut" is its length
//     document 0 at 2048: FF     damage to the document
namespace vmlib::fuzz {

using namespace jet;
using test::FailingFiles;

namespace {

struct Moment
{
    Bytes document, journal;
};

/// Some rows of each table, so that the unit has pages of every kind.
void Change(Database& database)
{
    UnitOfWork unit(database.GetPager());
    for (const TextView name : {u"Klanten", u"Regels"}) {
        const auto table = database.OpenTable(name);
        std::vector<std::pair<RowPointer, Row>> rows;
        for (auto cursor = table->Scan(); cursor.Next();) rows.emplace_back(cursor.Where(), cursor.Current());
        table->Delete(rows[1].first);
        rows[2].second[1] = rows[1].second[1];
        table->Update(rows[2].first, rows[2].second);
    }
    unit.Commit();
}

/// The power goes at the n-th step; false when the change was finished by then.
bool CutPowerAt(int n, bool exclusive, std::vector<Moment>& moments)
{
    test::MemoryFiles disk;
    disk.Put(documentPath, SmallDocument());
    FailingFiles files(disk);
    files.Arm({.at = n, .kind = test::FaultKind::PowerCut});
    {
        Workspace workspace = WorkspaceOn(files);
        try {
            const auto database =
                workspace.Open(documentPath, {.exclusive = exclusive, .password = Text(documentPassword)});
            Change(*database);
        } catch (const Error&) {  // the power is off
        }
    }
    if (!files.Struck()) return false;
    files.AfterPowerCut(FailingFiles::Unsynced::Kept);
    Moment moment{disk.Contents(documentPath).value(), disk.Contents(Journal::PathFor(documentPath)).value_or(Bytes())};
    if (!moment.journal.empty() && moment.document != SmallDocument()) moments.push_back(std::move(moment));
    return true;
}

const std::vector<Moment>& Moments()
{
    static const std::vector<Moment> moments = [] {
        std::vector<Moment> made;
        for (const bool exclusive : {true, false})
            for (int n = 1; CutPowerAt(n, exclusive, made);) ++n;
        return made;
    }();
    return moments;
}

/// The moment that the edits choose, damaged as they say.
Moment MomentOf(const std::vector<ByteEdit>& edits)
{
    std::size_t state = 0;
    for (const ByteEdit& edit : edits)
        if (edit.part == "state") state = edit.index;
    Moment moment = Moments()[state % Moments().size()];
    for (const ByteEdit& edit : edits) {
        if (edit.part == "journal" || edit.part == "cut") Apply(edit, 0, moment.journal);
        if (edit.part == "document") Apply(edit, 0, moment.document);
    }
    return moment;
}

void Run(std::string_view input)
{
    const std::vector<ByteEdit> edits = ParseEdits(input);
    const Moment moment = MomentOf(edits);
    test::MemoryFiles files;
    files.Put(documentPath, moment.document);
    files.Put(Journal::PathFor(documentPath), moment.journal);
    Workspace workspace = WorkspaceOn(files);
    try {
        workspace.Open(documentPath, {.exclusive = true, .password = Text(documentPassword)});
    } catch (const Error&) {  // refused, which is an answer
    }
    const Bytes after = files.Contents(documentPath).value();
    if (after == moment.document) return;
    const bool documentIsDamaged =
        std::any_of(edits.begin(), edits.end(), [](const auto& e) { return e.part == "document"; });
    if (!documentIsDamaged) Promise(after == SmallDocument(), "a journal is played whole or not at all");
    Promise(after.size() == SmallDocument().size(), "the document has its former size");
}

std::vector<std::string> Seeds()
{
    std::vector<std::string> seeds;
    for (std::size_t i = 0; i < Moments().size(); ++i) seeds.push_back("state " + std::to_string(i) + " at 0:\n");
    return seeds;
}

ByteEdit RandomEdit(std::mt19937& random)
{
    constexpr std::size_t headerSize = 512, recordSize = 8 + pageSize;
    const std::size_t size = Moments()[random() % Moments().size()].journal.size();
    ByteEdit edit;
    edit.part = "journal";
    for (std::size_t count = 1 + random() % 8; count > 0; --count)
        edit.bytes.push_back(static_cast<std::uint8_t>(random() % 3 == 0 ? 0 : random()));
    switch (random() % 8) {
        case 0:
            edit.part = "cut";
            edit.offset = random() % (size + recordSize);
            break;
        case 1:
            edit.part = "state";
            edit.index = random() % Moments().size();
            edit.bytes.clear();
            break;
        case 2:
            edit.part = "document";
            edit.offset = random() % SmallDocument().size();
            break;
        case 3:
        case 4:
            edit.offset = random() % headerSize;
            break;
        default:  // the head of a record, mostly
            edit.offset = headerSize + random() % std::max<std::size_t>(1, size / recordSize) * recordSize +
                          (random() % 3 == 0 ? random() % recordSize : random() % 8);
    }
    return edit;
}

std::string Mutate(std::string_view input, std::mt19937& random)
{
    return MutateEdits(input, random, [&] { return RandomEdit(random); });
}

}  // namespace

const Target journal{"journal", Run, Seeds, Mutate};

}  // namespace vmlib::fuzz
