#include "platform/posix/PosixProcesses.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <system_error>

#include "core/Error.h"
#include "platform/posix/CommandLine.h"
#include "platform/posix/ProgramStart.h"

namespace vmlib::posix {

namespace {

constexpr char usualPath[] = "/usr/local/bin:/usr/bin:/bin";
constexpr unsigned flushSeconds = 2;

bool IsFile(const std::string& nativePath)
{
    struct stat facts;
    return ::stat(nativePath.c_str(), &facts) == 0 && S_ISREG(facts.st_mode);
}

std::vector<std::string> PathFolders()
{
    const char* value = std::getenv("PATH");
    std::string_view rest = value ? value : usualPath;
    std::vector<std::string> folders;
    while (!rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        if (folder.starts_with('/')) folders.emplace_back(folder);
        rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    }
    return folders;
}

[[noreturn]] void ThrowNotStarted(int error, TextView program)
{
    ErrorNumber number = ErrorNumber::Internal;
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            number = ErrorNumber::FileNotFound;
            break;
        case EACCES:
        case EPERM:
        case EISDIR:
        case ENOEXEC:
        case ETXTBSY:
            number = ErrorNumber::PathFileAccess;
            break;
        case ENOMEM:
        case EAGAIN:
        case E2BIG:
            number = ErrorNumber::OutOfMemory;
            break;
        default:
            break;
    }
    const auto plain = static_cast<std::int32_t>(number);
    throw Error(plain, ErrorText(plain) + u": " + Text(program) + u" (" +
                           FromUtf8(std::generic_category().message(error)) + u")");
}

pid_t WaitIgnoringSignals(pid_t process, int options)
{
    pid_t result;
    do result = ::waitpid(process, nullptr, options);
    while (result < 0 && errno == EINTR);
    return result;
}

extern "C" void EndNow(int)
{
    std::_Exit(endedApplicationCode);
}

/// Ends the process soon, whatever the caller is stuck in by then.
void EndAfter(unsigned seconds)
{
    struct sigaction action = {};
    action.sa_handler = EndNow;
    ::sigaction(SIGALRM, &action, nullptr);
    sigset_t alarms;
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    ::pthread_sigmask(SIG_UNBLOCK, &alarms, nullptr);
    ::alarm(seconds);
}

}  // namespace

std::int32_t PosixProcesses::Start(TextView commandLine, std::int16_t)
{
    commandLine = commandLine.substr(0, commandLine.find(u'\0'));
    const std::vector<ProgramReading> readings = ProgramReadings(commandLine);
    for (const ProgramReading& reading : readings) {
        const std::string file = FindProgram(reading.program);
        if (file.empty()) continue;
        std::vector<std::string> arguments{file};
        for (const Text& argument : SplitArguments(reading.rest)) arguments.push_back(ToUtf8(argument));
        pid_t process = 0;
        if (const int error = StartProgram(file, arguments, process); error != 0)
            ThrowNotStarted(error, reading.program);
        Remember(process);
        return process;
    }
    ThrowNotStarted(ENOENT, readings.empty() ? commandLine : readings.front().program);
}

/// The native path of the file that a program's name means; "" when there is none.
std::string PosixProcesses::FindProgram(TextView program)
{
    if (program.find_first_of(u"\\/:") == TextView::npos) return FindInPath(program);
    return files_.Exists(program) ? files_.ToNative(program) : std::string();
}

std::string PosixProcesses::FindInPath(TextView name)
{
    const std::vector<std::string> folders = PathFolders();
    std::string notRunnable;
    const auto isProgram = [&](const std::string& path) {
        if (!IsFile(path)) return false;
        if (::access(path.c_str(), X_OK) == 0) return true;
        if (notRunnable.empty()) notRunnable = path;
        return false;
    };
    for (const std::string& folder : folders)
        if (std::string path = folder + "/" + ToUtf8(name); isProgram(path)) return path;
    for (const std::string& folder : folders) {
        try {
            const Text path = files_.FromNative(folder) + u"\\" + Text(name);
            if (std::string native = files_.Exists(path) ? files_.ToNative(path) : ""; isProgram(native)) return native;
        } catch (const FileError&) {
            continue;  // a folder that path text cannot say
        }
    }
    return notRunnable;
}

/// Notes a process that was started, and takes leave of those that have ended without anybody waiting for them.
void PosixProcesses::Remember(pid_t process)
{
    const std::lock_guard lock(mutex_);
    const auto hasEnded = [](pid_t other) { return WaitIgnoringSignals(other, WNOHANG) != 0; };
    started_.erase(std::remove_if(started_.begin(), started_.end(), hasEnded), started_.end());
    started_.push_back(process);
}

void PosixProcesses::WaitFor(std::int32_t process)
{
    if (process <= 0) return;  // would mean any process or a group
    // Where the host ignores the ends of its children or collects them itself, the call fails when this one is gone.
    WaitIgnoringSignals(process, 0);
    const std::lock_guard lock(mutex_);
    started_.erase(std::remove(started_.begin(), started_.end(), process), started_.end());
}

void PosixProcesses::EndApplication()
{
    // A thread that waits for input holds its stream, and a reader may not take what is printed: neither may keep the
    // application alive.
    EndAfter(flushSeconds);
    try {
        std::cout.flush();
        std::clog.flush();
    } catch (...) {
        // A stream of the host's that throws: the end comes all the same.
    }
    std::fflush(stdout);
    std::fflush(stderr);
    std::fflush(nullptr);
    std::_Exit(endedApplicationCode);
}

}  // namespace vmlib::posix
