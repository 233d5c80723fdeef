#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "host/CommandLine.h"
#include "host/Program.h"
#include "platform/posix/PosixFiles.h"
#include "support/FailingFiles.h"
#include "support/FakePorts.h"
#include "support/TemporaryFolder.h"

namespace vmlib::host::test {

/// Commands inside this process, in a folder of their own with a temporary folder, over ports that fail when told to.
class CommandFixture : public testing::Test
{
protected:
    CommandFixture() { std::filesystem::create_directory(folder_.Native("tmp")); }

    std::string At(std::string_view name) const { return folder_.Native(name).string(); }

    Outcome Run(std::vector<std::string> words, const std::string& input = {})
    {
        std::istringstream in(input);
        std::ostringstream out, err;
        std::streambuf* const standardInput = std::cin.rdbuf(in.rdbuf());
        std::cin.clear();
        Platform platform = vmlib::test::PlatformOf(files_, system_, desktop_);
        ClassRegistry classes;
        Session session(platform, classes, out, err);
        CommandLine line(session);
        AddCommands(line);
        const int code = line.Run(std::move(words));
        std::cin.rdbuf(standardInput);
        return {code, out.str(), err.str()};
    }
    Outcome Must(std::vector<std::string> words, const std::string& input = {})
    {
        Outcome outcome = Run(words, input);
        EXPECT_EQ(outcome.code, 0) << words[0] << ": " << outcome.out << outcome.err;
        return outcome;
    }
    void Sql(const std::string& file, const std::string& statement) { Must({"query", file, statement}); }

    vmlib::test::TemporaryFolder folder_;
    posix::PosixFiles real_;
    vmlib::test::FailingFiles files_{real_};
    vmlib::test::FakeSystem system_{folder_.Path(u"tmp\\")};
    vmlib::test::FakeDesktop desktop_;
};

}  // namespace vmlib::host::test
