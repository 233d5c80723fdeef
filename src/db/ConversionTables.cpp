#include "db/ConversionTables.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "automation/Convert.h"
#include "db/Closing.h"
#include "db/EngineAccess.h"

namespace vmlib::db {

namespace {

/// What says nothing about the statement that failed: memory, disk, locks, a damaged page.
constexpr ErrorNumber troubles[] = {
    ErrorNumber::OutOfMemory,     ErrorNumber::TableLocked,      ErrorNumber::EngineDiskFull,
    ErrorNumber::DatabaseFull,    ErrorNumber::DiskOrNetwork,    ErrorNumber::CouldNotSaveLocked,
    ErrorNumber::NotADatabase,    ErrorNumber::CouldNotLockFile, ErrorNumber::CouldNotRead,
    ErrorNumber::DamagedDatabase,
};

/// Runs a step and skips it when it fails, as what the new layout has no place for is left out that way. Trouble ends
/// the conversion instead: rows that are still wanted would go with the step, and nobody would hear of it.
template <class Step>
std::optional<Error> SkipWhatDoesNotFit(Step&& step)
{
    auto error = ResumeNext(std::forward<Step>(step));
    if (error && std::any_of(std::begin(troubles), std::end(troubles), [&](auto number) { return error->Is(number); }))
        throw *error;
    return error;
}

/// A position that cannot be read counts as a nameless member.
template <class T>
std::vector<Text> NamesOf(const dao::Items<T>& items)
{
    std::int32_t count = 0;
    SkipWhatDoesNotFit([&] { count = items.Count(); });
    std::vector<Text> names(static_cast<std::size_t>(std::max(count, 0)));
    for (std::int32_t i = 0; i < count; ++i)
        SkipWhatDoesNotFit([&] { names[static_cast<std::size_t>(i)] = items.Item(i).Name(); });
    return names;
}

std::vector<Text> TableNames(const dao::Database& database)
{
    std::vector<Text> names;
    SkipWhatDoesNotFit([&] { names = NamesOf(database.TableDefs()); });
    return names;
}

bool Holds(const std::vector<Text>& names, const Text& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool HoldsIgnoringCase(const std::vector<Text>& names, const Text& name)
{
    const Text lower = LowerCase(name);
    return std::any_of(names.begin(), names.end(), [&](const Text& other) { return LowerCase(other) == lower; });
}

/// The rows of the layout, one a field.
class LayoutRows
{
public:
    LayoutRows(const dao::Database& layout, const Text& fileType)
    {
        SkipWhatDoesNotFit([&] {
            rows_ = Closing(layout.OpenRecordset(
                u"SELECT * FROM Layout WHERE FileType='" + fileType + u"' ORDER BY TabelNaam", dao::dbOpenSnapshot));
        });
        ReadPosition();
    }

    bool AtEnd() const { return atEnd_; }
    /// Asked before the first Next: the layout was read, and has no row of the type.
    bool IsEmpty() const { return rows_ && atEnd_; }
    /// Where it cannot be read it stays that of the row before.
    const Text& TableName() const { return tableName_; }

    void Next()
    {
        // A row that cannot be passed ends the reading: trying again would never end.
        atEnd_ = SkipWhatDoesNotFit([&] { rows_->MoveNext(); }).has_value();
        if (!atEnd_) ReadPosition();
    }

    Text FieldName() const { return Text(TrimRight(ToText(rows_->Field(u"VeldNaam").Value()))); }

    /// Makes the field of the row and appends it to the table.
    void AppendField(const dao::TableDef& table) const
    {
        dao::Field field;
        SkipWhatDoesNotFit([&] { field = table.CreateField(FieldName()); });
        SkipWhatDoesNotFit([&] { field.SetType(Code(u"VeldType")); });
        SkipWhatDoesNotFit([&] { field.SetSize(Code(u"VeldLengte")); });
        SkipWhatDoesNotFit([&] { field.SetAttributes(Code(u"VeldAttribuut")); });
        SkipWhatDoesNotFit([&] {
            if (const auto type = field.Type(); type == dao::dbText || type == dao::dbMemo)
                field.SetAllowZeroLength(ToBoolean(rows_->Field(u"NulWaardeToegestaan").Value()));
        });
        SkipWhatDoesNotFit([&] { table.Fields().Append(field); });
    }

private:
    void ReadPosition()
    {
        atEnd_ = true;
        SkipWhatDoesNotFit([&] { atEnd_ = rows_->AtEnd(); });
        if (!atEnd_) SkipWhatDoesNotFit([&] { tableName_ = ToText(rows_->Field(u"TabelNaam").Value()); });
    }

    std::int16_t Code(TextView field) const { return ToInteger(rows_->Field(field).Value()); }

    Closing<dao::Recordset> rows_;
    Text tableName_;
    bool atEnd_ = true;
};

/// A row of a table that is there already: its field is added unless the table has it.
void ExtendTable(const dao::TableDef& table, const LayoutRows& row)
{
    Text name;
    SkipWhatDoesNotFit([&] { name = row.FieldName(); });
    std::vector<Text> fields;
    SkipWhatDoesNotFit([&] { fields = NamesOf(table.Fields()); });
    if (!Holds(fields, name)) row.AppendField(table);
}

/// A new table takes all rows up to the first of another table.
void AddTable(const dao::Database& target, LayoutRows& row)
{
    const Text name = row.TableName();
    dao::TableDef table;
    SkipWhatDoesNotFit([&] { table = target.CreateTableDef(name); });
    for (; !row.AtEnd() && row.TableName() == name; row.Next()) row.AppendField(table);
    SkipWhatDoesNotFit([&] { target.TableDefs().Append(table); });
}

Text CommonFields(const dao::TableDef& source, const dao::TableDef& target)
{
    std::vector<Text> sourceFields;
    SkipWhatDoesNotFit([&] { sourceFields = NamesOf(source.Fields()); });
    Text list;
    for (const Text& name : NamesOf(target.Fields()))
        if (HoldsIgnoringCase(sourceFields, name)) list += name + u", ";
    if (!list.empty()) list.resize(list.size() - 2);
    return list;
}

}  // namespace

void BuildConvertedTables(const dao::Database& target, const dao::Database& layout, const Text& fileType)
{
    LayoutRows row(layout, fileType);
    // As for a new document: an empty database would take the place of the old one.
    if (row.IsEmpty()) throw Error(ErrorNumber::NoCurrentRecord);
    while (!row.AtEnd()) {
        const std::vector<Text> tables = TableNames(target);
        const auto existing = std::find(tables.begin(), tables.end(), row.TableName());
        if (existing == tables.end()) {
            AddTable(target, row);
            continue;
        }
        SkipWhatDoesNotFit(
            [&] { ExtendTable(target.TableDefs().Item(static_cast<std::int32_t>(existing - tables.begin())), row); });
        row.Next();
    }
}

void CopyConvertedData(const dao::Database& source, const dao::Database& target, const Text& targetPath)
{
    const std::vector<Text> sourceTables = TableNames(source);
    const std::vector<Text> targetTables = TableNames(target);
    for (std::size_t i = 0; i < sourceTables.size(); ++i) {
        for (std::size_t j = 0; j < targetTables.size(); ++j) {
            const Text& name = sourceTables[i];
            if (name != targetTables[j]) continue;
            const auto error = SkipWhatDoesNotFit([&] {
                const Text fields = CommonFields(source.TableDefs().Item(static_cast<std::int32_t>(i)),
                                                 target.TableDefs().Item(static_cast<std::int32_t>(j)));
                if (fields.empty()) return;
                source.Execute(u"INSERT INTO " + name + u" " + InClause(targetPath) + u" SELECT " + fields + u" FROM " +
                               name);
            });
            // Text that the new file cannot hold: the table would stay empty.
            if (error && error->Is(ErrorNumber::DataConversion)) throw *error;
        }
    }
}

}  // namespace vmlib::db
