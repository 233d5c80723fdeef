#include "jet/SystemTables.h"

#include <algorithm>

#include "jet/Damage.h"

namespace vmlib::jet::system {

namespace {

struct Column
{
    const char16_t* name;
    ColumnType type;
    bool isSid = false;
};

struct Index
{
    const char16_t* name;
    std::vector<std::uint16_t> columns;
    bool primary = false, unique = false, ignoreNulls = false, required = false;
};

constexpr std::uint8_t fixedFlag = 0x01, alwaysFlag = 0x02, systemFlag = 0x10, sidFlag = 0x20;

void AddColumn(TableDefinition& table, const Column& wanted, const SortLocale& locale, std::uint16_t& fixedEnd)
{
    ColumnDefinition column;
    column.name = wanted.name;
    column.type = wanted.type;
    column.locale = locale;
    column.number = table.columnsEver++;
    column.variableOrdinal = table.variableColumnsEver;
    const auto fixed = FixedSize(wanted.type);
    column.fixedSize = fixed.has_value();
    column.size = fixed ? *fixed : IsLongValue(wanted.type) ? std::uint16_t{0} : std::uint16_t{greatestTextSize};
    column.flags =
        static_cast<std::uint8_t>(alwaysFlag | (fixed ? fixedFlag : 0) | systemFlag | (wanted.isSid ? sidFlag : 0));
    if (!fixed) ++table.variableColumnsEver;
    if (fixed && wanted.type != ColumnType::Boolean) {
        column.fixedOffset = fixedEnd;
        fixedEnd = static_cast<std::uint16_t>(fixedEnd + *fixed);
    }
    table.columns.push_back(std::move(column));
}

TableDefinition Make(TextView name, const std::vector<Column>& columns, const std::vector<Index>& trees,
                     const SortLocale& locale)
{
    TableDefinition table;
    table.name = name;
    table.system = true;
    std::uint16_t fixedEnd = 0;
    for (const Column& column : columns) AddColumn(table, column, locale, fixedEnd);
    for (const Index& index : trees) {
        TreeDefinition tree;
        for (const std::uint16_t column : index.columns) tree.columns.push_back({column, false});
        tree.unique = index.unique;
        tree.ignoreNulls = index.ignoreNulls;
        tree.required = index.required;
        IndexDefinition logical;
        logical.name = index.name;
        logical.kind = index.primary ? IndexDefinition::Kind::Primary : IndexDefinition::Kind::Plain;
        logical.number = logical.realIndex = static_cast<std::uint32_t>(table.trees.size());
        table.trees.push_back(std::move(tree));
        table.indexes.push_back(std::move(logical));
    }
    return table;
}

}  // namespace

std::vector<TableDefinition> Definitions(const SortLocale& locale)
{
    using enum ColumnType;
    const std::vector<Column> objectColumns = {
        {u"Id", Long},
        {u"ParentId", Long},
        {u"Name", Text},
        {u"Type", Integer},
        {u"DateCreate", Date},
        {u"DateUpdate", Date},
        {u"Owner", Binary, true},
        {u"Flags", Long},
        {u"Database", Memo},
        {u"Connect", Memo},
        {u"ForeignName", Text},
        {u"RmtInfoShort", Binary},
        {u"RmtInfoLong", LongBinary},
        {u"Lv", LongBinary},
        {u"LvProp", LongBinary},
        {u"LvModule", LongBinary},
        {u"LvExtra", LongBinary},
    };
    const std::vector<Column> aceColumns = {
        {u"ObjectId", Long}, {u"SID", Binary, true}, {u"ACM", Long}, {u"FInheritable", Boolean}};
    const std::vector<Column> queryColumns = {
        {u"ObjectId", Long}, {u"Attribute", Byte},  {u"Order", Binary}, {u"Name1", Text},
        {u"Name2", Text},    {u"Expression", Memo}, {u"Flag", Integer},
    };
    const std::vector<Column> relationColumns = {
        {u"szRelationship", Text},
        {u"grbit", Long},
        {u"ccolumn", Long},
        {u"icolumn", Long},
        {u"szObject", Text},
        {u"szColumn", Text},
        {u"szReferencedObject", Text},
        {u"szReferencedColumn", Text},
    };
    std::vector<TableDefinition> all = {
        Make(objects, objectColumns,
             {{.name = u"ParentIdName", .columns = {1, 2}, .unique = true},
              {.name = u"Id", .columns = {0}, .primary = true, .unique = true}},
             locale),
        Make(aces, aceColumns, {{.name = u"ObjectId", .columns = {0}, .required = true}}, locale),
        Make(queries, queryColumns,
             {{.name = u"ObjectIdAttribute", .columns = {0, 1, 2}, .primary = true, .unique = true}}, locale),
        Make(relationships, relationColumns,
             {{.name = u"szRelationship", .columns = {0}, .ignoreNulls = true},
              {.name = u"szObject", .columns = {4}, .ignoreNulls = true},
              {.name = u"szReferencedObject", .columns = {6}, .ignoreNulls = true}},
             locale),
    };
    // Logical indexes stand by name; the real ones keep the order of their making.
    for (TableDefinition& table : all) {
        std::ranges::sort(table.indexes, [](const auto& left, const auto& right) {
            return CompareIgnoringCase(left.name, right.name) < 0;
        });
    }
    return all;
}

bool HasColumn(const TableDefinition& table, std::size_t at, const ColumnDefinition& expected)
{
    return at < table.columns.size() && EqualIgnoringCase(table.columns[at].name, expected.name) &&
           table.columns[at].type == expected.type;
}

void RequireColumns(const TableDefinition& table)
{
    for (const TableDefinition& expected : Definitions(SortLocale{})) {
        if (!EqualIgnoringCase(expected.name, table.name)) continue;
        for (std::size_t at = 0; at < expected.columns.size(); ++at)
            if (!HasColumn(table, at, expected.columns[at]))
                throw Damaged(table.page, "a system table has other columns than it should");
    }
}

void RequireNames(const TableDefinition& table)
{
    for (const TableDefinition& expected : Definitions(SortLocale{})) {
        if (!EqualIgnoringCase(expected.name, table.name)) continue;
        for (std::size_t at = 0; at < expected.columns.size(); ++at) {
            if (at >= table.columns.size() || !EqualIgnoringCase(table.columns[at].name, expected.columns[at].name))
                throw Damaged(table.page, "a system table lacks a column");
        }
    }
}

}  // namespace vmlib::jet::system
