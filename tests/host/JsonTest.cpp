#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "host/Arguments.h"
#include "host/Json.h"

namespace vmlib::host {
namespace {

class NoObjects : public ObjectNames
{
public:
    Json NameOf(const ObjectRef&) override { return {{"type", "Object"}, {"id", 7}}; }
    ObjectRef Named(const Json&) override { throw Error(ErrorNumber::ObjectRequired); }
};

struct ValueCase
{
    Variant value;
    const char* json;
};

TEST(JsonTest, ValuesHaveTheFormOfTheContractAndComeBack)
{
    const ValueCase cases[] = {
        {u"Één\u20AC", R"("Één€")"},
        {Text(u"a\0b", 3), R"("a\u0000b")"},
        {true, "true"},
        {std::uint8_t{255}, R"({"type":"Byte","value":255})"},
        {std::int16_t{-5}, R"({"type":"Integer","value":-5})"},
        {std::int32_t{-2147483647 - 1}, R"({"type":"Long","value":-2147483648})"},
        {0.1f, R"({"type":"Single","value":0.1})"},  // not 0.10000000149011612
        {0.1, R"({"type":"Double","value":0.1})"},
        {std::numeric_limits<double>::infinity(), R"({"type":"Double","value":"inf"})"},
        {-std::numeric_limits<float>::infinity(), R"({"type":"Single","value":"-inf"})"},
        {Currency{12345678}, R"({"type":"Currency","value":"1234.5678"})"},
        {Currency{-5000}, R"({"type":"Currency","value":"-0.5"})"},
        {Currency{std::numeric_limits<std::int64_t>::min()}, R"({"type":"Currency","value":"-922337203685477.5808"})"},
        {Date{45356.25}, R"({"type":"Date","value":45356.25,"text":"2024-03-05T06:00:00"})"},
        {Date{45356}, R"({"type":"Date","value":45356.0,"text":"2024-03-05"})"},
        {Date{-1.25}, R"({"type":"Date","value":-1.25,"text":"1899-12-29T06:00:00"})"},  // the time counts forward
        {Date{9e9}, R"({"type":"Date","value":9000000000.0})"},                          // outside the calendar
        {Variant(), R"({"type":"Empty"})"},
        {Null{}, R"({"type":"Null"})"},
        {Variant::Missing(), R"({"type":"Missing"})"},
        {ErrorCode{2147614720}, R"({"type":"Error","value":2147614720})"},
        {DecimalNumber{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 28, true},
         R"({"type":"Decimal","value":"-7.9228162514264337593543950335"})"},
        {DecimalNumber{0, 0, 5, 3, false}, R"({"type":"Decimal","value":"0.005"})"},
        {ObjectRef(), R"({"type":"Object","id":0})"},
        {Array(std::vector<Variant>{std::int16_t{1}, u"a"}),
         R"({"type":"Array","items":[{"type":"Integer","value":1},"a"]})"},
        {Array(Bytes{1, 255}),
         R"({"type":"Array","of":"Byte","items":[{"type":"Byte","value":1},{"type":"Byte","value":255}]})"},
        {Array(VarType::Variant, {{0, 2}, {1, 1}}, {std::int16_t{1}, Null{}}),
         R"({"type":"Array","dimensions":[{"lower":0,"count":2},{"lower":1,"count":1}],"items":[{"type":"Integer","value":1},{"type":"Null"}]})"},
    };
    NoObjects objects;
    for (const ValueCase& c : cases) {
        EXPECT_EQ(ToJson(c.value, objects).dump(), c.json);
        EXPECT_TRUE(FromJson(Json::parse(c.json), objects) == c.value) << c.json;
    }
    EXPECT_TRUE(std::isnan(FromJson(Json::parse(R"({"type":"Double","value":"nan"})"), objects).As<double>()));
    EXPECT_EQ(ToJson(std::nan(""), objects).dump(), R"({"type":"Double","value":"nan"})");
}

TEST(JsonTest, StringsAsBytesAreThoseOfTheCodePage)
{
    NoObjects objects;
    const Variant value = u"\u20AC\u0081\u00FF";  // 80, 81, FF
    EXPECT_EQ(ToJson(value, objects, StringForm::Bytes).dump(), R"({"type":"Bytes","value":"8081FF"})");
    EXPECT_TRUE(FromJson(Json::parse(R"({"type":"Bytes","value":"8081fF"})"), objects) == value);
}

TEST(JsonTest, WhatSomeLanguagesWrite)
{
    NoObjects objects;
    EXPECT_TRUE(FromJson(Json::parse(R"({"type":"Error","value":-2147352572})"), objects) == Variant::Missing());
    const auto line = ParseLine(R"(["\ud83d\ude00", "\ud83d", "\ude00x", "\\ud83d", "\u0041"])");
    ASSERT_TRUE(line);
    EXPECT_EQ(*line, Json({"\xF0\x9F\x98\x80", "\xEF\xBF\xBD", "\xEF\xBF\xBDx", "\\ud83d", "A"}))
        << "half a pair of surrogates is no character";
}

TEST(JsonTest, PlainNumbersAreLongWhereTheyFit)
{
    NoObjects objects;
    EXPECT_TRUE(FromJson(Json::parse("5"), objects) == Variant(std::int32_t{5}));
    EXPECT_TRUE(FromJson(Json::parse("-2147483649"), objects) == Variant(-2147483649.0));
    EXPECT_TRUE(FromJson(Json::parse("18446744073709551615"), objects) == Variant(18446744073709551615.0));
    EXPECT_TRUE(FromJson(Json::parse("5.0"), objects) == Variant(5.0));
}

TEST(JsonTest, RefusesWhatIsNoValue)
{
    const struct
    {
        const char* json;
        ErrorNumber error;
    } cases[] = {
        {"[1]", ErrorNumber::TypeMismatch},
        {"{}", ErrorNumber::TypeMismatch},
        {R"({"type":"Word","value":1})", ErrorNumber::TypeMismatch},
        {R"({"type":"Integer"})", ErrorNumber::TypeMismatch},
        {R"({"type":"Integer","value":1.5})", ErrorNumber::TypeMismatch},
        {R"({"type":"Integer","value":32768})", ErrorNumber::Overflow},
        {R"({"type":"Byte","value":-1})", ErrorNumber::Overflow},
        {R"({"type":"Long","value":18446744073709551615})", ErrorNumber::Overflow},
        {R"({"type":"Single","value":1e39})", ErrorNumber::Overflow},
        {R"({"type":"Currency","value":"1,5"})", ErrorNumber::TypeMismatch},
        {R"({"type":"Currency","value":"1.23456"})", ErrorNumber::TypeMismatch},
        {R"({"type":"Currency","value":"922337203685477.5808"})", ErrorNumber::Overflow},
        {R"({"type":"Decimal","value":"79228162514264337593543950336"})", ErrorNumber::Overflow},
        {R"({"type":"Boolean","value":1})", ErrorNumber::TypeMismatch},
        {R"({"type":"Bytes","value":"0"})", ErrorNumber::TypeMismatch},
        {R"({"type":"Date","text":"2024-02-30"})", ErrorNumber::TypeMismatch},
        {R"({"type":"Object","id":99})", ErrorNumber::ObjectRequired},
        {R"({"type":"Array","items":[1],"dimensions":[{"count":2}]})", ErrorNumber::TypeMismatch},
        {R"({"type":"Array","of":"Integer","items":["x"]})", ErrorNumber::TypeMismatch},
    };
    NoObjects objects;
    for (const auto& c : cases) try {
            FromJson(Json::parse(c.json), objects);
            ADD_FAILURE() << c.json;
        } catch (const Error& error) {
            EXPECT_TRUE(error.Is(c.error)) << c.json << " " << error.what();
        }
}

TEST(JsonTest, FieldsOfRowsArePlain)
{
    EXPECT_EQ(FieldToJson(Currency{12345678}, false).dump(), R"("1234.5678")");
    EXPECT_EQ(FieldToJson(Date{0.25}, false).dump(), R"("1899-12-30T06:00:00")");
    EXPECT_EQ(FieldToJson(Date{3e6}, false).dump(), "3000000.0");  // no such day: the serial
    EXPECT_EQ(FieldToText(Date{-1e9}, false, "-"), "-1000000000");
    EXPECT_EQ(FieldToJson(u"{guid {6F9619FF-8B86-D011-B42D-00CF4FC964FF}}", true).dump(),
              R"("{6F9619FF-8B86-D011-B42D-00CF4FC964FF}")");
    EXPECT_EQ(FieldToJson(u"{guid {x}}", false).dump(), R"("{guid {x}}")");  // only a GUID field's
    EXPECT_EQ(FieldToJson(Array(Bytes{0, 0xAB}), false).dump(), R"("00AB")");
    EXPECT_EQ(FieldToJson(Null{}, false).dump(), "null");
    EXPECT_EQ(FieldToJson(2.0, false).dump(), "2.0");
    EXPECT_EQ(FieldToText(2.0, false, "-"), "2");
    EXPECT_EQ(FieldToText(true, false, "-"), "true");
    EXPECT_EQ(FieldToText(Null{}, false, "-"), "-");
}

TEST(ArgumentsTest, TypesStandInFront)
{
    const struct
    {
        const char* argument;
        Variant value;
    } cases[] = {
        {"i:-5", std::int16_t{-5}},
        {"l:5", std::int32_t{5}},
        {"y:255", std::uint8_t{255}},
        {"f:1.5", 1.5f},
        {"d:-2.5e3", -2500.0},
        {"c:2.5", Currency{25000}},
        {"b:true", true},
        {"t:2024-03-05", Date{45356}},
        {"t:2024-03-05T06:00:00", Date{45356.25}},
        {"s:i:5", u"i:5"},
        {"x:0080", Text(u"\0\u20AC", 2)},
        {"m:", Variant::Missing()},
        {"e:", Variant()},
        {"n:", Null{}},
        {"", u""},
        {"s:", u""},
        {"-5", u"-5"},
        {"C:\\data", u"C:\\data"},  // prefixes are lower case
        {"z:\\data", u"z:\\data"},  // z is none
        {"ii:5", u"ii:5"},
    };
    for (const auto& c : cases) EXPECT_TRUE(ParseArgument(c.argument) == c.value) << c.argument;
}

TEST(ArgumentsTest, WhatDoesNotFitItsTypeIsAUsageError)
{
    for (const char* argument : {"i:32768", "i:", "i:1.5", "l: 5", "y:-1", "d:1,5", "c:1.23456", "b:yes", "t:5-3-2024",
                                 "t:2024-13-01", "x:0", "x:gg", "m:x", "c:\\data"})
        EXPECT_THROW(ParseArgument(argument), UsageError) << argument;
}

}  // namespace
}  // namespace vmlib::host
