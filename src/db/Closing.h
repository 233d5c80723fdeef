#pragma once

#include <utility>

#include "automation/ResumeNext.h"

namespace vmlib::db {

/// Owns a database or recordset of the engine and closes it on every path; an error of closing is of no interest there.
/// Where it is, Close raises it. Nothing may stand in it: then its members raise error 91.
template <class T>
class Closing
{
public:
    Closing() = default;
    explicit Closing(T object) : object_(std::move(object)) {}
    Closing(Closing&& other) noexcept : object_(std::exchange(other.object_, T())) {}
    Closing& operator=(Closing&& other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Closing()
    {
        if (object_) ResumeNext([&] { object_.Close(); });
    }

    explicit operator bool() const { return static_cast<bool>(object_); }
    T& operator*() { return object_; }
    const T& operator*() const { return object_; }
    const T* operator->() const { return &object_; }

    /// Closes now; an object that is closed already, or Nothing, is an error.
    void Close()
    {
        const T object = std::exchange(object_, T());
        object.Close();
    }

private:
    T object_;
};

}  // namespace vmlib::db
