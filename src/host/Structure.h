#pragma once

#include <cstdint>
#include <vector>

#include "automation/Object.h"

/// The structure of an open database as the engine's objects tell it, for `info` and `layout describe`.
namespace vmlib::host {

struct FieldFacts
{
    Text name;
    std::int16_t type = 0;
    std::int32_t size = 0;
    std::int32_t attributes = 0;
    bool required = false;
    bool allowZeroLength = false;
};

struct IndexFacts
{
    struct Column
    {
        Text name;
        bool descending = false;
    };
    Text name;
    std::vector<Column> columns;
    bool primary = false, unique = false, required = false, ignoreNulls = false, foreign = false;
};

struct TableFacts
{
    Text name;
    std::int32_t attributes = 0;
    std::int32_t rows = 0;
    std::vector<FieldFacts> fields;
    std::vector<IndexFacts> indexes;
    bool IsSystem() const;
};

struct RelationFacts
{
    Text name, table, foreignTable;
    std::int32_t attributes = 0;
    std::vector<std::pair<Text, Text>> fields;  // field of table, field of foreignTable
    bool operator==(const RelationFacts&) const = default;
};

struct QueryFacts
{
    Text name, sql;
};

struct StructureFacts
{
    std::vector<TableFacts> tables;
    std::vector<RelationFacts> relations;
    std::vector<QueryFacts> queries;
};

/// Names that are kept padded with blanks come trimmed.
StructureFacts ReadStructure(const ObjectRef& database);

}  // namespace vmlib::host
