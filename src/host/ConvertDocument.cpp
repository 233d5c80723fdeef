#include "host/ConvertDocument.h"

#include <chrono>
#include <thread>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "host/Leftovers.h"

namespace vmlib::host {

namespace {

constexpr std::chrono::milliseconds beforeSecondTry{150};

/// Rights are tested with a file of one name, so somebody else's test in the same folder may be in the way.
bool MayPassAway(std::int16_t code)
{
    return code == ConvertCode::mayNotConvert || code == ConvertCode::folderNotWritable ||
           code == ConvertCode::fileNotWritable || code == ConvertCode::cannotOverwrite;
}

}  // namespace

const LayoutVersion& DocumentConverter::TheLayout()
{
    if (layout_ && layout_->code == 0) return *layout_;
    LayoutVersion facts;
    // Exclusive and for reading, as the library opens it: others who convert do not stand in the way.
    const Variant opened = Call(session_.Routines(), u"DBL_OpenMdb", options_.layout, true, true, false);
    const Closer layout(opened.IsObject() ? opened.As<ObjectRef>() : ObjectRef());
    const Text type = Replaced(options_.type, u"'", u"''");
    const auto rows = [&](const Text& sql) {
        return ToObject(Call(layout.Object(), u"OpenRecordset", sql, std::int16_t{4}));
    };
    if (!layout.Object()) {
        facts.code = ConvertCode::layoutNotFound;
    } else {
        facts.code = ConvertCode::layoutWithoutInfo;
        ResumeNext([&] {
            Closer info(rows(u"SELECT Versie FROM Info WHERE FileType = '" + type + u"'"));
            facts.code = ConvertCode::typeNotInLayout;
            if (ToBoolean(Get(info.Object(), u"EOF"))) return;
            const ObjectRef fields = ToObject(Get(info.Object(), u"Fields"));
            facts.version = ToLong(Get(ToObject(Get(fields, u"Item", u"Versie")), u"Value"));
            facts.code = 0;
        });
        ResumeNext([&] {
            Closer fields(rows(u"SELECT TabelNaam FROM LayOut WHERE FileType = '" + type + u"'"));
            facts.hasFields = !ToBoolean(Get(fields.Object(), u"EOF"));
        });
    }
    return layout_.emplace(facts);
}

DocumentReport DocumentConverter::Convert(const std::string& document)
{
    const auto begin = std::chrono::steady_clock::now();
    DocumentReport report;
    for (int attempt = 1;; ++attempt) {
        bool mayPassAway = false;
        report = {};
        report.document = document;
        try {
            Conversion(session_, options_, TheLayout(), report).Run(session_.DatabasePath(document));
        } catch (const ConversionStop& stop) {
            report.code = stop.code;
            report.text = stop.text.empty() && stop.code != 0 ? session_.CodeText(stop.code) : stop.text;
            report.detail = stop.detail;
            mayPassAway = stop.isPassing || MayPassAway(stop.code);
        } catch (const Error& error) {
            report.code = ConvertCode::conversionFailed;
            report.text = session_.CodeText(ConvertCode::conversionFailed);
            report.detail = Described(error);
        } catch (const std::exception& error) {  // no memory
            report.code = ConvertCode::conversionFailed;
            report.text = session_.CodeText(ConvertCode::conversionFailed);
            report.detail = error.what();
        }
        if (attempt > 1 || !mayPassAway) break;
        std::this_thread::sleep_for(beforeSecondTry);
    }
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return report;
}

std::optional<std::string> MoveConversionCopyAside(Session& session, const Text& folder)
{
    Files& files = session.platform.files;
    const Text path = folder + Text(conversionCopy);
    std::optional<std::string> told;
    ResumeNext([&] {
        if (!files.Exists(path)) return;
        const InfoRecord info = ReadInfo(session, path);
        for (int n = 1; !told; ++n) {
            const Text name = folder + Text(asideCopyStart) + Decimal(n) + u".tmp";
            if (files.Exists(name)) continue;
            files.Rename(path, name);
            told = session.Native(path) + " was left by an interrupted conversion; it is now " + session.Native(name);
            if (info.name && !info.name->empty()) *told += ", a copy of " + Printable(*info.name);
        }
    });
    return told;
}

}  // namespace vmlib::host
