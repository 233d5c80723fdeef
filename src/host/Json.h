#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "automation/Object.h"
#include "core/Error.h"

/// Values as JSON: the one mapping that `call`, `rpc`, `query` and `export` share.
namespace vmlib::host {

using Json = nlohmann::ordered_json;

/// One line of JSON. Bytes that are no UTF-8, as names of files may have, come as U+FFFD.
std::string ToLine(const Json& json);

/// One JSON value; no value for a text that is none, or that nests deeper than a message has reason to: what walks a
/// value calls itself once a level.
std::optional<Json> ParseLine(std::string_view text);

/// Names objects in JSON. `call` only counts them, `rpc` keeps them.
class ObjectNames
{
public:
    virtual ~ObjectNames() = default;
    /// {"type": "Object", "id": ...} of an object that is not Nothing.
    virtual Json NameOf(const ObjectRef& object) = 0;
    /// The object that such a JSON value means; id 0 never comes here. @throws Error 424 when there is none
    virtual ObjectRef Named(const Json& name) = 0;
};

enum class StringForm
{
    Text,
    Bytes  // {"type": "Bytes", "value": "00FF"}: code page bytes in hexadecimal
};

/// A variant as a JSON value: a string, true or false, or {"type": ..., "value": ...}.
Json ToJson(const Variant& value, ObjectNames& objects, StringForm strings = StringForm::Text);

/// The reverse; a plain number is a Long where it is whole and fits, else a Double. @throws Error 13 with a reason for
/// anything else
Variant FromJson(const Json& json, ObjectNames& objects);

/// A field of a row: numbers as numbers, Currency as text, dates as ISO text (the serial where the
/// calendar has none), binary as hexadecimal text, GUID as
/// "{...}", Null as null.
Json FieldToJson(const Variant& value, bool isGuid);

/// The same as one text; `whenNull` for Null.
std::string FieldToText(const Variant& value, bool isGuid, std::string_view whenNull);

}  // namespace vmlib::host
