#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "core/Error.h"
#include "mbf/ByteStrings.h"
#include "mbf/LegacyReals.h"
#include "platform/posix/PosixFiles.h"
#include "support/FakePorts.h"

namespace vmlib::mbf {
namespace {

using vmlib::test::ApplicationEnded;

/// "00 00 80 3F" of a text with one character a byte.
std::string Hex(const Text& image)
{
    std::string digits;
    for (const char byte : ToAnsi(image)) {
        char pair[4];
        std::snprintf(pair, sizeof pair, "%02X ", static_cast<unsigned char>(byte));
        digits += pair;
    }
    if (!digits.empty()) digits.pop_back();
    return digits;
}

Text FromHex(const std::string& digits)
{
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 3)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return FromAnsi(bytes);
}

class ByteStrings : public testing::Test
{
protected:
    posix::PosixFiles files_;
    vmlib::test::FakeSystem system_;
    vmlib::test::FakeDesktop desktop_;
    Platform platform_ = vmlib::test::PlatformOf(files_, system_, desktop_);
};

TEST_F(ByteStrings, ImagesOfNumbers)
{
    EXPECT_EQ(Hex(MKI(1)), "01 00");
    EXPECT_EQ(Hex(MKI(-2)), "FE FF");
    EXPECT_EQ(Hex(MKL(-1)), "FF FF FF FF");
    EXPECT_EQ(Hex(MKL(0x12345678)), "78 56 34 12");
    EXPECT_EQ(Hex(MKS(1.0F)), "00 00 80 3F");
    EXPECT_EQ(Hex(MKS(-2.5F)), "00 00 20 C0");
    EXPECT_EQ(Hex(MKD(1.0)), "00 00 00 00 00 00 F0 3F");
    EXPECT_EQ(MKI(0x80), Text(u"\u20AC\0", 2)) << "byte 80 is the euro sign in code page 1252";
}

TEST_F(ByteStrings, ComeBackAsTheNumber)
{
    for (const std::int32_t number : {0, 1, -1, 0x00818D8F, 0x0090009D, INT32_MIN, INT32_MAX}) {
        Text image = MKL(number);
        EXPECT_EQ(CVL(platform_, image), number);
        EXPECT_EQ(image, MKL(number)) << "all bytes survive the code page";
    }
    Text integer = FromHex("9F 80"), single = FromHex("00 00 20 C0");
    EXPECT_EQ(CVI(platform_, integer), static_cast<std::int16_t>(0x809F));
    EXPECT_EQ(CVS(platform_, single), -2.5F);
    for (const double number : {0.1, -1e308, 5e-324, std::numeric_limits<double>::infinity()}) {
        Text image = MKD(number);
        EXPECT_EQ(CVD(platform_, image), number);
    }
}

TEST_F(ByteStrings, ReadingGivesTheCallerTheTextOfTheBytes)
{
    Text x = u"\u4E00\uFF21";  // one without a byte, a wide A
    EXPECT_EQ(CVI(platform_, x), 0x413F);
    EXPECT_EQ(x, u"?A");
}

TEST_F(ByteStrings, AnotherLengthEndsTheApplicationAfterItsMessage)
{
    Text texts[] = {u"", u"abc", u"abcde", u"1234567", u"123456789"};
    for (Text& text : texts) {
        EXPECT_THROW(CVI(platform_, text), ApplicationEnded);
        EXPECT_THROW(CVL(platform_, text), ApplicationEnded);
        EXPECT_THROW(CVS(platform_, text), ApplicationEnded);
        EXPECT_THROW(CVD(platform_, text), ApplicationEnded);
    }
    EXPECT_EQ(desktop_.messages.size(), 20U);
    EXPECT_EQ(desktop_.messages[0], (vmlib::test::FakeDesktop::Message{u"Illegal Function Call", 0, u""}));
}

TEST(LegacyReals, AreRead)
{
    struct Case
    {
        const char* what;
        std::string image;
        double expected;
    };
    const Case singles[] = {
        {"one", "00 00 00 81", 1},
        {"minus one", "00 00 80 81", -1},
        {"ten", "00 00 20 84", 10},
        {"a half", "00 00 00 80", 0.5},
        {"largest", "FF FF 7F FF", std::ldexp(1 - std::ldexp(1, -24), 127)},
        {"zero is none", "00 00 00 00", std::ldexp(1, -129)},
        {"what stands behind the image does not matter", "00 00 00 81 FF", 1},
    };
    for (const Case& c : singles) EXPECT_EQ(CVSMBF(FromHex(c.image)), static_cast<float>(c.expected)) << c.what;
    const Case doubles[] = {
        {"one", "00 00 00 00 00 00 00 81", 1},
        {"minus ten", "00 00 00 00 00 00 A0 84", -10},
        {"zero is none", "00 00 00 00 00 00 00 00", std::ldexp(1, -129)},
        {"byte 0 and seven bits of byte 1 are not read", "FF 7F 00 00 00 00 00 81", 1},
        {"the lowest bit that is", "00 80 00 00 00 00 00 81", 1 + std::ldexp(1, -40)},
    };
    for (const Case& c : doubles) EXPECT_EQ(CVDMBF(FromHex(c.image)), c.expected) << c.what;
}

TEST(LegacyReals, AreWritten)
{
    struct Case
    {
        const char* what;
        double number;
        std::string single, real, six;
    };
    const Case cases[] = {
        {"one", 1, "00 00 00 81", "00 00 00 00 00 00 00 81", "81 00 00 00 00 00"},
        {"minus one", -1, "00 00 80 81", "00 00 00 00 00 00 80 81", "81 00 00 00 00 80"},
        {"ten", 10, "00 00 20 84", "00 00 00 00 00 00 20 84", "84 00 00 00 00 20"},
        {"IEEE exponent 400 is written as zero", 2.5, "00 00 20 00", "00 00 00 00 00 00 20 00", "82 00 00 00 00 20"},
        {"zero", 0, "00 00 00 00", "00 00 00 00 00 00 00 00", "82 00 00 00 00 00"},
        {"exponent modulo 256", std::ldexp(1, 300), "", "00 00 00 00 00 00 00 AD", "AD 00 00 00 00 00"},
        {"cut off, not rounded", 1 + std::ldexp(1, -24) + std::ldexp(1, -40), "", "00 80 00 80 00 00 00 81",
         "81 00 80 00 00 00"},
        {"all bits of the mantissa", 2 - std::ldexp(1, -52), "", "F8 FF FF FF FF FF 7F 81", "81 FF FF FF FF 7F"},
    };
    for (const Case& c : cases) {
        if (!c.single.empty()) {
            EXPECT_EQ(Hex(MKSMBF(static_cast<float>(c.number))), c.single) << c.what;
        }
        EXPECT_EQ(Hex(MKDMBF(c.number)), c.real) << c.what;
        EXPECT_EQ(Hex(MKDTPR(c.number)), c.six) << c.what;
    }
}

TEST(LegacyReals, AShortImageIsAnErrorOfTheCall)
{
    for (const Text& image : {Text(), Text(u"abc")}) {
        for (const auto read : {+[](const Text& x) { return static_cast<double>(CVSMBF(x)); }, &CVDMBF}) {
            try {
                read(image);
                FAIL() << "no error";
            } catch (const Error& error) {
                EXPECT_EQ(error.Number(), 5);
            }
        }
    }
}

}  // namespace
}  // namespace vmlib::mbf
