// The images side by side, most significant bit first (s sign, e exponent, m mantissa):
//
//   IEEE double     s eeeeeeeeeee m(52)   exponent biased by 1023
//   MBF double      eeeeeeee s m(55)      exponent biased by 129, as in the two below
//   six-byte real   s m(39) eeeeeeee
//   MBF single      eeeeeeee s m(23)
//
// All are stored least significant byte first, so the exponent of the six-byte real is its byte 0. The mantissas all
// begin with the bit behind the implied 1, so that one becomes another by cutting or filling at the low end.
#include "mbf/LegacyReals.h"

#include <bit>

#include "automation/TextFunctions.h"
#include "mbf/ByteImage.h"

namespace vmlib::mbf {

namespace {

constexpr unsigned ieeeMantissaBits = 52;
constexpr int ieeeBias = 1023;
constexpr int legacyBias = 129;

struct Parts
{
    bool negative = false;
    int exponent = 0;            // IEEE's, bias included
    std::uint64_t mantissa = 0;  // IEEE's 52 bits
};

double Join(const Parts& parts)
{
    return std::bit_cast<double>(static_cast<std::uint64_t>(parts.negative) << 63 |
                                 static_cast<std::uint64_t>(parts.exponent) << ieeeMantissaBits | parts.mantissa);
}

Parts Split(double number)
{
    const auto bits = std::bit_cast<std::uint64_t>(number);
    return {(bits >> 63) != 0, static_cast<int>(bits >> ieeeMantissaBits & 0x7FF),
            bits & ((std::uint64_t{1} << ieeeMantissaBits) - 1)};
}

/// The first bytes of a text as one number, least significant first. @throws Error 5 when the text is too short
std::uint64_t LittleEndian(TextView text, std::int32_t size)
{
    std::uint64_t value = 0;
    for (std::int32_t i = size; i > 0; --i) value = value << 8 | static_cast<std::uint64_t>(Asc(Mid(text, i, 1)));
    return value;
}

template <std::size_t size>
Text Image(std::uint64_t value)
{
    ByteImage<size> bytes;
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(value & 0xFF);
        value >>= 8;
    }
    return ToText(bytes);
}

/// An MBF image of `bits` bits: exponent, sign, mantissa. Of the mantissa only `read` bits are taken.
double FromMbf(std::uint64_t image, unsigned bits, unsigned read)
{
    const unsigned mantissaBits = bits - 9;
    const std::uint64_t mantissa = image & ((std::uint64_t{1} << mantissaBits) - 1);
    return Join({(image >> mantissaBits & 1) != 0, static_cast<int>(image >> (bits - 8)) - legacyBias + ieeeBias,
                 mantissa >> (mantissaBits - read) << (ieeeMantissaBits - read)});
}

/// Exponents beyond a byte lose their upper bits, as files have always had them.
std::uint64_t ExponentByte(const Parts& parts)
{
    return static_cast<std::uint64_t>((parts.exponent & 0xFF) + legacyBias - ieeeBias) & 0xFF;
}

/// Exponent and sign as the upper nine bits of an MBF image.
std::uint64_t MbfHead(const Parts& parts)
{
    const std::uint64_t exponent = (parts.exponent & 0xFF) == 0 ? 0 : ExponentByte(parts);
    return exponent << 1 | static_cast<std::uint64_t>(parts.negative);
}

}  // namespace

float CVSMBF(const Text& OldStringSP)
{
    // The range of exponents fits into a single.
    return static_cast<float>(FromMbf(LittleEndian(OldStringSP, 4), 32, 23));
}

double CVDMBF(const Text& OldStringDP)
{
    return FromMbf(LittleEndian(OldStringDP, 8), 64, 40);
}

Text MKSMBF(float OldNumberSP)
{
    const Parts parts = Split(OldNumberSP);
    return Image<4>(MbfHead(parts) << 23 | parts.mantissa >> (ieeeMantissaBits - 23));
}

Text MKDMBF(double OldNumberDP)
{
    const Parts parts = Split(OldNumberDP);
    return Image<8>(MbfHead(parts) << 55 | parts.mantissa << (55 - ieeeMantissaBits));
}

Text MKDTPR(double OldNumberDP)
{
    const Parts parts = Split(OldNumberDP);
    const std::uint64_t mantissa = parts.mantissa >> (ieeeMantissaBits - 39);
    return Image<6>(static_cast<std::uint64_t>(parts.negative) << 47 | mantissa << 8 | ExponentByte(parts));
}

}  // namespace vmlib::mbf
