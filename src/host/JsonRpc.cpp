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

/// The id that an answer to this message carries.
Json IdOf(const Json& message)
{
    const Json id = message.value("id", Json());
    return id.is_string() || id.is_number() ? id : Json();
}

/// What is wrong with a request; null when nothing is. The version may be left out.
const char* FaultOf(const Json& message)
{
    if (!message.contains("method")) return "neither request nor answer";
    if (!message["method"].is_string()) return "the method is text";
    if (message.value("jsonrpc", Json("2.0")) != "2.0") return "the version of the protocol is 2.0";
    const Json id = message.value("id", Json());
    return id.is_string() || id.is_number() || id.is_null() ? nullptr : "an id is text or a number";
}

/// Number and text of an error answer; anything missing becomes error 440, the automation error without a number of its
/// own.
Error ErrorOf(const Json& error)
{
    constexpr std::int32_t automationError = 440;
    std::int32_t number = automationError;
    Text message = u"Automation error";
    if (error.is_object()) {
        if (const auto code = error.find("code"); code != error.end() && code->is_number_integer()) {
            const auto given = code->get<std::int64_t>();  // 0 would say that nothing is wrong
            if (given != 0 && given == static_cast<std::int32_t>(given)) number = static_cast<std::int32_t>(given);
        }
        if (const auto text = error.find("message"); text != error.end() && text->is_string())
            message = FromUtf8(text->get<std::string>());
    }
    return Error(number, message);
}

}  // namespace

void JsonRpc::Send(const Json& message)
{
    out_ << ToLine(message) << "\n" << std::flush;
}

/// The next message or batch; what is neither is answered at once. No value at the end of the input.
std::optional<Json> JsonRpc::ReadLine()
{
    std::string line;
    while (connected_ && std::getline(in_, line)) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        auto message = ParseLine(line);
        if (message && (message->is_object() || (message->is_array() && !message->empty()))) return message;
        Send(message ? ErrorAnswer(nullptr, invalidRequest, "a message is an object")
                     : ErrorAnswer(nullptr, parseError, "no JSON, or nested too deeply"));
    }
    connected_ = false;
    return std::nullopt;
}

void JsonRpc::Serve()
{
    while (const auto line = ReadLine()) Dispatch(*line);
}

void JsonRpc::Dispatch(const Json& line)
{
    if (line.is_object()) {
        if (const auto answer = Take(line)) Send(*answer);
        return;
    }
    Json answers = Json::array();
    for (const Json& message : line)
        if (auto answer = Take(message)) answers.push_back(std::move(*answer));
    if (!answers.empty()) Send(answers);
}

/// Serves a request or keeps an answer; returns what is to be sent back.
std::optional<Json> JsonRpc::Take(const Json& message)
{
    if (!message.is_object()) return ErrorAnswer(nullptr, invalidRequest, "a message is an object");
    if (!message.contains("method") && message.contains("id") &&
        (message.contains("result") || message.contains("error"))) {
        const auto waiting = answers_.find(message["id"].dump());
        if (waiting != answers_.end()) waiting->second = message;
        return std::nullopt;
    }
    if (const char* fault = FaultOf(message)) return ErrorAnswer(IdOf(message), invalidRequest, fault);
    return Answer(message);
}

std::optional<Json> JsonRpc::Answer(const Json& request)
{
    const Json id = IdOf(request);
    Json answer;
    try {
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
    if (!request.contains("id")) return std::nullopt;
    return answer;
}

Json JsonRpc::Request(const std::string& method, Json params)
{
    const Json id = "vmlib-" + std::to_string(++lastId_);
    const auto waiting = answers_.emplace(id.dump(), std::nullopt).first;
    Send({{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", std::move(params)}});
    while (!waiting->second) {
        const auto line = ReadLine();
        if (!line) throw Disconnected{};
        Dispatch(*line);
    }
    const Json answer = std::move(*answers_.extract(waiting).mapped());
    // Some clients write both members always, and null where there is none.
    if (const auto error = answer.find("error"); error != answer.end() && !error->is_null()) throw ErrorOf(*error);
    return answer.value("result", Json());
}

}  // namespace vmlib::host
