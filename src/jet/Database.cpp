#include "jet/Database.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/Design.h"
#include "jet/Format4Header.h"
#include "jet/Format4Pages.h"
#include "jet/HeaderPage.h"
#include "jet/Queries.h"
#include "jet/Relations.h"
#include "jet/WorkspaceState.h"

namespace vmlib::jet {

namespace {

/// A change of design, whole or not at all.
template <class Change>
void AsUnit(DatabaseFile& file, Change change)
{
    UnitOfWork unit(file.GetPager());
    change();
    unit.Commit();
}

}  // namespace

Database::Database(std::shared_ptr<WorkspaceState> workspace, std::shared_ptr<DatabaseFile> file, bool readOnly,
                   bool exclusive)
    : workspace_(std::move(workspace)), file_(std::move(file)), readOnly_(readOnly), exclusive_(exclusive)
{
}

Database::~Database()
{
    try {
        Close();
    } catch (const Error&) {
        // A new file that could not be written says of itself that it is not complete.
    }
}

void Database::Close()
{
    if (file_ == nullptr) return;
    // The file goes in any case; it is settled with the others while it is still there.
    const std::shared_ptr<DatabaseFile> file = std::move(file_);
    workspace_->Settle();
}

bool Database::IsOpen() const
{
    return file_ != nullptr;
}

DatabaseFile& Database::File() const
{
    if (file_ == nullptr) throw Error(ErrorNumber::ObjectInvalid);
    return *file_;
}

DatabaseFile& Database::FileToChange(TextView table) const
{
    DatabaseFile& file = File();
    if (readOnly_) throw Error(ErrorNumber::DesignReadOnly, {Text(table)});
    return file;
}

const Text& Database::Path() const
{
    return File().Path();
}

bool Database::IsReadOnly() const
{
    return readOnly_;
}

bool Database::IsExclusive() const
{
    return exclusive_;
}

Database::Facts Database::GetFacts()
{
    FilePager& pager = File().GetPager();
    const ReadScope scope(pager);
    const PageRef page = pager.Read(0);
    Facts facts;
    facts.format = static_cast<int>(pager.Format());
    if (pager.Format() == FileFormat::Format4) {
        const format4::Header header(page.Bytes());
        facts.locale = header.Locale();
        facts.hasPassword = header.HasPassword();
        facts.pages = format4::PageCount(pager);
        return facts;
    }
    const HeaderPage header(page.Bytes());
    facts.locale = header.Locale();
    facts.hasPassword = header.HasPassword();
    facts.build = header.Build();
    facts.pages = pager.PageCount();
    return facts;
}

Pager& Database::GetPager()
{
    return File().GetPager();
}

PageAllocator& Database::Allocator()
{
    return File().Allocator();
}

const std::vector<ObjectEntry>& Database::Objects()
{
    return File().Objects().Objects();
}

const ObjectEntry* Database::FindObject(TextView name, std::int16_t type)
{
    return File().Objects().Find(name, type);
}

std::shared_ptr<Table> Database::OpenTable(TextView name)
{
    return File().OpenTable(name);
}

void Database::CreateTable(const TableDefinition& table)
{
    DatabaseFile& file = FileToChange(table.name);
    AsUnit(file, [&] { jet::CreateTable(file, table); });
}

void Database::DropTable(TextView name)
{
    DatabaseFile& file = FileToChange(name);
    AsUnit(file, [&] { jet::DropTable(file, name); });
}

void Database::RenameTable(TextView from, TextView to)
{
    DatabaseFile& file = FileToChange(from);
    AsUnit(file, [&] { jet::RenameTable(file, from, to); });
}

void Database::CreateIndex(TextView table, const NewIndex& index)
{
    DatabaseFile& file = FileToChange(table);
    AsUnit(file, [&] { jet::CreateIndex(file, table, index); });
}

void Database::DropIndex(TextView table, TextView index)
{
    DatabaseFile& file = FileToChange(table);
    AsUnit(file, [&] { jet::DropIndex(file, table, index); });
}

void Database::AddColumn(TextView table, const ColumnDefinition& column)
{
    DatabaseFile& file = FileToChange(table);
    AsUnit(file, [&] { jet::AddColumn(file, table, column); });
}

void Database::DropColumn(TextView table, TextView column)
{
    DatabaseFile& file = FileToChange(table);
    AsUnit(file, [&] { jet::DropColumn(file, table, column); });
}

void Database::RenameColumn(TextView table, TextView from, TextView to)
{
    DatabaseFile& file = FileToChange(table);
    AsUnit(file, [&] { jet::RenameColumn(file, table, from, to); });
}

void Database::SetFieldProperties(TextView table, TextView column, const PropertyList& properties)
{
    DatabaseFile& file = FileToChange(table);
    AsUnit(file, [&] { jet::SetFieldProperties(file, table, column, properties); });
}

void Database::SetFieldPosition(TextView table, TextView column, std::uint16_t position)
{
    DatabaseFile& file = FileToChange(table);
    AsUnit(file, [&] { jet::SetFieldPosition(file, table, column, position); });
}

void Database::SetTableProperties(TextView table, const PropertyList& properties)
{
    DatabaseFile& file = FileToChange(table);
    AsUnit(file, [&] { jet::SetTableProperties(file, table, properties); });
}

Database::PageLock::PageLock(std::shared_ptr<DatabaseFile> file, PageNumber page) : file_(std::move(file)), page_(page)
{
    file_->LockPage(page_);
}

Database::PageLock::~PageLock()
{
    if (file_) file_->UnlockPage(page_);
}

Database::PageLock Database::LockPage(PageNumber page)
{
    File();
    return {file_, page};
}

void Database::RequireUnlocked(PageNumber page)
{
    File().RequireUnlocked(page);
}

std::vector<RelationDefinition> Database::Relations()
{
    return ReadRelations(File());
}

void Database::CreateRelation(const RelationDefinition& relation)
{
    DatabaseFile& file = FileToChange(relation.foreignTable);
    AsUnit(file, [&] { jet::CreateRelation(file, relation); });
}

void Database::DropRelation(TextView name)
{
    DatabaseFile& file = FileToChange(name);
    AsUnit(file, [&] { jet::DropRelation(file, name); });
}

std::vector<Database::StoredQuery> Database::Queries()
{
    return ReadQueries(File());
}

void Database::StoreQuery(const StoredQuery& query)
{
    DatabaseFile& file = FileToChange(query.name);
    AsUnit(file, [&] { jet::StoreQuery(file, query); });
}

void Database::DropQuery(TextView name)
{
    DatabaseFile& file = FileToChange(name);
    AsUnit(file, [&] { jet::DropQuery(file, name); });
}

void Database::RenameQuery(TextView from, TextView to)
{
    DatabaseFile& file = FileToChange(from);
    AsUnit(file, [&] { jet::RenameQuery(file, from, to); });
}

void Database::ClearDamageMarks()
{
    DatabaseFile& file = File();
    if (readOnly_) throw Error(ErrorNumber::ReadOnly);
    AsUnit(file, [&] {
        const PageEdit header = file.GetPager().Edit(0);  // slot 0 gets its next word with the commit
        for (std::size_t at = 0; at < sizeof(CommitWords); at += 2) {
            std::uint8_t* const word = header.Data() + commitWordsAt + at;
            const auto value = LoadLittle<std::uint16_t>(word);
            if (value == writingWord || value == damagedWord) StoreLittle(word, firstWord);
        }
    });
}

void Database::SetPassword(TextView oldPassword, TextView newPassword)
{
    DatabaseFile& file = File();
    if (!exclusive_) throw Error(ErrorNumber::PasswordShared);
    if (readOnly_) throw Error(ErrorNumber::ReadOnly);
    AsUnit(file, [&] {
        const PageEdit header = file.GetPager().Edit(0);
        if (!HeaderPage(header.Bytes()).Accepts(oldPassword)) throw Error(ErrorNumber::InvalidPassword);
        HeaderPage::SetPassword(header.Bytes(), newPassword);
    });
}

}  // namespace vmlib::jet
