#pragma once

#include <optional>

#include "platform/posix/HeldFile.h"

namespace vmlib::posix {

/// A complete copy of a file, synced unless it is in a scratch folder, beside the name that it will take. Unless it takes
/// that name it is deleted again.
class UnfinishedCopy
{
public:
    /// @param source       where the bytes come from
    /// @param target       the name it will take; what is there already, held, lends it permissions and owner
    /// @param permissions  of a free name, less the user's mask; those of the source when left out
    /// @throws FileError, with nothing left behind
    UnfinishedCopy(const HeldFile& source, const NativePath& target, const HeldFile* replaced, TextView path,
                   std::optional<mode_t> permissions = {});
    ~UnfinishedCopy();
    UnfinishedCopy(const UnfinishedCopy&) = delete;
    UnfinishedCopy& operator=(const UnfinishedCopy&) = delete;

    /// Takes the name in place of what is there.
    void Replace();
    /// Takes the name if it is still free.
    bool TakeFreeName();

private:
    void Create(mode_t mode);
    void CopyBytes(int source);

    Descriptor descriptor_;
    NativePath target_;
    Text path_;
    std::string temporary_;  // empty when it has its name
};

/// Owner, permissions and attributes of another file for an open one, as far as the user may.
void CopyOwnerAndPermissions(int from, int to);

/// Renames unless the new name is taken, which is false.
bool RenameToFreeName(const std::string& from, const std::string& to, TextView path);

/// The file that a chain of links ends at, so that replacing it leaves the links.
NativePath WithoutLinks(NativePath path);

}  // namespace vmlib::posix
