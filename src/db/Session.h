#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "automation/ClassRegistry.h"
#include "db/Dao.h"
#include "platform/Platform.h"

namespace vmlib::db {

/// The engine object of a class registry: created by class name on first use, then kept.
class EngineHandle
{
public:
    explicit EngineHandle(ClassRegistry& classes) : classes_(classes) {}

    /// The workspace that everything is opened in. @throws Error 429 when no engine can be created
    dao::Workspace Workspace();
    dao::DBEngine Engine();

private:
    dao::DBEngine Create() const;

    ClassRegistry& classes_;
    std::mutex mutex_;
    dao::DBEngine engine_;
};

/// The documents that one object has opened. An entry stays when its document is released; only its flag goes. Names
/// compare without case.
class OpenedDocuments
{
public:
    bool HoldsOpen(TextView name) const;
    void Add(Text name);
    /// The first open entry of the name; false when there is none.
    bool Release(TextView name);
    bool Rename(TextView name, Text newName);

private:
    struct Entry
    {
        Text name;
        bool open;
    };
    std::vector<Entry>::iterator Find(TextView name);
    std::vector<Entry> entries_;
};

/// What one object of the document layer knows between calls, and what it works on.
struct Session
{
    Platform& platform;
    ClassRegistry& classes;
    std::shared_ptr<EngineHandle> engine;
    Text password = u"Zonnebloemen";
    Text connect = {};  // ";PWD=" and the password once DBL_InitPassWord was called
    OpenedDocuments opened = {};
    Text sConvertClass = {};  // the host's converter; "": none
};

}  // namespace vmlib::db
