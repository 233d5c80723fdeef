#pragma once

// The others take their types from the first.
// clang-format off
#include <windows.h>
#include <oaidl.h>
#include <ocidl.h>
#include <olectl.h>
// clang-format on

#undef GetObject
#undef MessageBox

#include <utility>

#include "core/Text.h"

namespace vmlib::com {

inline const wchar_t* Wide(const Text& text)
{
    return reinterpret_cast<const wchar_t*>(text.c_str());
}
inline Text FromWide(const wchar_t* text, std::size_t length)
{
    return Text(reinterpret_cast<const char16_t*>(text), length);
}
inline Text FromWide(const wchar_t* text)
{
    return Text(reinterpret_cast<const char16_t*>(text));
}

/// A null BSTR is an empty one.
inline Text FromBstr(BSTR text)
{
    return text ? FromWide(text, ::SysStringLen(text)) : Text();
}
/// @throws std::bad_alloc
BSTR ToBstr(TextView text);

/// Owns a reference to a COM object.
template <class T>
class ComPtr
{
public:
    ComPtr() = default;
    explicit ComPtr(T* object) : object_(object)
    {
        if (object_) object_->AddRef();
    }
    ComPtr(const ComPtr& other) : ComPtr(other.object_) {}
    ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ComPtr()
    {
        if (object_) object_->Release();
    }

    /// Takes over a reference that the caller owns.
    static ComPtr Attach(T* object)
    {
        ComPtr owned;
        owned.object_ = object;
        return owned;
    }
    template <class Wanted>
    ComPtr<Wanted> As() const
    {
        Wanted* found = nullptr;
        if (object_) object_->QueryInterface(__uuidof(Wanted), reinterpret_cast<void**>(&found));
        return ComPtr<Wanted>::Attach(found);
    }

    T* Get() const { return object_; }
    T* Detach() { return std::exchange(object_, nullptr); }
    T** Put() { return &object_; }  // of an empty one
    T* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

}  // namespace vmlib::com
