#pragma once

#include "platform/posix/RegistryTree.h"

namespace vmlib::posix {

/// A file in the registry editor's export form that holds one root:
///
///     Windows Registry Editor Version 5.00
///
///     ; the planner
///     [HKEY_CURRENT_USER\Software\VMD\Planner\Opties]
///     "Map"="C:\\Data"
///     "Aantal"=dword:0000000a
///
/// It knows the text and what it means, and makes the text of a change, in which all else is as it was, byte for byte.
/// It does not know where the text is from. Reading takes time in proportion to the size of the text.
class RegistryText
{
public:
    /// @param rootName  "HKEY_CURRENT_USER" or "HKEY_LOCAL_MACHINE"; sections of another root are kept and mean nothing
    /// @throws RegistryDamage
    RegistryText(std::string text, TextView rootName);

    const std::string& Source() const { return text_; }
    const RegistryTree& Tree() const { return tree_; }
    /// Adds a value that is not in the text, unless the text has one of this name; with its key.
    void Provide(const KeyPath& path, TextView name, std::size_t provider);

    std::string WithKey(const KeyPath& path) const;
    /// The key has no sub-keys and a section. Its parent stays, also if nothing else said that it is there.
    std::string WithoutKey(std::size_t key) const;
    std::string WithValue(const KeyPath& path, TextView name, const StoredValue& value) const;
    std::string WithoutValue(const RegistryTree::Value& value) const;

    /// True for a path that a section can be written with: no control characters, and nothing that looks like the end of a
    /// section with a comment behind it ("] ;").
    static bool CanBeKeyPath(const KeyPath& path);

private:
    std::string_view LineEnd() const;
    std::vector<FileRange> LinesOf(const RegistryTree::Key& key) const;
    std::string Header(const KeyPath& path) const;
    std::string WithSection(const KeyPath& path, const std::string& lines) const;

    std::string text_, rootName_;
    bool hasForm_ = false;  // false: nothing but blanks
    RegistryTree tree_;
};

}  // namespace vmlib::posix
