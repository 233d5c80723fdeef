#pragma once

#include <filesystem>
#include <span>
#include <string_view>

#include "core/Values.h"
#include "platform/Files.h"

namespace vmlib::test {

/// A folder of its own that disappears, with all that is in it, at the end of the test.
///
///     TemporaryFolder folder;
///     folder.Write("a.mdb", bytes);
///     files.Open(folder.Path(u"a.mdb"), ...);
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Native() const { return native_; }
    std::filesystem::path Native(std::string_view name) const { return native_ / name; }
    /// As path text (elsewhere than on Windows on drive Z:), without "\" at the end.
    Text Path() const;
    Text Path(TextView name) const;

    void Write(std::string_view name, std::string_view bytes) const;
    std::string Read(std::string_view name) const;
    /// Sorted names of everything in it.
    std::vector<std::string> Names() const;

private:
    std::filesystem::path native_;
};

/// The whole of a file, by native path.
std::string ReadNative(const std::filesystem::path& path);
void WriteNative(const std::filesystem::path& path, std::string_view bytes);

}  // namespace vmlib::test
