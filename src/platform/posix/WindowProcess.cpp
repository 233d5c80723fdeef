#include "platform/posix/WindowProcess.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>

#include "platform/WindowToolkit.h"
#include "platform/posix/ChildWork.h"

namespace vmlib::posix {

namespace {

constexpr unsigned slowScreen = 30;  // seconds, once it has answered: it may be at the end of a slow line
static_assert(screenLostEarly == tryAgainCode);

constexpr char libraryName[] = "vmlib_window.so";

/// The folder of the program or library that this code is part of.
std::filesystem::path OwnFolder()
{
    Dl_info info;
    link_map* loaded = nullptr;
    const auto known = ::dladdr1(libraryName, &info, reinterpret_cast<void**>(&loaded), RTLD_DL_LINKMAP);
    const bool isLibrary = known != 0 && loaded && *loaded->l_name;  // the program itself has no name there
    return std::filesystem::canonical(isLibrary ? loaded->l_name : "/proc/self/exe").parent_path();
}

void* LoadLibrary()
{
    const std::filesystem::path folder = OwnFolder();
    for (const auto& path : {folder / libraryName, folder.parent_path() / "lib" / "vmlib" / libraryName})
        if (void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return library;
    return nullptr;
}

WindowToolkit* OpenToolkit()
{
    void* const library = LoadLibrary();
    if (!library) return nullptr;
    const auto open = reinterpret_cast<OpenWindowToolkit>(::dlsym(library, openWindowToolkitName));
    return open ? open([] { SetTimeLimit(slowScreen); }) : nullptr;
}

}  // namespace

std::optional<std::int32_t> ShowInWindow(const Desktop::Layouter& layOut)
{
    return ResultOfChild([&layOut]() -> std::optional<std::int32_t> {
        WindowToolkit* const toolkit = OpenToolkit();
        if (!toolkit) return std::nullopt;
        return toolkit->Show(layOut(*toolkit), [] { SetTimeLimit(0); });
    });
}

std::optional<TwipsPoint> AskScreenTwips()
{
    return ResultOfChild([]() -> std::optional<TwipsPoint> {
        WindowToolkit* const toolkit = OpenToolkit();
        if (!toolkit) return std::nullopt;
        const Size screen = toolkit->ScreenSize();
        const TwipsPoint twips = toolkit->TwipsPerPixel();
        return TwipsPoint{screen.width * twips.x, screen.height * twips.y};
    });
}

}  // namespace vmlib::posix
