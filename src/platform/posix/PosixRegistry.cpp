#include "platform/posix/PosixRegistry.h"

#include <algorithm>
#include <limits>
#include <new>

#include "platform/AnsiText.h"
#include "platform/Files.h"

namespace vmlib::posix {

namespace {

constexpr std::size_t longestPart = 255, longestValueName = 16'383;

/// A further result code of the platform, which only this store gives.
constexpr std::int32_t registryOutOfMemory = 8;

/// Ends an operation with a result code.
struct Refusal
{
    std::int32_t result;
};

std::int32_t ResultOf(FileFault fault)
{
    switch (fault) {
        case FileFault::AccessDenied:
            return registryAccessDenied;
        case FileFault::DiskFull:
            return registryDiskFull;
        case FileFault::SharingViolation:
            return registryBusy;
        default:
            return registryIoFailed;
    }
}

KeyPath PartsOfName(TextView path)
{
    const Text name = AnsiText(path);
    if (name.starts_with(u'\\')) throw Refusal{registryBadPath};
    return PartsOf(name);
}

void CheckNewKey(const KeyPath& path)
{
    const auto isTooLong = [](const Text& part) { return part.size() > longestPart; };
    if (std::any_of(path.begin(), path.end(), isTooLong) || path.size() > greatestDepth ||
        !RegistryText::CanBeKeyPath(path))
        throw Refusal{registryInvalidParameter};
}

/// The key, none for a root that nothing is said of.
std::optional<std::size_t> Locate(OpenKeyFacts& key, const RegistryTree& tree)
{
    const auto found = tree.Find(key.path);
    if (key.isRoot) return found;
    if (!found) key.isDeleted = true;
    if (key.isDeleted) throw Refusal{registryKeyDeleted};
    return found;
}

void CopyData(const std::string& data, std::span<char> room, std::uint32_t& size)
{
    size = static_cast<std::uint32_t>(data.size());
    if (data.size() > room.size()) throw Refusal{registryMoreData};
    std::copy(data.begin(), data.end(), room.begin());
}

void CopyName(const Text& from, std::size_t room, Text& name)
{
    Text ansi = FromAnsi(ToAnsi(from));
    if (ansi.size() >= room) throw Refusal{registryMoreData};
    name = std::move(ansi);
}

}  // namespace

PosixRegistry::PosixRegistry(RegistryPaths paths)
    : user_(std::move(paths.user), u"HKEY_CURRENT_USER", {0600, 0700}),
      machine_(std::move(paths.machine), u"HKEY_LOCAL_MACHINE", {0644, 0755}),
      userRoot_{&user_, {}, registryAllAccess, true},
      machineRoot_{&machine_, {}, registryAllAccess, true},
      classesRoot_{&machine_, {u"SOFTWARE", u"Classes"}, registryAllAccess, true}
{
}

PosixRegistry::~PosixRegistry() = default;

template <class Work>
std::int32_t PosixRegistry::Answer(Work work)
{
    const std::lock_guard lock(mutex_);
    try {
        work();
        return registryDone;
    } catch (const Refusal& refusal) {
        return refusal.result;
    } catch (const RegistryDamage&) {
        return registryDamaged;
    } catch (const FileError& error) {
        return ResultOf(error.Fault());
    } catch (const std::bad_alloc&) {
        return registryOutOfMemory;
    } catch (...) {
        return registryIoFailed;  // what a provided value may throw
    }
}

OpenKeyFacts* PosixRegistry::FindRoot(RegistryHandle root)
{
    if (root == currentUser) return &userRoot_;
    if (root == localMachine) return &machineRoot_;
    return root == classesRoot ? &classesRoot_ : nullptr;
}

OpenKeyFacts& PosixRegistry::KeyOf(RegistryHandle handle)
{
    OpenKeyFacts* key = FindRoot(handle);
    if (!key) key = handles_.Find(handle);
    if (!key) throw Refusal{registryInvalidHandle};
    return *key;
}

OpenKeyFacts& PosixRegistry::KeyOf(RegistryHandle handle, std::uint32_t access)
{
    OpenKeyFacts& key = KeyOf(handle);
    if ((key.access & access) == 0) throw Refusal{registryAccessDenied};
    return key;
}

/// The key of that path; whether there is one the caller must see.
OpenKeyFacts PosixRegistry::Below(RegistryHandle handle, TextView path)
{
    OpenKeyFacts key = KeyOf(handle);
    for (Text& part : PartsOfName(path)) {
        key.path.push_back(std::move(part));
        key.isRoot = false;
    }
    return key;
}

std::int32_t PosixRegistry::OpenKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened)
{
    return Answer([&] {
        OpenKeyFacts& base = KeyOf(key);
        OpenKeyFacts wanted = Below(key, path);
        const RegistryTree& tree = base.file->Look().Tree();
        Locate(base, tree);
        if (wanted.isRoot) {  // as the platform does
            opened = key;
            return;
        }
        if (!tree.Find(wanted.path)) throw Refusal{registryNotFound};
        wanted.access = access;
        opened = handles_.Add(std::move(wanted));
    });
}

std::int32_t PosixRegistry::CreateKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened)
{
    return Answer([&] {
        OpenKeyFacts& base = KeyOf(key);
        OpenKeyFacts wanted = Below(key, path);
        base.file->Change([&](const RegistryText& text) -> std::optional<std::string> {
            Locate(base, text.Tree());
            if (wanted.isRoot || text.Tree().Find(wanted.path)) return std::nullopt;
            CheckNewKey(wanted.path);
            return text.WithKey(wanted.path);
        });
        if (wanted.isRoot) {
            opened = key;
            return;
        }
        wanted.access = access;
        opened = handles_.Add(std::move(wanted));
    });
}

std::int32_t PosixRegistry::CloseKey(RegistryHandle key)
{
    return Answer([&] {
        if (!FindRoot(key) && !handles_.Remove(key)) throw Refusal{registryInvalidHandle};
    });
}

std::int32_t PosixRegistry::DeleteKey(RegistryHandle key, TextView path)
{
    return Answer([&] {
        OpenKeyFacts& base = KeyOf(key);
        const KeyPath parts = PartsOfName(path);
        if (parts.empty()) throw Refusal{registryAccessDenied};
        const KeyPath wanted = Below(key, path).path;
        base.file->Change([&](const RegistryText& text) {
            Locate(base, text.Tree());
            const auto found = text.Tree().Find(wanted);
            if (!found) throw Refusal{registryNotFound};
            const RegistryTree::Key& facts = text.Tree().At(*found);
            // Without a section it is there because the platform provides values in it.
            if (!facts.children.empty() || facts.sections.empty()) throw Refusal{registryAccessDenied};
            return std::optional(text.WithoutKey(*found));
        });
        if (!base.file->Look().Tree().Find(wanted)) handles_.MarkDeleted(*base.file, wanted);
    });
}

std::int32_t PosixRegistry::DeleteValue(RegistryHandle key, TextView name)
{
    return Answer([&] {
        OpenKeyFacts& facts = KeyOf(key, registrySet);
        facts.file->Change([&](const RegistryText& text) {
            const auto found = Locate(facts, text.Tree());
            const RegistryTree::Value* value = found ? text.Tree().FindValue(*found, AnsiText(name)) : nullptr;
            if (!value) throw Refusal{registryNotFound};
            if (value->places.empty()) throw Refusal{registryAccessDenied};  // provided
            return std::optional(text.WithoutValue(*value));
        });
    });
}

std::int32_t PosixRegistry::SetValue(RegistryHandle key, TextView name, std::uint32_t type, const std::string& data)
{
    return Answer([&] {
        OpenKeyFacts& facts = KeyOf(key, registrySet);
        const Text valueName = AnsiText(name);
        if (valueName.size() > longestValueName) throw Refusal{registryInvalidParameter};
        const StoredValue stored = ValueOfAnsi(type, data);
        facts.file->Change([&](const RegistryText& text) -> std::optional<std::string> {
            const auto found = Locate(facts, text.Tree());
            const RegistryTree::Value* old = found ? text.Tree().FindValue(*found, valueName) : nullptr;
            if (old && !old->places.empty() && old->stored == stored) return std::nullopt;
            return text.WithValue(facts.path, valueName, stored);
        });
    });
}

std::string PosixRegistry::DataOf(const RegistryFile& file, const RegistryTree::Value& value, std::uint32_t& type) const
{
    const StoredValue stored = value.places.empty() ? ValueOfText(file.Provided(value)) : value.stored;
    type = stored.type;
    return AnsiOfValue(stored);
}

std::int32_t PosixRegistry::QueryValue(RegistryHandle key, TextView name, std::uint32_t& type, std::span<char> room,
                                       std::uint32_t& size)
{
    return Answer([&] {
        OpenKeyFacts& facts = KeyOf(key, registryQuery);
        const RegistryTree& tree = facts.file->Look().Tree();
        const auto found = Locate(facts, tree);
        const RegistryTree::Value* value = found ? tree.FindValue(*found, AnsiText(name)) : nullptr;
        if (!value) throw Refusal{registryNotFound};
        const std::string data = DataOf(*facts.file, *value, type);
        size = static_cast<std::uint32_t>(data.size());
        if (!room.empty()) CopyData(data, room, size);
    });
}

std::int32_t PosixRegistry::EnumKey(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name)
{
    return Answer([&] {
        OpenKeyFacts& facts = KeyOf(key, registryEnumerate);
        const RegistryTree& tree = facts.file->Look().Tree();
        const auto found = Locate(facts, tree);
        if (!found || index >= tree.At(*found).children.size()) throw Refusal{registryNoMoreItems};
        CopyName(tree.At(tree.At(*found).children[index]).name, nameRoom, name);
    });
}

std::int32_t PosixRegistry::EnumValue(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name,
                                      std::uint32_t& type, std::span<char> room, std::uint32_t& size)
{
    return Answer([&] {
        OpenKeyFacts& facts = KeyOf(key, registryEnumerate | registryQuery);
        const RegistryTree& tree = facts.file->Look().Tree();
        const auto found = Locate(facts, tree);
        if (!found || index >= tree.At(*found).values.size()) throw Refusal{registryNoMoreItems};
        const RegistryTree::Value& value = tree.At(*found).values[index];
        const std::string data = DataOf(*facts.file, value, type);
        CopyData(data, room, size);
        CopyName(value.name, nameRoom, name);
    });
}

void PosixRegistry::Provide(RegistryHandle root, TextView path, TextView name, std::function<Text()> value)
{
    Answer([&] {
        const OpenKeyFacts key = Below(root, path);
        key.file->Provide({key.path, AnsiText(name), std::move(value)});
    });
}

Text PosixRegistry::Describe(RegistryHandle root)
{
    Text description;
    Answer([&] {
        RegistryFile& file = *KeyOf(root).file;
        description = FromUtf8(file.Path());
        try {
            file.Look();
        } catch (const RegistryDamage& damage) {
            description +=
                u", line " + Decimal(static_cast<long long>(damage.Line())) + u": " + FromUtf8(damage.what());
        } catch (const FileError&) {
            return;  // what there is to say of it the result codes say
        }
    });
    return description;
}

}  // namespace vmlib::posix
