#include "host/JsonRpc.h"

#include <istream>
#include <ostream>

namespace vmlib::host {

namespace {

constexpr int parseError = -32700;
constexpr int invalidRequest = -32600;

Json ErrorAnswer(const Json& id, int code, const std::string& message)
{
    return {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", message}}}};
}

/// Number and text of an error answer; anything missing becomes error 440, the automation error without a number of its
/// own.
Error ErrorOf(const Json& error)
{
    constexpr std::int32_t automationError = 440;
    std::int32_t number = automationError;
    Text message = u"Automation error";
    if (error.is_object()) {
        if (const auto code = error.find("code"); code != error.end() && code->is_number_integer())
            number = code->get<std::int32_t>();
        if (const auto text = error.find("message"); text != error.end() && text->is_string())
            message = FromUtf8(text->get<std::string>());
    }
    return Error(number, message);
}

}  // namespace

void JsonRpc::Send(const Json& message)
{
    out_ << message.dump(-1, ' ', false, Json::error_handler_t::replace) << "\n" << std::flush;
}

/// The next message; what is no JSON is answered at once. No value at the end of the input.
std::optional<Json> JsonRpc::ReadMessage()
{
    std::string line;
    while (connected_ && std::getline(in_, line)) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        Json message = Json::parse(line, nullptr, false);
        if (message.is_object()) return message;
        if (message.is_discarded())
            Send(ErrorAnswer(nullptr, parseError, "no JSON"));
        else
            Send(ErrorAnswer(nullptr, invalidRequest, "a message is an object"));
    }
    connected_ = false;
    return std::nullopt;
}

void JsonRpc::Serve()
{
    while (const auto message = ReadMessage()) Dispatch(*message);
}

void JsonRpc::Dispatch(const Json& message)
{
    if (message.contains("method"))
        Answer(message);
    else if (message.contains("id") && (message.contains("result") || message.contains("error")))
        answers_[message["id"].dump()] = message;
    else
        Send(ErrorAnswer(message.value("id", Json()), invalidRequest, "neither request nor answer"));
}

void JsonRpc::Answer(const Json& request)
{
    const bool wantsAnswer = request.contains("id");
    const Json id = request.value("id", Json());
    Json answer;
    try {
        if (!request["method"].is_string()) throw ProtocolError{invalidRequest, "the method is text"};
        answer = {{"jsonrpc", "2.0"},
                  {"id", id},
                  {"result", handler_(request["method"].get<std::string>(), request.value("params", Json::object()))}};
    } catch (const ProtocolError& error) {
        answer = ErrorAnswer(id, error.code, error.message);
    } catch (const Error& error) {
        answer = ErrorAnswer(id, error.Number(), ToUtf8(error.Description()));
    } catch (const Json::exception& error) {
        answer = ErrorAnswer(id, invalidRequest, error.what());
    }
    if (wantsAnswer) Send(answer);
}

Json JsonRpc::Request(const std::string& method, Json params)
{
    const Json id = "vmlib-" + std::to_string(++lastId_);
    Send({{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", std::move(params)}});
    const std::string key = id.dump();
    while (!answers_.contains(key)) {
        const auto message = ReadMessage();
        if (!message) throw Disconnected{};
        Dispatch(*message);
    }
    const Json answer = std::move(answers_.extract(key).mapped());
    if (answer.contains("error")) throw ErrorOf(answer["error"]);
    return answer["result"];
}

}  // namespace vmlib::host
