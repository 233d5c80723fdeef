#include "host/ConvertCheck.h"

#include <algorithm>

#include "engine/Values.h"
#include "host/RowSum.h"
#include "host/StoredFile.h"
#include "host/ValueLoss.h"
#include "jet/Check.h"
#include "jet/Pager.h"
#include "jet/Table.h"

namespace vmlib::host {

namespace {

using jet::ColumnDefinition;
using jet::TableDefinition;
using File = StoredFile;

constexpr std::uint64_t rememberedThings = 1'000'000;  // about 50 MiB
constexpr std::size_t examplesOfAField = 20;

/// The comparison of one table in both files.
class TableComparison
{
public:
    TableComparison(const File& before, const File& after, const Text& table, ConversionCheck& check)
        : scopeBefore_(before->GetPager()),
          scopeAfter_(after->GetPager()),
          before_(before->OpenTable(table)),
          after_(after->OpenTable(table)),
          check_(check),
          source_(before_->Definition()),
          target_(after_->Definition())
    {
        for (std::size_t i = 0; i < target_.columns.size(); ++i) {
            if (IsOwnField(target_.name, target_.columns[i].name)) continue;
            if (const auto found = source_.ColumnNamed(target_.columns[i].name)) pairs_.push_back({*found, i});
        }
        for (std::size_t i = 0; i < source_.columns.size(); ++i)
            if (!target_.ColumnNamed(source_.columns[i].name)) dropped_.push_back({i, 0});
        for (const jet::IndexDefinition& index : source_.indexes) {
            if (index.kind != jet::IndexDefinition::Kind::Primary) continue;
            for (const jet::IndexColumn& column : source_.TreeOf(index).columns)
                if (const auto position = source_.ColumnNumbered(column.column)) key_.push_back(*position);
        }
    }

    void Run()
    {
        ReadBefore();
        ReadAfter();
        for (const Dropped& field : dropped_)
            check_.losses.push_back({"field", source_.name, source_.columns[field.column].name, "", "",
                                     "the new layout has no such field", field.rows});
        for (Summary& summary : summaries_)
            if (summary.count > examplesOfAField) {
                summary.last.key.clear();
                summary.last.value.clear();
                summary.last.rows = summary.count - examplesOfAField;
                summary.last.reason = "more values like these";
                check_.losses.push_back(summary.last);
            }
        check_.tables.push_back({source_.name, rowsBefore_, found_.Rows()});
        Compare();
    }

private:
    struct Pair
    {
        std::size_t source, target;
    };
    struct Dropped
    {
        std::size_t column;
        std::uint64_t rows;
    };
    struct Summary
    {
        Loss last;
        std::uint64_t count = 0;
    };

    void ReadBefore()
    {
        for (auto cursor = before_->Scan(); cursor.Next(); ++rowsBefore_) {
            row_ = &cursor.Current();
            for (Dropped& field : dropped_)
                if (!jet::IsNull((*row_)[field.column])) ++field.rows;
            Expect();
        }
    }

    /// What the row becomes.
    void Expect()
    {
        RowSum::Row sum;
        std::vector<Loss> losses;
        for (const Pair& pair : pairs_) {
            const jet::Value& value = (*row_)[pair.source];
            const ColumnDefinition& column = target_.columns[pair.target];
            jet::Value fitted;
            engine::FitToColumn(value, column, engine::Fit::Lenient, fitted);
            if (const std::string refusal = WhyRefused(fitted, column); !refusal.empty())
                return NoteLoss("row", column.name, value, refusal);
            if (auto reason = WhatIsLost(value, source_.columns[pair.source], fitted, column); !reason.empty())
                losses.push_back({"value", {}, column.name, "", Shown(value), std::move(reason)});
            sum.Add(fitted, IsPadded(column));
        }
        expected_.Add(sum);
        for (Loss& loss : losses) NoteLoss(std::move(loss));
    }

    static std::string WhyRefused(const jet::Value& value, const ColumnDefinition& column)
    {
        if (jet::IsTextual(column.type) && column.AllowZeroLength() == false && engine::IsZeroLength(value))
            return "\"\" is not allowed there: the row is left out";
        if (column.Required() && jet::IsNull(value)) return "Null is not allowed there: the row is left out";
        return {};
    }

    void NoteLoss(const char* kind, const Text& field, const jet::Value& value, const std::string& reason)
    {
        NoteLoss({kind, {}, field, "", Shown(value), reason});
    }
    void NoteLoss(Loss loss)
    {
        loss.table = source_.name;
        loss.key = Key();
        Summary& summary = SummaryOf(loss);
        summary.last = loss;
        if (++summary.count <= examplesOfAField) check_.losses.push_back(std::move(loss));
    }
    Summary& SummaryOf(const Loss& loss)
    {
        for (Summary& summary : summaries_)
            if (summary.last.kind == std::string_view(loss.kind) && summary.last.field == loss.field) return summary;
        return summaries_.emplace_back();
    }

    /// "OrderNr=2401, RegelNr=1", or the row's place in the table where there is no primary key.
    std::string Key() const
    {
        std::string key;
        for (const std::size_t column : key_)
            key += (key.empty() ? "" : ", ") + ToUtf8(source_.columns[column].name) + "=" + Shown((*row_)[column]);
        return key.empty() ? "row " + std::to_string(rowsBefore_ + 1) : key;
    }

    void ReadAfter()
    {
        jet::ColumnMask wanted(target_.columns.size());
        for (const Pair& pair : pairs_) wanted[pair.target] = true;
        for (auto cursor = after_->Scan(wanted); cursor.Next();) {
            RowSum::Row sum;
            for (const Pair& pair : pairs_) {
                const ColumnDefinition& column = target_.columns[pair.target];
                sum.Add(cursor.Current()[pair.target], IsPadded(column));
            }
            found_.Add(sum);
        }
    }

    void Compare()
    {
        const std::string name = ToUtf8(source_.name);
        // No field in common: nothing is moved, and each field that is dropped says so.
        if (pairs_.empty() && found_.Rows() == 0) return;
        if (expected_.Rows() != found_.Rows())
            check_.mismatches.push_back(name + ": " + std::to_string(expected_.Rows()) + " rows were to come over, " +
                                        std::to_string(found_.Rows()) + " did");
        else if (!(expected_ == found_))
            check_.mismatches.push_back(name + ": values differ from those of the document");
    }

    jet::ReadScope scopeBefore_, scopeAfter_;  // one lock, not one a row
    std::shared_ptr<jet::Table> before_, after_;
    ConversionCheck& check_;
    const TableDefinition& source_;
    const TableDefinition& target_;
    std::vector<Pair> pairs_;
    std::vector<Dropped> dropped_;
    std::vector<std::size_t> key_;
    std::vector<Summary> summaries_;
    const jet::Row* row_ = nullptr;
    std::uint64_t rowsBefore_ = 0;
    RowSum expected_, found_;
};

std::uint64_t CountRows(const File& file, const Text& name)
{
    const jet::ReadScope scope(file->GetPager());
    const auto table = file->OpenTable(name);
    std::uint64_t rows = 0;
    // One column is named, as none would be all.
    jet::ColumnMask first(table->Definition().columns.size());
    if (!first.empty()) first[0] = true;
    for (auto cursor = table->Scan(first); cursor.Next();) ++rows;
    return rows;
}

bool Holds(const std::vector<Text>& names, const Text& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

void NoteLostTable(const File& before, const Text& table, const std::vector<Text>& newTables, ConversionCheck& check)
{
    const std::uint64_t rows = CountRows(before, table);
    const auto respelt = std::find_if(newTables.begin(), newTables.end(),
                                      [&](const Text& name) { return EqualIgnoringCase(name, table); });
    check.losses.push_back({"table",
                            table,
                            {},
                            "",
                            "",
                            respelt == newTables.end() ? std::string("the new layout has no such table")
                                                       : "the new layout spells it " + ToUtf8(*respelt),
                            rows});
    check.tables.push_back({table, rows, 0});
}

/// What the structural check keeps in memory: keys and places of long values.
std::uint64_t ThingsToRemember(const File& file)
{
    std::uint64_t things = 0;
    for (const Text& name : file.Tables()) {
        const auto table = file->OpenTable(name);
        const TableDefinition& definition = table->Definition();
        const auto isLong = [](const ColumnDefinition& column) { return jet::IsLongValue(column.type); };
        const auto longColumns = std::count_if(definition.columns.begin(), definition.columns.end(), isLong);
        things += table->RowCount() * (definition.trees.size() + static_cast<std::size_t>(longColumns));
    }
    return things;
}

RowSum SumOf(const File& file, const Text& name)
{
    const jet::ReadScope scope(file->GetPager());
    const auto table = file->OpenTable(name);
    RowSum sum;
    const TableDefinition& definition = table->Definition();
    for (auto cursor = table->Scan(); cursor.Next();) {
        RowSum::Row row;
        for (std::size_t i = 0; i < definition.columns.size(); ++i)
            if (!IsOwnField(definition.name, definition.columns[i].name)) row.Add(cursor.Current()[i], false);
        sum.Add(row);
    }
    return sum;
}

}  // namespace

ConversionCheck CheckConversion(Session& session, TextView before, TextView after)
{
    ConversionCheck check;
    const File source(session, before), target(session, after);
    const std::vector<Text> newTables = target.Tables();
    const std::vector<Text> oldTables = source.Tables();
    for (const Text& table : oldTables) {
        // The save leaves out what looks like a table of the engine's.
        const bool isSaved = UpperCase(table.substr(0, 4)) != u"MSYS";
        if (isSaved && Holds(newTables, table))
            TableComparison(source, target, table, check).Run();
        else
            NoteLostTable(source, table, newTables, check);
    }
    for (const Text& table : newTables)
        if (!Holds(oldTables, table)) check.tables.push_back({table, 0, CountRows(target, table)});
    for (const Text& table : source.LinkedTables())
        check.losses.push_back({"table", table, {}, "", "", "a linked table is not carried over"});
    for (const auto& query : source->Queries())
        if (!query.name.starts_with(u'~'))  // those belong to forms and controls of another program
            check.losses.push_back(
                {"query", Text(TrimRight(query.name)), {}, "", "", "stored queries are not carried over"});
    return check;
}

std::vector<std::string> CheckSave(Session& session, TextView working, TextView saved)
{
    std::vector<std::string> differences;
    const File source(session, working), target(session, saved);
    const std::vector<Text> savedTables = target.Tables();
    for (const Text& table : source.Tables()) {
        if (UpperCase(table.substr(0, 4)) == u"MSYS") continue;
        if (!Holds(savedTables, table))
            differences.push_back(ToUtf8(table) + ": not in the saved document");
        else if (!(SumOf(source, table) == SumOf(target, table)))
            differences.push_back(ToUtf8(table) + ": rows of the saved document differ");
    }
    return differences;
}

StructureCheck CheckStructure(Session& session, TextView path)
{
    constexpr int checkedFormat = 3;
    const File file(session, path);
    if (file->GetFacts().format != checkedFormat || ThingsToRemember(file) > rememberedThings) return {false, {}};
    return {true, jet::Check(*file).faults};
}

}  // namespace vmlib::host
