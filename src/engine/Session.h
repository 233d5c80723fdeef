#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "automation/MemberTable.h"
#include "core/Error.h"
#include "platform/Files.h"

namespace vmlib::engine {

/// What all objects of one engine share: where files are, the clock, and the errors of the last failing operation.
class Session
{
public:
    Session(Files& files, TextView temporaryFolder, Clock now)
        : files_(files), temporaryFolder_(temporaryFolder), now_(std::move(now))
    {
    }

    Files& FilesPort() const { return files_; }
    const Text& TemporaryFolder() const { return temporaryFolder_; }
    const Clock& Now() const { return now_; }

    /// Runs one late-bound call. What escapes it is an Error with a source ("DAO.Recordset"); engine errors (3000 and
    /// up) replace what the Errors collection held, other errors leave it alone, a success too.
    Variant Guarded(TextView typeName, const std::function<Variant()>& call);

    const std::vector<Error>& LastErrors() const { return lastErrors_; }
    /// Of an operation that did what it was asked, but not with everything: a repair.
    void NoteErrors(std::vector<Error> errors) { lastErrors_ = std::move(errors); }

private:
    Files& files_;
    Text temporaryFolder_;
    Clock now_;
    std::vector<Error> lastErrors_;
};

using SessionRef = std::shared_ptr<Session>;

/// An error of the Files port as the engine words it (3024, 3044, 3045 ...); any other error unchanged.
Error EngineErrorOf(const Error& error);

/// Base of the late-bound classes of the engine: T has a static `const MemberTable& Members()`.
template <class T>
class EngineObject : public AutomationClass<T>
{
public:
    explicit EngineObject(SessionRef session) : session_(std::move(session)) {}

    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override
    {
        return session_->Guarded(this->TypeName(), [&] { return AutomationClass<T>::Invoke(member, kind, arguments); });
    }

    const SessionRef& TheSession() const { return session_; }

private:
    SessionRef session_;
};

}  // namespace vmlib::engine
