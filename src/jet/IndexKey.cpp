// An index key is the keys of its columns, one behind the other.
//
//   column    7F, then the value; 00 alone for Null. Descending: every byte inverted (80, FF), but for the 09s of
//             binary values
//   integers  big endian, sign bit flipped (Integer, Long, Currency); Byte as it is
//   reals     big endian; negative: all bits inverted, else the sign bit flipped
//   boolean   00 true, FF false
//   text      primary weights, then accents (TextKeys.h)
//   binary    groups of 8 bytes, the last filled with 00; behind each 09, behind the last the number of its bytes
//   GUID      as binary, in the order in which it is printed
//
// Source: docs/file-format.md, "Index entries", "Text keys", "Long keys".

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <utility>

#include "core/ByteOrder.h"
#include "core/Error.h"
#include "jet/IndexTree.h"
#include "jet/TextKeys.h"

namespace vmlib::jet {
namespace {

constexpr char valueFollows = '\x7F';
constexpr char nullMark = '\x00';
constexpr char groupFollows = 9;
constexpr std::size_t groupSize = 8;
constexpr std::size_t keptOfLongKey = 253;
constexpr std::uint16_t checkSumPolynomial = 0x8005;

template <std::unsigned_integral T>
void AppendBig(Key& key, T value)
{
    std::uint8_t bytes[sizeof value];
    StoreBig(bytes, value);
    key.append(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

template <std::unsigned_integral Bits, class T>
void AppendSigned(Key& key, T value)
{
    constexpr Bits signBit = static_cast<Bits>(Bits{1} << (8 * sizeof(Bits) - 1));
    AppendBig(key, static_cast<Bits>(static_cast<Bits>(value) ^ signBit));
}

template <std::unsigned_integral Bits, class T>
void AppendReal(Key& key, T value)
{
    constexpr Bits signBit = Bits{1} << (8 * sizeof(Bits) - 1);
    const Bits bits = std::bit_cast<Bits>(value);
    AppendBig(key, static_cast<Bits>((bits & signBit) != 0 ? ~bits : bits ^ signBit));
}

void AppendGroups(Key& key, std::span<const std::uint8_t> bytes)
{
    for (;;) {
        const std::size_t count = std::min(bytes.size(), groupSize);
        key.append(reinterpret_cast<const char*>(bytes.data()), count);
        key.append(groupSize - count, '\0');
        bytes = bytes.subspan(count);
        if (bytes.empty()) return key.push_back(static_cast<char>(count));
        key.push_back(groupFollows);
    }
}

std::array<std::uint8_t, 16> Printed(const Guid& guid)
{
    auto bytes = guid.bytes;
    std::reverse(bytes.begin(), bytes.begin() + 4);
    std::reverse(bytes.begin() + 4, bytes.begin() + 6);
    std::reverse(bytes.begin() + 6, bytes.begin() + 8);
    return bytes;
}

/// The value as the column's type; the caller promised it.
template <class T>
const T& Held(const Value& value)
{
    const T* held = std::get_if<T>(&value);
    assert(held != nullptr && "a value of another type than its column");
    if (held == nullptr) throw Error(ErrorNumber::DataConversion);
    return *held;
}

void AppendValue(Key& key, const ColumnDefinition& column, const Value& value)
{
    switch (column.type) {
        case ColumnType::Boolean:
            return key.push_back(Held<bool>(value) ? '\x00' : '\xFF');
        case ColumnType::Byte:
            return key.push_back(static_cast<char>(Held<std::uint8_t>(value)));
        case ColumnType::Integer:
            return AppendSigned<std::uint16_t>(key, Held<std::int16_t>(value));
        case ColumnType::Long:
            return AppendSigned<std::uint32_t>(key, Held<std::int32_t>(value));
        case ColumnType::Currency:
            return AppendSigned<std::uint64_t>(key, Held<Currency>(value).units);
        case ColumnType::Single:
            return AppendReal<std::uint32_t>(key, Held<float>(value));
        case ColumnType::Double:
            return AppendReal<std::uint64_t>(key, Held<double>(value));
        case ColumnType::Date:
            return AppendReal<std::uint64_t>(key, Held<Date>(value).serial);
        case ColumnType::Text:
            if (const auto* text = std::get_if<Text>(&value))  // of format 4
                return IndexKey::AppendText(key, ToAnsi(*text), column.locale.langid);
            return IndexKey::AppendText(key, Held<std::string>(value), column.locale.langid);
        case ColumnType::Binary:
            return AppendGroups(key, Held<Bytes>(value));
        case ColumnType::Guid:
            return AppendGroups(key, Printed(Held<Guid>(value)));
        case ColumnType::LongBinary:
        case ColumnType::Memo:
            break;
    }
    throw Error(ErrorNumber::BadIndexField, {column.name});  // long values have no keys
}

void AppendColumn(Key& key, const ColumnDefinition& column, bool descending, const Value& value)
{
    const std::size_t start = key.size();
    if (IsNull(value)) {
        key.push_back(nullMark);
    } else {
        key.push_back(valueFollows);
        AppendValue(key, column, value);
    }
    if (!descending) return;
    for (std::size_t i = start; i < key.size(); ++i) key[i] = static_cast<char>(~key[i]);
    if (column.type == ColumnType::Binary || column.type == ColumnType::Guid) {
        for (std::size_t i = start + 1 + groupSize; i + 1 < key.size(); i += groupSize + 1) key[i] = groupFollows;
    }
}

const ColumnDefinition& ColumnOf(const TableDefinition& table, const IndexColumn& part, std::size_t& position)
{
    const auto found = table.ColumnNumbered(part.column);
    if (!found)
        throw Error(ErrorNumber::DamagedDatabase, {table.name});  // ReadDefinition checks it: only a made-up definition
    position = *found;
    return table.columns[position];
}

const Value& ValueOf(const TableDefinition& table, const IndexColumn& part, const Row& row)
{
    std::size_t position = 0;
    ColumnOf(table, part, position);
    assert(position < row.size());
    return row[position];
}

}  // namespace

std::optional<Key> IndexKey::Of(const TableDefinition& table, const TreeDefinition& tree, const Row& row)
{
    if (tree.ignoreNulls && AllNull(table, tree, row)) return std::nullopt;
    Key key;
    for (const IndexColumn& part : tree.columns) {
        std::size_t position = 0;
        const ColumnDefinition& column = ColumnOf(table, part, position);
        assert(position < row.size());
        AppendColumn(key, column, part.descending, row[position]);
    }
    CutLong(key);
    return key;
}

Key IndexKey::Prefix(const TableDefinition& table, const TreeDefinition& tree, std::span<const Value> values)
{
    assert(values.size() <= tree.columns.size());
    Key key;
    for (std::size_t i = 0; i < values.size(); ++i) {
        std::size_t position = 0;
        const ColumnDefinition& column = ColumnOf(table, tree.columns[i], position);
        AppendColumn(key, column, tree.columns[i].descending, values[i]);
    }
    return key;
}

Key IndexKey::OfNulls(const TreeDefinition& tree)
{
    Key key;
    for (const IndexColumn& part : tree.columns) {
        key.push_back(part.descending ? static_cast<char>(~nullMark) : nullMark);
    }
    return key;
}

bool IndexKey::HasNull(const TableDefinition& table, const TreeDefinition& tree, const Row& row)
{
    return std::any_of(tree.columns.begin(), tree.columns.end(),
                       [&](const IndexColumn& part) { return IsNull(ValueOf(table, part, row)); });
}

bool IndexKey::AllNull(const TableDefinition& table, const TreeDefinition& tree, const Row& row)
{
    return std::all_of(tree.columns.begin(), tree.columns.end(),
                       [&](const IndexColumn& part) { return IsNull(ValueOf(table, part, row)); });
}

bool IndexKey::KnowsOrder(std::uint16_t langid)
{
    return WeightsOf(langid) != nullptr;
}

namespace {

std::string_view WithoutTrailingBlanks(std::string_view ansi)
{
    const std::size_t last = ansi.find_last_not_of(' ');
    return last == std::string_view::npos ? std::string_view{} : ansi.substr(0, last + 1);
}

const TextWeight& WeightOf(const TextWeights& weights, char character)
{
    return weights[static_cast<unsigned char>(character)];
}

/// The accents of a text as half bytes: 0, one for each slot up to the last that is not plain, 0, filled to whole
/// bytes.
void AppendAccents(Key& key, std::string_view ansi, const TextWeights& weights)
{
    bool half = true;  // the first 0 is the upper half of a byte
    key.push_back('\0');
    const auto append = [&](std::uint8_t value) {
        if (half) {
            key.back() = static_cast<char>(key.back() | static_cast<char>(value));
        } else {
            key.push_back(static_cast<char>(value << 4));
        }
        half = !half;
    };
    std::size_t plain = 0;  // plain slots not written yet: trailing ones are not written at all
    for (const char character : ansi) {
        const TextWeight& weight = WeightOf(weights, character);
        if (weight.accent == noAccent) {
            plain += weight.slots;
            continue;
        }
        for (; plain > 0; --plain) append(noAccent);
        append(weight.accent);
    }
    append(0);
}

/// Steps through the weights of a text: first, second of double letters, and 0 behind the end.
class WeightReader
{
public:
    WeightReader(std::string_view ansi, const TextWeights& weights) : left_(ansi), weights_(weights) {}

    std::uint8_t Next()
    {
        if (second_ != 0) return std::exchange(second_, std::uint8_t{0});
        if (left_.empty()) return 0;
        const TextWeight& weight = WeightOf(weights_, left_.front());
        left_.remove_prefix(1);
        second_ = weight.second;
        return weight.first;
    }

private:
    std::string_view left_;
    const TextWeights& weights_;
    std::uint8_t second_ = 0;
};

/// Of two texts with the same primary weights.
int CompareAccents(std::string_view left, std::string_view right, const TextWeights& weights)
{
    Key leftAccents;
    Key rightAccents;
    AppendAccents(leftAccents, left, weights);
    AppendAccents(rightAccents, right, weights);
    return leftAccents.compare(rightAccents);
}

}  // namespace

void IndexKey::AppendText(Key& key, std::string_view ansi, std::uint16_t langid)
{
    const TextWeights* weights = WeightsOf(langid);
    if (weights == nullptr) {
        throw Error(static_cast<std::int32_t>(ErrorNumber::NotSupported),
                    u"Operation is not supported: no keys are known for the sort order with language identifier " +
                        Decimal(langid) + u".");
    }
    ansi = WithoutTrailingBlanks(ansi);
    bool hasAccents = false;
    for (const char character : ansi) {
        const TextWeight& weight = WeightOf(*weights, character);
        key.push_back(static_cast<char>(weight.first));
        if (weight.second != 0) key.push_back(static_cast<char>(weight.second));
        hasAccents |= weight.accent != noAccent;
    }
    if (hasAccents) {
        AppendAccents(key, ansi, *weights);
    } else {
        key.push_back('\0');
    }
}

int IndexKey::CompareText(std::string_view left, std::string_view right, std::uint16_t langid)
{
    const TextWeights* known = WeightsOf(langid);
    const TextWeights& weights = known != nullptr ? *known : *WeightsOf(generalOrder);
    left = WithoutTrailingBlanks(left);
    right = WithoutTrailingBlanks(right);
    WeightReader leftWeights(left, weights);
    WeightReader rightWeights(right, weights);
    for (;;) {
        const std::uint8_t one = leftWeights.Next();
        const std::uint8_t other = rightWeights.Next();
        if (one != other) return one < other ? -1 : 1;
        if (one == 0) return CompareAccents(left, right, weights);
    }
}

void IndexKey::CutLong(Key& key)
{
    if (key.size() <= greatestKeySize) return;
    std::uint16_t sum = 0;
    for (std::size_t i = keptOfLongKey; i < key.size(); ++i) {
        for (int shift = 0; shift < 8; ++shift) {
            sum = static_cast<std::uint16_t>((sum & 0x8000) != 0 ? sum << 1 ^ checkSumPolynomial : sum << 1);
        }
        sum = static_cast<std::uint16_t>(sum ^ static_cast<unsigned char>(key[i]));
    }
    key.resize(keptOfLongKey);
    key.push_back(static_cast<char>(sum & 0xFF));
    key.push_back(static_cast<char>(sum >> 8));
}

}  // namespace vmlib::jet
