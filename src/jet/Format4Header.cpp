#include "jet/Format4Header.h"

#include <algorithm>
#include <cmath>

#include "core/ByteOrder.h"

namespace vmlib::jet::format4 {

namespace {

constexpr std::size_t maskedAt = 0x18;
constexpr std::size_t codePageAt = 0x3C - maskedAt, encryptionKeyAt = 0x3E - maskedAt;
constexpr std::size_t passwordAt = 0x42 - maskedAt, passwordSize = 40;
constexpr std::size_t langidAt = 0x6E - maskedAt, createdAt = 0x72 - maskedAt;

/// The whole days of the date, as 32 bits.
std::array<std::uint8_t, 4> PasswordMask(double created)
{
    std::array<std::uint8_t, 4> mask{};
    const bool fits = std::isfinite(created) && std::abs(created) < 2147483648.0;
    if (fits) StoreLittle(mask.data(), static_cast<std::int32_t>(created));
    return mask;
}

}  // namespace

Header::Header(std::span<const std::uint8_t, jet::pageSize> page) : plain_(MaskOfHeader())
{
    for (std::size_t i = 0; i < plain_.size(); ++i) plain_[i] ^= page[maskedAt + i];
    const auto mask = PasswordMask(LoadLittle<double>(&plain_[createdAt]));
    for (std::size_t i = 0; i < passwordSize; i += sizeof(char16_t)) {
        const auto low = static_cast<std::uint8_t>(plain_[passwordAt + i] ^ mask[i % mask.size()]);
        const auto high = static_cast<std::uint8_t>(plain_[passwordAt + i + 1] ^ mask[(i + 1) % mask.size()]);
        const auto character = static_cast<char16_t>(low | high << 8);
        if (character == 0) break;
        password_.push_back(character);
    }
}

SortLocale Header::Locale() const
{
    return {0, LoadLittle<std::uint16_t>(&plain_[langidAt]), LoadLittle<std::uint16_t>(&plain_[codePageAt])};
}

bool Header::IsEncrypted() const
{
    return LoadLittle<std::uint32_t>(&plain_[encryptionKeyAt]) != 0;
}

}  // namespace vmlib::jet::format4
