#pragma once

#include <iosfwd>
#include <map>

#include "host/Json.h"

namespace vmlib::host {

/// The other end closed its side while an answer was awaited.
struct Disconnected
{
};

/// A JSON-RPC failure of the protocol itself.
struct ProtocolError
{
    int code;
    std::string message;
};

/// JSON-RPC 2.0 in both directions, one message or batch of messages a line. While a request of this side waits for its
/// answer, requests of the other side are served; calls nest as deep as they need to.
class JsonRpc
{
public:
    /// Answers a request with its result; throws Error or ProtocolError.
    using Handler = std::function<Json(const std::string& method, const Json& params)>;

    JsonRpc(std::istream& in, std::ostream& out, Handler handler) : in_(in), out_(out), handler_(std::move(handler)) {}

    /// Serves requests until the input ends.
    void Serve();

    /// Sends a request and returns the result.
    /// @throws Error with number and text of an answer that is an error; Disconnected
    Json Request(const std::string& method, Json params);

    bool IsConnected() const { return connected_; }

private:
    std::optional<Json> ReadLine();
    void Dispatch(const Json& line);
    std::optional<Json> Take(const Json& message);
    std::optional<Json> Answer(const Json& request);
    void Send(const Json& message);

    std::istream& in_;
    std::ostream& out_;
    Handler handler_;
    bool connected_ = true;
    long long lastId_ = 0;
    std::map<std::string, std::optional<Json>> answers_;  // by the id of each request of this side that still waits
};

}  // namespace vmlib::host
