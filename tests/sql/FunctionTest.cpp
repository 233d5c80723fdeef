// The functions of the dialect. Expected values are those of the runtime that the dialect borrows them from.

#include <gtest/gtest.h>

#include "sql/Sample.h"

namespace vmlib::sql {
namespace {

struct Case
{
    const char16_t* expression;
    const char* value;
};

void Check(std::initializer_list<Case> cases)
{
    Sample sample;
    for (const Case& one : cases)
        EXPECT_EQ(sample.Value(one.expression).substr(0, 120), one.value) << ToUtf8(one.expression);
}

TEST(Functions, Text)
{
    Check({
        {u"Left('abc', 2), Left('abc', 9), Left('abc', 0)", "ab,abc,"},
        {u"Right('abc', 2), Mid('abcd', 2), Mid('abcd', 2, 2), Mid('abc', 9)", "bc,bcd,bc,"},
        {u"Left('a', -1)", "5: Invalid procedure call or argument"},
        {u"Left(Null, 1), Len(Null), UCase(Null), Trim(Null)", "Null,Null,Null,Null"},
        {u"Left$(Null, 1)", "94: Invalid use of Null"},
        {u"Left$('Coëfficiënt', 3), Len('Straße'), Len('')", "Coë,6,0"},
        {u"InStr('abcABC', 'B'), InStr(1, 'abcABC', 'B', 0), InStr(3, 'abcABC', 'b'), InStr('abc', 'x'), InStr('', "
         u"'a'), InStr('abc', '')",
         "2,5,5,0,0,1"},
        {u"'[' & Trim('  a b ') & '][' & LTrim('  a ') & '][' & RTrim(' a  ') & ']'", "[a b][a ][ a]"},
        {u"UCase('straße é'), LCase('ÀB')", "STRAßE É,àb"},
        {u"StrComp('a', 'B'), StrComp('b', 'A'), StrComp('a', 'A'), StrComp('a', 'A', 0)", "-1,1,0,1"},
        {u"String(3, 'xy'), String(2, 65), '[' & Space(2) & ']'", "xxx,AA,[  ]"},
        {u"Chr(65), Asc('A'), Asc('€'), AscW('€'), Chr(128)", "A,65,128,8364,€"},
        {u"Asc('')", "5: Invalid procedure call or argument"},
        {u"Format(1234.5, '#,##0.00'), Format(#1/2/2003 4:05:06#, 'yyyy-mm-dd hh:nn:ss'), Format(7, '000')",
         "1,234.50,2003-01-02 04:05:06,007"},
        // Weeks as the last arguments say: 7 January 2024 is a Sunday, 1 January 2021 lies in week 53 of four days.
        {u"Format(#1/7/2024#, 'w ww'), Format(#1/7/2024#, 'w ww', 2), Format(#1/1/2021#, 'ww', 2, 2)", "1 2,7 1,53"},
        {u"Format(#1/7/2024#, 'ww', 8)", "5: Invalid procedure call or argument"},
        // Bytes read as text of two bytes a character.
        {u"Len(CStr(12)), LenB('abc'), Len(Null)", "2,6,Null"},
    });
}

TEST(Functions, Conversion)
{
    Check({
        {u"CStr(1.5), CStr(True), CStr(0.1 + 0.2)", "1.5,True,0.3"},
        {u"CInt(2.5), CInt(3.5), CLng('12'), CLng(-0.5)", "2,4,12,0"},
        {u"CInt(40000)", "6: Overflow"},
        {u"CByte(256)", "6: Overflow"},
        {u"CLng('x')", "13: Type mismatch"},
        {u"CStr(Null)", "94: Invalid use of Null"},
        {u"CDbl('1.5'), CSng(0.1), CCur(1.23456), CBool('0'), CBool(5)", "1.5,0.1!,1.2346$,False,True"},
        {u"CDate(36526), CVDate(Null), CDate('1/2/2000')", "#36526#,Null,#36527#"},
        {u"Val('12abc'), Val('x'), Val('1.5e2'), Val(' 1 2'), '[' & Str(5) & ']', '[' & Str(-0.5) & ']'",
         "12,0,150,12,[ 5],[-.5]"},
        {u"IsNumeric('1,000'), IsNumeric('x'), IsNumeric(Null), IsDate('1/2/2000'), IsDate(5), IsNull(Null), "
         u"IsNull('')",
         "True,False,False,True,False,True,False"},
        {u"Hex(255), Hex(-1), Oct(8)", "FF,FFFFFFFF,10"},
        {u"StringFromGUID({guid {00112233-4455-6677-8899-aabbccddeeff}}), StringFromGUID(Null)",
         "{guid {00112233-4455-6677-8899-AABBCCDDEEFF}},Null"},
        {u"GUIDFromString('{00112233-4455-6677-8899-aabbccddeeff}') = {guid {00112233-4455-6677-8899-aabbccddeeff}}",
         "True"},
        {u"GUIDFromString('0011')", "13: Type mismatch"},
    });
}

TEST(Functions, Numbers)
{
    Check({
        {u"Int(-1.5), Fix(-1.5), Int(1.5), Int(-2), Int('2.7')", "-2,-1,1,-2,2"},
        {u"Abs(-5), Abs(-1.5), Abs(CCur(-1.5)), Abs(True), Abs('-3')", "5,1.5,1.5$,1,3"},
        {u"Int(#1/1/2000 18:00:00#), Fix(CCur(-2.75)), Int(CCur(-2.75))", "#36526#,-2$,-3$"},
        {u"Sgn(-2), Sgn(0), Sgn(0.1), Sqr(9), Exp(0), Log(1), Atn(0)", "-1,0,1,3,1,0,0"},
        {u"Sqr(-1)", "5: Invalid procedure call or argument"},
        {u"Log(0)", "5: Invalid procedure call or argument"},
        {u"Exp(1000)", "6: Overflow"},
        {u"Abs(Null), Int(Null), Sgn(Null)", "Null,Null,Null"},
    });
}

TEST(Functions, Dates)
{
    Check({
        {u"Now(), Date(), Time()", "#45000.75#,#45000#,#0.75#"},
        {u"Year(#2/29/2000#), Month(#2/29/2000#), Day(#2/29/2000#), Year(0.5), Day(-1.25), Hour(-1.25)",
         "2000,2,29,1899,29,6"},
        {u"Hour(#13:14:15#), Minute(#13:14:15#), Second(#13:14:15#), Year(Null)", "13,14,15,Null"},
        {u"Weekday(#1/1/2000#), Weekday(#1/1/2000#, 2), Weekday(0)", "7,6,7"},
        {u"DateSerial(2024, 2, 31), DateSerial(99, 1, 1) = #1/1/1999#, TimeSerial(6, 0, 0)", "#45353#,True,#0.25#"},
        {u"DateValue(#1/1/2000 12:00#), TimeValue(#1/1/2000 12:00#), DateValue('1/2/2000')", "#36526#,#0.5#,#36527#"},
        {u"DateAdd('m', 1, #1/31/2000#) = #2/29/2000#, DateAdd('yyyy', -1, #2/29/2000#) = #2/28/1999#, DateAdd('q', 1, "
         u"#11/30/1999#) = #2/29/2000#",
         "True,True,True"},
        {u"DateAdd('d', 1.5, 1), DateAdd('w', 1, 1), DateAdd('ww', 1, 1), DateAdd('h', 6, 1), DateAdd('n', 90, 0), "
         u"DateAdd('s', -1, 1) < 1",
         "#3#,#2#,#8#,#1.25#,#0.0625#,True"},
        {u"DateAdd('d', -1, 0.25), DateAdd('h', -6, 0), DateAdd('d', 2, -1.25)", "#-1.25#,#-1.75#,#1.25#"},
        {u"TimeValue(#3/5/2024 13:45:30#) = TimeSerial(13, 45, 30), TimeValue(45356.99999999) = 0", "True,True"},
        {u"DateAdd('x', 1, 1)", "5: Invalid procedure call or argument"},
        {u"DateAdd('yyyy', 9000, #1/1/2000#)", "5: Invalid procedure call or argument"},
        {u"DateDiff('yyyy', #12/31/1999#, #1/1/2000#), DateDiff('m', #1/31/2000#, #3/1/2000#), DateDiff('q', "
         u"#3/31/2000#, #4/1/2000#)",
         "1,2,1"},
        {u"DateDiff('d', #1/1/2000 23:00#, #1/2/2000 1:00#), DateDiff('h', #1:59#, #2:00#), DateDiff('n', #1:00:59#, "
         u"#1:01#), DateDiff('s', 0, 1)",
         "1,1,1,86400"},
        {u"DateDiff('w', #1/1/2000#, #1/14/2000#), DateDiff('ww', #1/1/2000#, #1/2/2000#), DateDiff('ww', #1/1/2000#, "
         u"#1/2/2000#, 2)",
         "1,1,0"},
        {u"DateDiff('d', 5, Null), DateDiff('d', #1/2/2000#, #1/1/2000#)", "Null,-1"},
        {u"DatePart('yyyy', #5/6/2000#), DatePart('q', #5/6/2000#), DatePart('y', #12/31/2000#), DatePart('w', "
         u"#1/1/2000#), DatePart('h', 0.5)",
         "2000,2,366,7,12"},
        // Weeks: from 1 January (Sunday first); the first week of four days and the first full week, Monday first.
        {u"DatePart('ww', #1/1/2000#), DatePart('ww', #1/2/2000#), DatePart('ww', #12/31/2000#)", "1,2,54"},
        {u"DatePart('ww', #1/2/2000#, 2, 2), DatePart('ww', #1/3/2000#, 2, 2), DatePart('ww', #12/31/2001#, 2, 2)",
         "52,1,1"},
        {u"DatePart('ww', #1/1/100#, 2, 2), DatePart('ww', #12/31/9999#, 2, 2)", "53,52"},
        {u"DatePart('ww', #1/2/2000#, 2, 3), DatePart('ww', #1/3/2000#, 2, 3)", "52,1"},
        {u"#3/4/2000# - #3/3/2000#, #2000-03-04# = #3/4/2000#, #13/4/2000# = #4/13/2000#, #1 feb 2000# = #2/1/2000#",
         "1,True,True,True"},
    });
}

}  // namespace
}  // namespace vmlib::sql
