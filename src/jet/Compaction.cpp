#include "jet/Compaction.h"

#include <algorithm>

#include "jet/Damage.h"
#include "jet/Database.h"
#include "jet/Format4Header.h"
#include "jet/FreshFile.h"
#include "jet/HeaderPage.h"
#include "jet/NewFile.h"
#include "jet/Opening.h"
#include "jet/StorageError.h"
#include "jet/SystemRows.h"
#include "jet/SystemTables.h"
#include "jet/TableBuilder.h"

namespace vmlib::jet {

namespace {

/// What a row is called in messages: its first field that is no text of another code page.
Text NameOfRow(const Row& row, RowPointer at)
{
    for (const Value& value : row) {
        if (const auto* number = std::get_if<std::int32_t>(&value)) return Decimal(*number);
        if (const auto* ansi = std::get_if<std::string>(&value)) return FromAnsi(*ansi);
    }
    return Decimal(at.page) + u"/" + Decimal(at.row);
}

/// Format 3 holds no such text, and nothing takes its place unsaid.
void RequireAnsi(const TableDefinition& table, const Row& row, RowPointer at)
{
    for (std::size_t i = 0; i < row.size(); ++i)
        if (std::holds_alternative<Text>(row[i]))
            throw UnfitText(table.name, NameOfRow(row, at), table.columns[i].name);
}

/// A column of format 4 as format 3 has it.
ColumnDefinition AsFormat3(ColumnDefinition column)
{
    if (column.type == ColumnType::Binary && column.size > greatestTextSize) {
        column.type = ColumnType::LongBinary;
        column.size = 0;
        column.fixedSize = false;
    }
    return column;
}

/// The rows of a sound table.
class StoredRows : public RowSource
{
public:
    explicit StoredRows(Table& table) : table_(table) {}

    void ForEach(const ColumnMask& columns, const Visit& visit) override
    {
        const TableDefinition& table = table_.Definition();
        for (auto cursor = table_.Scan(columns); cursor.Next();) {
            if (table.format == FileFormat::Format4) RequireAnsi(table, cursor.Current(), cursor.Where());
            visit(cursor.Where(), cursor.Current());
        }
    }
    bool Fetch(RowPointer at, Row& row) override { return table_.Fetch(at, row); }

private:
    Table& table_;
};

/// For one user alone, so that nobody changes it meanwhile. Reading is enough: others may only read then.
std::shared_ptr<Database> OpenSource(Workspace& workspace, const Compaction& wanted)
{
    try {
        return workspace.Open(wanted.source, {.exclusive = true, .readOnly = true, .password = wanted.sourcePassword});
    } catch (const Error& error) {
        if (error.Is(ErrorNumber::FileInUse) || error.Is(ErrorNumber::ExclusivelyOpen))
            throw Error(ErrorNumber::DatabaseInUse, {wanted.source});
        throw;
    }
}

bool IsSystemTable(const ObjectEntry& entry)
{
    return EqualIgnoringCase(entry.name, system::objects) || EqualIgnoringCase(entry.name, system::aces) ||
           EqualIgnoringCase(entry.name, system::queries) || EqualIgnoringCase(entry.name, system::relationships);
}

/// Copies one file into another.
class FileCopy
{
public:
    FileCopy(Database& source, FreshFile& fresh, Files& files, TextView temporaryFolder)
        : source_(source), fresh_(fresh), pager_(fresh.GetPager()), files_(files), temporaryFolder_(temporaryFolder)
    {
    }

    void Run(const Compaction& wanted)
    {
        newLocale_ = wanted.locale;
        const SortLocale locale = wanted.locale.value_or(source_.GetFacts().locale);
        const auto systemTables = LayDownSystemTables(pager_, locale, wanted.password.value_or(Text()));
        if (!wanted.password) CopyPassword();
        for (const TableDefinition& table : systemTables)
            pages_.emplace(SourceOf(table)->Definition().page, table.page);
        CopyTables();
        for (const TableDefinition& table : systemTables) CopySystemTable(table);
    }

private:
    void CopyPassword()
    {
        const PageRef from = source_.GetPager().Read(0);
        const PageEdit to = pager_.Edit(0);
        if (source_.GetPager().Format() == FileFormat::Format4)
            HeaderPage::SetPassword(to.Bytes(), format4::Header(from.Bytes()).Password());
        else
            HeaderPage::CopyPassword(from.Bytes(), to.Bytes());
    }

    void CopyTables()
    {
        std::vector<ObjectEntry> tables;
        for (const ObjectEntry& entry : source_.Objects())
            if (entry.type == system::tableType) tables.push_back(entry);
        std::ranges::sort(tables, {}, &ObjectEntry::id);
        for (const ObjectEntry& entry : tables) {
            const auto table = source_.OpenTable(entry.name);
            if (table->Definition().page != static_cast<PageNumber>(entry.id))
                throw Damaged(objectsTablePage, "two tables have one name");
            if (!IsSystemTable(entry)) CopyTable(*table);
        }
        RelateTables(pager_, fresh_.Allocator(), built_, pages_);
    }

    void CopyTable(Table& table)
    {
        TableDefinition definition = table.Definition();
        if (definition.format == FileFormat::Format4) {
            definition.format = FileFormat::Format3;
            for (ColumnDefinition& column : definition.columns) column = AsFormat3(std::move(column));
        }
        if (newLocale_) {
            for (ColumnDefinition& column : definition.columns) column.locale = *newLocale_;
        }
        TableBuilder builder(pager_, fresh_.Allocator(), definition, files_, temporaryFolder_);
        StoredRows rows(table);
        builder.Fill(rows);
        built_.push_back(builder.Finish());
        pages_.emplace(definition.page, built_.back().page);
    }

    /// By name: in very old files two of them have each other's page.
    std::shared_ptr<Table> SourceOf(const TableDefinition& systemTable) { return source_.OpenTable(systemTable.name); }

    /// In the order in which the rows stand: readers take those of a query so.
    void CopySystemTable(const TableDefinition& to)
    {
        const auto table = SourceOf(to);
        SystemRows rows(pager_, fresh_.Allocator(), to, table->Definition());
        for (auto cursor = table->Scan(); cursor.Next();) {
            Row row = cursor.Current();
            if (table->Definition().format == FileFormat::Format4) {
                RequireAnsi(table->Definition(), row, cursor.Where());
                Translate(to, row, cursor.Where());
            }
            // In both tables the first column, the object's id, says which table a row is about.
            if (to.page == objectsTablePage || to.page == acesTablePage) {
                if (auto* id = std::get_if<std::int32_t>(&row.front())) *id = ChangedId(*id, pages_);
            }
            rows.Add(row);
        }
    }

    /// A row of a system table of format 4.
    void Translate(const TableDefinition& to, Row& row, RowPointer at)
    {
        if (to.page != objectsTablePage) return;
        if (auto* stored = std::get_if<Bytes>(&row[system::object::lvProp])) {
            const ObjectProperties properties = ObjectProperties::Decode(*stored);
            if (!properties.unfit.empty()) throw UnfitText(to.name, NameOfRow(row, at), properties.unfit.front());
            *stored = properties.Encode();
        }
    }

    Database& source_;
    FreshFile& fresh_;
    FilePager& pager_;
    Files& files_;
    TextView temporaryFolder_;
    std::optional<SortLocale> newLocale_;
    std::vector<TableDefinition> built_;
    PageChanges pages_;
};

}  // namespace

void Compact(Files& files, TextView temporaryFolder, Clock now, const Compaction& wanted)
{
    const Text source = files.FullPath(WithExtension(wanted.source));
    const Text target = files.FullPath(WithExtension(wanted.target));
    RequireFile(files, source);
    if (files.Facts(target)) throw Error(ErrorNumber::DatabaseExists);

    Workspace workspace(files, Text(temporaryFolder), std::move(now));
    Compaction resolved = wanted;
    resolved.source = source;
    const auto database = OpenSource(workspace, resolved);
    FreshFile fresh(files, temporaryFolder, target, source);
    UnitOfWork unit(fresh.GetPager());
    FileCopy(*database, fresh, files, temporaryFolder).Run(resolved);
    unit.Commit();
    fresh.Settle();
    fresh.TakeFreeName();
}

}  // namespace vmlib::jet
