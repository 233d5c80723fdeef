#pragma once

#include "jet/Definition.h"

/// What is always in a file: names, numbers and columns of the system tables. Source: docs/file-format.md, "Catalogue".
namespace vmlib::jet::system {

inline constexpr TextView objects = u"MSysObjects";
inline constexpr TextView aces = u"MSysACEs";
inline constexpr TextView queries = u"MSysQueries";
inline constexpr TextView relationships = u"MSysRelationships";

// Ids of MSysObjects that are not pages. One counter from `firstCounted` up gives those of queries, relations and the
// objects of other programs.
inline constexpr std::int32_t rootContainer = 0x0F000000;
inline constexpr std::int32_t tablesContainer = 0x0F000001;
inline constexpr std::int32_t databasesContainer = 0x0F000002;
inline constexpr std::int32_t relationshipsContainer = 0x0F000003;
inline constexpr std::int32_t databaseObject = 0x10000000;
inline constexpr auto firstCounted = static_cast<std::int32_t>(0x80000000u);

// Types of MSysObjects
inline constexpr std::int16_t tableType = 1;
inline constexpr std::int16_t databaseType = 2;
inline constexpr std::int16_t containerType = 3;
inline constexpr std::int16_t odbcLinkType = 4;
inline constexpr std::int16_t queryType = 5;
inline constexpr std::int16_t linkType = 6;
inline constexpr std::int16_t relationType = 8;

inline constexpr std::uint32_t systemFlags = 0x80000000u;

// Owners and holders of rights, as the SID columns have them
inline const Bytes engineSid = {2, 3};
inline const Bytes adminSid = {3, 1};
inline const Bytes usersSid = {2, 1};
inline const Bytes creatorSid = {2, 4};  // whoever makes an object in the container

// Columns by position; the order of the format in every file.
namespace object {
enum : std::size_t
{
    id,
    parentId,
    name,
    type,
    dateCreate,
    dateUpdate,
    owner,
    flags,
    database,
    connect,
    foreignName,
    rmtInfoShort,
    rmtInfoLong,
    lv,
    lvProp,
    lvModule,
    lvExtra,
    count
};
}
namespace ace {
enum : std::size_t
{
    objectId,
    sid,
    acm,
    inheritable,
    count
};
}
namespace query {
enum : std::size_t
{
    objectId,
    attribute,
    order,
    name1,
    name2,
    expression,
    flag,
    count
};
}
namespace relation {
enum : std::size_t
{
    name,
    attributes,
    columnCount,
    column,
    foreignTable,
    foreignColumn,
    table,
    tableColumn,
    count
};
}

/// The four definitions without pages and maps, in the order of their pages.
std::vector<TableDefinition> Definitions(const SortLocale& locale);

/// True when the column of that place has the name and the type of `expected`: rows are read by the places above.
bool HasColumn(const TableDefinition& table, std::size_t at, const ColumnDefinition& expected);
/// @throws Damaged when a table with the name of a system table lacks a column that every file has, or has it elsewhere
void RequireColumns(const TableDefinition& table);
/// The names alone, as of format 4. @throws Damaged
void RequireNames(const TableDefinition& table);

}  // namespace vmlib::jet::system
