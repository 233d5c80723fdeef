#include "support/TemporaryFolder.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace vmlib::test {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder()
{
    std::random_device random;
    do native_ = fs::temp_directory_path() / ("vmlib-test-" + std::to_string(random()));
    while (!fs::create_directory(native_));
    native_ = fs::canonical(native_);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(native_, ignored);
}

Text TemporaryFolder::Path() const
{
    const Text path = Replaced(FromUtf8(native_.string()), u"/", u"\\");
    return native_.has_root_name() ? path : u"Z:" + path;
}

Text TemporaryFolder::Path(TextView name) const
{
    return Path() + u"\\" + Text(name);
}

void TemporaryFolder::Write(std::string_view name, std::string_view bytes) const
{
    WriteNative(Native(name), bytes);
}

std::string TemporaryFolder::Read(std::string_view name) const
{
    return ReadNative(Native(name));
}

std::vector<std::string> TemporaryFolder::Names() const
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(native_)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadNative(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteNative(const fs::path& path, std::string_view bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

}  // namespace vmlib::test
