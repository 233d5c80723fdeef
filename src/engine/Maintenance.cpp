#include "engine/Maintenance.h"

#include "automation/Convert.h"
#include "engine/ConnectText.h"
#include "jet/Compaction.h"
#include "jet/Salvage.h"

namespace vmlib::engine {
namespace {

// Options of CreateDatabase and CompactDatabase.
constexpr std::int32_t version10 = 1, encrypt = 2, decrypt = 4, version11 = 8, version20 = 16, version30 = 32;
constexpr std::int32_t version40 = 64, version120 = 128;

[[noreturn]] void NotSupported(TextView reason)
{
    const Error plain(ErrorNumber::NotSupported);
    throw Error(plain.Number(), plain.Description() + u" (" + Text(reason) + u")");
}

bool IsGiven(const Optional& argument)
{
    return argument.Given() && !argument.value.IsEmpty() && !argument.value.IsNull();
}

}  // namespace

void CheckFileOptions(std::int32_t options, const Text& name, bool mayDecrypt)
{
    constexpr std::int32_t older = version10 | version11 | version20, newer = version40 | version120;
    constexpr std::int32_t versions = older | version30 | newer;
    const std::int32_t version = options & versions, rest = options & ~versions;
    const bool oneVersion = (version & (version - 1)) == 0;
    if (!oneVersion || (rest & ~(encrypt | (mayDecrypt ? decrypt : 0))) != 0 || rest == (encrypt | decrypt))
        throw Error(ErrorNumber::InvalidArgument);
    if ((version & newer) != 0) throw Error(ErrorNumber::UnrecognizedFormat, {name});
    if ((version & older) != 0) NotSupported(u"files of older formats are not written");
    if ((rest & encrypt) != 0) NotSupported(u"encrypted files are not written");
}

void Compact(Session& session, const Text& source, const Text& destination, const Optional& locale,
             const Optional& options, const Optional& sourceLocale)
{
    if (IsGiven(options)) CheckFileOptions(ToLong(options.value), destination, true);
    jet::Compaction wanted{.source = source, .target = destination};
    const Text given = IsGiven(locale) ? ToText(locale.value) : Text();
    if (!given.empty()) {
        const LocaleText parsed = LocaleText::Parse(given);
        if (parsed.givesLocale) wanted.locale = parsed.locale;
        if (parsed.givesPassword) wanted.password = parsed.password;
    }
    wanted.sourcePassword = wanted.password.value_or(Text());
    if (IsGiven(sourceLocale)) {
        if (const auto password = ConnectText::Parse(ToText(sourceLocale.value)).password)
            wanted.sourcePassword = *password;
    }
    jet::Compact(session.FilesPort(), session.TemporaryFolder(), session.Now(), wanted);
}

void Repair(Session& session, const Text& name)
{
    const jet::SalvageReport report = jet::Salvage(session.FilesPort(), session.TemporaryFolder(), session.Now(), name);
    std::vector<Error> losses;
    for (const jet::SalvagedTable& table : report.tables) {
        if (!table.LostNothing())
            losses.emplace_back(static_cast<std::int32_t>(ErrorNumber::DamagedDatabase), table.Summary(),
                                u"DAO.DbEngine");
    }
    session.NoteErrors(std::move(losses));
}

}  // namespace vmlib::engine
