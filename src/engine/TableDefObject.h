#pragma once

#include "engine/IndexObject.h"

namespace vmlib::engine {

class RecordsetObject;

class TableFields : public ListOf<DesignField>
{
public:
    explicit TableFields(TableDesignRef table) : ListOf(table->session, u"Fields"), table_(std::move(table)) {}
    void Refresh() override;

protected:
    std::vector<std::shared_ptr<DesignField>> Load() override;
    void Store(const std::shared_ptr<DesignField>& field) override;
    void Remove(const std::shared_ptr<DesignField>& field) override;

private:
    TableDesignRef table_;
};

class TableIndexes : public ListOf<IndexObject>
{
public:
    explicit TableIndexes(TableDesignRef table) : ListOf(table->session, u"Indexes"), table_(std::move(table)) {}
    void Refresh() override;

protected:
    std::vector<std::shared_ptr<IndexObject>> Load() override;
    void Store(const std::shared_ptr<IndexObject>& index) override;
    void Remove(const std::shared_ptr<IndexObject>& index) override;

private:
    TableDesignRef table_;
};

/// The design of a table: free until it is appended to TableDefs.
class TableDefObject : public EngineObject<TableDefObject>
{
public:
    explicit TableDefObject(TableDesignRef design);
    static const MemberTable& Members();

    Text Name() { return design_->name; }
    void SetName(const Text& name);
    std::int32_t Attributes() { return static_cast<std::int32_t>(design_->attributes); }
    void SetAttributes(std::int32_t attributes);
    Text Connect() const { return {}; }
    void SetConnect(const Text& connect);
    Text SourceTableName() const { return {}; }
    bool Updatable();
    Date DateCreated();
    Date LastUpdated();
    std::int32_t RecordCount();
    /// What a row as a whole must be, over the fields of the table. @throws Error 3320
    Text ValidationRule() { return StringProperty(u"ValidationRule"); }
    void SetValidationRule(const Text& rule);
    Text ValidationText() { return StringProperty(u"ValidationText"); }
    void SetValidationText(const Text& text);
    Variant Fields(const Optional& index) { return CollectionOrItem(fields_, index); }
    void PutField(const Optional& index, const Variant& value) { fields_->PutItem(index.value, value); }
    Variant Indexes(const Optional& index) { return CollectionOrItem(indexes_, index); }
    std::shared_ptr<DesignField> CreateField(std::optional<Text> name, std::optional<std::int16_t> type,
                                             std::optional<std::int32_t> size);
    std::shared_ptr<IndexObject> CreateIndex(std::optional<Text> name);
    ObjectRef OpenRecordset(Optional type, Optional options);
    void RefreshLink() { throw Error(ErrorNumber::InvalidOperation); }
    Variant Properties(const Optional& index);

    const TableDesignRef& Design() const { return design_; }
    /// Stores a new table with its fields and indexes, whole or not at all.
    void Store();

private:
    const jet::ObjectEntry& Entry();
    Text StringProperty(TextView name);
    void SetStringProperty(TextView name, TextView value, std::uint8_t type);

    TableDesignRef design_;
    std::shared_ptr<TableFields> fields_;
    std::shared_ptr<TableIndexes> indexes_;
};

class TableDefs : public ListOf<TableDefObject>
{
public:
    TableDefs(SessionRef session, DatabaseRef database)
        : ListOf(std::move(session), u"TableDefs"), database_(std::move(database))
    {
    }

protected:
    std::vector<std::shared_ptr<TableDefObject>> Load() override;
    void Store(const std::shared_ptr<TableDefObject>& table) override;
    void Remove(const std::shared_ptr<TableDefObject>& table) override;

private:
    DatabaseRef database_;
};

}  // namespace vmlib::engine
