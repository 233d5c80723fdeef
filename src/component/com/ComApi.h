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

/// The part of an object with one interface that is the same for all of them. Begins with one reference, the maker's.
template <class Interface>
class Counted : public Interface
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** found) override
    {
        if (!found) return E_POINTER;
        const bool isKnown = wanted == IID_IUnknown || wanted == __uuidof(Interface);
        *found = isKnown ? this : nullptr;
        if (!isKnown) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&references_)); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const LONG left = ::InterlockedDecrement(&references_);
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

protected:
    virtual ~Counted() = default;

private:
    LONG references_ = 1;
};

}  // namespace vmlib::com
