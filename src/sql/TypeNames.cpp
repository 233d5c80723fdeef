#include "sql/TypeNames.h"

namespace vmlib::sql {
namespace {

struct Row
{
    TextView name;
    ValueType type;
};

// The first name of a type is the one that is printed. INTEGER is four bytes in this dialect, SHORT two.
constexpr Row rows[] = {
    {u"Value", ValueType::Value},        {u"Bit", ValueType::Boolean},
    {u"Boolean", ValueType::Boolean},    {u"Logical", ValueType::Boolean},
    {u"Logical1", ValueType::Boolean},   {u"YesNo", ValueType::Boolean},
    {u"Byte", ValueType::Byte},          {u"Integer1", ValueType::Byte},
    {u"Short", ValueType::Integer},      {u"SmallInt", ValueType::Integer},
    {u"Integer2", ValueType::Integer},   {u"Long", ValueType::Long},
    {u"Int", ValueType::Long},           {u"Integer", ValueType::Long},
    {u"Integer4", ValueType::Long},      {u"Currency", ValueType::Currency},
    {u"Money", ValueType::Currency},     {u"IEEESingle", ValueType::Single},
    {u"Single", ValueType::Single},      {u"Real", ValueType::Single},
    {u"Float4", ValueType::Single},      {u"IEEEDouble", ValueType::Double},
    {u"Double", ValueType::Double},      {u"Float", ValueType::Double},
    {u"Float8", ValueType::Double},      {u"Number", ValueType::Double},
    {u"Numeric", ValueType::Double},     {u"DateTime", ValueType::Date},
    {u"Date", ValueType::Date},          {u"Time", ValueType::Date},
    {u"TimeStamp", ValueType::Date},     {u"Binary", ValueType::Binary},
    {u"VarBinary", ValueType::Binary},   {u"Text", ValueType::Text},
    {u"AlphaNumeric", ValueType::Text},  {u"Char", ValueType::Text},
    {u"Character", ValueType::Text},     {u"String", ValueType::Text},
    {u"VarChar", ValueType::Text},       {u"LongBinary", ValueType::LongBinary},
    {u"General", ValueType::LongBinary}, {u"OLEObject", ValueType::LongBinary},
    {u"LongText", ValueType::Memo},      {u"LongChar", ValueType::Memo},
    {u"Memo", ValueType::Memo},          {u"Note", ValueType::Memo},
    {u"Guid", ValueType::Guid},
};

}  // namespace

std::optional<NamedType> TypeNamed(TextView name)
{
    if (EqualIgnoringCase(name, u"Counter") || EqualIgnoringCase(name, u"AutoIncrement")) {
        return NamedType{ValueType::Long, true};
    }
    for (const Row& row : rows) {
        if (EqualIgnoringCase(name, row.name)) return NamedType{row.type, false};
    }
    return std::nullopt;
}

TextView NameOf(ValueType type)
{
    for (const Row& row : rows) {
        if (row.type == type) return row.name;
    }
    return u"Value";
}

}  // namespace vmlib::sql
