#pragma once

#include <algorithm>
#include <bit>
#include <cstring>

#include "jet/Value.h"

namespace vmlib::host {

/// A sum over rows that does not depend on their order, and their number.
class RowSum
{
public:
    bool operator==(const RowSum&) const = default;
    std::uint64_t Rows() const { return rows_; }

    /// The mark of a row, which values are added to one after the other.
    class Row
    {
    public:
        /// @param isPadded  blanks or zeros at the end say nothing
        void Add(const jet::Value& value, bool isPadded)
        {
            AddNumber(value.index());
            std::visit([&](const auto& plain) { AddValue(plain, isPadded); }, value);
        }

        /// 64 bits that stand for the values added so far.
        std::uint64_t Mark() const { return Mixed(first_ ^ Mixed(second_)); }

    private:
        friend class RowSum;

        void AddValue(Null, bool) {}
        void AddValue(bool value, bool) { AddNumber(value); }
        void AddValue(std::uint8_t value, bool) { AddNumber(value); }
        void AddValue(std::int16_t value, bool) { AddNumber(static_cast<std::uint64_t>(value)); }
        void AddValue(std::int32_t value, bool) { AddNumber(static_cast<std::uint64_t>(value)); }
        void AddValue(Currency value, bool) { AddNumber(static_cast<std::uint64_t>(value.units)); }
        void AddValue(float value, bool) { AddNumber(std::bit_cast<std::uint32_t>(value)); }
        void AddValue(double value, bool) { AddNumber(std::bit_cast<std::uint64_t>(value)); }
        void AddValue(Date value, bool) { AddNumber(std::bit_cast<std::uint64_t>(value.serial)); }
        void AddValue(const Guid& value, bool) { AddBytes(value.bytes.data(), value.bytes.size()); }
        void AddValue(const Text& value, bool isPadded) { AddValue(ToUtf8(value), isPadded); }
        void AddValue(const Bytes& value, bool isPadded)
        {
            std::size_t size = value.size();
            while (isPadded && size > 0 && value[size - 1] == 0) --size;
            AddBytes(value.data(), size);
        }
        void AddValue(const std::string& value, bool isPadded)
        {
            const std::size_t size = isPadded ? value.find_last_not_of(' ') + 1 : value.size();
            AddBytes(value.data(), size);
        }

        void AddNumber(std::uint64_t number)
        {
            first_ = Mixed(first_ ^ number);
            second_ = Mixed(second_ + number * 0x9E3779B97F4A7C15u);
        }
        void AddBytes(const void* data, std::size_t size)
        {
            AddNumber(size);
            const auto* bytes = static_cast<const unsigned char*>(data);
            for (; size > 0; bytes += std::min<std::size_t>(size, 8), size -= std::min<std::size_t>(size, 8)) {
                std::uint64_t word = 0;
                std::memcpy(&word, bytes, std::min<std::size_t>(size, 8));
                AddNumber(word);
            }
        }
        /// Every bit of the number reaches every bit of the result; the constants are those of MurmurHash3's last step.
        static std::uint64_t Mixed(std::uint64_t number)
        {
            number = (number ^ (number >> 33)) * 0xFF51AFD7ED558CCDu;
            number = (number ^ (number >> 33)) * 0xC4CEB9FE1A85EC53u;
            return number ^ (number >> 33);
        }

        std::uint64_t first_ = 0x243F6A8885A308D3u, second_ = 0x13198A2E03707344u;  // digits of pi
    };

    void Add(const Row& row)
    {
        ++rows_;
        first_ += row.first_;
        second_ += row.second_;
    }

private:
    std::uint64_t rows_ = 0, first_ = 0, second_ = 0;
};

}  // namespace vmlib::host
