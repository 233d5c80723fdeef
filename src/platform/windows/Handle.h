#pragma once

#include <cstdint>
#include <utility>

#include "platform/windows/Api.h"

namespace vmlib::windows {

/// Owns a kernel handle. INVALID_HANDLE_VALUE counts as none.
class Handle
{
public:
    Handle() = default;
    explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept
    {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle() { Close(); }

    HANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }
    void Close()
    {
        if (handle_) ::CloseHandle(std::exchange(handle_, nullptr));
    }

private:
    HANDLE handle_ = nullptr;
};

/// Where in a file something is read, written or locked.
inline OVERLAPPED PlaceAt(std::uint64_t offset)
{
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
}

}  // namespace vmlib::windows
