#include "windows/ports/Child.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "platform/Platform.h"
#include "platform/windows/FileLocks.h"
#include "platform/windows/Wide.h"

namespace vmlib::test {

Text ChildCommand(const std::vector<Text>& arguments)
{
    const Text self =
        windows::TextFrom([](wchar_t* into, DWORD size) { return ::GetModuleFileNameW(nullptr, into, size); });
    Text line = u"\"" + self + u"\" " + FromUtf8(childMark);
    for (const Text& argument : arguments) line += u" \"" + argument + u"\"";
    return line;
}

Child::Child(const std::vector<Text>& arguments)
{
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE readEnd = nullptr, writeEnd = nullptr;
    if (!::CreatePipe(&readEnd, &writeEnd, &inherited, 0)) throw std::runtime_error("pipe");
    output_ = windows::Handle(readEnd);
    windows::Handle childsEnd(writeEnd);
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = writeEnd;
    start.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process;
    Text line = ChildCommand(arguments);
    if (!::CreateProcessW(nullptr, reinterpret_cast<wchar_t*>(line.data()), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                          &start, &process))
        throw std::runtime_error("no child");
    ::CloseHandle(process.hThread);
    process_ = windows::Handle(process.hProcess);
    childsEnd.Close();
    DWORD count = 0;
    if (!::ReadFile(output_.Get(), &answer_, 1, &count, nullptr) || count != 1) answer_ = '?';
}

void Child::Kill()
{
    if (!process_) return;
    ::TerminateProcess(process_.Get(), 9);
    ::WaitForSingleObject(process_.Get(), INFINITE);
    process_.Close();
}

namespace {

void SayAndStay(bool isDone)
{
    std::cout << (isDone ? '+' : '-') << std::flush;
    ::Sleep(60'000);
}

int Hold(const FileOpenRequest& request, const Text& path)
{
    const auto file = NativePlatform().files.Open(path, request);
    SayAndStay(true);
    return 0;
}

int LockByte(std::uint64_t byte, const Text& path)
{
    const windows::Handle file(::CreateFileW(windows::Wide(path), GENERIC_READ | GENERIC_WRITE,
                                             FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr));
    SayAndStay(windows::TryLockByte(file.Get(), byte, true));
    return 0;
}

int WriteArguments(const std::vector<Text>& arguments)
{
    ::Sleep(200);
    std::ofstream file(ToUtf8(arguments[1]), std::ios::binary);
    for (std::size_t i = 2; i < arguments.size(); ++i) file << ToUtf8(arguments[i]) << "\n";
    return 0;
}

}  // namespace

int ChildMain(const std::vector<Text>& arguments)
{
    const Text& work = arguments.at(0);
    const auto number = [&](std::size_t i) { return std::stoull(ToUtf8(arguments.at(i))); };
    if (work == u"hold")
        return Hold({static_cast<FileAccess>(number(1)), static_cast<FileSharing>(number(2))}, arguments.at(3));
    if (work == u"lock") return LockByte(number(1), arguments.at(2));
    if (work == u"write") return WriteArguments(arguments);
    std::atexit([] { std::puts("cleaned up"); });
    std::cout << "out";
    NativePlatform().processes.EndApplication();
    return 0;
}

}  // namespace vmlib::test

int main(int argc, char** argv)
{
    using namespace vmlib;
    if (argc > 2 && argv[1] == std::string(test::childMark)) {
        // The arguments as this program writes them, each in quotes; argv has them in the code page of the system.
        std::vector<Text> arguments;
        const Text line = windows::FromWide(::GetCommandLineW());
        for (std::size_t at = line.find(FromUtf8(test::childMark)); (at = line.find(u'"', at)) != Text::npos;) {
            const std::size_t end = line.find(u'"', at + 1);
            arguments.push_back(line.substr(at + 1, end - at - 1));
            at = end + 1;
        }
        return test::ChildMain(arguments);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
