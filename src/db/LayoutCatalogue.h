#pragma once

#include <vector>

#include "db/LayoutRecords.h"
#include "db/Session.h"

/// The layout database: what tables, fields, indexes, relations and stored queries a document of a file type has. Each
/// reader walks the rows of one type and hands them in groups to the builders of Building.h. The readers trap no
/// errors; whoever calls them owns both databases.
namespace vmlib::db {

/// The current version of a file type; 0 when it cannot be determined.
std::int16_t DBL_GetVersieNummer(Session& session, const Text& sFileType, const Text& sLayoutNaam);

/// The same for those who report what is missing. @param version  out, on success only
/// @return  0 or DatabaseCode::LayoutNotFound, LayoutWithoutInfo, FileTypeNotInLayout
std::int16_t LeesLayoutVersie(Session& session, const Text& layoutPath, const Text& fileType, std::int16_t& version);

/// Makes all tables. A type without rows is error 3021. Fields come in the text order of RecNr (1, 10, 2).
void MaakTabellen(const dao::Database& target, const dao::Database& layout, const Text& sFileType);

/// Makes the indexes of all tables; none is no error.
void MaakIndexen(const Text& sFileType, const dao::Database& target, const dao::Database& layout);

/// Makes all relations; none is no error.
void MaakRelaties(const Text& sFileType, const dao::Database& target, const dao::Database& layout);

/// Makes all stored queries; none is no error.
void MaakQueries(const dao::Database& target, const dao::Database& layout, const Text& sFileType);

/// Where the rows of an index are in a list: its size when one of its first `count` elements has the name (the rows
/// come sorted, so a match is the last one), else 0. Blanks at the ends and case do not count.
std::size_t ZoekIndex(TextView name, const std::vector<IndexDefinitie>& list, std::size_t count);

}  // namespace vmlib::db
