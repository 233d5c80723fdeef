#include "host/ValueLoss.h"

#include "engine/Values.h"
#include "host/Json.h"
#include "host/Session.h"

namespace vmlib::host {

namespace {

using jet::ColumnDefinition;
using jet::ColumnType;

constexpr std::size_t shownCharacters = 120;

std::string Shortened(std::string text)
{
    if (text.size() <= shownCharacters) return text;
    std::size_t end = shownCharacters;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end) + "...";
}

bool IsNumber(ColumnType type)
{
    return type >= ColumnType::Byte && type <= ColumnType::Double;
}

std::string TypeName(ColumnType type)
{
    switch (type) {
        case ColumnType::Boolean:
            return "Boolean";
        case ColumnType::Byte:
            return "Byte";
        case ColumnType::Integer:
            return "Integer";
        case ColumnType::Long:
            return "Long";
        case ColumnType::Currency:
            return "Currency";
        case ColumnType::Single:
            return "Single";
        case ColumnType::Double:
            return "Double";
        case ColumnType::Date:
            return "Date";
        case ColumnType::Binary:
            return "Binary";
        case ColumnType::Text:
            return "Text";
        case ColumnType::LongBinary:
            return "Long Binary";
        case ColumnType::Memo:
            return "Memo";
        case ColumnType::Guid:
            return "GUID";
    }
    return "?";
}

std::size_t SizeOf(const jet::Value& value)
{
    if (const auto* text = std::get_if<std::string>(&value)) return text->size();
    if (const auto* bytes = std::get_if<Bytes>(&value)) return bytes->size();
    return 0;
}

/// The value taken back into another column's type.
jet::Value TakenTo(const jet::Value& value, ColumnType type, std::uint16_t size)
{
    ColumnDefinition column;
    column.type = type;
    column.size = size;
    jet::Value result;
    engine::FitToColumn(value, column, engine::Fit::Lenient, result);
    return result;
}

}  // namespace

std::string Shown(const jet::Value& value)
{
    if (const auto* text = std::get_if<std::string>(&value))
        return Shortened(Printable(FromAnsi(text->substr(0, shownCharacters + 1))));
    if (const auto* bytes = std::get_if<Bytes>(&value); bytes && bytes->size() > shownCharacters)
        return std::to_string(bytes->size()) + " bytes";
    const Variant variant = engine::ToVariant(value);
    return Shortened(FieldToText(variant, false, "Null"));
}

std::string WhatIsLost(const jet::Value& before, const ColumnDefinition& source, const jet::Value& after,
                       const ColumnDefinition& target)
{
    if (before == after || jet::IsNull(before)) return {};
    if (jet::IsNull(after)) return "is no " + TypeName(target.type) + ": the field becomes empty";
    if (source.type == target.type || (jet::IsTextual(source.type) && jet::IsTextual(target.type)) ||
        target.type == ColumnType::Binary) {
        if (SizeOf(before) > SizeOf(after)) return "is longer than " + std::to_string(target.size) + ": it is cut";
        return {};
    }
    const std::string becomes = "becomes " + Shown(after) + " as " + TypeName(target.type);
    if (jet::IsTextual(source.type)) {
        if (!IsNumber(target.type)) return {};
        const bool isSame = TakenTo(before, ColumnType::Double, 8) == TakenTo(after, ColumnType::Double, 8);
        return isSame ? std::string() : becomes;
    }
    if (target.type == ColumnType::Text && SizeOf(after) == target.size) {
        // Perhaps cut: the whole text may be longer.
        if (SizeOf(TakenTo(before, ColumnType::Memo, 0)) > target.size)
            return "is longer than " + std::to_string(target.size) + ": it is cut";
    }
    if (jet::IsTextual(target.type)) return {};
    return TakenTo(after, source.type, source.size) == before ? std::string() : becomes;
}

}  // namespace vmlib::host
