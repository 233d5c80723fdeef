#pragma once

#include "engine/DesignField.h"

namespace vmlib::engine {

/// The fields of an index. As text every name has its sign: `+Name;-Date`.
class IndexFields : public ListOf<KeyField>
{
public:
    explicit IndexFields(SessionRef session) : ListOf(std::move(session), u"Fields") {}
    void Refresh() override {}
    void Replace(std::vector<std::shared_ptr<KeyField>> fields) { Items() = std::move(fields); }
    void Fix();
    Text AsText();

protected:
    Variant Whole() override { return AsText(); }
    void Store(const std::shared_ptr<KeyField>& field) override;
    void Remove(const std::shared_ptr<KeyField>&) override;

private:
    bool isFixed_ = false;
};

/// An index: free until it is appended to a table's Indexes.
class IndexObject : public EngineObject<IndexObject>
{
public:
    IndexObject(SessionRef session, TextView name);
    /// A stored index.
    IndexObject(TableDesignRef table, const jet::TableDefinition& definition, const jet::IndexDefinition& index);
    static const MemberTable& Members();

    Text Name() { return name_; }
    void SetName(const Text& name);
    bool Primary() const { return primary_; }
    void SetPrimary(bool primary);
    bool Unique() const { return unique_ || primary_; }
    void SetUnique(bool unique);
    bool Required() const { return required_ || primary_; }
    void SetRequired(bool required);
    bool IgnoreNulls() const { return ignoreNulls_; }
    void SetIgnoreNulls(bool ignore);
    bool Clustered() const { return false; }
    void SetClustered(bool) { RequireFree(); }
    bool Foreign() const { return foreign_; }
    std::int32_t DistinctCount();
    Variant Fields(const Optional& index) { return CollectionOrItem(fields_, index); }
    /// Names joined by ";", each optionally led by "+" (ascending) or "-" (descending).
    void SetFields(const Optional& index, const Variant& value);
    std::shared_ptr<KeyField> CreateField(std::optional<Text> name, Optional type, Optional size);
    Variant Properties(const Optional& index);

    /// What the storage is asked for, over a stored table. @throws Error 3264 without fields, 3409 for an unknown field
    jet::NewIndex ToNewIndex(const jet::TableDefinition& table);
    void Bind(TableDesignRef table);
    bool IsBound() const { return table_ != nullptr; }
    bool HasFields() const { return !fields_->Items().empty(); }

private:
    void RequireFree() const;

    TableDesignRef table_;
    Text name_;
    bool primary_ = false, unique_ = false, required_ = false, ignoreNulls_ = false, foreign_ = false;
    std::shared_ptr<IndexFields> fields_;
};

}  // namespace vmlib::engine
