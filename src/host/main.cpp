#include <exception>
#include <iostream>

#include "automation/Locale.h"
#include "host/CommandLine.h"

int main(int count, char** words)
{
    using namespace vmlib;
    using namespace vmlib::host;
    try {
        std::ios::sync_with_stdio(false);
        Platform& platform = NativePlatform();
        Locale::SetUser(Locale::Named(platform.system.NumberLocaleName()),
                        Locale::Named(platform.system.DateLocaleName()));
        Session session(platform, ClassRegistry::Process(), std::cout, std::cerr);
        CommandLine line(session);
        AddCommands(line);
        return line.Run({words + 1, words + count});
    } catch (const std::exception& error) {
        std::cerr << "error 51: " << error.what() << "\n";
        return exitError;
    }
}
