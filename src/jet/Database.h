#pragma once

#include <map>
#include <memory>
#include <optional>

#include "jet/Definition.h"
#include "jet/Table.h"

/// The storage seen from above: files held by a workspace, and the tables, indexes, relations, queries and properties in them.
namespace vmlib::jet {

class Database;

struct OpenOptions
{
    bool exclusive = false;
    bool readOnly = false;
    Text password;  // ignored for an unprotected file
};

/// One user's set of open files. The lock belongs to the workspace: one descriptor, one cache and one journal per file and workspace, so
/// the same workspace may open its file again. Transactions span all its files.
class Workspace
{
public:
    explicit Workspace(Files& files, Text temporaryFolder);
    ~Workspace();

    /// @throws Error 3044 folder, 3024 file, 3045/3356/3051 sharing and rights, 3343 format, 3049/3428 damage, 3031 password, in this order of
    ///         checks; an encrypted file is 3343 with the reason. A journal that is left is played back first.
    /// A file with the read-only attribute opens read only, whatever is asked.
    std::shared_ptr<Database> Open(TextView path, const OpenOptions& options);

    /// A new file with the four system tables, open and exclusive. ".mdb" is added to a name without extension.
    /// @throws Error 3204 when it exists, 3044, 3424 for a sort order that is not known
    std::shared_ptr<Database> Create(TextView path, const SortLocale& locale, TextView password);

    /// The database of that path that this workspace has open; null when none.
    std::shared_ptr<Database> Find(TextView path);

    /// Transactions over all files of the workspace, nested five deep (3003, 3034).
    void Begin();
    void Commit();
    void Rollback();
    int TransactionDepth() const;

    Files& FilesPort();
    const Text& TemporaryFolder() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
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

/// An open file with its catalogue. Obtained from a Workspace; the last reference closes the file (settled and synced).
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

    ~Database();

    const Text& Path() const;
    bool IsReadOnly() const;
    bool IsExclusive() const;
    Facts GetFacts();
    Pager& GetPager();
    PageAllocator& Allocator();

    /// All objects of the catalogue, by name. Decoded once and again when the file changed.
    const std::vector<ObjectEntry>& Objects();
    const ObjectEntry* FindObject(TextView name, std::int16_t type);

    /// The table of that name (system tables too), shared by all who ask while it exists. A name padded with blanks and its trimmed form find
    /// each other. @throws Error 3078 when there is none
    std::shared_ptr<Table> OpenTable(TextView name);

    // Changes of design: each is a unit of work of its own unless one runs. Error numbers as DAO's Append and Delete give them.
    void CreateTable(const TableDefinition& table);  // name, columns, their properties; 3010, 3191, 3190, 3259, 3264, 3125
    void DropTable(TextView name);                   // 3011; 3281 when a relation uses it
    void RenameTable(TextView from, TextView to);
    void CreateIndex(TextView table, const NewIndex& index);
    void DropIndex(TextView table, TextView index);  // 3265/3372; 3281 when a relation uses it
    void AddColumn(TextView table, const ColumnDefinition& column);
    void DropColumn(TextView table, TextView column);
    void RenameColumn(TextView table, TextView from, TextView to);
    void SetFieldProperties(TextView table, TextView column, const PropertyList& properties);

    std::vector<RelationDefinition> Relations();
    void CreateRelation(const RelationDefinition& relation);  // 3366, 3012, 3609, 3368, 3379, 3078
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
    void DropQuery(TextView name);

    /// Writes a new password (exclusive opens only: 3621).
    void SetPassword(TextView oldPassword, TextView newPassword);

private:
    friend class Workspace;
    struct Implementation;
    explicit Database(std::unique_ptr<Implementation> implementation);
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace vmlib::jet
