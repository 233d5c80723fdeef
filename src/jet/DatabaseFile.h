#pragma once

#include <functional>
#include <map>
#include <memory>

#include "jet/Catalogue.h"
#include "jet/FilePager.h"

namespace vmlib::jet {

/// One file that a workspace has open, shared by all its Database objects of that file: pager, catalogue and tables.
class DatabaseFile : public std::enable_shared_from_this<DatabaseFile>
{
public:
    DatabaseFile(Files& files, std::unique_ptr<OpenFile> file, PagerOptions options, std::function<Date()> now);
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
    /// Forgets what is known of a table whose design has changed: who opens it from now on gets a new object.
    void ForgetTable(PageNumber page) { tables_.erase(page); }

    SortLocale Locale();

private:
    struct KnownTable
    {
        std::shared_ptr<Table> table;
        std::uint64_t generation = 0;  // of the pager when name and properties were compared
        Text name;
        Bytes properties;  // as stored
    };
    std::shared_ptr<Table> Load(const ObjectEntry& entry, const Bytes& properties);

    Files& files_;
    Text path_;
    Text temporaryFolder_;
    FileIdentity identity_;
    FilePager pager_;
    PageAllocator allocator_;
    Catalogue catalogue_;
    std::map<PageNumber, KnownTable> tables_;
};

}  // namespace vmlib::jet
