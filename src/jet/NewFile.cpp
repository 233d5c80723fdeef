#include "jet/NewFile.h"

#include <algorithm>
#include <cassert>

#include "jet/DataPage.h"
#include "jet/DefinitionCodec.h"
#include "jet/HeaderPage.h"
#include "jet/IndexTree.h"
#include "jet/PageMap.h"
#include "jet/SystemTables.h"
#include "jet/Table.h"

// The pages of an empty database, in the order in which they are taken:
//
//    0      header
//    1      maps of the file: row 0 the free pages, row 1 empty
//    2..5   definitions of MSysObjects, MSysACEs, MSysQueries, MSysRelationships
//    6, 7   maps of MSysObjects: its pages, those with room, then the same of its seven long columns; the
//           last one is alone on page 7
//    8..11  the two indexes of MSysObjects, each with a page of maps before it
//    12     maps of the three other tables
//    13..17 their five indexes
//    18, 19 rows of MSysObjects and MSysACEs
//
// Source: docs/file-format.md, "An empty file".

namespace vmlib::jet {

namespace {

constexpr std::size_t mapSize = 133, mapHead = 5;

void LayDownFileMaps(Pager& pager)
{
    PageEdit page = pager.Extend();
    assert(page.Number() == PageMap::firstPage);
    DataPageEdit maps = DataPageEdit::Format(page, PageMap::firstPage);
    std::array<std::uint8_t, mapSize> map{};
    std::fill(map.begin() + mapHead, map.end(),
              std::uint8_t{0xFF});  // a set bit is a free page, also one behind the end
    map[mapHead] = 0xFC;            // pages 0 and 1 are taken
    maps.Append(map);
    map.fill(0);
    maps.Append(map);
}

/// Gives a definition that has its page its maps and its empty trees, and writes it.
void LayDownTable(Pager& pager, PageAllocator& allocator, TableDefinition& table, std::uint32_t mapsBeside)
{
    const auto newMap = [&] {
        return mapsBeside != 0 ? PageMap::CreateBeside(pager, allocator, mapsBeside)
                               : PageMap::Create(pager, allocator);
    };
    table.ownedMap = newMap();
    if (mapsBeside == 0) mapsBeside = table.ownedMap;
    table.roomMap = newMap();
    for (ColumnDefinition& column : table.columns) {
        if (!IsLongValue(column.type)) continue;
        column.ownedMap = newMap();
        column.roomMap = newMap();
    }
    WriteDefinitionPages(pager, allocator, table);  // trees look up the maps of their table
    for (TreeDefinition& tree : table.trees) {
        const TreeDefinition made = IndexTree::Create(pager, allocator, table.page);
        tree.root = made.root;
        tree.ownedMap = made.ownedMap;
    }
    WriteDefinitionPages(pager, allocator, table);
}

std::int32_t Signed(std::uint32_t number)
{
    return static_cast<std::int32_t>(number);
}

}  // namespace

std::vector<Row> ObjectsOfNewFile(Date now)
{
    using namespace system;
    const struct
    {
        std::int32_t id, parent;
        TextView name;
        std::int16_t type;
        const Bytes& owner;
    } rows[] = {
        {tablesContainer, rootContainer, u"Tables", containerType, engineSid},
        {databasesContainer, rootContainer, u"Databases", containerType, engineSid},
        {relationshipsContainer, rootContainer, u"Relationships", containerType, engineSid},
        {databaseObject, databasesContainer, u"MSysDb", databaseType, adminSid},
        {Signed(objectsTablePage), tablesContainer, objects, tableType, engineSid},
        {Signed(acesTablePage), tablesContainer, aces, tableType, engineSid},
        {Signed(queriesTablePage), tablesContainer, queries, tableType, engineSid},
        {Signed(relationshipsTablePage), tablesContainer, relationships, tableType, engineSid},
    };
    std::vector<Row> all;
    for (const auto& row : rows) {
        Row& values = all.emplace_back(object::count);
        values[object::id] = row.id;
        values[object::parentId] = row.parent;
        values[object::name] = ToAnsi(row.name);
        values[object::type] = row.type;
        values[object::dateCreate] = values[object::dateUpdate] = now;
        values[object::owner] = row.owner;
        values[object::flags] = Signed(systemFlags);
    }
    return all;
}

std::vector<Row> RightsOfNewFile()
{
    using namespace system;
    const struct
    {
        std::int32_t id;
        const Bytes& sid;
        std::int32_t rights;
        bool inheritable;
    } rows[] = {
        {Signed(objectsTablePage), adminSid, 0x60000, false},
        {Signed(acesTablePage), adminSid, 0x60000, false},
        {Signed(queriesTablePage), adminSid, 0x60000, false},
        {Signed(relationshipsTablePage), adminSid, 0xE0000, false},
        {tablesContainer, creatorSid, 0xF00FE, true},
        {tablesContainer, adminSid, 0x60001, false},
        {relationshipsContainer, creatorSid, 0xF00FE, true},
        {relationshipsContainer, adminSid, 0x60001, false},
        {databasesContainer, adminSid, 0x60000, false},
        {databaseObject, adminSid, 0x6000E, false},
        {databaseObject, usersSid, 0x0E, false},
        {Signed(queriesTablePage), usersSid, 0x14, false},
        {Signed(relationshipsTablePage), usersSid, 0x14, false},
        {Signed(objectsTablePage), usersSid, 0x14, false},
        {tablesContainer, usersSid, 0xFFFFF, true},
        {relationshipsContainer, usersSid, 0xFFFFF, true},
    };
    std::vector<Row> all;
    for (const auto& row : rows) {
        Row& values = all.emplace_back(ace::count);
        values[ace::objectId] = row.id;
        values[ace::sid] = row.sid;
        values[ace::acm] = row.rights;
        values[ace::inheritable] = row.inheritable;
    }
    return all;
}

std::vector<TableDefinition> LayDownSystemTables(Pager& pager, const SortLocale& locale, TextView password)
{
    HeaderPage::Make(pager.Extend().Bytes(), locale, password);
    LayDownFileMaps(pager);

    PageAllocator allocator(pager);
    std::vector<TableDefinition> tables = system::Definitions(locale);
    for (TableDefinition& table : tables) table.page = allocator.Allocate().Number();
    std::uint32_t sharedMaps = 0;  // all but MSysObjects have their maps on one page
    for (TableDefinition& table : tables) {
        LayDownTable(pager, allocator, table, sharedMaps);
        if (table.page == acesTablePage) sharedMaps = table.ownedMap;
    }
    return tables;
}

void LayDownNewFile(Pager& pager, const SortLocale& locale, TextView password, Date now)
{
    const std::vector<TableDefinition> tables = LayDownSystemTables(pager, locale, password);
    PageAllocator allocator(pager);
    Table objects(pager, allocator, tables[0]);
    for (const Row& row : ObjectsOfNewFile(now)) objects.Insert(row);
    Table aces(pager, allocator, tables[1]);
    for (const Row& row : RightsOfNewFile()) aces.Insert(row);
}

}  // namespace vmlib::jet
