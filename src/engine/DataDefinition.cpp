// Statements that change the design of tables, in terms of the storage's own changes of design.

#include <algorithm>

#include "engine/Queries.h"
#include "engine/RowRules.h"
#include "engine/StatementRunner.h"
#include "engine/Values.h"
#include "jet/Names.h"

namespace vmlib::engine {
namespace {

class DataDefinition
{
public:
    explicit DataDefinition(DatabaseHandle& database) : database_(database), storage_(database.Storage()) {}

    void Run(const sql::CreateTableStatement& statement)
    {
        database_.RequireDesignable(statement.table);
        jet::TableDefinition table;
        table.name = statement.table;
        for (const auto& column : statement.columns) {
            table.columns.push_back(ColumnOf(column));
            table.columns.back().ordinalPosition = static_cast<std::uint16_t>(table.columns.size() - 1);
        }
        storage_.CreateTable(table);
        for (const auto& constraint : statement.constraints) AddConstraint(statement.table, constraint);
    }

    void Run(const sql::CreateIndexStatement& statement)
    {
        RequireTable(statement.table);
        RequireNewIndex(statement.table, statement.index);
        jet::NewIndex index;
        index.name = statement.index;
        index.columns = IndexColumns(statement.table, statement.fields);
        index.primary = statement.primary;
        index.unique = statement.unique || statement.primary;
        index.required = statement.disallowNull || statement.primary;
        index.ignoreNulls = statement.ignoreNull;
        storage_.CreateIndex(statement.table, index);
    }

    void Run(const sql::AlterTableStatement& statement)
    {
        RequireTable(statement.table);
        switch (statement.action) {
            case sql::AlterTableStatement::Action::AddColumn:
                storage_.AddColumn(statement.table, NextColumn(statement));
                for (const auto& constraint : statement.columnConstraints) AddConstraint(statement.table, constraint);
                return;
            case sql::AlterTableStatement::Action::DropColumn:
                return DropColumn(statement.table, statement.name);
            case sql::AlterTableStatement::Action::AddConstraint:
                return AddConstraint(statement.table, statement.constraint);
            case sql::AlterTableStatement::Action::DropConstraint:
                return DropConstraint(statement.table, statement.name);
        }
    }

    void Run(const sql::DropStatement& statement)
    {
        if (statement.index) {
            RequireTable(statement.table);
            return storage_.DropIndex(statement.table, statement.name);
        }
        RequireTable(statement.name);
        storage_.DropTable(statement.name);
    }

private:
    void RequireTable(const Text& name)
    {
        database_.RequireDesignable(name);
        const auto* entry = storage_.FindObject(name, tableObject);
        if (!entry) throw Error(ErrorNumber::TableMissing, {name});
        if (IsSystem(*entry)) throw Error(ErrorNumber::NoPermission, {name});
        RequireUnused(database_, name);
    }

    void RequireNewIndex(const Text& table, const Text& name)
    {
        if (storage_.OpenTable(table)->Definition().IndexNamed(name))
            throw Error(ErrorNumber::IndexNameTaken, {table, name});
    }

    static jet::ColumnDefinition ColumnOf(const sql::ColumnSpecification& wanted)
    {
        jet::ColumnDefinition column = NewColumn(wanted.name, wanted.type, wanted.autoNumber, wanted.size.value_or(0));
        if (wanted.notNull) column.properties.SetBoolean(u"Required", true);
        return column;
    }

    jet::ColumnDefinition NextColumn(const sql::AlterTableStatement& statement)
    {
        jet::ColumnDefinition column = ColumnOf(statement.column);
        for (const auto& other : storage_.OpenTable(statement.table)->Definition().columns) {
            if (EqualIgnoringCase(other.name, column.name))
                throw Error(ErrorNumber::FieldExists, {statement.table, column.name});
            column.ordinalPosition =
                std::max(column.ordinalPosition, static_cast<std::uint16_t>(other.ordinalPosition + 1));
        }
        return column;
    }

    std::vector<jet::IndexColumn> IndexColumns(const Text& table, const std::vector<std::pair<Text, bool>>& fields)
    {
        const auto opened = storage_.OpenTable(table);
        std::vector<jet::IndexColumn> columns;
        for (const auto& [field, descending] : fields) {
            const auto position = opened->Definition().ColumnNamed(field);
            if (!position) throw Error(ErrorNumber::NoFieldInIndex, {field});
            columns.push_back({opened->Definition().columns[*position].number, descending});
        }
        return columns;
    }

    void AddConstraint(const Text& table, const sql::ConstraintSpecification& constraint)
    {
        if (constraint.kind == sql::ConstraintSpecification::Kind::ForeignKey) return AddForeignKey(table, constraint);
        std::vector<std::pair<Text, bool>> fields;
        for (const Text& field : constraint.fields) fields.emplace_back(field, false);
        jet::NewIndex index;
        index.primary = constraint.kind == sql::ConstraintSpecification::Kind::PrimaryKey;
        index.unique = true;
        index.required = index.primary;
        index.name = NameOf(constraint, table);
        RequireNewIndex(table, index.name);
        index.columns = IndexColumns(table, fields);
        storage_.CreateIndex(table, index);
    }

    void AddForeignKey(const Text& table, const sql::ConstraintSpecification& constraint)
    {
        jet::RelationDefinition relation;
        relation.name = NameOf(constraint, table);
        relation.table = constraint.foreignTable;
        relation.foreignTable = table;
        RequireNewRelation(relation.name);
        std::vector<Text> parents = constraint.foreignFields;
        if (!storage_.FindObject(constraint.foreignTable, tableObject))
            throw Error(ErrorNumber::TableMissing, {constraint.foreignTable});
        if (parents.empty()) parents = PrimaryKeyOf(constraint.foreignTable);
        if (parents.size() != constraint.fields.size()) throw Error(ErrorNumber::RelationFieldsDiffer);
        for (std::size_t i = 0; i < parents.size(); ++i) relation.fields.emplace_back(parents[i], constraint.fields[i]);
        CreateRelation(relation);
    }

    void RequireNewRelation(const Text& name)
    {
        for (const auto& relation : storage_.Relations())
            if (jet::SameName(relation.name, name)) throw Error(ErrorNumber::RelationExists, {name});
    }

    /// The same lack has another number here than where a relation is appended.
    void CreateRelation(const jet::RelationDefinition& relation)
    {
        try {
            storage_.CreateRelation(relation);
        } catch (const Error& error) {
            if (error.Number() != static_cast<std::int32_t>(ErrorNumber::NoUniqueIndex)) throw;
            throw Error(ErrorNumber::NotUniquelyIndexed, {relation.table});
        }
    }

    std::vector<Text> PrimaryKeyOf(const Text& table)
    {
        const auto opened = storage_.OpenTable(table);
        const jet::TableDefinition& definition = opened->Definition();
        for (const auto& index : definition.indexes) {
            if (index.kind != jet::IndexDefinition::Kind::Primary) continue;
            std::vector<Text> fields;
            for (const auto& column : definition.TreeOf(index).columns)
                fields.push_back(definition.columns[definition.ColumnNumbered(column.column).value()].name);
            return fields;
        }
        throw Error(ErrorNumber::NoPrimaryKeyReferenced, {table});
    }

    /// What a field is needed for has other numbers here than where a field is deleted.
    void DropColumn(const Text& table, const Text& name)
    {
        const auto uses = [&](const jet::RelationDefinition& relation) {
            return std::ranges::any_of(relation.fields, [&](const auto& pair) {
                return (jet::SameName(relation.table, table) && jet::SameName(pair.first, name)) ||
                       (jet::SameName(relation.foreignTable, table) && jet::SameName(pair.second, name));
            });
        };
        if (std::ranges::any_of(storage_.Relations(), uses))
            throw Error(ErrorNumber::CannotDeleteFieldInRelation, {name});
        const auto opened = storage_.OpenTable(table);
        const auto position = opened->Definition().ColumnNamed(name);
        for (const auto& tree : opened->Definition().trees)
            for (const auto& column : tree.columns)
                if (position && column.column == opened->Definition().columns[*position].number)
                    throw Error(ErrorNumber::FieldInIndex);
        RowRules::RequireRuleWithout(database_.Queries(), opened->Definition(), name);
        storage_.DropColumn(table, name);
    }

    void DropConstraint(const Text& table, const Text& name)
    {
        for (const auto& relation : storage_.Relations())
            if (jet::SameName(relation.name, name) && jet::SameName(relation.foreignTable, table))
                return storage_.DropRelation(name);
        if (!storage_.OpenTable(table)->Definition().IndexNamed(name))
            throw Error(ErrorNumber::NoSuchTableOrConstraint, {name});
        storage_.DropIndex(table, name);
    }

    /// A constraint without a name gets one that nothing else has.
    Text NameOf(const sql::ConstraintSpecification& constraint, const Text& table)
    {
        if (!constraint.name.empty()) return constraint.name;
        const auto opened = storage_.OpenTable(table);
        const auto relations = storage_.Relations();
        for (int number = 1;; ++number) {
            Text name = u"Index_" + Decimal(number);
            const bool taken = std::ranges::any_of(
                relations, [&](const auto& relation) { return jet::SameName(relation.name, name); });
            if (!taken && !opened->Definition().IndexNamed(name)) return name;
        }
    }

    DatabaseHandle& database_;
    jet::Database& storage_;
};

}  // namespace

void RunDataDefinition(DatabaseHandle& database, const sql::Statement& statement)
{
    jet::UnitOfWork unit(database.Storage().GetPager());
    DataDefinition definition(database);
    std::visit(
        [&](const auto& wanted) {
            if constexpr (requires { definition.Run(wanted); })
                definition.Run(wanted);
            else
                throw Error(ErrorNumber::Internal);
        },
        statement);
    unit.Commit();
}

}  // namespace vmlib::engine
