#include <algorithm>
#include <cmath>
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

/// Text of the command line for the store. What code page 1252 does not have would reach another name, or come back as
/// other text.
Text StorableText(const std::string& utf8)
{
    Text text = FromUtf8(utf8);
    if (!FitsAnsi(text)) throw UsageError{"\"" + utf8 + "\" has characters that code page 1252 does not have"};
    return text;
}

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
          package_(StorableText(arguments.package)),
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

    /// A stored value under its own name; nothing when there is none.
    std::optional<Setting> Find(const Text& section, const Text& name)
    {
        for (Setting& setting : List(section))
            if (EqualIgnoringCase(setting.name, name)) return std::move(setting);
        return std::nullopt;
    }

    bool HasSection(const Text& section)
    {
        return WithKey(section, [](RegistryHandle) {});
    }

    /// The values of a section.
    std::vector<Setting> List(const Text& section)
    {
        constexpr std::size_t longestName = 16384;
        std::vector<Setting> settings;
        Setting found{Spelled(section), {}, 0, {}};
        std::string data(4096, '\0');
        WithKey(section, [&](RegistryHandle key) {
            std::int32_t result = registryDone;
            for (std::uint32_t i = 0; result == registryDone; ++i) {
                std::uint32_t size = 0;
                const auto ask = [&] {
                    return session_.registry.EnumValue(key, i, longestName, found.name, found.type, data, size);
                };
                result = ask();
                if (result == registryMoreData) {
                    data.resize(size);
                    result = ask();
                }
                found.data = data.substr(0, size);
                if (result == registryDone) settings.push_back(found);
            }
        });
        return settings;
    }

    /// The sections directly below a section, "" for the package.
    std::vector<Text> Sections(const Text& section)
    {
        constexpr std::size_t longestName = 256;
        std::vector<Text> names;
        WithKey(section, [&](RegistryHandle key) {
            Text name;
            for (std::uint32_t i = 0; session_.registry.EnumKey(key, i, longestName, name) == registryDone; ++i)
                names.push_back(section.empty() ? name : section + u"\\" + name);
        });
        return names;
    }

    /// A section as it is written in the store; what is not there as it is given.
    Text Spelled(const Text& section)
    {
        Text spelled;
        for (TextView rest = section; !rest.empty();) {
            const TextView part = rest.substr(0, rest.find(u'\\'));
            rest.remove_prefix(std::min(part.size() + 1, rest.size()));
            const Text given = spelled.empty() ? Text(part) : spelled + u"\\" + Text(part);
            const auto names = Sections(spelled);
            const auto found = std::find_if(names.begin(), names.end(),
                                            [&](const Text& name) { return EqualIgnoringCase(name, given); });
            spelled = found == names.end() ? given : *found;
        }
        return spelled;
    }

private:
    /// Works with the open key of a section; false when there is none. @throws Error of what went wrong
    template <class Work>
    bool WithKey(const Text& section, Work work)
    {
        RegistryHandle key = 0;
        const std::int32_t result =
            session_.registry.OpenKey(Root(), KeyPath(section), registryQuery | registryEnumerate, key);
        if (result == registryDone) {
            work(key);
            session_.registry.CloseKey(key);
        }
        session_.registry.ThrowFailure(Root());
        return result == registryDone;
    }

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
    if (value.is_number_float()) return ToUtf8(NumberToText(value.get<double>(), Locale::English()));
    return value.is_string() ? value.get<std::string>() : ToLine(value);
}

/// One line, whatever it holds.
std::string OneLine(TextView text)
{
    std::string line = Printable(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
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
            session.out << OneLine(setting.name) << "=" << OneLine(FromUtf8(PlainText(ValueOf(setting)))) << "\n";
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
    const Text section = StorableText(arguments.section);
    if (!settings.HasSection(section)) return Missing(session, section.empty() ? "the package" : "the section");
    PrintSection(session, settings, settings.Spelled(section));
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
    const auto setting = settings.Find(StorableText(arguments.section), StorableText(arguments.name));
    if (!setting) return Missing(session, "the value");
    const bool asStored = arguments.type.empty();
    const Json value = asStored ? ValueOf(*setting) : ReadAs(settings, arguments.type, setting->section, setting->name);
    if (session.options.json)
        PrintJson(session, *setting, asStored ? TypeName(*setting) : arguments.type, value);
    else
        session.out << PlainText(value) << "\n";
    return exitDone;
}

/// A value as an argument of `call` with this type in front.
Variant ParseValue(const std::string& type, const char* prefix, const std::string& value)
{
    try {
        Variant parsed = ParseArgument(prefix + value);
        if (!parsed.Holds<double>() || std::isfinite(parsed.As<double>())) return parsed;
    } catch (const UsageError&) {
        // said below in the words of this command
    }
    throw UsageError{"\"" + value + "\" is no " + type + "; numbers have a point, a bool is true or false"};
}

int SetSetting(Session& session, const SettingsArguments& arguments)
{
    struct Writer
    {
        TextView member;
        const char* prefix;
    };
    static const std::map<std::string, Writer> writers = {{"string", {u"RegSetStr", "s:"}},
                                                          {"long", {u"RegSetLng", "l:"}},
                                                          {"double", {u"RegSetDbl", "d:"}},
                                                          {"bool", {u"RegSetBool", "b:"}}};
    const std::string type = arguments.type.empty() ? "string" : arguments.type;
    const Writer& writer = writers.at(type);
    StorableText(arguments.value);
    const Variant value = ParseValue(type, writer.prefix, arguments.value);
    PackageSettings settings(session, arguments);
    settings.CallMember(writer.member, StorableText(arguments.section), StorableText(arguments.name), value);
    return exitDone;
}

int DeleteSetting(Session& session, const SettingsArguments& arguments)
{
    PackageSettings settings(session, arguments);
    const Text section = StorableText(arguments.section);
    if (!arguments.name.empty()) {
        const Text name = StorableText(arguments.name);
        if (!settings.Find(section, name)) return Missing(session, "the value");
        settings.CallMember(u"RegDelReg", section, name);
        return exitDone;
    }
    if (!settings.HasSection(section)) return Missing(session, section.empty() ? "the package" : "the section");
    if (!settings.Sections(section).empty()) {
        const auto number = static_cast<std::int32_t>(ErrorNumber::PermissionDenied);
        throw Error(number, ErrorText(number) + u": it has sections of its own; delete them first");
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
    // For the help: the parser does not see it, as it may look like an option.
    set.add_option("value", arguments->value, "text, whatever it looks like; numbers have a point");
    set.footer("A double is read back as the applications do: -1.5 is -0.5.");

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
