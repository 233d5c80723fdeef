#include <ostream>

#include "automation/Convert.h"
#include "core/ByteOrder.h"
#include "host/Arguments.h"
#include "host/CommandLine.h"
#include "host/Json.h"
#include "host/ValueText.h"

// settings: the settings of the packages. Values are read and written by the members of the class Registry; what there
// is to list is asked of the store itself, as the members stop at a value that is too long for them.
namespace vmlib::host {

namespace {

struct SettingsArguments
{
    std::string package, section, name, value, type;
    bool machine = false;
};

/// A value as it is stored.
struct Setting
{
    Text section, name;
    std::uint32_t type = 0;
    std::string data;
};

/// The settings of one package under one root.
class PackageSettings
{
public:
    PackageSettings(Session& session, const SettingsArguments& arguments)
        : session_(session),
          user_(!arguments.machine),
          package_(FromUtf8(arguments.package)),
          registry_(session.Create(u"Registry"))
    {
        if (package_.empty()) throw UsageError{"PACKAGE is empty"};
    }

    /// Calls a member that begins with root, package and section, and says what went wrong with it.
    template <class... Arguments>
    Variant CallMember(TextView member, const Text& section, const Arguments&... arguments)
    {
        const std::int16_t user = user_;
        Variant result = Call(registry_, member, user, package_, section, arguments...);
        session_.registry.ThrowFailure(Root());
        return result;
    }

    /// A stored value; nothing when there is none.
    std::optional<Setting> Find(const Text& section, const Text& name)
    {
        RegistryHandle key = 0;
        Setting setting{section, name, 0, {}};
        std::uint32_t size = 0;
        std::int32_t result = session_.registry.OpenKey(Root(), KeyPath(section), registryQuery, key);
        if (result == registryDone) result = session_.registry.QueryValue(key, name, setting.type, {}, size);
        setting.data.resize(size);
        if (result == registryDone) result = session_.registry.QueryValue(key, name, setting.type, setting.data, size);
        session_.registry.CloseKey(key);
        session_.registry.ThrowFailure(Root());
        return result == registryDone ? std::optional(setting) : std::nullopt;
    }

    bool HasSection(const Text& section)
    {
        RegistryHandle key = 0;
        const std::int32_t result = session_.registry.OpenKey(Root(), KeyPath(section), registryQuery, key);
        session_.registry.CloseKey(key);
        session_.registry.ThrowFailure(Root());
        return result == registryDone;
    }

    std::vector<Setting> List(const Text& section)
    {
        constexpr std::size_t longestName = 16384;
        RegistryHandle key = 0;
        std::vector<Setting> settings;
        session_.registry.OpenKey(Root(), KeyPath(section), registryQuery | registryEnumerate, key);
        std::string data(4096, '\0');
        Setting found{section, {}, 0, {}};
        for (std::uint32_t i = 0;;) {
            std::uint32_t size = 0;
            const std::int32_t result =
                session_.registry.EnumValue(key, i, longestName, found.name, found.type, data, size);
            if (result == registryMoreData && size > data.size()) {
                data.resize(size);
                continue;
            }
            if (result != registryDone) break;
            found.data = data.substr(0, size);
            settings.push_back(found);
            ++i;
        }
        session_.registry.CloseKey(key);
        session_.registry.ThrowFailure(Root());
        return settings;
    }

    std::vector<Text> Sections(const Text& section)
    {
        constexpr std::size_t longestName = 256;
        RegistryHandle key = 0;
        std::vector<Text> names;
        session_.registry.OpenKey(Root(), KeyPath(section), registryEnumerate, key);
        Text name;
        for (std::uint32_t i = 0; session_.registry.EnumKey(key, i, longestName, name) == registryDone; ++i)
            names.push_back(section.empty() ? name : section + u"\\" + name);
        session_.registry.CloseKey(key);
        session_.registry.ThrowFailure(Root());
        return names;
    }

private:
    RegistryHandle Root() const { return user_ ? currentUser : localMachine; }
    Text KeyPath(const Text& section) { return ToText(Call(registry_, u"VMDKeyNaam", package_, section)); }

    Session& session_;
    bool user_;
    Text package_;
    ObjectRef registry_;
};

Text StoredText(const Setting& setting)
{
    const Text text = FromAnsi(setting.data);
    return text.ends_with(u'\0') ? text.substr(0, text.size() - 1) : text;
}

bool IsNumber(const Setting& setting)
{
    return setting.type == registryNumber && setting.data.size() == sizeof(std::int32_t);
}

std::string TypeName(const Setting& setting)
{
    if (setting.type == registryText) return "string";
    if (IsNumber(setting)) return "long";
    return "type " + std::to_string(setting.type);
}

/// Text and numbers as they are, bytes of another type in hexadecimal.
Json ValueOf(const Setting& setting)
{
    if (setting.type == registryText) return ToUtf8(StoredText(setting));
    if (IsNumber(setting)) return LoadLittle<std::int32_t>(reinterpret_cast<const std::uint8_t*>(setting.data.data()));
    return ToHex(setting.data);
}

std::string PlainText(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : ToLine(value);
}

void PrintJson(Session& session, const Setting& setting, const std::string& type, const Json& value)
{
    const Json line = {
        {"section", ToUtf8(setting.section)}, {"name", ToUtf8(setting.name)}, {"type", type}, {"value", value}};
    session.out << ToLine(line) << "\n";
}

void PrintSection(Session& session, PackageSettings& settings, const Text& section)
{
    const auto values = settings.List(section);
    if (!session.options.json && !section.empty()) session.out << "[" << Printable(section) << "]\n";
    for (const Setting& setting : values) {
        if (session.options.json)
            PrintJson(session, setting, TypeName(setting), ValueOf(setting));
        else
            session.out << Printable(setting.name) << "=" << Printable(FromUtf8(PlainText(ValueOf(setting)))) << "\n";
    }
    for (const Text& below : settings.Sections(section)) PrintSection(session, settings, below);
}

int Missing(Session& session, const std::string& what)
{
    session.err << what << " is not there\n";
    return exitSomeFailed;
}

int List(Session& session, const SettingsArguments& arguments)
{
    PackageSettings settings(session, arguments);
    const Text section = FromUtf8(arguments.section);
    if (!settings.HasSection(section)) return Missing(session, section.empty() ? "the package" : "the section");
    PrintSection(session, settings, section);
    return exitDone;
}

/// The value as the library reads it for a caller who wants this type.
Json ReadAs(PackageSettings& settings, const std::string& type, const Text& section, const Text& name)
{
    if (type == "long") return ToLong(settings.CallMember(u"RegGetLng", section, name, std::int32_t{0}));
    if (type == "double") return ToDouble(settings.CallMember(u"RegGetDbl", section, name, 0.0));
    if (type == "bool") return ToBoolean(settings.CallMember(u"RegGetBool", section, name, false));
    return ToUtf8(ToText(settings.CallMember(u"RegGetStr", section, name, Text())));
}

int GetSetting(Session& session, const SettingsArguments& arguments)
{
    PackageSettings settings(session, arguments);
    const auto setting = settings.Find(FromUtf8(arguments.section), FromUtf8(arguments.name));
    if (!setting) return Missing(session, "the value");
    const bool asStored = arguments.type.empty();
    const Json value = asStored ? ValueOf(*setting) : ReadAs(settings, arguments.type, setting->section, setting->name);
    if (session.options.json)
        PrintJson(session, *setting, asStored ? TypeName(*setting) : arguments.type, value);
    else
        session.out << PlainText(value) << "\n";
    return exitDone;
}

/// Text that would come back as another one is refused.
Text StorableText(const std::string& utf8)
{
    const Text text = FromUtf8(utf8);
    if (!FitsAnsi(text)) throw UsageError{"\"" + utf8 + "\" has characters that code page 1252 does not have"};
    return text;
}

int SetSetting(Session& session, const SettingsArguments& arguments)
{
    struct Writer
    {
        TextView member;
        const char* prefix;  // of the value as an argument of `call`
    };
    static const std::map<std::string, Writer> writers = {{"", {u"RegSetStr", "s:"}},
                                                          {"string", {u"RegSetStr", "s:"}},
                                                          {"long", {u"RegSetLng", "l:"}},
                                                          {"double", {u"RegSetDbl", "d:"}},
                                                          {"bool", {u"RegSetBool", "b:"}}};
    const Writer& writer = writers.at(arguments.type);
    StorableText(arguments.value);
    PackageSettings settings(session, arguments);
    settings.CallMember(writer.member, StorableText(arguments.section), StorableText(arguments.name),
                        ParseArgument(writer.prefix + arguments.value));
    return exitDone;
}

int DeleteSetting(Session& session, const SettingsArguments& arguments)
{
    PackageSettings settings(session, arguments);
    const Text section = FromUtf8(arguments.section);
    if (!arguments.name.empty()) {
        const Text name = FromUtf8(arguments.name);
        if (!settings.Find(section, name)) return Missing(session, "the value");
        settings.CallMember(u"RegDelReg", section, name);
        return exitDone;
    }
    if (!settings.HasSection(section)) return Missing(session, section.empty() ? "the package" : "the section");
    if (!settings.Sections(section).empty()) {
        session.err << "it has sections of its own: delete them first\n";
        return exitError;
    }
    settings.CallMember(u"RegDelReg", section);
    return exitDone;
}

}  // namespace

void AddSettingsCommand(CommandLine& line)
{
    auto arguments = std::make_shared<SettingsArguments>();
    Session& session = line.TheSession();
    CLI::App& group = line.AddGroup("settings", "vmlib settings set Planner Opties Kleur rood",
                                    "Settings of the packages, of the user or of the machine.");

    CLI::App& list = line.AddTo(group, "list", "vmlib settings list Planner --json",
                                "Prints the settings of a package or of one section and those below it.",
                                [=, &session] { return List(session, *arguments); });
    list.add_option("package", arguments->package)->required();
    list.add_option("section", arguments->section);

    CLI::App& get = line.AddTo(group, "get", "vmlib settings get Planner Opties Kleur",
                               "Prints one setting; exit code 1 when it is not there.",
                               [=, &session] { return GetSetting(session, *arguments); });
    CLI::App& set = line.AddTo(group, "set", "vmlib settings set Planner Opties Marge 2.5 --type double",
                               "Writes one setting; its section is made when it is missing.", [=, &line, &session] {
                                   if (line.TextArguments().size() != 1) throw UsageError{"one VALUE is required"};
                                   arguments->value = line.TextArguments().front();
                                   return SetSetting(session, *arguments);
                               });
    for (CLI::App* command : {&get, &set}) {
        command->add_option("package", arguments->package)->required();
        command->add_option("section", arguments->section, "\"\" for a value of the package itself")->required();
        command->add_option("name", arguments->name)->required();
        command->add_option("--type", arguments->type, "string, long, double or bool")
            ->check(CLI::IsMember({"string", "long", "double", "bool"}));
    }
    set.footer("VALUE stands behind NAME and is text, whatever it looks like; numbers have a point.");

    CLI::App& remove = line.AddTo(group, "delete", "vmlib settings delete Planner Opties Kleur",
                                  "Deletes one setting, a section, or a package without sections.",
                                  [=, &session] { return DeleteSetting(session, *arguments); });
    remove.add_option("package", arguments->package)->required();
    remove.add_option("section", arguments->section);
    remove.add_option("name", arguments->name);

    for (CLI::App* command : {&list, &get, &set, &remove}) {
        command->add_flag("--machine", arguments->machine, "the machine's settings instead of the user's");
        line.TakesJson(*command);
    }
}

}  // namespace vmlib::host
