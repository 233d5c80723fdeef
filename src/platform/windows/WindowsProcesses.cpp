#include "platform/windows/WindowsProcesses.h"

#include <cstdio>
#include <iostream>

#include "core/Error.h"
#include "platform/windows/Wide.h"

namespace vmlib::windows {

namespace {

constexpr std::size_t longestCommandLine = 32'766;

ErrorNumber NumberOf(DWORD error)
{
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_NAME:
        case ERROR_INVALID_DRIVE:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
            return ErrorNumber::FileNotFound;
        case ERROR_NOT_ENOUGH_MEMORY:
        case ERROR_OUTOFMEMORY:
        case ERROR_COMMITMENT_LIMIT:
            return ErrorNumber::OutOfMemory;
        default:  // rights, no program, one of another machine, one that asks for an administrator
            return ErrorNumber::PathFileAccess;
    }
}

}  // namespace

std::int32_t WindowsProcesses::Start(TextView commandLine, std::int16_t windowStyle)
{
    Text line(commandLine.substr(0, commandLine.find(u'\0')));  // the function writes into it
    const bool isBlank = line.find_first_not_of(u" \t") == Text::npos;
    if (isBlank || line.size() > longestCommandLine)
        throw Error(isBlank ? ErrorNumber::FileNotFound : ErrorNumber::OutOfMemory);
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESHOWWINDOW;
    start.wShowWindow = static_cast<WORD>(windowStyle);
    PROCESS_INFORMATION process;
    if (!::CreateProcessW(nullptr, reinterpret_cast<wchar_t*>(line.data()), nullptr, nullptr, FALSE, 0, nullptr,
                          nullptr, &start, &process)) {
        const auto number = static_cast<std::int32_t>(NumberOf(::GetLastError()));
        throw Error(number, ErrorText(number) + u": " + Text(commandLine));
    }
    ::CloseHandle(process.hThread);
    const auto id = static_cast<std::int32_t>(process.dwProcessId);
    const std::lock_guard lock(mutex_);
    std::erase_if(started_,
                  [](const auto& entry) { return ::WaitForSingleObject(entry.second->Get(), 0) == WAIT_OBJECT_0; });
    started_[id] = std::make_shared<Handle>(process.hProcess);
    return id;
}

void WindowsProcesses::WaitFor(std::int32_t process)
{
    std::shared_ptr<Handle> waited;
    {
        const std::lock_guard lock(mutex_);
        const auto found = started_.find(process);
        if (found == started_.end()) return;  // none of ours, or ended before the last one was started
        waited = found->second;
    }
    ::WaitForSingleObject(waited->Get(), INFINITE);
}

void WindowsProcesses::EndApplication()
{
    try {
        std::cout.flush();
        std::clog.flush();
    } catch (...) {
        // A stream of the host's that throws: the end comes all the same.
    }
    std::fflush(nullptr);
    // ExitProcess would call into every DLL of the host, which is the clean-up that is not wanted.
    ::TerminateProcess(::GetCurrentProcess(), endedApplicationCode);
    for (;;) ::Sleep(INFINITE);
}

}  // namespace vmlib::windows
