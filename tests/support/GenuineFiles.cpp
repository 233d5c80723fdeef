#include "support/GenuineFiles.h"

#include <cstdlib>

namespace vmlib::test {

std::optional<std::filesystem::path> GenuineFile(std::string_view name)
{
    namespace fs = std::filesystem;
    const char* folder = std::getenv("VMLIB_GENUINE_FILES");
    const fs::path source(__FILE__);  // tests/support/GenuineFiles.cpp
    const fs::path tree = source.parent_path().parent_path().parent_path();
    const fs::path path = (folder && *folder ? fs::path(folder) : tree.parent_path() / "shared" / "jet") / name;
    return fs::exists(path) ? std::optional(path) : std::nullopt;
}

}  // namespace vmlib::test
