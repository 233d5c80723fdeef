#pragma once

#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include "core/Text.h"
#include "core/Values.h"

namespace vmlib {

class Object;
using ObjectRef = std::shared_ptr<Object>;  // null is Nothing

/// Automation type codes (VARTYPE).
enum class VarType : std::uint16_t
{
    Empty = 0,
    Null = 1,
    Integer = 2,  // 16 bits
    Long = 3,     // 32 bits
    Single = 4,
    Double = 5,
    Currency = 6,
    Date = 7,
    String = 8,
    Object = 9,
    Error = 10,
    Boolean = 11,
    Variant = 12,  // only as the type of an array's items or of a parameter
    Decimal = 14,
    Byte = 17,
    Array = 0x2000,  // or-ed with the type of the items
};

/// A status code; DISP_E_PARAMNOTFOUND stands for a left-out optional argument.
struct ErrorCode
{
    std::uint32_t code = 0;
    bool operator==(const ErrorCode&) const = default;
};
inline constexpr ErrorCode missingArgument{0x80020004};

/// 96-bit integer with sign, divided by 10^scale (0 to 28).
struct DecimalNumber
{
    std::uint32_t high = 0, middle = 0, low = 0;
    std::uint8_t scale = 0;
    bool negative = false;
    bool operator==(const DecimalNumber&) const = default;
};

class Array;
using ArrayRef = std::shared_ptr<const Array>;

/// A tagged automation value. Copies are deep in effect: arrays are immutable once they stand in a variant, objects are
/// shared.
class Variant
{
public:
    using Storage = std::variant<std::monostate, vmlib::Null, bool, std::uint8_t, std::int16_t, std::int32_t, float,
                                 double, Currency, Date, Text, ObjectRef, ErrorCode, DecimalNumber, ArrayRef>;

    Variant() = default;  // Empty
    Variant(vmlib::Null) : value_(vmlib::Null{}) {}
    Variant(bool value) : value_(value) {}
    Variant(std::uint8_t value) : value_(value) {}
    Variant(std::int16_t value) : value_(value) {}
    Variant(std::int32_t value) : value_(value) {}
    Variant(float value) : value_(value) {}
    Variant(double value) : value_(value) {}
    Variant(Currency value) : value_(value) {}
    Variant(Date value) : value_(value) {}
    Variant(Text value) : value_(std::move(value)) {}
    Variant(TextView value) : value_(Text(value)) {}
    Variant(const char16_t* value) : value_(Text(value)) {}
    Variant(ObjectRef value) : value_(std::move(value)) {}
    template <class T>
    requires std::is_base_of_v<Object, T> Variant(std::shared_ptr<T> value) : value_(ObjectRef(std::move(value))) {}
    Variant(ErrorCode value) : value_(value) {}
    Variant(DecimalNumber value) : value_(value) {}
    Variant(Array value);
    Variant(const void*) = delete;  // a pointer would otherwise become a bool

    static Variant Missing() { return Variant(missingArgument); }

    /// The code, Array or-ed with the item type for an array.
    VarType Type() const;

    bool IsEmpty() const { return value_.index() == 0; }
    bool IsNull() const { return Holds<vmlib::Null>(); }
    bool IsMissing() const { return Holds<ErrorCode>() && As<ErrorCode>() == missingArgument; }
    bool IsObject() const { return Holds<ObjectRef>(); }
    bool IsArray() const { return Holds<ArrayRef>(); }
    bool IsText() const { return Holds<Text>(); }

    template <class T>
    bool Holds() const
    {
        return std::holds_alternative<T>(value_);
    }
    /// The value as stored, without conversion (Convert.h converts); the caller has asked Holds.
    template <class T>
    const T& As() const
    {
        return std::get<T>(value_);
    }
    const Array& AsArray() const { return *As<ArrayRef>(); }

    const Storage& Value() const { return value_; }

    /// Same type and same value; objects by identity.
    bool operator==(const Variant& other) const;

private:
    Storage value_;
};

/// An automation array: items in the order of memory (first dimension fastest), or plain bytes when the item type is
/// Byte.
class Array
{
public:
    struct Dimension
    {
        std::int32_t lower = 0;
        std::int32_t count = 0;
        bool operator==(const Dimension&) const = default;
    };

    /// One dimension from 0 of variants.
    explicit Array(std::vector<Variant> items);
    /// One dimension from 0 of bytes.
    explicit Array(Bytes bytes);
    Array(VarType itemType, std::vector<Dimension> dimensions, std::vector<Variant> items);

    VarType ItemType() const { return itemType_; }
    const std::vector<Dimension>& Dimensions() const { return dimensions_; }
    bool HoldsBytes() const { return itemType_ == VarType::Byte; }
    const Bytes& AsBytes() const { return bytes_; }
    /// The items; of an array of bytes too, each as a Byte.
    std::vector<Variant> Items() const;
    bool operator==(const Array&) const = default;

private:
    VarType itemType_;
    std::vector<Dimension> dimensions_;
    std::vector<Variant> items_;
    Bytes bytes_;
};

}  // namespace vmlib
