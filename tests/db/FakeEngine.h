#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "automation/ClassRegistry.h"
#include "automation/Object.h"

namespace vmlib::test {

class FakeObject;

/// A row of a scripted recordset, by field name.
using FakeRow = std::map<Text, Variant>;

/// An engine without files. Its objects remember what is put into them, its collections what is appended, and
/// everything that changes something is written into a transcript:
///
///     open C:\a.mdb exclusive read-only ;PWD=x
///     a.mdb: query SELECT * FROM Info (4)
///     a.mdb: TableDef1.Name = Klanten
///
/// Rows come from a script, by file name and statement; a statement that is not in it raises 3078. A line that begins
/// with one of `failures` raises that error instead of happening.
class FakeEngine : public std::enable_shared_from_this<FakeEngine>
{
public:
    std::vector<std::string> transcript;
    std::map<std::string, std::int32_t> failures;                  // the beginning of a line, the error's number
    std::map<std::string, std::vector<FakeRow>> rows;              // "a.mdb: SELECT ..."
    std::map<std::string, std::shared_ptr<FakeObject>> databases;  // by file name, made when first opened

    /// Answers to the name of the document layer's first choice.
    void RegisterIn(ClassRegistry& classes);
    /// The database of that name, to put tables into before it is opened.
    std::shared_ptr<FakeObject> Database(const std::string& name);

    void Note(const std::string& line);
    std::string NextLabel(const std::string& kind) { return kind + std::to_string(++labels_[kind]); }

private:
    std::map<std::string, int> labels_;
};

/// Any object of the engine: properties, and members when it is a collection.
class FakeObject : public Object
{
public:
    FakeObject(std::shared_ptr<FakeEngine> engine, std::string database, std::string label)
        : engine_(std::move(engine)), database_(std::move(database)), label_(std::move(label))
    {
    }

    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override;
    Text TypeName() const override { return u"FakeObject"; }

    std::shared_ptr<FakeObject> Child(const std::string& name);
    /// Appends a named object, as a test sets a database up; returns it.
    std::shared_ptr<FakeObject> Add(const Text& name);
    /// A table with fields.
    void AddTable(const Text& name, std::initializer_list<Text> fields);

private:
    std::string Line(const std::string& what) const;
    Variant Item(const Variant& key) const;
    Variant Make(const std::string& kind, std::span<Variant> arguments);

    FakeEngine& Engine() const { return *std::shared_ptr<FakeEngine>(engine_); }

    std::weak_ptr<FakeEngine> engine_;  // which keeps the databases, and so these objects
    std::string database_;
    std::string label_;
    std::map<std::string, Variant> properties_;
    std::vector<std::shared_ptr<FakeObject>> items_;
};

}  // namespace vmlib::test
