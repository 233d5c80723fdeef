#include "db/FakeEngine.h"

#include "automation/Convert.h"
#include "core/Error.h"

namespace vmlib::test {

namespace {

std::string FileNameOf(const std::string& path)
{
    return path.substr(path.rfind('\\') + 1);
}

std::string Shown(const Variant& value)
{
    if (value.IsNull()) return "Null";
    if (value.IsObject()) return "object";
    return ToUtf8(ToText(value));
}

/// The rows of one statement, with an edit buffer.
class FakeRecordset : public Object
{
public:
    FakeRecordset(std::shared_ptr<FakeEngine> engine, std::string database, const std::vector<FakeRow>& rows)
        : engine_(std::move(engine)), database_(std::move(database)), rows_(rows)
    {
    }

    Text TypeName() const override { return u"Recordset"; }

    Variant Invoke(TextView member, InvokeKind, std::span<Variant> arguments) override
    {
        const std::string name = ToUtf8(member);
        if (name == "EOF") return position_ >= rows_.size();
        if (name == "BOF") return rows_.empty();
        if (name == "Fields")
            return std::make_shared<Fields>(std::static_pointer_cast<FakeRecordset>(shared_from_this()));
        if (name == "MoveFirst" && rows_.empty()) throw Error(ErrorNumber::NoCurrentRecord);
        if (name == "MoveFirst") return position_ = 0, Variant();
        if (name == "MoveNext") return ++position_, Variant();
        std::string line = name;
        for (const Variant& argument : arguments) line += " " + Shown(argument);
        engine_->Note(database_ + ": " + line);
        return {};
    }

private:
    class Field : public Object
    {
    public:
        Field(std::shared_ptr<FakeRecordset> owner, Text name) : owner_(std::move(owner)), name_(std::move(name)) {}
        Text TypeName() const override { return u"Field"; }
        Variant Invoke(TextView, InvokeKind kind, std::span<Variant> arguments) override
        {
            if (owner_->position_ >= owner_->rows_.size()) throw Error(ErrorNumber::NoCurrentRecord);
            if (kind == InvokeKind::Put) {
                owner_->engine_->Note(owner_->database_ + ": " + ToUtf8(name_) + " = '" + Shown(arguments[0]) + "'");
                return {};
            }
            for (const auto& [field, value] : owner_->rows_[owner_->position_])
                if (EqualIgnoringCase(field, name_)) return value;
            throw Error(ErrorNumber::NotInCollection);
        }

    private:
        std::shared_ptr<FakeRecordset> owner_;
        Text name_;
    };
    class Fields : public Object
    {
    public:
        explicit Fields(std::shared_ptr<FakeRecordset> owner) : owner_(std::move(owner)) {}
        Text TypeName() const override { return u"Fields"; }
        Variant Invoke(TextView, InvokeKind, std::span<Variant> arguments) override
        {
            return std::make_shared<Field>(owner_, ToText(arguments[0]));
        }

    private:
        std::shared_ptr<FakeRecordset> owner_;
    };

    std::shared_ptr<FakeEngine> engine_;
    std::string database_;
    std::vector<FakeRow> rows_;
    std::size_t position_ = 0;
};

/// DBEngine, its Workspaces and the one Workspace at once.
class FakeWorkspace : public Object
{
public:
    explicit FakeWorkspace(std::shared_ptr<FakeEngine> engine) : engine_(std::move(engine)) {}
    Text TypeName() const override { return u"Workspace"; }

    Variant Invoke(TextView member, InvokeKind, std::span<Variant> arguments) override
    {
        if (member == u"Workspaces" || member == u"Item") return shared_from_this();
        const std::string path = ToUtf8(ToText(arguments[0]));
        if (member == u"CreateDatabase")
            engine_->Note("create " + path + " " + Shown(arguments[1]));
        else
            engine_->Note("open " + path + (ToBoolean(arguments[1]) ? " exclusive" : " shared") +
                          (ToBoolean(arguments[2]) ? " read-only " : " writable ") + Shown(arguments[3]));
        return engine_->Database(FileNameOf(path));
    }

private:
    std::shared_ptr<FakeEngine> engine_;
};

}  // namespace

void FakeEngine::RegisterIn(ClassRegistry& classes)
{
    classes.Register(u"DAO.DBEngine.35",
                     [engine = shared_from_this()] { return std::make_shared<FakeWorkspace>(engine); });
}

std::shared_ptr<FakeObject> FakeEngine::Database(const std::string& name)
{
    auto& database = databases[name];
    if (!database) database = std::make_shared<FakeObject>(shared_from_this(), name, "");
    return database;
}

void FakeEngine::Note(const std::string& line)
{
    for (const auto& [start, number] : failures)
        if (line.starts_with(start)) throw Error(number, u"failed by the test");
    transcript.push_back(line);
}

std::string FakeObject::Line(const std::string& what) const
{
    return database_ + ": " + (label_.empty() ? "" : label_ + ".") + what;
}

std::shared_ptr<FakeObject> FakeObject::Child(const std::string& name)
{
    Variant& child = properties_[name];
    if (!child.IsObject())
        child = std::make_shared<FakeObject>(engine_.lock(), database_, label_.empty() ? name : label_ + "." + name);
    return std::static_pointer_cast<FakeObject>(child.As<ObjectRef>());
}

std::shared_ptr<FakeObject> FakeObject::Add(const Text& name)
{
    items_.push_back(std::make_shared<FakeObject>(engine_.lock(), database_, ToUtf8(name)));
    items_.back()->properties_["Name"] = name;
    return items_.back();
}

void FakeObject::AddTable(const Text& name, std::initializer_list<Text> fields)
{
    const auto table = Child("TableDefs")->Add(name);
    for (const Text& field : fields) table->Child("Fields")->Add(field);
}

Variant FakeObject::Item(const Variant& key) const
{
    if (!key.IsText()) return items_.at(static_cast<std::size_t>(ToLong(key)));
    for (const auto& item : items_)
        if (EqualIgnoringCase(ToText(item->properties_.at("Name")), key.As<Text>())) return item;
    throw Error(ErrorNumber::NotInCollection);
}

Variant FakeObject::Make(const std::string& kind, std::span<Variant> arguments)
{
    std::string line = "Create" + kind;
    const auto made = std::make_shared<FakeObject>(engine_.lock(), database_, Engine().NextLabel(kind));
    if (!arguments.empty()) {
        line += " [" + Shown(arguments[0]) + "]";
        made->properties_["Name"] = arguments[0];
    }
    Engine().Note(Line(line));
    return made;
}

Variant FakeObject::Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments)
{
    const std::string name = ToUtf8(member);
    if (kind == InvokeKind::Put) {
        Engine().Note(Line(name + " = " + Shown(arguments.back())));
        properties_[name] = arguments.back();
        return {};
    }
    if (name == "Count") return static_cast<std::int32_t>(items_.size());
    if (name == "Item") return Item(arguments[0]);
    if (name == "Append") {
        if (arguments[0].As<ObjectRef>() == nullptr) throw Error(ErrorNumber::TypeMismatch);
        items_.push_back(std::static_pointer_cast<FakeObject>(arguments[0].As<ObjectRef>()));
        Engine().Note(Line("Append " + items_.back()->label_));
        return {};
    }
    if (name == "OpenRecordset") {
        const std::string sql = Shown(arguments[0]);
        std::string line = "query " + sql;
        for (const Variant& option : arguments.subspan(1)) line += " (" + Shown(option) + ")";
        Engine().Note(Line(line));
        const auto rows = Engine().rows.find(database_ + ": " + sql);
        if (rows == Engine().rows.end()) throw Error(ErrorNumber::NoSuchTable, {FromUtf8(sql)});
        return std::make_shared<FakeRecordset>(engine_.lock(), database_, rows->second);
    }
    if (name == "Execute" || name == "Close") {
        Engine().Note(Line(arguments.empty() ? name : name + " " + Shown(arguments[0])));
        return {};
    }
    if (name.starts_with("Create")) return Make(name.substr(6), arguments);
    if (const auto property = properties_.find(name); property != properties_.end()) return property->second;
    return Child(name);
}

}  // namespace vmlib::test
