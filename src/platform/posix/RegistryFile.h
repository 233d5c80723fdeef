#pragma once

#include <sys/stat.h>

#include <functional>
#include <memory>

#include "platform/posix/Descriptor.h"
#include "platform/posix/RegistryText.h"

namespace vmlib::posix {

/// A text value that is answered as long as the file has none of its name.
struct ProvidedValue
{
    KeyPath path;
    Text name;
    std::function<Text()> value;
};

/// One file of the registry: reads it, and replaces it by a changed text. It does not know keys, rights and handles. Not
/// safe to use from several threads.
class RegistryFile
{
public:
    /// For a file and for folders that are not there yet.
    struct Permissions
    {
        mode_t file, folder;
    };

    /// @param path      native; need not be there, which is an empty root
    /// @param rootName  as RegistryText
    RegistryFile(std::string path, TextView rootName, Permissions permissions);

    const std::string& Path() const { return path_; }
    /// What the file says now, valid until the next call.
    /// @throws RegistryDamage; FileError when it cannot be read
    const RegistryText& Look();

    /// Gives the text after a change, or nothing when there is nothing to change; may throw.
    using Edit = std::function<std::optional<std::string>(const RegistryText&)>;
    /// Replaces the file by what the edit makes of it, as one step for all other processes. When this returns, the
    /// change survives a power cut; when it throws, the file is whole, with or without the change.
    /// @throws what Look and the edit throw; FileError when the file cannot be written (SharingViolation when another
    ///         process does not let go of it in 10 seconds)
    void Change(const Edit& edit);

    /// In place of one of the same name.
    void Provide(ProvidedValue value);
    Text Provided(const RegistryTree::Value& value) const { return provided_[value.provider].value(); }

private:
    /// Which version of the file was read. Times in nanoseconds since 1970.
    struct Version
    {
        bool exists = false;
        std::uint64_t device = 0, file = 0;
        std::int64_t size = 0, modified = 0, changed = 0;
        bool operator==(const Version&) const = default;
    };
    struct Opened
    {
        Descriptor descriptor;
        Version version;
    };

    static Version VersionOf(const struct stat& facts);
    Opened Open() const;
    std::string ReadAll(int descriptor) const;
    /// False when somebody changed the file meanwhile.
    bool TryLook();
    std::unique_ptr<RegistryText> Parsed(std::string bytes) const;
    void CheckWritable(const std::string& target) const;
    void AwaitContents();
    bool TakeName(const std::string& newFile, const std::string& target, const Version& old) const;
    bool TryReplace(const std::string& target, const std::string& bytes);

    std::string path_;
    Text rootName_, messagePath_;
    Permissions permissions_;
    std::vector<ProvidedValue> provided_;

    std::unique_ptr<RegistryText> text_;  // what was read or written last
    Version version_;                     // what was read last
    bool isSettled_ = false;              // text_ is of that version, and a later version cannot look the same
};

}  // namespace vmlib::posix
