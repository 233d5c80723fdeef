#include "component/com/ComVariant.h"

#include <new>

#include "automation/Convert.h"
#include "component/com/ComObject.h"
#include "component/com/DispatchObject.h"
#include "core/Error.h"

namespace vmlib::com {

namespace {

Variant FromDecimal(const DECIMAL& value)
{
    DecimalNumber number;
    number.high = value.Hi32;
    number.middle = static_cast<std::uint32_t>(value.Lo64 >> 32);
    number.low = static_cast<std::uint32_t>(value.Lo64);
    number.scale = value.scale;
    number.negative = (value.sign & DECIMAL_NEG) != 0;
    return number;
}

DECIMAL ToDecimal(const DecimalNumber& number)
{
    DECIMAL value = {};
    value.Hi32 = number.high;
    value.Lo64 = (std::uint64_t{number.middle} << 32) | number.low;
    value.scale = number.scale;
    value.sign = number.negative ? DECIMAL_NEG : 0;
    return value;
}

/// Integers beyond 32 bits have no type of their own: Decimal holds all of them.
Variant FromWideInteger(std::uint64_t magnitude, bool negative)
{
    if (magnitude <= 0x7FFFFFFF)
        return negative ? -static_cast<std::int32_t>(magnitude) : static_cast<std::int32_t>(magnitude);
    DecimalNumber number;
    number.middle = static_cast<std::uint32_t>(magnitude >> 32);
    number.low = static_cast<std::uint32_t>(magnitude);
    number.negative = negative;
    return number;
}

Variant FromSigned(std::int64_t value)
{
    const auto bits = static_cast<std::uint64_t>(value);
    return FromWideInteger(value < 0 ? 0 - bits : bits, value < 0);
}

Variant FromUnknown(IUnknown* object)
{
    return Variant(ToObjectRef(ComPtr<IUnknown>(object).As<IDispatch>().Get()));
}

/// The value of a type at a place in memory: in a VARIANT, behind a reference, in an array.
Variant FromMemory(VARTYPE type, const void* place)
{
    const auto at = [place]<class T>(T*) -> const T& { return *static_cast<const T*>(place); };
    constexpr auto of = []<class T>() { return static_cast<T*>(nullptr); };
    switch (type) {
        case VT_I1:
            return std::int16_t{at(of.operator()<signed char>())};
        case VT_UI1:
            return at(of.operator()<std::uint8_t>());
        case VT_I2:
            return at(of.operator()<std::int16_t>());
        case VT_UI2:
            return std::int32_t{at(of.operator()<std::uint16_t>())};
        case VT_I4:
        case VT_INT:
            return at(of.operator()<std::int32_t>());
        case VT_UI4:
        case VT_UINT:
            return FromWideInteger(at(of.operator()<std::uint32_t>()), false);
        case VT_I8:
            return FromSigned(at(of.operator()<std::int64_t>()));
        case VT_UI8:
            return FromWideInteger(at(of.operator()<std::uint64_t>()), false);
        case VT_R4:
            return at(of.operator()<float>());
        case VT_R8:
            return at(of.operator()<double>());
        case VT_CY:
            return Currency{at(of.operator()<CY>()).int64};
        case VT_DATE:
            return Date{at(of.operator()<double>())};
        case VT_BSTR:
            return FromBstr(at(of.operator()<BSTR>()));
        case VT_BOOL:
            return at(of.operator()<VARIANT_BOOL>()) != VARIANT_FALSE;
        case VT_ERROR:
            return ErrorCode{static_cast<std::uint32_t>(at(of.operator()<SCODE>()))};
        case VT_DISPATCH:
            return Variant(ToObjectRef(at(of.operator()<IDispatch*>())));
        case VT_UNKNOWN:
            return FromUnknown(at(of.operator()<IUnknown*>()));
        case VT_DECIMAL:
            return FromDecimal(at(of.operator()<DECIMAL>()));
        case VT_VARIANT:
            return FromVariant(at(of.operator()<VARIANT>()));
        default:
            throw BadVarType{};
    }
}

/// The item type that the library has for one of automation's.
VarType ItemTypeOf(VARTYPE type)
{
    switch (type) {
        case VT_I1:
            return VarType::Integer;
        case VT_UI2:
        case VT_INT:
            return VarType::Long;
        case VT_UI4:
        case VT_UINT:
        case VT_I8:
        case VT_UI8:
            return VarType::Variant;
        case VT_UNKNOWN:
            return VarType::Object;
        default:
            return static_cast<VarType>(type);
    }
}

Variant FromArray(SAFEARRAY* array)
{
    if (!array) return Variant(Array(std::vector<Variant>()));
    VARTYPE type = VT_EMPTY;
    if (FAILED(::SafeArrayGetVartype(array, &type))) type = VT_VARIANT;
    std::vector<Array::Dimension> dimensions;
    std::size_t count = 1;
    for (UINT i = 1; i <= ::SafeArrayGetDim(array); ++i) {
        LONG lower = 0, upper = -1;
        ::SafeArrayGetLBound(array, i, &lower);
        ::SafeArrayGetUBound(array, i, &upper);
        dimensions.push_back({lower, upper - lower + 1});
        count *= static_cast<std::size_t>(upper - lower + 1);
    }
    void* data = nullptr;
    if (FAILED(::SafeArrayAccessData(array, &data))) throw BadVarType{};
    struct Access
    {
        SAFEARRAY* array;
        ~Access() { ::SafeArrayUnaccessData(array); }
    } const access{array};
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    if (type == VT_UI1 && dimensions.size() == 1 && dimensions[0].lower == 0)
        return Variant(Array(Bytes(bytes, bytes + count)));
    std::vector<Variant> items;
    items.reserve(count);
    for (std::size_t i = 0; i < count; ++i) items.push_back(FromMemory(type, bytes + i * array->cbElements));
    return Variant(Array(ItemTypeOf(type), std::move(dimensions), std::move(items)));
}

/// Writes a value of a type to memory that holds none yet. Of strings, objects and variants the memory owns the copy.
void ToMemory(const Variant& value, VARTYPE type, void* place)
{
    const auto put = [place](auto plain) { *static_cast<decltype(plain)*>(place) = plain; };
    switch (type) {
        case VT_I2:
            return put(ToInteger(value));
        case VT_UI1:
            return put(ToByte(value));
        case VT_I1:
            return put(static_cast<signed char>(ToInteger(value)));
        case VT_UI2:
            return put(static_cast<std::uint16_t>(ToLong(value)));
        case VT_I4:
        case VT_INT:
            return put(ToLong(value));
        case VT_UI4:
        case VT_UINT:
            return put(static_cast<std::uint32_t>(RoundToInteger(ToDouble(value), 0, 0xFFFFFFFF)));
        case VT_R4:
            return put(ToSingle(value));
        case VT_R8:
            return put(ToDouble(value));
        case VT_CY: {
            CY currency;
            currency.int64 = ToCurrency(value).units;
            return put(currency);
        }
        case VT_DATE:
            return put(ToDate(value).serial);
        case VT_BSTR:
            return put(ToBstr(ToText(value)));
        case VT_BOOL:
            return put(static_cast<VARIANT_BOOL>(ToBoolean(value) ? VARIANT_TRUE : VARIANT_FALSE));
        case VT_ERROR:
            if (!value.Holds<ErrorCode>()) throw Error(ErrorNumber::TypeMismatch);
            return put(static_cast<SCODE>(value.As<ErrorCode>().code));
        case VT_DISPATCH:
        case VT_UNKNOWN:
            if (!value.IsObject()) throw Error(ErrorNumber::TypeMismatch);
            return put(static_cast<IUnknown*>(ToDispatch(value.As<ObjectRef>()).Detach()));
        case VT_DECIMAL: {
            const Variant decimal = Coerce(value, VarType::Decimal);
            return put(ToDecimal(decimal.As<DecimalNumber>()));
        }
        case VT_VARIANT:
            ::VariantInit(static_cast<VARIANT*>(place));
            return ToVariant(value, *static_cast<VARIANT*>(place));
        default:
            throw BadVarType{};
    }
}

SAFEARRAY* ToSafeArray(const Array& array)
{
    const auto type = static_cast<VARTYPE>(array.ItemType());
    const auto& dimensions = array.Dimensions();
    std::vector<SAFEARRAYBOUND> bounds;
    for (const Array::Dimension& dimension : dimensions)
        bounds.push_back({static_cast<ULONG>(dimension.count), dimension.lower});
    SAFEARRAY* const made = ::SafeArrayCreate(type, static_cast<UINT>(bounds.size()), bounds.data());
    if (!made) throw std::bad_alloc();
    void* data = nullptr;
    ::SafeArrayAccessData(made, &data);
    auto* const bytes = static_cast<std::uint8_t*>(data);
    try {
        if (array.HoldsBytes())
            std::copy(array.AsBytes().begin(), array.AsBytes().end(), bytes);
        else
            for (std::size_t i = 0; const Variant& item : array.Items())
                ToMemory(item, type, bytes + i++ * made->cbElements);
    } catch (...) {
        ::SafeArrayUnaccessData(made);
        ::SafeArrayDestroy(made);
        throw;
    }
    ::SafeArrayUnaccessData(made);
    return made;
}

/// Where the value of a VARIANT stands: in itself, or where it refers to.
const void* PlaceOf(const VARIANT& value)
{
    if (value.vt & VT_BYREF) return value.byref;
    // The decimal lies over the type.
    return value.vt == VT_DECIMAL ? static_cast<const void*>(&value.decVal) : &value.bVal;
}

std::size_t SizeOf(VARTYPE type)
{
    switch (type) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
            return 8;
        case VT_BSTR:
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return sizeof(void*);
        case VT_DECIMAL:
            return sizeof(DECIMAL);
        case VT_VARIANT:
            return sizeof(VARIANT);
        default:
            return 4;
    }
}

/// Frees what memory of a type owns.
void Free(VARTYPE type, void* place)
{
    switch (type) {
        case VT_BSTR:
            ::SysFreeString(*static_cast<BSTR*>(place));
            break;
        case VT_DISPATCH:
        case VT_UNKNOWN:
            if (auto* const object = *static_cast<IUnknown**>(place)) object->Release();
            break;
        case VT_VARIANT:
            ::VariantClear(static_cast<VARIANT*>(place));
            break;
        default:
            break;
    }
}

}  // namespace

BSTR ToBstr(TextView text)
{
    const BSTR made =
        ::SysAllocStringLen(reinterpret_cast<const wchar_t*>(text.data()), static_cast<UINT>(text.size()));
    if (!made) throw std::bad_alloc();
    return made;
}

Variant FromVariant(const VARIANT& value)
{
    const auto type = static_cast<VARTYPE>(value.vt & VT_TYPEMASK);
    if (value.vt & VT_ARRAY) return FromArray(value.vt & VT_BYREF ? *value.pparray : value.parray);
    if (type == VT_EMPTY) return {};
    if (type == VT_NULL) return Null{};
    if ((value.vt & VT_BYREF) && !value.byref) throw BadVarType{};
    return FromMemory(type, PlaceOf(value));
}

void ToVariant(const Variant& value, VARIANT& into)
{
    if (value.IsEmpty()) return;
    if (value.IsArray()) {
        into.parray = ToSafeArray(value.AsArray());
        into.vt = static_cast<VARTYPE>(value.Type());
        return;
    }
    const auto type = static_cast<VARTYPE>(value.Type());
    if (type == VT_DECIMAL)
        into.decVal = ToDecimal(value.As<DecimalNumber>());  // lies over the type, which comes after it
    else if (type != VT_NULL)
        ToMemory(value, type, &into.bVal);
    into.vt = type;
}

void WriteBack(const Variant& value, VARIANT& argument)
{
    if (!(argument.vt & VT_BYREF) || !argument.byref) return;
    const auto type = static_cast<VARTYPE>(argument.vt & VT_TYPEMASK);
    if (argument.vt & VT_ARRAY) {
        if (!value.IsArray() || static_cast<VARTYPE>(value.AsArray().ItemType()) != type)
            throw Error(ErrorNumber::TypeMismatch);
        SAFEARRAY* const made = ToSafeArray(value.AsArray());
        if (*argument.pparray) ::SafeArrayDestroy(*argument.pparray);
        *argument.pparray = made;
        return;
    }
    if (type == VT_VARIANT && (argument.pvarVal->vt & VT_BYREF)) return WriteBack(value, *argument.pvarVal);
    // Converted first: what cannot be converted leaves the old value.
    alignas(VARIANT) std::uint8_t fresh[sizeof(VARIANT)] = {};
    ToMemory(value, type, fresh);
    std::uint8_t* const place = static_cast<std::uint8_t*>(argument.byref);
    Free(type, place);
    std::copy_n(fresh, SizeOf(type), place);
}

}  // namespace vmlib::com
