#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "core/Text.h"

/// The RegistryStore port: the platform's tree of keys and values as its single-byte (ANSI) functions show it. No
/// operation throws; each returns the platform's result code. Names cross in code page 1252 and end at their first
/// zero character, as do the bytes of text values.
namespace vmlib {

/// An open key, or one of the roots. What is no open key is result code 6.
using RegistryHandle = std::int32_t;

inline constexpr RegistryHandle classesRoot =
    static_cast<RegistryHandle>(0x80000000);  // SOFTWARE\Classes of the machine
inline constexpr RegistryHandle currentUser = static_cast<RegistryHandle>(0x80000001);
inline constexpr RegistryHandle localMachine = static_cast<RegistryHandle>(0x80000002);

/// Result codes of the platform.
enum RegistryResult : std::int32_t
{
    registryDone = 0,
    registryNotFound = 2,      // no such key or value
    registryAccessDenied = 5,  // rights, or the handle was opened without this access
    registryInvalidHandle = 6,
    registryInvalidParameter = 87,
    registryDiskFull = 112,
    registryBadPath = 161,   // a path that begins with "\"
    registryBusy = 170,      // another program does not let go of it
    registryMoreData = 234,  // the room given is too small
    registryNoMoreItems = 259,
    registryDamaged = 1015,  // what holds the root cannot be understood
    registryIoFailed = 1016,
    registryKeyDeleted = 1018,  // the key behind the handle is gone
};

/// Types of values. Any 32-bit number may stand in a registry; these two are used here.
inline constexpr std::uint32_t registryText = 1;    // REG_SZ: bytes of the code page, usually with a closing zero
inline constexpr std::uint32_t registryNumber = 4;  // REG_DWORD: four bytes, little endian

/// What a key is opened for, or-ed.
inline constexpr std::uint32_t registryQuery = 1;
inline constexpr std::uint32_t registrySet = 2;
inline constexpr std::uint32_t registryCreateSubKey = 4;
inline constexpr std::uint32_t registryEnumerate = 8;
inline constexpr std::uint32_t registryAllAccess = 63;

/// Key paths are relative to an open key or root, parts separated by "\"; a "\" at the end is ignored, "" is the key
/// itself. Keys and values are found without regard to case and keep the spelling they were made with. A part is at
/// most 255 characters long.
class RegistryStore
{
public:
    virtual ~RegistryStore() = default;

    /// @param opened  set on success only
    virtual std::int32_t OpenKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened) = 0;
    /// Opens, after making what is missing of the path.
    virtual std::int32_t CreateKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened) = 0;
    /// A root may be closed any number of times.
    virtual std::int32_t CloseKey(RegistryHandle key) = 0;
    /// Deletes a key and its values; one that has sub-keys stays (5).
    virtual std::int32_t DeleteKey(RegistryHandle key, TextView path) = 0;
    virtual std::int32_t DeleteValue(RegistryHandle key, TextView name) = 0;

    /// Makes a value or replaces it. Returns when it would survive a power cut.
    /// @param name  "" is the default value
    /// @param data  of text, the byte behind the data is looked at as the platform does: std::string keeps a zero there,
    ///              so text that does not end in a zero is stored with one
    virtual std::int32_t SetValue(RegistryHandle key, TextView name, std::uint32_t type, const std::string& data) = 0;
    /// @param room  where the data goes; empty: only type and size are asked for
    /// @param size  out: bytes of the data, a stored closing zero included; also when the room is too small (234)
    virtual std::int32_t QueryValue(RegistryHandle key, TextView name, std::uint32_t& type, std::span<char> room,
                                    std::uint32_t& size) = 0;

    /// The sub-key of this index, counted from 0 in the order of their names; 259 behind the last one.
    /// @param nameRoom  characters, the closing zero included; 234 when the name needs more
    virtual std::int32_t EnumKey(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name) = 0;
    /// The value of this index, counted from 0 in the order in which they were made; else as EnumKey and QueryValue
    /// (the data always goes into the room).
    virtual std::int32_t EnumValue(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name,
                                   std::uint32_t& type, std::span<char> room, std::uint32_t& size) = 0;

    /// A text value that is answered as long as nobody has stored one, with the key that it stands in. For facts of the
    /// user that other platforms keep elsewhere; a platform whose registry holds them ignores it.
    virtual void Provide(RegistryHandle root, TextView path, TextView name, std::function<Text()> value) = 0;

    /// For messages: what holds a root, and why it cannot be read where that is so ("user.reg, line 12: ..."); "" where
    /// there is nothing to say.
    virtual Text Describe(RegistryHandle root) = 0;
};

}  // namespace vmlib
