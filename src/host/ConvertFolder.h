#pragma once

#include "host/Session.h"
#include "platform/Batch.h"

namespace vmlib::host {

/// A temporary folder of this process's own for as long as the object lives, as the conversion's working copy always
/// has the same name. A file in it is held open, so that others see whether its owner still lives.
///
///     TMPDIR\vmlib-convert-Ab3dEf\owner.lock
class OwnTemporaryFolder
{
public:
    /// Without a batch, and where no folder can be made, the process keeps the temporary folder that it has.
    OwnTemporaryFolder(Files& files, Batch* batch);
    ~OwnTemporaryFolder();
    OwnTemporaryFolder(const OwnTemporaryFolder&) = delete;
    OwnTemporaryFolder& operator=(const OwnTemporaryFolder&) = delete;

private:
    Files& files_;
    Batch* batch_;
    Text folder_;
    std::unique_ptr<OpenFile> lock_;
};

/// Folders (with trailing "\") in the temporary folder that owners left that live no more. What is in them is no
/// document's only copy: a document is replaced in one step, and not before that.
std::vector<Text> AbandonedFolders(Files& files, const Text& temporaryFolder);

/// Removes them with what is in them.
void RemoveAbandonedFolders(Files& files, Batch* batch, const Text& temporaryFolder);

}  // namespace vmlib::host
