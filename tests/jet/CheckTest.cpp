#include <gmock/gmock.h>

#include <cstring>
#include <functional>

#include "core/ByteOrder.h"
#include "jet/Check.h"
#include "jet/DefinitionCodec.h"
#include "jet/IndexPage.h"
#include "jet/MemoryPager.h"
#include "jet/PageMap.h"
#include "jet/Table.h"
#include "support/GenuineFiles.h"

namespace vmlib::jet {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

struct Genuine
{
    const char* file;
    std::size_t tables, rows, entries, pages;  // as an independent checker counts them
};

void PrintTo(const Genuine& genuine, std::ostream* out)
{
    *out << genuine.file;
}

class GenuineFile : public testing::TestWithParam<Genuine>
{
};

TEST_P(GenuineFile, IsSound)
{
    VMLIB_GENUINE_FILE(path, GetParam().file);
    MemoryPager pager(MemoryPager::FileBytes(path.string()));
    const CheckReport report = Check(pager);
    EXPECT_THAT(report.faults, IsEmpty());
    EXPECT_EQ(report.tables, GetParam().tables);
    EXPECT_EQ(report.rows, GetParam().rows);
    EXPECT_EQ(report.indexEntries, GetParam().entries);
    EXPECT_EQ(report.pages, GetParam().pages);
}

INSTANTIATE_TEST_SUITE_P(Files, GenuineFile,
                         testing::Values(Genuine{"employee.mdb", 11, 10171, 10193, 615},
                                         Genuine{"indexTestV1997.mdb", 10, 162, 209, 68},
                                         Genuine{"queryTestV1997.mdb", 9, 212, 242, 47},
                                         Genuine{"test2V1997.mdb", 8, 134, 155, 67},
                                         Genuine{"testV1997.mdb", 10, 92, 116, 58}));

// ----------------------------------------------------------------------------------------------- what it finds

/// A genuine file with relations, changed in memory.
struct OpenCopy
{
    explicit OpenCopy(const std::filesystem::path& path) : pager(MemoryPager::FileBytes(path.string())) {}
    ~OpenCopy() { unit.Commit(); }

    MemoryPager pager;
    PageAllocator allocator{pager};
    UnitOfWork unit{pager};

    static constexpr PageNumber foreignTable = 37, parentTable = 45;  // Table1, Table3 of indexTestV1997.mdb

    Table Open(PageNumber page) { return {pager, allocator, Table::ReadDefinition(pager, page)}; }
    TableDefinition Definition(PageNumber page) { return Table::ReadDefinition(pager, page); }
    PageNumber DataPageOf(PageNumber table) { return PageMap(pager, Definition(table).ownedMap).All().front(); }
    PageNumber RootOf(PageNumber table, std::size_t tree) { return Definition(table).trees.at(tree).root; }

    std::uint8_t* Bytes(PageNumber page) { return pager.Edit(page).Data(); }
    void Poke(PageNumber page, std::size_t at, std::uint32_t value) { StoreLittle(Bytes(page) + at, value); }
    /// Where the first row of a data page ends is the end of the page; its first field stands behind the count of
    /// columns.
    std::size_t FirstRowOf(PageNumber dataPage, std::size_t slot = 0)
    {
        return LoadLittle<std::uint16_t>(Bytes(dataPage) + 10 + 2 * slot) & 0x3FFFu;
    }

    /// Changes rows as the engine does, so that pages and keys stay in step.
    void ChangeRows(PageNumber page, const std::function<bool(const TableDefinition&, Row&)>& change,
                    bool remove = false)
    {
        Table table = Open(page);
        std::vector<std::pair<RowPointer, Row>> rows;
        for (auto cursor = table.Scan(); cursor.Next();) rows.emplace_back(cursor.Where(), cursor.Current());
        for (auto& [at, row] : rows) {
            if (!change(table.Definition(), row)) continue;
            if (remove) {
                table.Delete(at);
            } else {
                table.Update(at, row);
            }
        }
    }
    static Value& Field(const TableDefinition& table, Row& row, TextView name)
    {
        return row.at(*table.ColumnNamed(name));
    }
};

struct FileWound
{
    const char* name;
    std::function<void(OpenCopy&)> inflict;
    const char* expected;  // in one of the faults
};

void PrintTo(const FileWound& wound, std::ostream* out)
{
    *out << wound.name;
}

class WoundedFile : public testing::TestWithParam<FileWound>
{
};

TEST_P(WoundedFile, IsReported)
{
    VMLIB_GENUINE_FILE(path, "indexTestV1997.mdb");
    OpenCopy file(path);
    ASSERT_THAT(Check(file.pager).faults, IsEmpty());
    GetParam().inflict(file);
    const CheckReport report = Check(file.pager);
    EXPECT_THAT(report.faults, Contains(HasSubstr(GetParam().expected))) << testing::PrintToString(report.notes);
}

TEST(CheckOfATree, FindsEntriesBeyondTheirSeparator)
{
    VMLIB_GENUINE_FILE(path, "employee.mdb");
    OpenCopy file(path);
    const PageNumber root = 29;  // of two levels; its first entry separates the first leaf from the second
    ASSERT_EQ(IndexPage(file.pager.Read(root), 19).Level(), 1u);
    --file.Bytes(root)[indexLayout::entries + 2];
    EXPECT_THAT(Check(file.pager).faults, Contains(HasSubstr("goes beyond the separator in its parent")));
}

constexpr PageNumber foreignTable = OpenCopy::foreignTable;
constexpr PageNumber parentTable = OpenCopy::parentTable;

INSTANTIATE_TEST_SUITE_P(
    Pages, WoundedFile,
    testing::Values(
        FileWound{
            "a used page in the free map",
            [](OpenCopy& f) { PageMap(f.pager, PageMap::freeMapPointer).Add(f.DataPageOf(foreignTable), f.allocator); },
            "belongs to Table1 (rows) and to the free pages"},
        FileWound{"a page of two tables",
                  [](OpenCopy& f) {
                      PageMap(f.pager, f.Definition(parentTable).ownedMap).Add(f.DataPageOf(foreignTable), f.allocator);
                  },
                  "and to Table3 (rows)"},
        FileWound{"a page behind the end of the file",
                  [](OpenCopy& f) { PageMap(f.pager, f.Definition(parentTable).ownedMap).Add(900, f.allocator); },
                  "outside the file"},
        FileWound{"a page that the map lost",
                  [](OpenCopy& f) {
                      PageMap(f.pager, f.Definition(foreignTable).ownedMap).Remove(f.DataPageOf(foreignTable));
                  },
                  "has room but is not owned"},
        FileWound{"free bytes of a data page", [](OpenCopy& f) { ++f.Bytes(f.DataPageOf(foreignTable))[2]; },
                  "free bytes, has"},
        FileWound{"free bytes of a page of maps",
                  [](OpenCopy& f) { ++f.Bytes(RowPointer::Unpack(f.Definition(foreignTable).ownedMap).page)[2]; },
                  "page maps: page"},
        FileWound{"free bytes of an index page", [](OpenCopy& f) { ++f.Bytes(f.RootOf(foreignTable, 0))[2]; },
                  "the free bytes of an index page"},
        FileWound{"a row that runs into the offsets",
                  [](OpenCopy& f) { f.Bytes(f.DataPageOf(foreignTable))[11] &= 0xC0; }, "row 1 does not end where"},
        FileWound{"owner of a data page", [](OpenCopy& f) { f.Poke(f.DataPageOf(foreignTable), 4, parentTable); },
                  "belongs to another owner"},
        FileWound{"a moved row that nobody reaches",
                  [](OpenCopy& f) { f.Bytes(f.DataPageOf(parentTable))[11] |= 0x80; },
                  "nothing leads to the moved row"},
        FileWound{"a definition of another kind", [](OpenCopy& f) { f.Bytes(parentTable)[0] = 4; },
                  "Table3, definition"},
        FileWound{"a definition cut short", [](OpenCopy& f) { f.Poke(parentTable, 8, 60); }, "Table3, definition"},
        FileWound{"a map row that two use",
                  [](OpenCopy& f) { f.Poke(parentTable, 35, f.Definition(foreignTable).ownedMap); }, "the page map"},
        FileWound{"a zero page for the catalogue", [](OpenCopy& f) { f.pager.EditZeroed(2); },
                  "MSysObjects, definition"},
        FileWound{"a zero page of free maps", [](OpenCopy& f) { f.pager.EditZeroed(1); }, "the free pages"},
        FileWound{"second byte of a data page", [](OpenCopy& f) { f.Bytes(f.DataPageOf(foreignTable))[1] = 0; },
                  "a page of rows is of another kind"},
        FileWound{"second byte of a definition", [](OpenCopy& f) { f.Bytes(parentTable)[1] = 3; },
                  "Table3, definition"},
        FileWound{"a table that is neither a user's nor a system's",
                  [](OpenCopy& f) { f.Bytes(parentTable)[20] = 'X'; }, "Table3, definition"},
        FileWound{"two indexes of one number",
                  [](OpenCopy& f) {
                      TableDefinition definition = f.Definition(parentTable);
                      definition.indexes.at(0).number = definition.indexes.at(1).number;
                      WriteDefinitionPages(f.pager, f.allocator, definition);
                  },
                  "have one number"},
        FileWound{"owner of the first page of maps", [](OpenCopy& f) { f.Poke(1, 4, 0); },
                  "the page of the free map has another owner"},
        // What is under the mask of the header changes with what stands there.
        FileWound{"place of the second map of the file", [](OpenCopy& f) { f.Bytes(0)[0x1C] ^= 2; },
                  "header: the maps of free pages"},
        FileWound{"place of a system table", [](OpenCopy& f) { f.Bytes(0)[0x24] ^= 8; },
                  "header: the definitions of the system tables"}));

INSTANTIATE_TEST_SUITE_P(
    Keys, WoundedFile,
    testing::Values(FileWound{"a value that its key does not know",
                              [](OpenCopy& f) {
                                  ++f.Bytes(f.DataPageOf(foreignTable))[f.FirstRowOf(f.DataPageOf(foreignTable)) + 1];
                              },
                              "has no entry 7F80000001"},
                    FileWound{"a key that no row has",
                              [](OpenCopy& f) {
                                  f.Bytes(f.RootOf(foreignTable, 1))[248 + 4] = 0;
                                  f.Bytes(f.RootOf(foreignTable, 1))[248 + 7] = 9;
                              },
                              "follows from no row"},
                    FileWound{"entries out of order",
                              [](OpenCopy& f) { f.Bytes(f.RootOf(foreignTable, 1))[248 + 4] = 7; }, "is out of order"},
                    FileWound{"an index page linked to itself",
                              [](OpenCopy& f) { f.Poke(f.RootOf(foreignTable, 1), 12, f.RootOf(foreignTable, 1)); },
                              "the last of level 0, is linked to page"},
                    FileWound{"a tree that its map lacks",
                              [](OpenCopy& f) {
                                  PageMap(f.pager, f.Definition(foreignTable).trees.at(0).ownedMap)
                                      .Remove(f.RootOf(foreignTable, 0));
                              },
                              "is in the tree but not in the map"},
                    FileWound{"a root of another table",
                              [](OpenCopy& f) {
                                  TableDefinition definition = f.Definition(foreignTable);
                                  definition.trees.at(0).root = f.RootOf(parentTable, 0);
                                  WriteDefinitionPages(f.pager, f.allocator, definition);
                              },
                              "an index page of another table"},
                    FileWound{"AutoNumber beyond the last one",
                              [](OpenCopy& f) {
                                  TableDefinition definition = f.Definition(foreignTable);
                                  definition.columns.at(0).autoNumber = true;
                                  definition.columns.at(0).flags |= 4;
                                  WriteDefinitionPages(f.pager, f.allocator, definition);
                              },
                              "AutoNumber 3 was given"}));

INSTANTIATE_TEST_SUITE_P(
    Catalogue, WoundedFile,
    testing::Values(FileWound{"a row without parent",
                              [](OpenCopy& f) {
                                  f.ChangeRows(foreignTable, [](auto& table, Row& row) {
                                      return OpenCopy::Field(table, row, u"otherfk2") = std::int32_t{14}, true;
                                  });
                              },
                              "relation Table3Table1: row"},
                    FileWound{"cascades that differ",
                              [](OpenCopy& f) {
                                  TableDefinition definition = f.Definition(parentTable);
                                  for (IndexDefinition& index : definition.indexes)
                                      index.cascadeDelete |= index.kind == IndexDefinition::Kind::Relation;
                                  WriteDefinitionPages(f.pager, f.allocator, definition);
                              },
                              "index .rC cascades otherwise"},
                    FileWound{"a relation that only the indexes know",
                              [](OpenCopy& f) {
                                  f.ChangeRows(
                                      relationshipsTablePage, [](auto&, Row&) { return true; }, true);
                              },
                              "an index of a relation that is not there"},
                    FileWound{"a relation over another column",
                              [](OpenCopy& f) {
                                  f.ChangeRows(relationshipsTablePage, [](auto& table, Row& row) {
                                      return OpenCopy::Field(table, row, u"szColumn") = std::string("data"), true;
                                  });
                              },
                              "relation Table2Table1: its indexes are over other columns"},
                    FileWound{"no rights",
                              [](OpenCopy& f) {
                                  f.ChangeRows(
                                      acesTablePage, [](auto&, Row&) { return true; }, true);
                              },
                              "MSysACEs: no rights to Table1"},
                    FileWound{"rows of a query that is not there",
                              [](OpenCopy& f) {
                                  Table queries = f.Open(queriesTablePage);
                                  Row row(queries.Definition().columns.size());
                                  OpenCopy::Field(queries.Definition(), row, u"ObjectId") = std::int32_t{-5};
                                  OpenCopy::Field(queries.Definition(), row, u"Attribute") = std::uint8_t{0};
                                  OpenCopy::Field(queries.Definition(), row, u"Order") = Bytes{0, 0, 0, 1};
                                  queries.Insert(row);
                              },
                              "which is no query"},
                    FileWound{"an object without parent",
                              [](OpenCopy& f) {
                                  f.ChangeRows(objectsTablePage, [](auto& table, Row& row) {
                                      if (OpenCopy::Field(table, row, u"Name") != Value(std::string("Table2")))
                                          return false;
                                      return OpenCopy::Field(table, row, u"ParentId") = std::int32_t{77}, true;
                                  });
                              },
                              "Table2 has the parent object 77"},
                    FileWound{"properties of another kind",
                              [](OpenCopy& f) {
                                  f.ChangeRows(objectsTablePage, [](auto& table, Row& row) {
                                      if (OpenCopy::Field(table, row, u"Name") != Value(std::string("Table2")))
                                          return false;
                                      return OpenCopy::Field(table, row, u"LvProp") = Bytes{'K', 'K', 'D', 0, 9}, true;
                                  });
                              },
                              "properties of Table2"},
                    FileWound{"a field that a system table always has",
                              [](OpenCopy& f) {
                                  TableDefinition objects = f.Definition(objectsTablePage);
                                  objects.columns.at(*objects.ColumnNamed(u"LvProp")).name = u"LwProp";
                                  WriteDefinitionPages(f.pager, f.allocator, objects);
                              },
                              "MSysObjects: the field LvProp"},
                    FileWound{"a long value that two rows share",
                              [](OpenCopy& f) {
                                  // The first two long values of one row that stand elsewhere: give both the pointer of
                                  // one.
                                  TableDefinition objects = f.Definition(objectsTablePage);
                                  const ColumnDefinition& column = objects.columns.at(*objects.ColumnNamed(u"LvProp"));
                                  const PageNumber page = PageMap(f.pager, *column.ownedMap).All().front();
                                  std::vector<std::size_t> fields;
                                  for (const PageNumber rows : PageMap(f.pager, objects.ownedMap).All()) {
                                      std::uint8_t* bytes = f.Bytes(rows);
                                      for (std::size_t at = 10; at + 12 < pageSize && fields.size() < 2; ++at) {
                                          const bool isField = bytes[at + 3] == 0x40 &&
                                                               LoadLittle<std::uint32_t>(bytes + at + 4) >> 8 == page &&
                                                               LoadLittle<std::uint32_t>(bytes + at + 8) == 0;
                                          if (isField) fields.push_back(at);
                                      }
                                      if (fields.size() == 2) std::memcpy(bytes + fields[1], bytes + fields[0], 12);
                                  }
                                  ASSERT_EQ(fields.size(), 2u);
                              },
                              "is used twice"}));

}  // namespace
}  // namespace vmlib::jet
