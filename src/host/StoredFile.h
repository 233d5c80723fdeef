#pragma once

#include "host/Session.h"
#include "jet/Definition.h"
#include "jet/Pager.h"
#include "jet/Table.h"

namespace vmlib::host {

/// A file of the storage, open for reading: tables row by row, past the late-bound objects.
class StoredFile
{
public:
    /// @throws the storage's Error
    StoredFile(Session& session, TextView path);

    jet::Database& operator*() const { return *database_; }
    jet::Database* operator->() const { return database_.get(); }

    /// The tables of the users, as the catalogue spells them.
    std::vector<Text> Tables() const;
    std::vector<Text> LinkedTables() const;

private:
    jet::Workspace workspace_;
    std::shared_ptr<jet::Database> database_;
};

/// What each of the host's own fields of Info says is about its file.
bool IsOwnField(TextView table, TextView field);

/// Text and binary of a fixed size come back filled up.
bool IsPadded(const jet::ColumnDefinition& column);

}  // namespace vmlib::host
