#include "host/ConvertFolder.h"

#include "automation/ResumeNext.h"

namespace vmlib::host {

namespace {

constexpr TextView folderPrefix = u"vmlib-convert-";
constexpr TextView lockName = u"owner.lock";

void RemoveFolder(Files& files, Batch* batch, const Text& folder)
{
    std::vector<Text> names;
    ResumeNext([&] { names = files.List(folder, u"*"); });
    for (const Text& name : names)
        if (name != lockName) ResumeNext([&] { files.Delete(folder + name); });
    // Last, so that what could not be deleted is still seen to be abandoned.
    ResumeNext([&] { files.Delete(folder + Text(lockName)); });
    if (batch) ResumeNext([&] { batch->RemoveFolder(folder); });
}

}  // namespace

OwnTemporaryFolder::OwnTemporaryFolder(Files& files, Batch* batch) : files_(files), batch_(batch)
{
    while (batch && !lock_) {
        const auto folder = batch->EnterOwnFolder(folderPrefix);
        if (!folder) return;
        folder_ = *folder;
        try {
            lock_ = files.Open(folder_ + Text(lockName),
                               {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew, true});
        } catch (const FileError& error) {
            // Somebody took the folder, still empty, for an abandoned one.
            if (error.Fault() != FileFault::PathNotFound) throw;
        }
    }
}

OwnTemporaryFolder::~OwnTemporaryFolder()
{
    lock_.reset();
    if (!folder_.empty()) RemoveFolder(files_, batch_, folder_);
}

namespace {

/// Nobody holds the lock; or there is none, and nothing else either: it was killed before it made it.
bool IsAbandoned(Files& files, const Text& folder)
{
    const Text lock = folder + Text(lockName);
    if (!files.Exists(lock)) return files.List(folder, u"*").empty();
    return !ResumeNext([&] { files.Open(lock, {FileAccess::ReadWrite, FileSharing::Exclusive}); });
}

}  // namespace

std::vector<Text> AbandonedFolders(Files& files, const Text& temporaryFolder)
{
    std::vector<Text> found;
    ResumeNext([&] {
        for (const Text& name : files.List(temporaryFolder, Text(folderPrefix) + u"*")) {
            const Text folder = temporaryFolder + name + u'\\';
            ResumeNext([&] {
                if (IsAbandoned(files, folder)) found.push_back(folder);
            });
        }
    });
    return found;
}

void RemoveAbandonedFolders(Files& files, Batch* batch, const Text& temporaryFolder)
{
    for (const Text& folder : AbandonedFolders(files, temporaryFolder)) RemoveFolder(files, batch, folder);
}

}  // namespace vmlib::host
