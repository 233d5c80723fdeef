#pragma once

#include <gmock/gmock.h>

#include <fstream>

#include "automation/Collection.h"
#include "automation/Convert.h"
#include "platform/posix/PosixRegistry.h"
#include "support/TemporaryFolder.h"

namespace vmlib::registry {

/// A registry of files in a folder of its own.
class RegistryTest : public testing::Test
{
protected:
    ~RegistryTest() override { Locale::SetUser(Locale::English(), Locale::English()); }

    /// Lines below "[HKEY_CURRENT_USER\KEY]" as a person writes them.
    void WriteUserFile(const std::string& lines)
    {
        std::ofstream(paths_.user) << "Windows Registry Editor Version 5.00\n\n" << lines;
    }

    static std::vector<Variant> Items(const ObjectRef& collection)
    {
        std::vector<Variant> items;
        const std::int32_t count = ToLong(Get(collection, u"Count"));
        for (std::int32_t i = 1; i <= count; ++i) items.push_back(Get(collection, u"Item", i));
        return items;
    }

    vmlib::test::TemporaryFolder folder_;
    posix::RegistryPaths paths_{folder_.Native("user.reg").string(), folder_.Native("machine.reg").string()};
    posix::PosixRegistry store_{paths_};
};

}  // namespace vmlib::registry
