#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/posix/PosixFiles.h"
#include "support/FailingFiles.h"
#include "support/FakePorts.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {

/// Text values as bytes, by root, key path and name; any key can be opened.
class ByteRegistry : public NoRegistry
{
public:
    std::map<std::tuple<RegistryHandle, Text, Text>, std::string> values;
    int opened = 0;  // how often a key was asked for

    std::int32_t OpenKey(RegistryHandle root, TextView path, std::uint32_t, RegistryHandle& handle) override
    {
        key_ = std::pair(root, Text(path));
        handle = ++opened;
        return registryDone;
    }
    std::int32_t QueryValue(RegistryHandle, TextView name, std::uint32_t& type, std::span<char> room,
                            std::uint32_t& size) override
    {
        const auto found = values.find({key_.first, key_.second, Text(name)});
        if (found == values.end()) return registryNotFound;
        type = registryText;
        size = static_cast<std::uint32_t>(found->second.size());
        std::copy_n(found->second.begin(), std::min(room.size(), found->second.size()), room.begin());
        return registryDone;
    }

private:
    std::pair<RegistryHandle, Text> key_;
};

/// Real files, whose properties and names are the test's.
class ScriptedFiles : public FailingFiles
{
public:
    using FailingFiles::FailingFiles;
    std::optional<FileProperties> properties;
    std::optional<Text> shortPath, networkName;
    bool networkFails = false;
    Text askedDrive;

    FileProperties Properties(TextView path) override
    {
        return properties ? *properties : throw FileError(FileFault::NotFound, path);
    }
    std::optional<Text> ShortPath(TextView) override { return shortPath; }
    std::optional<Text> NetworkName(TextView drive) override
    {
        askedDrive = drive;
        return networkFails ? throw FileError(FileFault::Io, drive) : networkName;
    }
};

class ScriptedPlatform : public testing::Test
{
protected:
    TemporaryFolder folder_;
    posix::PosixFiles real_;
    ScriptedFiles files_{real_};
    FakeSystem system_;
    FakeDesktop desktop_;
    ByteRegistry registry_;
    FakeProcesses processes_;
    Platform platform_{files_, system_, desktop_, registry_, processes_};
};

}  // namespace vmlib::test
