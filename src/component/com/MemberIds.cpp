#include "component/com/MemberIds.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "automation/MemberTable.h"

namespace vmlib::com {

namespace {

constexpr TextView enumeratorName = u"_NewEnum";
constexpr DISPID firstAskedFor = 0x10000;

/// Names that objects without a member table were asked for.
struct AskedFor
{
    std::mutex mutex;
    std::vector<Text> names;

    static AskedFor& OfProcess()
    {
        static AskedFor instance;
        return instance;
    }
};

DISPID Ask(TextView name)
{
    AskedFor& asked = AskedFor::OfProcess();
    const std::lock_guard lock(asked.mutex);
    const auto found = std::find_if(asked.names.begin(), asked.names.end(),
                                    [&](const Text& other) { return EqualIgnoringCase(other, name); });
    const auto place = found - asked.names.begin();
    if (found == asked.names.end()) asked.names.emplace_back(name);
    return firstAskedFor + static_cast<DISPID>(place);
}

std::optional<Text> Asked(DISPID id)
{
    AskedFor& asked = AskedFor::OfProcess();
    const std::lock_guard lock(asked.mutex);
    const auto place = static_cast<std::size_t>(id) - firstAskedFor;
    return id >= firstAskedFor && place < asked.names.size() ? std::optional(asked.names[place]) : std::nullopt;
}

}  // namespace

DISPID MemberIds::IdIn(const MemberTable& table, TextView name)
{
    const auto& members = table.Members();
    const auto named = [&](const MemberInfo& member) { return EqualIgnoringCase(member.name, name); };
    const auto isDefault = [&](const MemberInfo& member) { return named(member) && member.isDefault; };
    if (EqualIgnoringCase(name, enumeratorName)) return DISPID_NEWENUM;
    if (std::any_of(members.begin(), members.end(), isDefault)) return DISPID_VALUE;
    return 1 + static_cast<DISPID>(std::find_if(members.begin(), members.end(), named) - members.begin());
}

std::optional<DISPID> MemberIds::IdOf(const Object& object, TextView name)
{
    const MemberTable* const table = object.TableOfMembers();
    if (!table) return Ask(name);
    const bool isThere = table->Find(name, InvokeKind::MethodOrGet) || table->Find(name, InvokeKind::Put);
    return isThere ? std::optional(IdIn(*table, name)) : std::nullopt;
}

std::optional<Text> MemberIds::NameOf(const Object& object, DISPID id)
{
    if (id == DISPID_VALUE) return Text();
    if (id == DISPID_NEWENUM) return Text(enumeratorName);
    const MemberTable* const table = object.TableOfMembers();
    if (!table) return Asked(id);
    const auto place = static_cast<std::size_t>(id) - 1;
    return id > 0 && place < table->Members().size() ? std::optional(table->Members()[place].name) : std::nullopt;
}

}  // namespace vmlib::com
