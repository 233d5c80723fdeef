#include "jet/Salvage.h"

#include <algorithm>
#include <map>

#include "core/ByteOrder.h"
#include "jet/Catalogue.h"
#include "jet/Check.h"
#include "jet/Damage.h"
#include "jet/FreshFile.h"
#include "jet/HeaderPage.h"
#include "jet/IndexTree.h"
#include "jet/Journal.h"
#include "jet/NewFile.h"
#include "jet/Opening.h"
#include "jet/SalvageCatalogue.h"
#include "jet/SalvageDefinition.h"
#include "jet/SalvageRelations.h"
#include "jet/SalvageRows.h"
#include "jet/SystemRows.h"
#include "jet/SystemTables.h"
#include "jet/TableBuilder.h"

namespace vmlib::jet {

namespace {

/// What the header of the damaged file still says.
struct Header
{
    bool isWhole = false;
    bool hasPassword = false;  // what stands there for the password can be relied on; it may be none
    SortLocale locale;
};

/// Builds the sound file.
class Rebuilding
{
public:
    Rebuilding(FilePager& source, FreshFile& fresh, Files& files, TextView temporaryFolder, Date now)
        : source_(source),
          fresh_(fresh),
          pager_(fresh.GetPager()),
          files_(files),
          temporaryFolder_(temporaryFolder),
          now_(now)
    {
    }

    void Run(const Header& header)
    {
        const auto systemTables = LayDownSystemTables(pager_, header.locale, {});
        if (header.hasPassword) HeaderPage::CopyPassword(source_.Read(0).Bytes(), pager_.Edit(0).Bytes());
        const SalvageSurvey survey(source_);
        catalogue_.emplace(source_, survey, header.locale, now_);
        if (!header.hasPassword) catalogue_->Objects().counts->Note("the header was lost, and a password with it");
        SalvageRelations relations(*catalogue_);
        relations.Tidy();
        for (const SalvagedSource& table : catalogue_->Tables()) Build(table, survey);
        RelateTables(pager_, fresh_.Allocator(), built_, pages_);
        relations.Verify(pager_, fresh_.Allocator(), built_);
        catalogue_->TidyRights();
        WriteSystemTables(systemTables);
    }

    std::vector<SalvagedTable> Counts()
    {
        auto& counts = catalogue_->Counts();
        return {std::make_move_iterator(counts.begin()), std::make_move_iterator(counts.end())};
    }

private:
    void Build(const SalvagedSource& table, const SalvageSurvey& survey)
    {
        SalvagedTable& counts = *table.counts;
        TableBuilder builder(pager_, fresh_.Allocator(), table.definition, files_, temporaryFolder_);
        UnfitRows unfit;
        builder.Tolerate(unfit);
        SalvageRows rows(source_, survey, table.definition, counts);
        builder.Fill(rows);
        const TableDefinition& made = built_.emplace_back(builder.Finish());
        built_.back().name = table.definition.name;
        pages_.emplace(table.definition.page, made.page);
        counts.rows = made.rowCount;
        NoteUnfit(made, unfit, counts);
    }

    static void NoteUnfit(const TableDefinition& table, const UnfitRows& unfit, SalvagedTable& counts)
    {
        counts.lostRows += unfit.tooLong;
        if (unfit.tooLong > 0) counts.Note("rows are too long to be written again");
        const auto name = [&](std::size_t tree) {  // users know the index by its own name, not by a relation's
            std::string found;
            for (const IndexDefinition& index : table.indexes) {
                const bool better = found.empty() || index.kind != IndexDefinition::Kind::Relation;
                if (index.realIndex == tree && better) found = ToUtf8(index.name);
            }
            return "index " + found;
        };
        for (const std::size_t tree : unfit.repeated)
            counts.Note(name(tree) + " is no longer unique: a key comes twice");
        for (const std::size_t tree : unfit.withNulls)
            counts.Note(name(tree) + " takes Nulls now: there is one in a key");
    }

    void WriteSystemTables(const std::vector<TableDefinition>& to)
    {
        SalvagedSystemTable* const from[] = {&catalogue_->Objects(), &catalogue_->Rights(), &catalogue_->Queries(),
                                             &catalogue_->Relations()};
        for (std::size_t i = 0; i < to.size(); ++i) pages_.emplace(from[i]->definition.page, to[i].page);
        for (std::size_t i = 0; i < to.size(); ++i) {
            SystemRows rows(pager_, fresh_.Allocator(), to[i], from[i]->definition);
            const bool hasIds = to[i].page == objectsTablePage || to[i].page == acesTablePage;
            for (Row& row : from[i]->rows) {
                auto* id = std::get_if<std::int32_t>(&row.front());
                if (hasIds && id != nullptr) *id = ChangedId(*id, pages_);
                rows.Add(row);
            }
            from[i]->counts->rows = from[i]->rows.size();
        }
    }

    FilePager& source_;
    FreshFile& fresh_;
    FilePager& pager_;
    Files& files_;
    TextView temporaryFolder_;
    Date now_;
    std::optional<SalvageCatalogue> catalogue_;
    std::vector<TableDefinition> built_;  // in the order of the catalogue's tables
    PageChanges pages_;
};

std::unique_ptr<OpenFile> OpenForRepair(Files& files, const Text& path)
{
    if (RequireFile(files, path).isReadOnly) throw Error(ErrorNumber::CannotOpenFile, {path});
    try {
        SettleJournal(files, path);
        return OpenForDatabase(files, path, false, true);
    } catch (const Error& error) {
        if (error.Is(ErrorNumber::FileInUse) || error.Is(ErrorNumber::ExclusivelyOpen))
            throw Error(ErrorNumber::DatabaseInUse, {path});
        throw;
    }
}

/// True when a page says that it is the definition of MSysObjects, or a row of it.
bool HasTraceOfCatalogue(FilePager& pager)
{
    if (pager.PageCount() <= objectsTablePage) return false;
    if (IsOfKind(pager.Read(objectsTablePage).Data(), PageKind::Definition)) return true;
    return !SalvageSurvey(pager).PagesOf(objectsTablePage).empty();
}

/// The locale that the catalogue's columns have; no value when that cannot be read.
std::optional<SortLocale> LocaleOfCatalogue(FilePager& pager)
{
    try {
        return Table::ReadDefinition(pager, objectsTablePage).columns.at(system::object::name).locale;
    } catch (const Damaged&) {
        return std::nullopt;
    }
}

bool IsKnown(const SortLocale& locale)
{
    return IndexKey::KnowsOrder(locale.langid) && locale.codePage == 1252;
}

/// @throws Error 3343 when it is no file of the format, 3424 for a sort order that is not known
Header ReadHeader(FilePager& pager, const Text& path)
{
    Header header;
    if (pager.PageCount() == 0) throw Error(ErrorNumber::UnrecognizedFormat, {path});
    const PageRef page = pager.Read(0);
    const HeaderFault fault = HeaderPage::FaultOf(page.Bytes());
    if (fault == HeaderFault::Format4 || fault == HeaderFault::Encrypted) RequireFormat(page.Bytes(), path);
    if (fault == HeaderFault::None) {
        const HeaderPage stored(page.Bytes());
        header.hasPassword = stored.NamesFreeMaps() && stored.NamesSystemTables() && stored.HasPossiblePassword();
        header.locale = stored.Locale();
        header.isWhole = header.hasPassword && IsKnown(header.locale);
        if (header.isWhole) return header;
    }
    if (!HasTraceOfCatalogue(pager)) throw Error(ErrorNumber::UnrecognizedFormat, {path});
    header.locale = LocaleOfCatalogue(pager).value_or(SortLocale{});
    if (!IsKnown(header.locale)) throw Error(ErrorNumber::InvalidLocale);
    return header;
}

/// Sound, and the definitions count their rows right.
bool IsSound(FilePager& pager, std::vector<SalvagedTable>& tables)
{
    const CheckReport report = Check(pager);
    if (!report.Sound()) return false;
    PageAllocator allocator(pager);
    Catalogue catalogue(pager, allocator, [] { return Date(); });
    std::size_t rows = 0;
    for (const ObjectEntry& entry : catalogue.Objects()) {
        if (entry.type != system::tableType) continue;
        SalvagedTable& table = tables.emplace_back();
        table.name = entry.name;
        table.rows = Table::ReadDefinition(pager, static_cast<PageNumber>(entry.id)).rowCount;
        rows += table.rows;
    }
    return rows == report.rows;
}

void ClearDamageMarks(FilePager& pager)
{
    const CommitWords words = ReadCommitWords(pager.File());
    bool marked = false;
    for (std::size_t at = 0; at < words.size(); at += 2) {
        const auto word = LoadLittle<std::uint16_t>(&words[at]);
        marked = marked || word == writingWord || word == damagedWord;
    }
    if (!marked) return;
    UnitOfWork unit(pager);
    const PageEdit header = pager.Edit(0);  // slot 0 gets its next word with the commit
    for (std::size_t at = 0; at < words.size(); at += 2) {
        std::uint8_t* const word = header.Data() + commitWordsAt + at;
        const auto value = LoadLittle<std::uint16_t>(word);
        if (value == writingWord || value == damagedWord) StoreLittle(word, firstWord);
    }
    unit.Commit();
}

Error CannotRepair(const std::string& reason)
{
    const Error plain(ErrorNumber::CannotRepair);
    return Error(plain.Number(), plain.Description() + u" (" + FromUtf8(reason) + u")");
}

/// What disks and users do is told as it is; that the contents allow no sound file is 3056.
bool IsOfTheContents(const Error& error)
{
    return error.Is(ErrorNumber::DamagedDatabase) || error.Is(ErrorNumber::DuplicateValue) ||
           error.Is(ErrorNumber::NullInKey) || error.Is(ErrorNumber::RecordTooLarge) ||
           error.Is(ErrorNumber::NotSupported) || error.Is(ErrorNumber::InvalidLocale) ||
           error.Is(ErrorNumber::DataConversion) || error.Is(ErrorNumber::FieldTooSmall);
}

std::vector<SalvagedTable> Rebuild(FilePager& source, FreshFile& fresh, Files& files, TextView temporaryFolder,
                                   Date now, const Header& header)
{
    UnitOfWork unit(fresh.GetPager());
    Rebuilding rebuilding(source, fresh, files, temporaryFolder, now);
    rebuilding.Run(header);
    unit.Commit();
    const CheckReport report = Check(fresh.GetPager());
    if (!report.Sound()) throw CannotRepair(report.faults.front());
    return rebuilding.Counts();
}

}  // namespace

SalvageReport Salvage(Files& files, TextView temporaryFolder, Clock now, TextView name)
{
    const Text path = files.FullPath(WithExtension(name));
    PagerOptions options;
    options.temporaryFolder = temporaryFolder;
    std::optional<FilePager> source(std::in_place, files, OpenForRepair(files, path), options);
    SalvageReport report;
    try {
        const Header header = ReadHeader(*source, path);
        report.wasSound = header.isWhole && IsSound(*source, report.tables);
        if (report.wasSound) {
            ClearDamageMarks(*source);
            return report;
        }
        FreshFile fresh(files, temporaryFolder, path, path);
        report.tables = Rebuild(*source, fresh, files, temporaryFolder, now(), header);
        fresh.Settle();
        source.reset();  // whose lock would be in the way of the new file
        fresh.ReplaceTarget();
    } catch (const Error& error) {
        if (IsOfTheContents(error)) throw CannotRepair(error.what());
        throw;
    }
    return report;
}

}  // namespace vmlib::jet
