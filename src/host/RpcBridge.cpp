#include "host/RpcBridge.h"

#include <istream>
#include <ostream>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"

namespace vmlib::host {

namespace {

constexpr int methodNotFound = -32601;
constexpr int invalidParams = -32602;

const Json& Member(const Json& params, const char* name)
{
    const auto found = params.is_object() ? params.find(name) : params.end();
    if (!params.is_object() || found == params.end())
        throw ProtocolError{invalidParams, std::string(name) + " is missing"};
    return *found;
}

Text TextParameter(const Json& params, const char* name)
{
    const Json& value = Member(params, name);
    if (!value.is_string()) throw ProtocolError{invalidParams, std::string(name) + " is text"};
    return FromUtf8(value.get<std::string>());
}

/// An object parameter is its id, or the object's own JSON form.
std::int64_t IdParameter(const Json& params)
{
    const Json& value = Member(params, "object");
    const Json id = value.is_object() ? value.value("id", Json()) : value;
    if (!id.is_number_integer()) throw ProtocolError{invalidParams, "object is the number of an object"};
    return id.get<std::int64_t>();
}

bool IsClients(const Json& name)
{
    const auto client = name.find("client");
    return client != name.end() && client->is_boolean() && client->get<bool>();
}

}  // namespace

/// What is alive of the client's objects. Shared with the objects themselves, which may outlive the bridge.
struct RpcBridge::ClientObjects
{
    RpcBridge* bridge;  // null when the bridge is gone
    std::map<std::int64_t, std::weak_ptr<ClientObject>> byId;
};

/// An object at the other end: calls become requests.
class RpcBridge::ClientObject : public Object
{
public:
    ClientObject(std::shared_ptr<ClientObjects> all, std::int64_t id, Text className)
        : all_(std::move(all)), id_(id), className_(std::move(className))
    {
    }

    ~ClientObject() override
    {
        // Somebody else may stand under this id again already.
        const auto entry = all_->byId.find(id_);
        if (entry != all_->byId.end() && entry->second.expired()) all_->byId.erase(entry);
        if (!all_->bridge || !all_->bridge->rpc_.IsConnected()) return;
        try {
            all_->bridge->rpc_.Request("release", {{"object", id_}});
        } catch (const Error&) {
        } catch (const Disconnected&) {
        }
    }

    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override
    {
        if (!all_->bridge) throw Error(ErrorNumber::ObjectInvalid);
        const bool isPut = kind == InvokeKind::Put || kind == InvokeKind::PutReference;
        return all_->bridge->CallClient(*this,
                                        isPut                        ? "set"
                                        : kind == InvokeKind::Method ? "call"
                                                                     : "get",
                                        member, arguments);
    }

    Text TypeName() const override { return className_; }
    std::int64_t Id() const { return id_; }
    bool BelongsTo(const RpcBridge& bridge) const { return all_->bridge == &bridge; }

private:
    std::shared_ptr<ClientObjects> all_;
    std::int64_t id_;
    Text className_;
};

RpcBridge::RpcBridge(Session& session, std::istream& in, std::ostream& out)
    : session_(session),
      clientObjects_(std::make_shared<ClientObjects>(ClientObjects{this, {}})),
      rpc_(in, out, [this](const std::string& method, const Json& params) { return Handle(method, params); })
{
}

RpcBridge::~RpcBridge()
{
    session_.desktop.SetListener({});
    objects_.clear();
    clientObjects_->bridge = nullptr;
}

Json RpcBridge::NameOf(const ObjectRef& object)
{
    if (const auto client = std::dynamic_pointer_cast<ClientObject>(object); client && client->BelongsTo(*this))
        return {{"type", "Object"}, {"id", client->Id()}, {"client", true}, {"class", ToUtf8(client->TypeName())}};
    objects_.emplace(++lastId_, object);
    return {{"type", "Object"}, {"id", lastId_}};
}

ObjectRef RpcBridge::Named(const Json& name)
{
    if (IsClients(name)) return ClientObjectNamed(name);
    const Json id = name.value("id", Json());
    const auto found = id.is_number_integer() ? objects_.find(id.get<std::int64_t>()) : objects_.end();
    if (found == objects_.end()) throw Error(ErrorNumber::ObjectRequired);
    return found->second;
}

ObjectRef RpcBridge::ClientObjectNamed(const Json& name)
{
    const Json id = name.value("id", Json());
    if (!id.is_number_integer()) throw Error(ErrorNumber::ObjectRequired);
    const auto number = id.get<std::int64_t>();
    auto& entry = clientObjects_->byId[number];
    if (auto alive = entry.lock()) return alive;
    const Json className = name.value("class", Json("Object"));
    auto object = std::make_shared<ClientObject>(
        clientObjects_, number, FromUtf8(className.is_string() ? className.get<std::string>() : "Object"));
    entry = object;
    return object;
}

Json RpcBridge::Handle(const std::string& method, const Json& params)
{
    if (method == "create") return CreateObject(params);
    if (method == "call" || method == "get") return Invoke(params);
    if (method == "set") return SetProperty(params);
    if (method == "release") return Release(params);
    if (method == "register") return RegisterClass(params);
    if (method == "desktop") return TakeMessages(params);
    throw ProtocolError{methodNotFound, "no method " + method};
}

Json RpcBridge::CreateObject(const Json& params)
{
    return NameOf(session_.Create(TextParameter(params, "class")));
}

namespace {

std::vector<Json> ArgumentsOf(const Json& params)
{
    const auto found = params.find("arguments");
    if (found == params.end()) return {};
    if (!found->is_array()) throw ProtocolError{invalidParams, "arguments are a list"};
    return {found->begin(), found->end()};
}

bool IsSameObject(const Variant& left, const Variant& right)
{
    return left.IsObject() && right.IsObject() && left.As<ObjectRef>() == right.As<ObjectRef>();
}

}  // namespace

Json RpcBridge::Invoke(const Json& params)
{
    const ObjectRef object = Named({{"id", IdParameter(params)}});
    const std::vector<Json> given = ArgumentsOf(params);
    std::vector<Variant> arguments;
    arguments.reserve(given.size());
    for (const Json& argument : given) arguments.push_back(FromJson(argument, *this));
    const std::vector<Variant> before = arguments;
    const Json hex = params.value("hex", Json(false));
    if (!hex.is_boolean()) throw ProtocolError{invalidParams, "hex is true or false"};
    const StringForm strings = hex.get<bool>() ? StringForm::Bytes : StringForm::Text;

    const Variant result = object->Invoke(TextParameter(params, "member"), InvokeKind::MethodOrGet, arguments);
    Json answer = {{"result", ToJson(result, *this, strings)}};
    Json after = Json::array();
    // An object that only came and went keeps the id it came by.
    for (std::size_t i = 0; i < arguments.size(); ++i)
        after.push_back(IsSameObject(arguments[i], before[i]) ? given[i] : ToJson(arguments[i], *this, strings));
    answer["arguments"] = std::move(after);
    return answer;
}

Json RpcBridge::SetProperty(const Json& params)
{
    const ObjectRef object = Named({{"id", IdParameter(params)}});
    std::vector<Variant> arguments;
    for (const Json& argument : ArgumentsOf(params)) arguments.push_back(FromJson(argument, *this));
    arguments.push_back(FromJson(Member(params, "value"), *this));
    PutWith(object, TextParameter(params, "member"), arguments);
    return {{"result", {{"type", "Empty"}}}};
}

Json RpcBridge::Release(const Json& params)
{
    // Taken out first: the last reference may run into a destructor that talks to the client.
    const auto node = objects_.extract(IdParameter(params));
    if (node.empty()) throw Error(ErrorNumber::ObjectRequired);
    return nullptr;
}

Json RpcBridge::RegisterClass(const Json& params)
{
    const Text className = TextParameter(params, "class");
    session_.classes.Register(className, [all = clientObjects_, className]() -> ObjectRef {
        if (!all->bridge) throw Error(ErrorNumber::CannotCreateObject);
        return all->bridge->MakeClientObject(className);
    });
    return nullptr;
}

ObjectRef RpcBridge::MakeClientObject(const Text& className)
{
    const Variant made = FromJson(rpc_.Request("create", {{"class", ToUtf8(className)}}), *this);
    if (!made.IsObject() || !made.As<ObjectRef>()) throw Error(ErrorNumber::CannotCreateObject);
    return made.As<ObjectRef>();
}

Variant RpcBridge::CallClient(const ClientObject& object, const char* method, TextView member,
                              std::span<Variant> arguments)
{
    const bool isSet = std::string_view(method) == "set";
    Json params = {{"object", object.Id()}, {"member", ToUtf8(member)}};
    Json list = Json::array();
    for (const Variant& argument : isSet ? arguments.first(arguments.size() - 1) : arguments)
        list.push_back(ToJson(argument, *this));
    params["arguments"] = std::move(list);
    if (isSet) params["value"] = ToJson(arguments.back(), *this);

    const Json answer = rpc_.Request(method, std::move(params));
    if (isSet || !answer.is_object()) return {};
    if (const auto changed = answer.find("arguments"); changed != answer.end() && changed->is_array())
        for (std::size_t i = 0; i < std::min(arguments.size(), changed->size()); ++i)
            if (!(*changed)[i].is_null()) arguments[i] = FromJson((*changed)[i], *this);
    const auto result = answer.find("result");
    return result == answer.end() || result->is_null() ? Variant() : FromJson(*result, *this);
}

Json RpcBridge::TakeMessages(const Json& params)
{
    const Json& wanted = Member(params, "messages");
    if (!wanted.is_boolean()) throw ProtocolError{invalidParams, "messages is true or false"};
    session_.desktop.SetListener({});
    if (wanted.get<bool>())
        session_.desktop.SetListener([this](const Message& message) { return ShowMessage(message); });
    return nullptr;
}

std::optional<std::int32_t> RpcBridge::ShowMessage(const Message& message)
{
    Json buttons = Json::array();
    for (const MessageButton& button : message.buttons) buttons.push_back(ToUtf8(ShownCaption(button.caption)));
    std::optional<std::int32_t> answer;
    // A client that cannot show it, or answers what no button does, has not shown it.
    ResumeNext([&] {
        const Json result = rpc_.Request("message", {{"text", ToUtf8(message.text)},
                                                     {"style", message.style},
                                                     {"title", ToUtf8(message.title)},
                                                     {"buttons", std::move(buttons)}});
        const std::int32_t given = ToLong(FromJson(result, *this));
        if (message.Answers(given)) answer = given;
    });
    return answer;
}

}  // namespace vmlib::host
