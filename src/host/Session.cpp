#include "host/Session.h"

#include <ostream>
#include <utility>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "component/Component.h"
#include "engine/Engine.h"
#include "jet/Opening.h"

namespace vmlib::host {

namespace {

/// A data control that only remembers what it is connected with. The document layer tells data controls its connect
/// text, so the program needs no copy of the password.
class ConnectProbe : public Object
{
public:
    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override
    {
        if (kind == InvokeKind::Put && EqualIgnoringCase(member, u"Connect")) connect = ToText(arguments.back());
        return {};
    }
    Text TypeName() const override { return u"DataControl"; }

    Text connect;
};

constexpr TextView passwordKey = u";PWD=";

}  // namespace

Session::Session(Platform& native, ClassRegistry& classRegistry, std::ostream& output, std::ostream& errors)
    : desktop(native.desktop),
      registry(native.registry),
      platform{native.files, native.system, desktop, registry, native.processes},
      classes(classRegistry),
      out(output),
      err(errors)
{
}

void Session::RegisterLibrary()
{
    if (std::exchange(registered_, true)) return;
    std::optional<Text> password;
    if (options.noPassword) password.emplace();
    if (options.password) password = FromUtf8(*options.password);
    if (password && password->find(u';') != Text::npos)
        throw UsageError{"a password has no ; in it: it ends there in what the engine is told"};
    RegisterClasses(classes, platform, password);
    RegisterEngine(classes, platform, platform.system.TemporaryFolder().value_or(u"Z:\\tmp\\"));
}

ObjectRef Session::Create(TextView className)
{
    RegisterLibrary();
    return classes.Create(className);
}

ObjectRef Session::Routines()
{
    ObjectRef routines = Create(u"VmdDbLibRoutines");
    Call(routines, u"DBL_InitPassWord");
    return routines;
}

Text Session::UserName()
{
    return Text(Trim(ToText(Call(Create(u"AlgemeneLibrary"), u"VmdLib_LeesGebruiker"))));
}

Text Session::Connect()
{
    if (!connect_) {
        const auto probe = std::make_shared<ConnectProbe>();
        Call(Routines(), u"DBL_OpenDataControl", probe, u"", false, true);
        connect_ = probe->connect;
    }
    return *connect_;
}

Text Session::Password()
{
    const Text connect = Connect();
    return connect.empty() ? connect : connect.substr(passwordKey.size());
}

ObjectRef Session::Workspace()
{
    if (!engine_) engine_ = Create(u"VMDEngine.DBEngine");
    return ToObject(Get(ToObject(Get(engine_, u"Workspaces")), u"Item", std::int32_t{0}));
}

jet::Workspace Session::Storage()
{
    return jet::Workspace(platform.files, platform.system.TemporaryFolder().value_or(Text()),
                          [this] { return platform.system.Now(); });
}

ObjectRef Session::OpenDatabase(TextView path, bool readOnly)
{
    const auto open = [&](bool exclusive) {
        return ToObject(Call(Workspace(), u"OpenDatabase", path, exclusive, readOnly, Connect()));
    };
    try {
        return open(false);
    } catch (const Error& error) {
        // Where no list of users can be made beside it, several may still read the file.
        if (!readOnly || error.Number() != static_cast<std::int32_t>(ErrorNumber::CouldNotLockFile)) throw;
        return open(true);
    }
}

Text Session::DatabasePath(const std::string& native)
{
    const Text path = PathText(native);
    return platform.files.Exists(path) ? path : jet::WithExtension(path);
}

std::string Session::CodeText(std::int16_t code)
{
    return Printable(ToText(Call(Routines(), u"DBL_GetDatabaseError", code)));
}

int Session::ReportCode(std::int16_t code)
{
    err << CodeText(code) << "\n";
    return exitDatabaseCode + code;
}

Closer::~Closer()
{
    if (object_) ResumeNext([&] { Call(object_, u"Close"); });
}

void Closer::Close()
{
    const ObjectRef object = std::exchange(object_, nullptr);
    if (object) Call(object, u"Close");
}

std::string Printable(TextView text)
{
    Text clean;
    for (const char16_t c : Replaced(text, u"\r\n", u"\n")) {
        const bool isControl = (c < 0x20 && c != u'\n' && c != u'\t') || (c >= 0x7F && c < 0xA0);
        clean += isControl ? u' ' : c;
    }
    return ToUtf8(clean);
}

}  // namespace vmlib::host
