#pragma once

#include <sqlite3.h>

#include <string>

#include "Rows.h"

namespace vmlib::bench {

/// Binds the values of a row to `INSERT INTO table VALUES (?, ?, ?, ?, ?, ?, ?, ?)` and runs it.
void InsertRow(sqlite3_stmt* statement, const SampleRow& values);

/// The twin of a conversion and save: the same rows rebuilt and copied by SQLite's C API alone.
class SqliteTwin
{
public:
    explicit SqliteTwin(std::string folder) : folder_(std::move(folder)) {}

    /// Makes the older document: tables with rows and two indexes each.
    void MakeDocument();
    /// New tables, INSERT ... SELECT over ATTACH, the indexes, all in one transaction; then the new file is copied over the document and synced once.
    void ConvertAndSave();

    std::string DocumentPath() const { return Path("twin.db"); }

private:
    std::string Path(const char* name) const { return folder_ + "/" + name; }
    std::string folder_;
};

}  // namespace vmlib::bench
