#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "jet/Catalogue.h"
#include "jet/FilePager.h"

namespace vmlib::jet {

/// One file that a workspace has open, shared by all its Database objects of that file: pager, catalogue and tables.
class DatabaseFile : public std::enable_shared_from_this<DatabaseFile>
{
public:
    DatabaseFile(Files& files, std::unique_ptr<OpenFile> file, PagerOptions options, Clock now);
    DatabaseFile(const DatabaseFile&) = delete;
    DatabaseFile& operator=(const DatabaseFile&) = delete;

    Files& FilesPort() { return files_; }
    const Text& Path() const { return path_; }
    const Text& TemporaryFolder() const { return temporaryFolder_; }
    FileIdentity Identity() { return identity_; }
    FilePager& GetPager() { return pager_; }
    PageAllocator& Allocator() { return allocator_; }
    Catalogue& Objects() { return catalogue_; }

    /// The table, with name and properties as the catalogue has them; keeps the file open. @throws Error with `missing`
    /// when there is none
    std::shared_ptr<Table> OpenTable(TextView name, ErrorNumber missing = ErrorNumber::NoSuchTable);
    /// The design of a table has changed: the next opener compares name and properties with the catalogue. All who hold
    /// the table share one object, so that an index that one of them adds is filled by the others.
    void NoteDesign(PageNumber page);
    /// Of a table that is gone.
    void ForgetTable(PageNumber page) { tables_.erase(page); }

    /// While a page is locked no other session changes its rows. Locks of this session are counted and never in each
    /// other's way. @throws Error 3188 when another session holds it for a second
    void LockPage(PageNumber page);
    void UnlockPage(PageNumber page) noexcept;
    /// @throws Error 3188 when another session has locked the page
    void RequireUnlocked(PageNumber page);
    /// After the pager got another descriptor: locks belong to the former one.
    void LockPagesAgain();

    SortLocale Locale();

private:
    struct KnownTable
    {
        std::shared_ptr<Table> table;
        std::optional<std::uint64_t> generation;  // of the pager when name and properties were compared
        Text name;
        Bytes properties;  // as stored
    };
    TableDefinition Read(const ObjectEntry& entry, const Bytes& properties);

    Files& files_;
    Text path_;
    Text temporaryFolder_;
    FileIdentity identity_;
    FilePager pager_;
    PageAllocator allocator_;
    Catalogue catalogue_;
    std::map<PageNumber, KnownTable> tables_;
    std::map<PageNumber, int> lockedPages_;  // and how many locks
};

}  // namespace vmlib::jet
