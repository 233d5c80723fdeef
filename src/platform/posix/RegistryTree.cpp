#include "platform/posix/RegistryTree.h"

#include <algorithm>
#include <functional>

namespace vmlib::posix {

KeyPath PartsOf(TextView path)
{
    KeyPath parts;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(u'\\'), path.size());
        if (end > 0) parts.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return parts;
}

bool IsSamePath(const KeyPath& left, const KeyPath& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), EqualIgnoringCase);
}

std::size_t RegistryTree::PlacedNameHash::operator()(const PlacedName& name) const
{
    return std::hash<TextView>()(name.upper) ^ (name.key * 0x9E3779B97F4A7C15u);
}

std::size_t RegistryTree::Make(const KeyPath& path)
{
    std::size_t key = 0;
    for (const Text& part : path) {
        const auto [found, isNew] = keyIndex_.try_emplace({key, UpperCase(part)}, keys_.size());
        if (isNew) {
            keys_.emplace_back();
            keys_.back().name = part;
            keys_.back().parent = key;
            keys_[key].children.push_back(found->second);
        }
        key = found->second;
    }
    return key;
}

std::optional<std::size_t> RegistryTree::Find(const KeyPath& path) const
{
    std::size_t key = 0;
    for (const Text& part : path) {
        const auto found = keyIndex_.find({key, UpperCase(part)});
        if (found == keyIndex_.end()) return std::nullopt;
        key = found->second;
    }
    return key;
}

KeyPath RegistryTree::Spelled(const KeyPath& path) const
{
    KeyPath spelled = path;
    std::size_t key = 0;
    for (Text& part : spelled) {
        const auto found = keyIndex_.find({key, UpperCase(part)});
        if (found == keyIndex_.end()) break;
        key = found->second;
        part = keys_[key].name;
    }
    return spelled;
}

RegistryTree::Value& RegistryTree::MakeValue(std::size_t key, TextView name)
{
    std::vector<Value>& values = keys_[key].values;
    const auto [found, isNew] = valueIndex_.try_emplace({key, UpperCase(name)}, values.size());
    if (isNew) values.emplace_back().name = name;
    return values[found->second];
}

const RegistryTree::Value* RegistryTree::FindValue(std::size_t key, TextView name) const
{
    const auto found = valueIndex_.find({key, UpperCase(name)});
    return found == valueIndex_.end() ? nullptr : &keys_[key].values[found->second];
}

void RegistryTree::Sort()
{
    std::vector<Text> upper(keys_.size());
    for (const auto& [name, key] : keyIndex_) upper[key] = name.upper;
    for (Key& key : keys_)
        std::sort(key.children.begin(), key.children.end(),
                  [&](std::size_t left, std::size_t right) { return upper[left] < upper[right]; });
}

}  // namespace vmlib::posix
