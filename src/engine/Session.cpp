#include "engine/Session.h"

#include <new>

namespace vmlib::engine {
namespace {

constexpr std::int32_t firstEngineError = 3000;

ErrorNumber EngineNumberOf(FileFault fault)
{
    switch (fault) {
        case FileFault::NotFound:
            return ErrorNumber::NoSuchFile;
        case FileFault::PathNotFound:
            return ErrorNumber::InvalidPath;
        case FileFault::AccessDenied:
            return ErrorNumber::CannotOpenFile;
        case FileFault::SharingViolation:
            return ErrorNumber::FileInUse;
        case FileFault::Exists:
            return ErrorNumber::DatabaseExists;
        case FileFault::DiskFull:
            return ErrorNumber::EngineDiskFull;
        case FileFault::Io:
            return ErrorNumber::DiskOrNetwork;
        case FileFault::InvalidName:
            return ErrorNumber::InvalidFileName;
        case FileFault::NotListed:
            return ErrorNumber::CouldNotLockFile;
    }
    return ErrorNumber::DiskOrNetwork;
}

Error WithSource(const Error& error, TextView typeName)
{
    if (!error.Source().empty()) return error;
    return Error(error.Number(), error.Description(), Text(u"DAO.").append(typeName));
}

}  // namespace

Error EngineErrorOf(const Error& error)
{
    if (const auto* fault = dynamic_cast<const FileError*>(&error))
        return Error(EngineNumberOf(fault->Fault()), {fault->Path()});
    return error;
}

Variant Session::Guarded(TextView typeName, const std::function<Variant()>& call)
{
    try {
        return call();
    } catch (const Error& raised) {
        const Error error = WithSource(EngineErrorOf(raised), typeName);
        if (error.Number() >= firstEngineError) lastErrors_.assign(1, error);
        throw error;
    } catch (const std::bad_alloc&) {
        throw Error(ErrorNumber::OutOfMemory);
    }
}

}  // namespace vmlib::engine
