#include "platform/WriteBacks.h"

#include <map>
#include <mutex>

namespace vmlib {

namespace {

struct State
{
    std::recursive_mutex mutex;
    std::map<const OpenFile*, std::pair<FileIdentity, std::function<void()>>> byFile;
};

State& OfProcess()
{
    static State state;
    return state;
}

}  // namespace

void WriteBacks::Set(const OpenFile& file, std::function<void()> writeBack)
{
    State& state = OfProcess();
    const std::lock_guard lock(state.mutex);
    if (writeBack)
        state.byFile[&file] = {file.Identity(), std::move(writeBack)};
    else
        state.byFile.erase(&file);
}

void WriteBacks::CallFor(const FileIdentity& identity)
{
    State& state = OfProcess();
    const std::lock_guard lock(state.mutex);
    for (const auto& [file, entry] : state.byFile)
        if (entry.first == identity) entry.second();
}

}  // namespace vmlib
