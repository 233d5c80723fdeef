#pragma once

#include <gtest/gtest.h>

#include <ostream>

#include "automation/Convert.h"
#include "core/Error.h"

namespace vmlib {

inline std::ostream& operator<<(std::ostream& out, const Variant& value)
{
    out << "type " << static_cast<int>(value.Type());
    if (value.IsText()) return out << " \"" << ToUtf8(value.As<Text>()) << '"';
    if (value.IsNull() || value.IsArray() || value.IsObject() || value.Holds<ErrorCode>()) return out;
    return out << ' ' << ToDouble(value);
}

/// The number of the error that a step raises, 0 when it raises none.
template <class Step>
int ErrorOf(Step&& step)
{
    try {
        step();
        return 0;
    } catch (const Error& error) {
        return error.Number();
    }
}

/// Sets the user's locale for one test.
class UserLocale
{
public:
    explicit UserLocale(const Locale& locale) : UserLocale(locale, locale) {}
    UserLocale(const Locale& numbers, const Locale& dates) { Locale::SetUser(numbers, dates); }
    UserLocale(const UserLocale&) = delete;
    UserLocale& operator=(const UserLocale&) = delete;
    ~UserLocale() { Locale::SetUser(Locale::English(), Locale::English()); }
};

inline const Locale& en = Locale::English();
inline const Locale& nl = Locale::Dutch();
inline const Locale& da = Locale::Danish();

constexpr int noError = 0;

}  // namespace vmlib
