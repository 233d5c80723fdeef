#include "jet/DatabaseFile.h"

#include "jet/Damage.h"
#include "jet/Format4Header.h"
#include "jet/HeaderPage.h"
#include "jet/SystemTables.h"

namespace vmlib::jet {

DatabaseFile::DatabaseFile(Files& files, std::unique_ptr<OpenFile> file, PagerOptions options, Clock now)
    : files_(files),
      path_(file->Path()),
      temporaryFolder_(options.temporaryFolder),
      identity_(file->Identity()),
      pager_(files, std::move(file), std::move(options)),
      allocator_(pager_),
      catalogue_(pager_, allocator_, std::move(now))
{
}

std::shared_ptr<Table> DatabaseFile::OpenTable(TextView name, ErrorNumber missing)
{
    const ReadScope scope(pager_);
    const ObjectEntry* entry = catalogue_.Find(name, system::tableType);
    if (entry == nullptr) throw Error(missing, {Text(name)});
    KnownTable& known = tables_[static_cast<PageNumber>(entry->id)];
    if (known.table == nullptr || known.generation != pager_.Generation()) {
        // The table object follows changes of the pages by itself; name and properties stand in the catalogue.
        const ObjectEntry found = *entry;
        const Bytes properties = catalogue_.StoredProperties(found.id);
        if (known.table == nullptr || known.name != found.name || known.properties != properties) {
            TableDefinition definition = Read(found, properties);
            if (known.table == nullptr)
                known.table = std::make_shared<Table>(pager_, allocator_, std::move(definition));
            else
                known.table->Describe(std::move(definition));
            known.name = found.name;
            known.properties = properties;
        }
        known.generation = pager_.Generation();
    }
    struct Holder
    {
        std::shared_ptr<DatabaseFile> file;
        std::shared_ptr<Table> table;
    };
    const auto holder = std::make_shared<Holder>(Holder{shared_from_this(), known.table});
    return {holder, holder->table.get()};
}

void DatabaseFile::NoteDesign(PageNumber page)
{
    const auto known = tables_.find(page);
    if (known != tables_.end()) known->second.generation.reset();
}

TableDefinition DatabaseFile::Read(const ObjectEntry& entry, const Bytes& properties)
{
    const auto page = static_cast<PageNumber>(entry.id);
    TableDefinition definition = Table::ReadDefinition(pager_, page);
    definition.name = entry.name;
    if (definition.system && definition.format == FileFormat::Format3) system::RequireColumns(definition);
    if (definition.system && definition.format == FileFormat::Format4) system::RequireNames(definition);
    const ObjectProperties decoded = ObjectProperties::Decode(properties);
    definition.properties = decoded.own;
    for (ColumnDefinition& column : definition.columns) {
        if (const PropertyList* list = decoded.FindField(column.name)) column.properties = *list;
    }
    return definition;
}

void DatabaseFile::LockPage(PageNumber page)
{
    const auto known = lockedPages_.find(page);
    if (known != lockedPages_.end()) {
        ++known->second;
        return;
    }
    // An exclusive opener has nobody to keep out.
    constexpr int patience = 1000;  // milliseconds, as a writer waits for another
    if (pager_.IsShared() && !pager_.File().LockPage(page, patience)) throw Error(ErrorNumber::LockedBySession);
    lockedPages_.emplace(page, 1);
}

void DatabaseFile::UnlockPage(PageNumber page) noexcept
{
    const auto known = lockedPages_.find(page);
    if (known == lockedPages_.end() || --known->second > 0) return;
    lockedPages_.erase(known);
    if (!pager_.IsShared()) return;
    try {
        pager_.File().UnlockPage(page);
    } catch (...) {
        // What keeps the descriptor from giving the lock up now cannot keep it from doing so when it is closed.
    }
}

void DatabaseFile::RequireUnlocked(PageNumber page)
{
    if (pager_.IsShared() && pager_.File().IsPageLocked(page)) throw Error(ErrorNumber::LockedBySession);
}

void DatabaseFile::LockPagesAgain()
{
    if (!pager_.IsShared()) return;
    for (const auto& [page, count] : lockedPages_)
        if (!pager_.File().LockPage(page, 0)) throw Error(ErrorNumber::LockedBySession);
}

SortLocale DatabaseFile::Locale()
{
    const ReadScope scope(pager_);
    const PageRef header = pager_.Read(0);
    if (pager_.Format() == FileFormat::Format4) return format4::Header(header.Bytes()).Locale();
    return HeaderPage(header.Bytes()).Locale();
}

}  // namespace vmlib::jet
