#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "jet/Definition.h"
#include "jet/Table.h"

/// The storage seen from above: files held by a workspace, and the tables, indexes, relations, queries and properties
/// in them.
namespace vmlib::jet {

class Database;
class DatabaseFile;
struct WorkspaceState;

struct OpenOptions
{
    bool exclusive = false;
    bool readOnly = false;
    Text password{};         // ignored for an unprotected file
    bool forRepair = false;  // in spite of damage marks
};

/// One user's set of open files. The lock belongs to the workspace: one descriptor, one cache and one journal per file
/// and workspace, so the same workspace may open its file again. Transactions span all its files.
class Workspace
{
public:
    /// @param now  for the dates of objects
    Workspace(Files& files, Text temporaryFolder, Clock now);
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    /// Rolls a running transaction back. Databases may outlive their workspace.
    ~Workspace();

    /// @throws Error 3044 folder, 3024 file, 3045/3356/3051 sharing and rights, 3343 format, 3049/3428 damage, 3031
    /// password, in this order of
    ///         checks; an encrypted file is 3343 with the reason. A journal that is left is played back first.
    /// A file with the read-only attribute opens read only, whatever is asked. A file that this workspace has open
    /// already gets the rights that are missing, which it keeps until its last Database closes; within a transaction,
    /// or against other openers, that is the error of sharing.
    std::shared_ptr<Database> Open(TextView path, const OpenOptions& options);

    /// A new file with the four system tables, open and exclusive. ".mdb" is added to a name without extension. It is
    /// on the disk when it, or any other database of this workspace, is closed; until then a crash leaves a file that
    /// says that it is not complete.
    /// @throws Error 3204 when it exists, 3044, 3424 for a sort order that is not known, 3031 for an impossible
    /// password
    std::shared_ptr<Database> Create(TextView path, const SortLocale& locale, TextView password);

    /// The database of that path that this workspace has open; null when none.
    std::shared_ptr<Database> Find(TextView path);

    /// Transactions over all files of the workspace, also those opened during it, nested five deep (3003, 3034).
    void Begin();
    /// When the outermost one throws, the transaction is over and its changes are undone.
    void Commit();
    void Rollback();
    int TransactionDepth() const;

    Files& FilesPort();
    const Text& TemporaryFolder() const;

private:
    std::shared_ptr<WorkspaceState> state_;
};

/// A row of MSysObjects.
struct ObjectEntry
{
    std::int32_t id = 0;
    std::int32_t parent = 0;
    Text name;
    std::int16_t type = 0;  // 1 table, 4 and 6 linked, 5 query, 8 relation, 3 container, 2 database
    std::uint32_t flags = 0;
    Date created, updated;
};

/// An open file with its catalogue. Obtained from a Workspace; the last reference closes the file.
class Database
{
public:
    struct Facts
    {
        int format = 3;
        SortLocale locale;
        bool hasPassword = false;
        bool encrypted = false;
        std::uint16_t build = 0;
        PageNumber pages = 0;
    };

    /// Closes; what Close would have thrown is lost.
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Puts all new files of the workspace on the disk and gives up this reference to its file; the object is of no use
    /// afterwards. Within a transaction the file stays open until that ends. @throws Error 3026, 3043
    void Close();
    bool IsOpen() const;

    const Text& Path() const;
    bool IsReadOnly() const;
    bool IsExclusive() const;
    Facts GetFacts();
    Pager& GetPager();
    PageAllocator& Allocator();

    /// All objects of the catalogue, by name. Decoded once and again when the file changed.
    const std::vector<ObjectEntry>& Objects();
    const ObjectEntry* FindObject(TextView name, std::int16_t type);

    /// The table of that name (system tables too), shared by all who ask while it exists. A name padded with blanks and
    /// its trimmed form find each other. It keeps the file open. @throws Error 3078 when there is none
    std::shared_ptr<Table> OpenTable(TextView name);

    // Changes of design: each is a unit of work of its own unless one runs. Error numbers as DAO's Append and Delete
    // give them.
    /// With name, columns and their properties: 3010, 3191, 3190, 3259, 3264, 3125.
    void CreateTable(const TableDefinition& table);
    void DropTable(TextView name);  // 3011; 3281 when a relation uses it
    void RenameTable(TextView from, TextView to);
    void CreateIndex(TextView table, const NewIndex& index);
    void DropIndex(TextView table, TextView index);                  // 3372; 3281 when a relation uses it
    void AddColumn(TextView table, const ColumnDefinition& column);  // 3380
    void DropColumn(TextView table, TextView column);  // 3381; 3303 when a relation uses it, 3280 an index
    void RenameColumn(TextView table, TextView from, TextView to);
    /// Where a column stands among the others; equal positions keep their order.
    void SetFieldPosition(TextView table, TextView column, std::uint16_t position);
    void SetTableProperties(TextView table, const PropertyList& properties);
    void SetFieldProperties(TextView table, TextView column, const PropertyList& properties);

    /// Keeps other sessions from changing the rows of a page while it lives; a killed process loses it.
    class PageLock
    {
    public:
        PageLock(std::shared_ptr<DatabaseFile> file, PageNumber page);
        PageLock(PageLock&& other) noexcept : file_(std::move(other.file_)), page_(other.page_) {}
        PageLock& operator=(PageLock&&) = delete;
        ~PageLock();

    private:
        std::shared_ptr<DatabaseFile> file_;
        PageNumber page_;
    };
    /// @throws Error 3188 when another session holds it
    PageLock LockPage(PageNumber page);
    void RequireUnlocked(PageNumber page);  // 3188

    std::vector<RelationDefinition> Relations();
    void CreateRelation(const RelationDefinition& relation);  // 3366, 3012, 3609, 3368, 3379, 3078, 3409, 3125
    void DropRelation(TextView name);                         // 3011

    struct StoredQuery
    {
        Text name;
        std::uint32_t flags = 0;  // and F0 is DAO's type
        std::vector<QueryRow> rows;
    };
    std::vector<StoredQuery> Queries();
    /// Adds a query or replaces the rows of an existing one (its id stays). 3012 when a table has the name.
    void StoreQuery(const StoredQuery& query);
    void DropQuery(TextView name);                 // 3011
    void RenameQuery(TextView from, TextView to);  // 3011, 3012, 3125

    /// Takes the damage marks out of the header, as the last step of a repair. @throws Error 3027
    void ClearDamageMarks();

    /// Writes a new password (exclusive opens only: 3621).
    void SetPassword(TextView oldPassword, TextView newPassword);

private:
    friend class Workspace;
    Database(std::shared_ptr<WorkspaceState> workspace, std::shared_ptr<DatabaseFile> file, bool readOnly,
             bool exclusive);
    DatabaseFile& File() const;
    DatabaseFile& FileToChange(TextView table) const;

    std::shared_ptr<WorkspaceState> workspace_;
    std::shared_ptr<DatabaseFile> file_;
    bool readOnly_;
    bool exclusive_;
};

}  // namespace vmlib::jet
