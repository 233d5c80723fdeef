#include "engine/Selection.h"

#include <algorithm>

#include "engine/Values.h"
#include "sql/SqliteValues.h"

namespace vmlib::engine {
namespace {

class ScanStream : public RowStream
{
public:
    ScanStream(const TableRef& table, std::vector<std::size_t> positions, jet::ColumnMask mask)
        : table_(table),
          reading_(table.database->GetPager()),
          positions_(std::move(positions)),
          cursor_(table.table->Scan(std::move(mask)))
    {
    }
    bool Next() override { return cursor_.Next(); }
    const jet::Value& Value(std::size_t column) override { return cursor_.Current()[positions_[column]]; }
    std::optional<jet::RowPointer> Pointer(std::size_t) override { return cursor_.Where(); }

private:
    TableRef table_;
    jet::ReadScope reading_;
    std::vector<std::size_t> positions_;
    jet::Table::Cursor cursor_;
};

class StatementStream : public RowStream
{
public:
    StatementStream(SqliteStatement statement, const std::vector<sql::OutputColumn>& columns,
                    const std::vector<TableRef>& tables)
        : statement_(std::move(statement)), columns_(columns), values_(columns.size())
    {
        for (const TableRef& table : tables)
            readings_.push_back(std::make_unique<jet::ReadScope>(table.database->GetPager()));
    }
    bool Next() override { return statement_.Step(); }
    const jet::Value& Value(std::size_t column) override
    {
        values_[column] = ReadResult(statement_.Handle(), static_cast<int>(column), columns_[column].type);
        return values_[column];
    }
    std::optional<jet::RowPointer> Pointer(std::size_t table) override
    {
        const int column = static_cast<int>(columns_.size() + table);
        if (sqlite3_column_type(statement_.Handle(), column) != SQLITE_INTEGER) return std::nullopt;
        return jet::RowPointer::Unpack(static_cast<std::uint32_t>(sqlite3_column_int64(statement_.Handle(), column)));
    }

private:
    std::vector<std::unique_ptr<jet::ReadScope>> readings_;  // end after the statement
    SqliteStatement statement_;
    const std::vector<sql::OutputColumn>& columns_;
    std::vector<jet::Value> values_;
};

std::vector<Variant> ValuesFor(const std::vector<sql::ParameterUse>& uses, const Parameters& parameters)
{
    std::vector<Variant> values;
    int missing = 0;
    for (const auto& use : uses) {
        const auto given = std::ranges::find_if(
            parameters, [&](const auto& entry) { return EqualIgnoringCase(entry.first, use.name); });
        if (given == parameters.end() || given->second.IsEmpty())
            ++missing;
        else
            values.push_back(given->second);
    }
    if (missing > 0) throw Error(ErrorNumber::TooFewParameters, {Decimal(missing)});
    return values;
}

}  // namespace

Selection Selection::Of(QueryEngine& engine, const sql::SelectStatement& statement, const Parameters& parameters,
                        bool pointers)
{
    const QueryEngine::Values values(engine, parameters);
    auto plain = sql::AsPlainProjection(statement, engine);
    if (!plain) return Of(engine, sql::TranslateSelect(statement, engine, {.rowPointers = pointers}), parameters);
    Selection selection(engine);
    const TableRef table = engine.Open(plain->table, plain->place);
    for (const Text& field : plain->fields)
        selection.origins_.push_back(Origin{0, table.table->Definition().ColumnNamed(field).value()});
    selection.columns_ = std::move(plain->columns);
    selection.tables_ = selection.read_ = {table};
    selection.isPlain_ = true;
    return selection;
}

Selection Selection::Of(QueryEngine& engine, sql::Translation translation, const Parameters& parameters)
{
    Selection selection(engine);
    selection.columns_ = translation.columns;
    selection.parameters_ = ValuesFor(translation.parameters, parameters);
    for (const auto& table : translation.tables) selection.read_.push_back(engine.Open(table.name, table.place));
    for (const std::size_t position : translation.rowTables) selection.tables_.push_back(selection.read_[position]);
    selection.translation_ = std::move(translation);
    selection.FindOrigins();
    return selection;
}

void Selection::FindOrigins()
{
    origins_.resize(columns_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i].sourceField.empty()) continue;
        // A table that stands twice in the statement does not say which of its rows the column belongs to.
        std::optional<std::size_t> source;
        int named = 0;
        for (std::size_t table = 0; table < tables_.size(); ++table)
            if (EqualIgnoringCase(tables_[table].table->Definition().name, columns_[i].sourceTable))
                source = table, ++named;
        if (named != 1) continue;
        if (const auto column = tables_[*source].table->Definition().ColumnNamed(columns_[i].sourceField))
            origins_[i] = Origin{*source, *column};
    }
}

const jet::ColumnDefinition* Selection::DesignOf(std::size_t column) const
{
    const sql::OutputColumn& output = columns_[column];
    if (output.sourceField.empty()) return nullptr;
    for (const TableRef& read : read_) {
        const jet::TableDefinition& table = read.table->Definition();
        if (!EqualIgnoringCase(table.name, output.sourceTable)) continue;
        if (const auto position = table.ColumnNamed(output.sourceField)) return &table.columns[*position];
    }
    return nullptr;
}

std::unique_ptr<RowStream> Selection::Run(const std::vector<bool>& wanted) const
{
    if (!isPlain_) {
        SqliteStatement statement = engine_->Prepare(translation_->sql);
        for (std::size_t i = 0; i < parameters_.size(); ++i)
            sql::Bind(statement.Handle(), static_cast<int>(i) + 1, translation_->parameters[i].type, parameters_[i]);
        return std::make_unique<StatementStream>(std::move(statement), columns_, read_);
    }
    const TableRef& table = tables_.front();
    jet::ColumnMask mask(table.table->Definition().columns.size());
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < origins_.size(); ++i) {
        positions.push_back(origins_[i]->column);
        if (wanted.empty() || wanted[i]) mask[origins_[i]->column] = true;
    }
    return std::make_unique<ScanStream>(table, std::move(positions), std::move(mask));
}

bool Selection::Reads(jet::Database& database, TextView table) const
{
    return std::ranges::any_of(read_, [&](const TableRef& read) {
        return SameFile(*read.database, database) && EqualIgnoringCase(read.table->Definition().name, table);
    });
}

bool Selection::ReadsWideText() const
{
    return std::ranges::any_of(
        read_, [](const TableRef& read) { return read.database->GetPager().Format() == jet::FileFormat::Format4; });
}

std::vector<Text> Selection::TablesRead() const
{
    std::vector<Text> names;
    for (const TableRef& read : read_)
        if (SameFile(*read.database, engine_->TheDatabase().Storage())) names.push_back(read.table->Definition().name);
    return names;
}

sql::SelectStatement SelectAll(TextView name)
{
    sql::SelectStatement statement;
    auto star = std::make_shared<sql::Expression>();
    star->kind = sql::Expression::Kind::Star;
    statement.columns.push_back({star, {}});
    sql::Source source;
    source.name = name;
    statement.from.push_back(std::move(source));
    return statement;
}

}  // namespace vmlib::engine
