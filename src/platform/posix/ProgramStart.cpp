#include "platform/posix/ProgramStart.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <csignal>

namespace vmlib::posix {

namespace {

constexpr char nothing[] = "/dev/null";

class StreamActions
{
public:
    StreamActions() { posix_spawn_file_actions_init(&actions_); }
    ~StreamActions() { posix_spawn_file_actions_destroy(&actions_); }
    StreamActions(const StreamActions&) = delete;
    StreamActions& operator=(const StreamActions&) = delete;

    int Redirect()
    {
        int error = 0;
        const bool hasErrors = ::fcntl(STDERR_FILENO, F_GETFD) != -1;
        if (!::isatty(STDIN_FILENO)) error = Open(STDIN_FILENO, O_RDONLY);
        if (error == 0 && !hasErrors) error = Open(STDERR_FILENO, O_WRONLY);
        if (error == 0 && !::isatty(STDOUT_FILENO))
            error = posix_spawn_file_actions_adddup2(&actions_, STDERR_FILENO, STDOUT_FILENO);
        return error;
    }
    const posix_spawn_file_actions_t* Get() const { return &actions_; }

private:
    int Open(int descriptor, int flags)
    {
        return posix_spawn_file_actions_addopen(&actions_, descriptor, nothing, flags, 0);
    }

    posix_spawn_file_actions_t actions_;
};

class SignalAttributes
{
public:
    SignalAttributes()
    {
        posix_spawnattr_init(&attributes_);
        sigset_t none, defaults;
        sigemptyset(&none);
        sigemptyset(&defaults);
        for (const int signal : {SIGPIPE, SIGXFSZ, SIGCHLD}) sigaddset(&defaults, signal);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &defaults);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SignalAttributes() { posix_spawnattr_destroy(&attributes_); }
    SignalAttributes(const SignalAttributes&) = delete;
    SignalAttributes& operator=(const SignalAttributes&) = delete;

    const posix_spawnattr_t* Get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

}  // namespace

int StartProgram(const std::string& file, const std::vector<std::string>& arguments, pid_t& process)
{
    StreamActions streams;
    if (const int error = streams.Redirect(); error != 0) return error;
    const SignalAttributes signals;
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    // The parameter is char* for the sake of old programs; nothing is written there.
    for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    // posix_spawn, unlike posix_spawnp, hands no file that it cannot run to a shell.
    return ::posix_spawn(&process, file.c_str(), streams.Get(), signals.Get(), pointers.data(), ::environ);
}

}  // namespace vmlib::posix
