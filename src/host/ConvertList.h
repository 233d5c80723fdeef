#pragma once

#include <string>
#include <vector>

#include "host/Session.h"

namespace vmlib::host {

/// What a batch is asked to work on.
struct ListRequest
{
    std::vector<std::string> arguments;  // documents, folders, "-" for names on standard input, one a line
    bool recursive = false;              // folders in folders too
    std::vector<std::string> globs;      // names in folders; none: see below
    Text layout;                         // never a document
};

/// The documents, each once, in the order given; those of a folder sorted by name. What is named is taken as it is, and
/// shall fail if it is not there. Of a folder's files, with a pattern those that match, without one those that are
/// databases, and those with the extension of one or ".mdb" (a damaged document no longer looks like a database).
/// Backups, working files, journals and unfinished copies in a folder are never documents.
std::vector<std::string> ListDocuments(Session& session, const ListRequest& request, std::istream& input);

}  // namespace vmlib::host
