#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/posix/RegistryValue.h"

namespace vmlib::posix {

/// The parts of a key's path below its root; no part is empty.
using KeyPath = std::vector<Text>;

/// Parts of the longest path.
inline constexpr std::size_t greatestDepth = 512;

/// The parts of text in which "\" separates; empty ones are left out.
KeyPath PartsOf(TextView path);
/// Without regard to case.
bool IsSamePath(const KeyPath& left, const KeyPath& right);

/// Bytes of a file, from `begin` to before `end`.
struct FileRange
{
    std::size_t begin = 0, end = 0;
};

/// Where one definition of a value stands: all its lines, and its data in them.
struct ValuePlace
{
    FileRange lines, data;
};

/// One key with its values, by name without regard to case. Key 0 is the root.
class RegistryTree
{
public:
    struct Value
    {
        Text name;  // "" for the default value
        StoredValue stored;
        std::vector<ValuePlace> places;  // in the order of the file, the last one counts; none for a provided value
        std::size_t provider = 0;        // of a provided value
    };
    struct Key
    {
        Text name;
        std::size_t parent = 0;
        std::vector<std::size_t> children;  // by upper-case name, after Sort
        std::vector<Value> values;          // in the order of the file
        std::vector<FileRange> sections;    // from the header to behind the last value; none when only implied
    };

    const Key& At(std::size_t key) const { return keys_[key]; }
    Key& At(std::size_t key) { return keys_[key]; }

    /// Finds the key of this path, or makes it with its parents.
    std::size_t Make(const KeyPath& path);
    std::optional<std::size_t> Find(const KeyPath& path) const;
    /// The path in the spelling of the keys; what is missing at its end in that of `path`.
    KeyPath Spelled(const KeyPath& path) const;
    /// Finds the value, or makes an empty one behind the others.
    Value& MakeValue(std::size_t key, TextView name);
    const Value* FindValue(std::size_t key, TextView name) const;
    /// Brings the sub-keys of all keys in order.
    void Sort();

private:
    struct PlacedName
    {
        std::size_t key;  // that it stands in
        Text upper;
        bool operator==(const PlacedName&) const = default;
    };
    struct PlacedNameHash
    {
        std::size_t operator()(const PlacedName& name) const;
    };
    using Index = std::unordered_map<PlacedName, std::size_t, PlacedNameHash>;

    std::vector<Key> keys_ = std::vector<Key>(1);
    Index keyIndex_, valueIndex_;  // of keys_, and of the values of their key
};

}  // namespace vmlib::posix
