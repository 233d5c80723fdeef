#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "host/Json.h"
#include "host/Structure.h"

/// A layout as text: the structure of a file type, to be written, reviewed and kept in version control.
///
///     {"type": "FACT", "version": 2,
///      "tables": [{"name": "Info", "fields": [{"name": "Versie", "type": 3, "length": 2, "attributes": 1,
///      "zeroLength": false}, ...],
///                  "indexes": [{"name": "Sleutel", "fields": ["Klant", "Nummer"], "primary": -1, "unique": -1}]}],
///      "relations": [{"name": "KlantPost", "table": "Klanten", "foreignTable": "Posten", "attributes": 0,
///                     "fields": [{"name": "Nummer", "foreignName": "Klant"}]}],
///      "queries": [{"name": "Open", "parameters": "", "sql": "SELECT ..."}]}
///
/// Codes are those of the layout tables: DAO's types and attributes, -1 for true.
namespace vmlib::host {

struct LayoutField
{
    Text name;
    std::int16_t type = 0;
    std::int16_t length = 0;
    std::int16_t attributes = 0;
    bool zeroLength = false;
    bool operator==(const LayoutField&) const = default;
};

struct LayoutIndex
{
    Text name;
    std::vector<Text> fields;  // a leading "-" is descending
    std::int16_t primary = 0;
    std::int16_t unique = 0;
    bool operator==(const LayoutIndex&) const = default;
};

struct LayoutTable
{
    Text name;
    std::vector<LayoutField> fields;
    std::vector<LayoutIndex> indexes;
    bool operator==(const LayoutTable&) const = default;
};

struct LayoutQuery
{
    Text name, parameters, sql;
    bool operator==(const LayoutQuery&) const = default;
};

struct Layout
{
    Text type;
    std::int16_t version = 0;
    std::vector<LayoutTable> tables;
    std::vector<RelationFacts> relations;
    std::vector<LayoutQuery> queries;
    bool operator==(const Layout&) const = default;
};

/// @throws UsageError that names the place, for a missing or unknown key and a value of the wrong kind
Layout LayoutFromJson(const Json& json);
Json LayoutToJson(const Layout& layout);
/// A relation as layout text and `info` print it.
Json ToJson(const RelationFacts& relation);

/// Everything in the text that the layout tables or the document layer could not carry, one line each with its place;
/// empty when all is well.
std::vector<std::string> LayoutFaults(const Layout& layout);

}  // namespace vmlib::host
