#pragma once

#include <map>
#include <memory>

#include "host/JsonRpc.h"
#include "host/Session.h"

namespace vmlib::host {

/// The objects of both sides: those that the client was given, by the ids it knows them by, and the client's own, by
/// the ids it chose.
///
/// Every object that goes to the client gets an id of its own and lives until the client releases it; an object that
/// the client passed in comes back under the id it was passed by. A client's object is one Object in this process for
/// as long as anybody holds it, then it is released.
class RpcBridge : public ObjectNames
{
public:
    RpcBridge(Session& session, std::istream& in, std::ostream& out);
    ~RpcBridge() override;

    /// Serves the client until its side closes.
    void Run() { rpc_.Serve(); }

    Json NameOf(const ObjectRef& object) override;
    ObjectRef Named(const Json& name) override;

private:
    class ClientObject;
    friend class ClientObject;

    Json Handle(const std::string& method, const Json& params);
    Json CreateObject(const Json& params);
    Json Invoke(const Json& params);
    Json SetProperty(const Json& params);
    Json Release(const Json& params);
    Json RegisterClass(const Json& params);
    Json TakeMessages(const Json& params);

    ObjectRef ClientObjectNamed(const Json& name);
    ObjectRef MakeClientObject(const Text& className);
    Variant CallClient(const ClientObject& object, const char* method, TextView member, std::span<Variant> arguments);
    std::optional<std::int32_t> ShowMessage(const Message& message);

    Session& session_;
    std::map<std::int64_t, ObjectRef> objects_;
    std::int64_t lastId_ = 0;
    struct ClientObjects;
    std::shared_ptr<ClientObjects> clientObjects_;
    JsonRpc rpc_;
};

}  // namespace vmlib::host
