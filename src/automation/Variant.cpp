#include "automation/Variant.h"

#include <algorithm>
#include <cassert>

#include "automation/Object.h"

namespace vmlib {
namespace {

// In the order of Variant::Storage; an array adds the type of its items.
constexpr VarType types[] = {VarType::Empty,  VarType::Null,   VarType::Boolean, VarType::Byte,     VarType::Integer,
                             VarType::Long,   VarType::Single, VarType::Double,  VarType::Currency, VarType::Date,
                             VarType::String, VarType::Object, VarType::Error,   VarType::Decimal,  VarType::Array};
static_assert(std::size(types) == std::variant_size_v<Variant::Storage>);

}  // namespace

Variant::Variant(Array value) : value_(std::make_shared<const Array>(std::move(value))) {}

VarType Variant::Type() const
{
    const VarType type = types[value_.index()];
    if (type != VarType::Array) return type;
    return static_cast<VarType>(static_cast<unsigned>(VarType::Array) | static_cast<unsigned>(AsArray().ItemType()));
}

bool Variant::operator==(const Variant& other) const
{
    if (IsArray() && other.IsArray()) return AsArray() == other.AsArray();
    return value_ == other.value_;
}

Array::Array(std::vector<Variant> items)
    : itemType_(VarType::Variant), dimensions_{{0, static_cast<std::int32_t>(items.size())}}, items_(std::move(items))
{
}

Array::Array(Bytes bytes)
    : itemType_(VarType::Byte), dimensions_{{0, static_cast<std::int32_t>(bytes.size())}}, bytes_(std::move(bytes))
{
}

Array::Array(VarType itemType, std::vector<Dimension> dimensions, std::vector<Variant> items)
    : itemType_(itemType), dimensions_(std::move(dimensions)), items_(std::move(items))
{
    assert(std::all_of(dimensions_.begin(), dimensions_.end(), [](const Dimension& d) { return d.count >= 0; }));
    if (itemType_ != VarType::Byte) return;
    bytes_.reserve(items_.size());
    for (const Variant& item : items_) bytes_.push_back(item.As<std::uint8_t>());
    items_.clear();
}

std::vector<Variant> Array::Items() const
{
    if (!HoldsBytes()) return items_;
    return {bytes_.begin(), bytes_.end()};
}

}  // namespace vmlib
