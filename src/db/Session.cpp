#include "db/Session.h"

#include <algorithm>
#include <iterator>

namespace vmlib::db {

namespace {

// Engines of a later format than 3 are left out: what they create by default, the others cannot open.
constexpr TextView engineClasses[] = {u"DAO.DBEngine.35", u"VMDEngine.DBEngine"};

}  // namespace

dao::DBEngine EngineHandle::Engine()
{
    const std::lock_guard lock(mutex_);
    if (!engine_) engine_ = Create();
    return engine_;
}

dao::Workspace EngineHandle::Workspace()
{
    return Engine().Workspaces().Item(0);
}

dao::DBEngine EngineHandle::Create() const
{
    for (const TextView name : engineClasses) {
        try {
            if (ObjectRef engine = classes_.Create(name)) return dao::DBEngine(engine);
        } catch (const Error&) {
            if (name == std::end(engineClasses)[-1]) throw;
        }
    }
    throw Error(ErrorNumber::CannotCreateObject);
}

std::vector<OpenedDocuments::Entry>::iterator OpenedDocuments::Find(TextView name)
{
    return std::find_if(entries_.begin(), entries_.end(),
                        [&](const Entry& entry) { return entry.open && EqualIgnoringCase(entry.name, name); });
}

bool OpenedDocuments::HoldsOpen(TextView name) const
{
    return std::any_of(entries_.begin(), entries_.end(),
                       [&](const Entry& entry) { return entry.open && EqualIgnoringCase(entry.name, name); });
}

void OpenedDocuments::Add(Text name)
{
    entries_.push_back({std::move(name), true});
}

bool OpenedDocuments::Release(TextView name)
{
    const auto entry = Find(name);
    if (entry == entries_.end()) return false;
    entry->open = false;
    return true;
}

bool OpenedDocuments::Rename(TextView name, Text newName)
{
    const auto entry = Find(name);
    if (entry == entries_.end()) return false;
    entry->name = std::move(newName);
    return true;
}

}  // namespace vmlib::db
