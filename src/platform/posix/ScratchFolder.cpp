#include "platform/posix/ScratchFolder.h"

#include <mutex>
#include <utility>

namespace vmlib::posix {

namespace {

std::mutex mutex;

std::string& Folder()
{
    static std::string folder;
    return folder;
}

}  // namespace

void SetScratchFolder(std::string nativeFolder)
{
    const std::lock_guard lock(mutex);
    Folder() = std::move(nativeFolder);
}

bool IsScratch(const std::string& nativePath)
{
    const std::lock_guard lock(mutex);
    const std::string& folder = Folder();
    return !folder.empty() && nativePath.starts_with(folder) && nativePath.rfind('/') == folder.size();
}

}  // namespace vmlib::posix
