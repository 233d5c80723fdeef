#include "host/Json.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "automation/Convert.h"
#include "host/ValueText.h"

namespace vmlib::host {

namespace {

constexpr std::size_t deepestNesting = 200;

/// How deep the brackets of a JSON text nest.
std::size_t Nesting(std::string_view text)
{
    std::size_t depth = 0, deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') inString = !inString;
        if (inString && c == '\\') ++i;
        if (inString) continue;
        if (c == '{' || c == '[') deepest = std::max(deepest, ++depth);
        if ((c == '}' || c == ']') && depth > 0) --depth;
    }
    return deepest;
}

struct TypeName
{
    VarType type;
    const char* name;
};

constexpr TypeName typeNames[] = {
    {VarType::Integer, "Integer"}, {VarType::Long, "Long"},         {VarType::Single, "Single"},
    {VarType::Double, "Double"},   {VarType::Currency, "Currency"}, {VarType::Date, "Date"},
    {VarType::String, "String"},   {VarType::Object, "Object"},     {VarType::Error, "Error"},
    {VarType::Boolean, "Boolean"}, {VarType::Decimal, "Decimal"},   {VarType::Byte, "Byte"},
    {VarType::Empty, "Empty"},     {VarType::Null, "Null"},         {VarType::Variant, "Variant"},
};

const char* NameOf(VarType type)
{
    for (const TypeName& entry : typeNames)
        if (entry.type == type) return entry.name;
    return "Variant";
}

VarType TypeNamed(std::string_view name)
{
    for (const TypeName& entry : typeNames)
        if (name == entry.name) return entry.type;
    Mismatch("no type " + std::string(name));
}

Json Typed(const char* type, Json value)
{
    return {{"type", type}, {"value", std::move(value)}};
}

/// JSON has no infinity and no NaN.
Json RealToJson(double value)
{
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
    return value;
}

/// The double that prints as the shortest text of the single: 0.1, not 0.10000000149011612.
Json RealToJson(float value)
{
    if (!std::isfinite(value)) return RealToJson(static_cast<double>(value));
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    double shortest = 0;
    std::from_chars(digits, end, shortest);
    return shortest;
}

double RealFromJson(const Json& json)
{
    if (json.is_number()) return json.get<double>();
    if (json == "inf") return std::numeric_limits<double>::infinity();
    if (json == "-inf") return -std::numeric_limits<double>::infinity();
    if (json == "nan") return std::numeric_limits<double>::quiet_NaN();
    Mismatch("a number is wanted, not " + json.dump());
}

float SingleFromJson(const Json& json)
{
    const double value = RealFromJson(json);
    const auto single = static_cast<float>(value);
    if (std::isinf(single) && !std::isinf(value)) throw Error(ErrorNumber::Overflow);
    return single;
}

template <class Integer>
Integer IntegerFromJson(const Json& json)
{
    const bool isWhole = json.is_number_integer();
    if (!isWhole) Mismatch("a whole number is wanted, not " + json.dump());
    const bool tooLarge =
        json.is_number_unsigned() &&
        json.get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::int64_t value = tooLarge ? std::numeric_limits<std::int64_t>::max() : json.get<std::int64_t>();
    if (value < std::numeric_limits<Integer>::min() || value > std::numeric_limits<Integer>::max())
        throw Error(ErrorNumber::Overflow);
    return static_cast<Integer>(value);
}

/// 32 bits, which some languages write with a sign.
std::uint32_t ErrorCodeFromJson(const Json& json)
{
    const bool isNegative = json.is_number_integer() && !json.is_number_unsigned() && json.get<std::int64_t>() < 0;
    return isNegative ? static_cast<std::uint32_t>(IntegerFromJson<std::int32_t>(json))
                      : IntegerFromJson<std::uint32_t>(json);
}

const std::string& TextOf(const Json& json)
{
    if (!json.is_string()) Mismatch("text is wanted, not " + json.dump());
    return json.get_ref<const std::string&>();
}

/// No value for a serial outside the calendar, which damaged files and arithmetic have.
std::optional<std::string> DateText(Date date)
{
    try {
        return IsoDate(date);
    } catch (const Error&) {
        return std::nullopt;
    }
}

Json DateToJson(Date date)
{
    Json json = Typed("Date", RealToJson(date.serial));
    if (const auto text = DateText(date)) json["text"] = *text;
    return json;
}

Json ArrayToJson(const Array& array, ObjectNames& objects, StringForm strings)
{
    Json json = {{"type", "Array"}};
    if (array.ItemType() != VarType::Variant) json["of"] = NameOf(array.ItemType());
    const auto& dimensions = array.Dimensions();
    if (dimensions.size() != 1 || dimensions[0].lower != 0) {
        Json bounds = Json::array();
        for (const auto& dimension : dimensions)
            bounds.push_back({{"lower", dimension.lower}, {"count", dimension.count}});
        json["dimensions"] = std::move(bounds);
    }
    Json items = Json::array();
    for (const Variant& item : array.Items()) items.push_back(ToJson(item, objects, strings));
    json["items"] = std::move(items);
    return json;
}

std::vector<Array::Dimension> DimensionsFromJson(const Json& json, std::size_t itemCount)
{
    if (!json.contains("dimensions")) return {{0, static_cast<std::int32_t>(itemCount)}};
    std::vector<Array::Dimension> dimensions;
    std::uint64_t count = 1;
    for (const Json& bounds : json["dimensions"]) {
        if (!bounds.is_object()) Mismatch("a dimension has lower and count");
        const auto size = IntegerFromJson<std::int32_t>(bounds.value("count", Json()));
        if (size < 0 || (count *= static_cast<std::uint64_t>(size)) > itemCount)
            Mismatch("dimensions do not fit the items");
        dimensions.push_back({bounds.contains("lower") ? IntegerFromJson<std::int32_t>(bounds["lower"]) : 0, size});
    }
    if (dimensions.empty() || count != itemCount) Mismatch("dimensions do not fit the items");
    return dimensions;
}

Variant ArrayFromJson(const Json& json, ObjectNames& objects)
{
    if (!json.contains("items") || !json["items"].is_array()) Mismatch("an Array has items");
    const VarType of = json.contains("of") ? TypeNamed(TextOf(json["of"])) : VarType::Variant;
    std::vector<Variant> items;
    for (const Json& item : json["items"]) {
        const Variant value = FromJson(item, objects);
        items.push_back(of == VarType::Variant ? value : Coerce(value, of));
    }
    auto dimensions = DimensionsFromJson(json, items.size());
    const bool isPlain = dimensions.size() == 1 && dimensions[0].lower == 0;
    if (of != VarType::Byte || !isPlain) return Array(of, std::move(dimensions), std::move(items));
    Bytes bytes;
    for (const Variant& item : items) bytes.push_back(item.As<std::uint8_t>());
    return Array(std::move(bytes));
}

Variant ObjectFromJson(const Json& json, ObjectNames& objects)
{
    const Json id = json.value("id", Json());
    if (id.is_number_integer() && id == 0) return ObjectRef();
    return objects.Named(json);
}

Variant TypedFromJson(const Json& json, ObjectNames& objects)
{
    if (!json.contains("type")) Mismatch("a value has a type: " + json.dump());
    const std::string& type = TextOf(json["type"]);
    if (type == "Empty") return {};
    if (type == "Null") return Null{};
    if (type == "Missing") return Variant::Missing();
    if (type == "Object") return ObjectFromJson(json, objects);
    if (type == "Array") return ArrayFromJson(json, objects);
    if (type == "Date" && !json.contains("value") && json.contains("text")) return FromIsoDate(TextOf(json["text"]));
    if (!json.contains("value")) Mismatch("a " + type + " has a value");
    const Json& value = json["value"];
    if (type == "Bytes") {
        const auto bytes = FromHex(TextOf(value));
        if (!bytes) Mismatch("hexadecimal digits are wanted, not " + value.dump());
        return FromAnsi(*bytes);
    }
    switch (TypeNamed(type)) {
        case VarType::Byte:
            return IntegerFromJson<std::uint8_t>(value);
        case VarType::Integer:
            return IntegerFromJson<std::int16_t>(value);
        case VarType::Long:
            return IntegerFromJson<std::int32_t>(value);
        case VarType::Single:
            return SingleFromJson(value);
        case VarType::Double:
            return RealFromJson(value);
        case VarType::Currency:
            return value.is_number() ? NumberToCurrency(value.get<double>()) : FromCurrencyText(TextOf(value));
        case VarType::Decimal:
            return DecimalFromText(TextOf(value));
        case VarType::Date:
            return Date{RealFromJson(value)};
        case VarType::String:
            return FromUtf8(TextOf(value));
        case VarType::Boolean:
            if (!value.is_boolean()) Mismatch("true or false is wanted, not " + value.dump());
            return value.get<bool>();
        case VarType::Error:
            return ErrorCode{ErrorCodeFromJson(value)};
        default:
            Mismatch("no value of type " + type);
    }
}

Json BytesToJson(const Array& array)
{
    const Bytes& bytes = array.AsBytes();
    return ToHex({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

/// The UTF-16 unit that an escape ("\\u20AC") at the beginning of a text stands for.
std::optional<unsigned> EscapedUnit(std::string_view text)
{
    unsigned unit = 0;
    if (text.size() < 6 || text[0] != '\\' || text[1] != 'u') return std::nullopt;
    const auto read = std::from_chars(text.data() + 2, text.data() + 6, unit, 16);
    return read.ec == std::errc() && read.ptr == text.data() + 6 ? std::optional(unit) : std::nullopt;
}

/// Half of a surrogate pair alone is allowed by the grammar and refused by the parser; like any character that UTF-8
/// cannot say it becomes U+FFFD.
std::string WithoutHalfPairs(std::string_view text)
{
    const auto isHalf = [](std::optional<unsigned> unit, unsigned first) {
        return unit && *unit >= first && *unit < first + 0x400;
    };
    std::string whole;
    for (std::size_t i = 0; i < text.size();) {
        const std::string_view rest = text.substr(i);
        std::size_t length = rest[0] == '\\' ? 2 : 1;
        const auto unit = EscapedUnit(rest);
        const bool isFront = isHalf(unit, 0xD800);
        if (isFront && isHalf(EscapedUnit(rest.substr(6)), 0xDC00))
            length = 12;
        else if (isFront || isHalf(unit, 0xDC00))
            length = 0;
        whole += length == 0 ? std::string_view("\\uFFFD") : rest.substr(0, length);
        i += length == 0 ? 6 : length;
    }
    return whole;
}

}  // namespace

std::string ToLine(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<Json> ParseLine(std::string_view text)
{
    if (Nesting(text) > deepestNesting) return std::nullopt;
    Json json = Json::parse(WithoutHalfPairs(text), nullptr, false);
    if (json.is_discarded()) return std::nullopt;
    return json;
}

Json ToJson(const Variant& value, ObjectNames& objects, StringForm strings)
{
    switch (value.Type()) {
        case VarType::Empty:
            return {{"type", "Empty"}};
        case VarType::Null:
            return {{"type", "Null"}};
        case VarType::Boolean:
            return value.As<bool>();
        case VarType::Byte:
            return Typed("Byte", value.As<std::uint8_t>());
        case VarType::Integer:
            return Typed("Integer", value.As<std::int16_t>());
        case VarType::Long:
            return Typed("Long", value.As<std::int32_t>());
        case VarType::Single:
            return Typed("Single", RealToJson(value.As<float>()));
        case VarType::Double:
            return Typed("Double", RealToJson(value.As<double>()));
        case VarType::Currency:
            return Typed("Currency", CurrencyText(value.As<Currency>()));
        case VarType::Decimal:
            return Typed("Decimal", DecimalText(value.As<DecimalNumber>()));
        case VarType::Date:
            return DateToJson(value.As<Date>());
        case VarType::String:
            if (strings == StringForm::Bytes) return Typed("Bytes", ToHex(ToAnsi(value.As<Text>())));
            return ToUtf8(value.As<Text>());
        case VarType::Object:
            if (!value.As<ObjectRef>()) return {{"type", "Object"}, {"id", 0}};
            return objects.NameOf(value.As<ObjectRef>());
        case VarType::Error:
            if (value.IsMissing()) return {{"type", "Missing"}};
            return Typed("Error", value.As<ErrorCode>().code);
        default:
            return ArrayToJson(value.AsArray(), objects, strings);
    }
}

Variant FromJson(const Json& json, ObjectNames& objects)
{
    if (json.is_string()) return FromUtf8(json.get_ref<const std::string&>());
    if (json.is_boolean()) return json.get<bool>();
    if (json.is_null()) return Null{};
    if (json.is_object()) return TypedFromJson(json, objects);
    if (!json.is_number()) Mismatch("no value: " + json.dump());
    const double number = json.get<double>();
    const bool fits = json.is_number_integer() && number >= std::numeric_limits<std::int32_t>::min() &&
                      number <= std::numeric_limits<std::int32_t>::max();
    return fits ? Variant(json.get<std::int32_t>()) : Variant(number);
}

Json FieldToJson(const Variant& value, bool isGuid)
{
    switch (value.Type()) {
        case VarType::Empty:
        case VarType::Null:
            return nullptr;
        case VarType::Boolean:
            return value.As<bool>();
        case VarType::Byte:
            return value.As<std::uint8_t>();
        case VarType::Integer:
            return value.As<std::int16_t>();
        case VarType::Long:
            return value.As<std::int32_t>();
        case VarType::Single:
            return RealToJson(value.As<float>());
        case VarType::Double:
            return RealToJson(value.As<double>());
        case VarType::Currency:
            return CurrencyText(value.As<Currency>());
        case VarType::Decimal:
            return DecimalText(value.As<DecimalNumber>());
        case VarType::Date:
            if (const auto text = DateText(value.As<Date>())) return *text;
            return RealToJson(value.As<Date>().serial);
        case VarType::String:
            break;
        default:
            if (value.IsArray() && value.AsArray().HoldsBytes()) return BytesToJson(value.AsArray());
            Mismatch("a field holds no such value");
    }
    // The engine writes {guid {...}}.
    TextView text = value.As<Text>();
    if (isGuid && StartsWithIgnoringCase(text, u"{guid {") && text.ends_with(u"}}"))
        text = text.substr(6, text.size() - 7);
    return ToUtf8(text);
}

std::string FieldToText(const Variant& value, bool isGuid, std::string_view whenNull)
{
    const Json json = FieldToJson(value, isGuid);
    if (json.is_null()) return std::string(whenNull);
    std::string text = json.is_string() ? json.get<std::string>() : json.dump();
    if (json.is_number_float() && text.ends_with(".0")) text.resize(text.size() - 2);
    return text;
}

}  // namespace vmlib::host
