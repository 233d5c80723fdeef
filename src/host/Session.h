#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "automation/ClassRegistry.h"
#include "host/Arguments.h"
#include "host/HostDesktop.h"
#include "host/HostRegistry.h"
#include "jet/Database.h"
#include "platform/Platform.h"

namespace vmlib::host {

// Exit codes; the rest of the contract is 10 + code for a database code.
inline constexpr int exitDone = 0;
inline constexpr int exitSomeFailed = 1;
inline constexpr int exitUsage = 2;
inline constexpr int exitError = 3;
inline constexpr int exitDatabaseCode = 10;

/// Options that several commands share.
struct Options
{
    bool json = false;
    bool yes = false;
    std::optional<std::string> password;  // UTF-8; else the library's own
    bool noPassword = false;
};

/// What a command works with: ports, classes, options and the streams it prints to. The library is reached late bound.
class Session
{
public:
    Session(Platform& native, ClassRegistry& classes, std::ostream& out, std::ostream& err);

    Options options;
    HostDesktop desktop;
    HostRegistry registry;
    Platform platform;
    ClassRegistry& classes;
    std::ostream& out;
    std::ostream& err;

    /// An object of any class that the library or a host registered. @throws Error 429
    ObjectRef Create(TextView className);
    /// A new object of the document layer with its password set, as the options say.
    ObjectRef Routines();
    /// The user that in-use marks name.
    Text UserName();
    /// The connect text that the document layer uses, "" for none.
    Text Connect();
    /// The password in it.
    Text Password();
    /// The default workspace of the embedded engine.
    ObjectRef Workspace();
    /// The storage itself, to look at a file page by page.
    jet::Workspace Storage();
    /// Shared; a file that is read-only opens read-only whatever is asked. @throws the engine's Error
    ObjectRef OpenDatabase(TextView path, bool readOnly);

    /// A native path of the command line as path text.
    Text PathText(const std::string& native) { return platform.files.FromNative(native); }
    /// The same for a database: a name without extension means the one with ".mdb", as it does to the engine.
    Text DatabasePath(const std::string& native);
    std::string Native(TextView path) { return platform.files.ToNative(path); }

    /// The Dutch text of a database code, lines ended as the platform does.
    std::string CodeText(std::int16_t code);
    /// Prints the text of a database code to standard error; returns the exit code.
    int ReportCode(std::int16_t code);

private:
    /// Late, as the password is an option.
    void RegisterLibrary();

    bool registered_ = false;
    std::optional<Text> connect_;
    ObjectRef engine_;
};

/// Closes a late-bound database or recordset at the end of a block; errors of closing matter only where the caller
/// calls Close itself.
class Closer
{
public:
    explicit Closer(ObjectRef object) : object_(std::move(object)) {}
    ~Closer();
    Closer(const Closer&) = delete;
    Closer& operator=(const Closer&) = delete;
    const ObjectRef& Object() const { return object_; }
    /// Closes now and lets errors out.
    void Close();

private:
    ObjectRef object_;
};

/// Text as a message of the program: no carriage returns or other control characters.
std::string Printable(TextView text);

}  // namespace vmlib::host
