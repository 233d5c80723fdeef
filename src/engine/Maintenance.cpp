#include "engine/Maintenance.h"

#include "automation/Convert.h"
#include "engine/ConnectText.h"
#include "jet/Compaction.h"
#include "jet/Salvage.h"

namespace vmlib::engine {
namespace {

// Options of CompactDatabase.
constexpr std::int32_t encrypt = 2, decrypt = 4, version30 = 32;

bool IsGiven(const Optional& argument)
{
    return argument.Given() && !argument.value.IsEmpty() && !argument.value.IsNull();
}

void CheckOptions(const Optional& options)
{
    if (!IsGiven(options)) return;
    const std::int32_t number = ToLong(options.value);
    const bool known = (number & ~(encrypt | decrypt | version30)) == 0;
    if (!known || (number & (encrypt | decrypt)) == (encrypt | decrypt)) throw Error(ErrorNumber::InvalidArgument);
    if ((number & encrypt) == 0) return;
    const Error plain(ErrorNumber::NotSupported);
    throw Error(plain.Number(), plain.Description() + u" (encrypted files are not written)");
}

}  // namespace

void Compact(Session& session, const Text& source, const Text& destination, const Optional& locale,
             const Optional& options, const Optional& sourceLocale)
{
    CheckOptions(options);
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
