#include "jet/HeaderPage.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

#include "core/ByteOrder.h"
#include "core/Error.h"
#include "jet/PageFile.h"

namespace vmlib::jet {

namespace {

constexpr std::array<std::uint8_t, 20> start = {0,   1,   0,   0,   'S', 't', 'a', 'n', 'd', 'a',
                                                'r', 'd', ' ', 'J', 'e', 't', ' ', 'D', 'B', 0};
constexpr std::size_t versionAt = 0x14;

// Within what is masked.
constexpr std::size_t freeMapAt = 0x18 - 0x18, emptyMapAt = 0x1C - 0x18, systemTablesAt = 0x20 - 0x18;
constexpr std::size_t countryAt = 0x38 - 0x18, langidAt = 0x3A - 0x18, codePageAt = 0x3C - 0x18;
constexpr std::size_t encryptionKeyAt = 0x3E - 0x18;
constexpr std::size_t passwordAt = 0x42 - 0x18, passwordSize = 20;
constexpr std::size_t buildAt = 0x56 - 0x18;

constexpr std::uint32_t freeMapPointer = 0x100, emptyMapPointer = 0x101;
constexpr std::uint16_t buildOfNewFiles = 3428;  // of the engine that the users' files come from
constexpr std::size_t greatestPasswordLength = 14;

// The key stream of RC4 for a key.
template <std::size_t size>
std::array<std::uint8_t, size> KeyStream(std::span<const std::uint8_t> key)
{
    std::array<std::uint8_t, 256> state{};
    std::iota(state.begin(), state.end(), std::uint8_t{0});
    for (std::size_t i = 0, j = 0; i < 256; ++i) {
        j = (j + state[i] + key[i % key.size()]) % 256;
        std::swap(state[i], state[j]);
    }
    std::array<std::uint8_t, size> stream{};
    std::size_t i = 0, j = 0;
    for (std::uint8_t& byte : stream) {
        i = (i + 1) % 256;
        j = (j + state[i]) % 256;
        std::swap(state[i], state[j]);
        byte = state[(state[i] + state[j]) % 256];
    }
    return stream;
}

// Zero filled; no value when the password cannot stand in a file.
std::optional<std::array<std::uint8_t, passwordSize>> PasswordBytes(TextView password)
{
    std::array<std::uint8_t, passwordSize> bytes{};
    const std::string ansi = ToAnsi(password);
    if (ansi.size() > passwordSize || !FitsAnsi(password) || ansi.find('\0') != std::string::npos) return std::nullopt;
    std::copy(ansi.begin(), ansi.end(), bytes.begin());
    return bytes;
}

}  // namespace

const HeaderMask& MaskOfHeader()
{
    static constexpr std::array<std::uint8_t, 4> key = {0xC7, 0xDA, 0x39, 0x6B};
    static const HeaderMask mask = KeyStream<std::tuple_size_v<HeaderMask>>(key);
    return mask;
}

HeaderFault HeaderPage::FaultOf(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < pageSize || !std::equal(start.begin(), start.end(), bytes.begin())) return HeaderFault::NotJet;
    const auto version = LoadLittle<std::uint32_t>(bytes.data() + versionAt);
    if (version > 1) return HeaderFault::Unknown;
    const HeaderPage header(bytes.first<pageSize>());
    const bool encrypted = LoadLittle<std::uint32_t>(&header.plain_[encryptionKeyAt]) != 0;
    if (encrypted) return HeaderFault::Encrypted;
    return version == 1 ? HeaderFault::Format4 : HeaderFault::None;
}

HeaderPage::HeaderPage(std::span<const std::uint8_t, pageSize> page)
{
    for (std::size_t i = 0; i < maskedSize; ++i)
        plain_[i] = static_cast<std::uint8_t>(page[maskedAt + i] ^ MaskOfHeader()[i]);
}

SortLocale HeaderPage::Locale() const
{
    return {LoadLittle<std::uint16_t>(&plain_[countryAt]), LoadLittle<std::uint16_t>(&plain_[langidAt]),
            LoadLittle<std::uint16_t>(&plain_[codePageAt])};
}

std::uint16_t HeaderPage::Build() const
{
    return LoadLittle<std::uint16_t>(&plain_[buildAt]);
}

bool HeaderPage::NamesFreeMaps() const
{
    return LoadLittle<std::uint32_t>(&plain_[freeMapAt]) == freeMapPointer &&
           LoadLittle<std::uint32_t>(&plain_[emptyMapAt]) == emptyMapPointer;
}

bool HeaderPage::NamesSystemTables() const
{
    const auto named = [&](std::size_t i) { return LoadLittle<PageNumber>(&plain_[systemTablesAt + 4 * i]); };
    const bool exchanged = named(2) == relationshipsTablePage;
    return named(0) == objectsTablePage && named(1) == acesTablePage &&
           named(2) == (exchanged ? relationshipsTablePage : queriesTablePage) &&
           named(3) == (exchanged ? queriesTablePage : relationshipsTablePage);
}

bool HeaderPage::HasPassword() const
{
    return plain_[passwordAt] != 0;
}

bool HeaderPage::HasPossiblePassword() const
{
    const auto stored = std::span(plain_).subspan(passwordAt, passwordSize);
    const auto end = std::ranges::find_if(stored, [](std::uint8_t byte) { return byte < 0x20; });
    return std::all_of(end, stored.end(), [](std::uint8_t byte) { return byte == 0; });
}

bool HeaderPage::Accepts(TextView password) const
{
    if (!HasPassword()) return true;
    const auto bytes = PasswordBytes(password);
    return bytes && std::equal(bytes->begin(), bytes->end(), plain_.begin() + passwordAt);
}

void HeaderPage::Make(std::span<std::uint8_t, pageSize> page, const SortLocale& locale, TextView password)
{
    const bool known = locale.langid == generalOrder || locale.langid == dutchOrder;
    if (!known || locale.codePage != 1252) throw Error(ErrorNumber::InvalidLocale);
    std::ranges::fill(page, std::uint8_t{0});
    std::ranges::copy(start, page.begin());

    Masked plain{};
    StoreLittle(&plain[freeMapAt], freeMapPointer);
    StoreLittle(&plain[emptyMapAt], emptyMapPointer);
    constexpr std::array tables = {objectsTablePage, acesTablePage, queriesTablePage, relationshipsTablePage};
    for (std::size_t i = 0; i < tables.size(); ++i) StoreLittle(&plain[systemTablesAt + 4 * i], tables[i]);
    StoreLittle(&plain[countryAt], locale.country);
    StoreLittle(&plain[langidAt], locale.langid);
    StoreLittle(&plain[codePageAt], locale.codePage);
    StoreLittle(&plain[buildAt], buildOfNewFiles);
    for (std::size_t i = 0; i < maskedSize; ++i)
        page[maskedAt + i] = static_cast<std::uint8_t>(plain[i] ^ MaskOfHeader()[i]);

    for (std::size_t at = 0; at < sizeof(CommitWords); at += 2) {
        StoreLittle(&page[commitWordsAt + at], at == 0 ? createdWord : firstWord);
    }
    SetPassword(page, password);
}

void HeaderPage::SetPassword(std::span<std::uint8_t, pageSize> page, TextView password)
{
    const auto bytes = PasswordBytes(password);
    if (!bytes || password.size() > greatestPasswordLength) throw Error(ErrorNumber::InvalidPassword);
    for (std::size_t i = 0; i < passwordSize; ++i) {
        page[maskedAt + passwordAt + i] = static_cast<std::uint8_t>((*bytes)[i] ^ MaskOfHeader()[passwordAt + i]);
    }
}

void HeaderPage::CopyPassword(std::span<const std::uint8_t, pageSize> from, std::span<std::uint8_t, pageSize> to)
{
    std::copy_n(from.begin() + maskedAt + passwordAt, passwordSize, to.begin() + maskedAt + passwordAt);
}

}  // namespace vmlib::jet
