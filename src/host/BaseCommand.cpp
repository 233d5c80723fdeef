#include <ostream>

#include "automation/Convert.h"
#include "host/CommandLine.h"
#include "host/Json.h"

// base: a base database is examined, brought up to date, and asked how it can be opened.
namespace vmlib::host {

namespace {

struct BaseArguments
{
    std::string file, type, layout, rights = "0";
};

std::int16_t WantedRights(const std::string& text)
{
    const std::int32_t rights = WholeNumber(text, "--rights");
    if (rights < 0 || rights > 3) throw UsageError{"--rights is 0, 1, 2 or 3"};
    return static_cast<std::int16_t>(rights);
}

int CheckBase(Session& session, const BaseArguments& arguments)
{
    Variant opened = std::int16_t{0}, version = std::int16_t{0}, layoutVersion = std::int16_t{0},
            code = std::int16_t{0};
    Call(session.Routines(), u"DBL_CheckBasisDatabase", session.DatabasePath(arguments.file), FromUtf8(arguments.type),
         session.DatabasePath(arguments.layout), WantedRights(arguments.rights), opened, version, layoutVersion, code);
    const bool isFit = ToInteger(code) == 0;
    if (session.options.json)
        session.out << ToLine({{"rights", isFit ? Json(ToInteger(opened)) : Json()},
                               {"version", ToInteger(version)},
                               {"layoutVersion", ToInteger(layoutVersion)},
                               {"code", ToInteger(code)}})
                    << "\n";
    else if (isFit)
        session.out << "rights          " << ToInteger(opened) << "\nversion         " << ToInteger(version)
                    << "\nlayout version  " << ToInteger(layoutVersion) << "\n";
    return isFit ? exitDone : session.ReportCode(ToInteger(code));
}

}  // namespace

void AddBaseCommand(CommandLine& line)
{
    auto arguments = std::make_shared<BaseArguments>();
    Session& session = line.TheSession();
    CLI::App& base =
        line.Add("base", "vmlib base Artikelen.bas --type ARTIKEL --layout layout.mdb --rights 2",
                 "Examines a base database, converts an older one in place, and prints how it opened: 1 to "
                 "write, 0 to read; the version is the one that was found.",
                 [=, &session] { return CheckBase(session, *arguments); });
    base.add_option("file", arguments->file)->required();
    base.add_option("--type", arguments->type,
                    "file type, as the file and the layout know it; one with a full stop is never converted")
        ->required();
    base.add_option("--layout", arguments->layout, "layout database")->required();
    base.add_option("--rights", arguments->rights,
                    "0 to read (the default), 1 or 3 to write, 2 to write or else to read");
    line.TakesPassword(base);
    line.TakesJson(base);
}

}  // namespace vmlib::host
