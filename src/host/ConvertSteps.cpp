#include "host/ConvertSteps.h"

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "host/ConvertCheck.h"
#include "host/Leftovers.h"

namespace vmlib::host {

namespace {

bool IsHeldElsewhere(const Error& error)
{
    return error.Is(ErrorNumber::FileInUse) || error.Is(ErrorNumber::ExclusivelyOpen);
}

/// DBL_OpenDatabase gave a code after it had marked the document.
bool IsAfterMark(std::int16_t code)
{
    return code == 3 || code == ConvertCode::cannotCopy || code == ConvertCode::conversionFailed;
}

std::string Listed(const std::vector<std::string>& lines)
{
    constexpr std::size_t shown = 5;
    std::string text;
    for (std::size_t i = 0; i < lines.size() && i < shown; ++i) text += (i ? "; " : "") + lines[i];
    if (lines.size() > shown) text += "; and " + std::to_string(lines.size() - shown) + " more";
    return text;
}

Text FolderOf(TextView path)
{
    return Text(path.substr(0, path.rfind(u'\\') + 1));
}

}  // namespace

std::string Described(const Error& error)
{
    return "error " + std::to_string(error.Number()) + ": " + Printable(error.Description());
}

void Conversion::Run(const Text& path)
{
    document_ = files_.FullPath(path);
    ReadDocument();
    if (report_.outcome == ConvertOutcome::Skipped) return;
    if (options_.dryRun) return Rehearse();
    RequireRights();
    RefuseDamage();
    DocumentBackup backup(session_, document_);
    MakeBackup(backup);
    try {
        Convert(document_);
    } catch (...) {
        Undo(backup);
        throw;
    }
    if (options_.backup) report_.backup = session_.Native(backup.Path());
    report_.outcome = ConvertOutcome::Converted;
}

void Conversion::ReadDocument()
{
    if (!files_.Exists(document_)) Fail(ConvertCode::fileNotFound);
    try {
        info_ = ReadInfo(session_, document_);
    } catch (const Error& error) {
        Fail(IsHeldElsewhere(error)               ? ConvertCode::cannotOpen
             : error.Is(ErrorNumber::NoSuchTable) ? ConvertCode::noInfo
                                                  : ConvertCode::conversionFailed,
             Described(error));
    }
    report_.fromVersion = info_.version;
    if (!info_.type && !info_.version) Fail(ConvertCode::noInfo);
    if (!info_.type || !info_.version) Fail(ConvertCode::fieldMissing);
    if (!EqualIgnoringCase(Trim(*info_.type), Trim(options_.type)))
        Fail(ConvertCode::wrongType, "its type is " + Printable(Trim(*info_.type)));
    if (layout_.code != 0) Fail(layout_.code);
    report_.toVersion = layout_.version;
    if (*info_.version > layout_.version) Fail(ConvertCode::newer);
    if (*info_.version == layout_.version) {
        report_.outcome = ConvertOutcome::Skipped;
        return;
    }
    if (info_.inUseBy && !info_.inUseBy->empty() && *info_.inUseBy != session_.UserName())
        Fail(ConvertCode::inUse, "in use by " + Printable(*info_.inUseBy));
    if (!layout_.hasFields)
        throw ConversionStop{ConvertCode::conversionFailed,
                             {},
                             "the layout has a version of the type but no fields: the result would be empty"};
}

void Conversion::RequireRights()
{
    const auto facts = files_.Facts(document_);
    const bool isReadOnly = facts && facts->isReadOnly;
    // Asked first, as the test of the folder writes a file.
    if (isReadOnly || (!options_.dryRun && ToInteger(Call(session_.Routines(), u"DBL_GetRechten", document_)) == 0))
        Fail(ConvertCode::mayNotConvert);
}

void Conversion::RefuseDamage()
{
    const StructureCheck check = CheckStructure(session_, document_);
    if (!check.faults.empty())
        Fail(ConvertCode::conversionFailed, "damaged, see vmlib repair: " + Listed(check.faults));
    if (!check.isDone) report_.notes.push_back("too large for the check of its structure; rows were compared");
}

void Conversion::MakeBackup(DocumentBackup& backup)
{
    try {
        if (!options_.backup)
            backup.MakeTemporary();
        else
            backup.Make(options_.backupFolder.empty() ? FolderOf(document_) : options_.backupFolder, *info_.version);
    } catch (const Error& error) {
        Fail(ConvertCode::cannotCopy, Described(error));
    }
}

void Conversion::Rehearse()
{
    RequireRights();
    RefuseDamage();
    const Text folder = session_.platform.system.TemporaryFolder().value_or(Text());
    const Text name = files_.CreateUnique(folder, u"VMD").first;
    try {
        files_.Copy(document_, name);
        Convert(name);
        ResumeNext([&] { files_.Delete(name); });
    } catch (...) {
        ResumeNext([&] { files_.Delete(name); });
        throw;
    }
    report_.outcome = ConvertOutcome::Planned;
}

void Conversion::Convert(const Text& document)
{
    const ObjectRef routines = session_.Routines();
    try {
        Open(routines, document);
        Verify(document);
        // The saved document is free at the instant that it takes the name; a mark that is cleared afterwards could
        // outlive us.
        InfoRecord freed;
        freed.inUseBy = u"";
        WriteInfo(session_, working_, freed);
        Save(routines, document);
        DropWorkingFiles();
    } catch (...) {
        DropWorkingFiles();
        throw;
    }
}

void Conversion::Open(const ObjectRef& routines, const Text& document)
{
    Variant workingFile = u"", status = std::int16_t{0}, version = std::int16_t{0}, layoutVersion = std::int16_t{0},
            code = std::int16_t{0};
    isMarked_ = true;
    Call(routines, u"DBL_OpenDatabase", document, workingFile, options_.type, options_.layout, status, version,
         layoutVersion, code);
    working_ = ToText(workingFile);
    isMarked_ = ToInteger(code) == 0 || IsAfterMark(ToInteger(code));
    if (ToInteger(code) == ConvertCode::conversionFailed)
        Fail(ConvertCode::conversionFailed, WhyNotConverted(routines));
    if (ToInteger(code) != 0) Fail(ToInteger(code));
    if (ToInteger(version) != *info_.version || ToInteger(layoutVersion) != layout_.version)
        throw ConversionStop{0, "the document or the layout changed meanwhile", {}, true};
}

std::string Conversion::WhyNotConverted(const ObjectRef& routines)
{
    Variant database;
    const auto error = ResumeNext([&] {
        database = session_.OpenDatabase(working_, false);
        Call(routines, u"DBL_AutoConvert2", database, options_.type, options_.layout);
    });
    if (database.IsObject()) Closer(database.As<ObjectRef>());
    return error ? Described(*error) : std::string();
}

void Conversion::Verify(const Text& document)
{
    ConversionCheck check = CheckConversion(session_, document, working_);
    report_.tables = std::move(check.tables);
    report_.losses = std::move(check.losses);
    std::size_t refused = 0;
    for (Loss& loss : report_.losses) {
        loss.allowed = IsAllowed(loss);
        refused += loss.allowed ? 0 : 1;
    }
    if (!check.mismatches.empty())
        throw ConversionStop{0, "the converted document does not hold what the document holds",
                             Listed(check.mismatches)};
    if (const auto faults = CheckStructure(session_, working_).faults; !faults.empty())
        throw ConversionStop{0, "the converted document is not sound", Listed(faults)};
    if (refused > 0)
        throw ConversionStop{
            0, std::to_string(refused) + (refused == 1 ? " loss is" : " losses are") + " not allowed", {}};
}

bool Conversion::IsAllowed(const Loss& loss) const
{
    if (loss.rows == 0) return true;
    for (const Text& allowed : options_.allowed)
        if (EqualIgnoringCase(allowed, loss.table) || EqualIgnoringCase(allowed, loss.table + u"." + loss.field))
            return true;
    return false;
}

void Conversion::Save(const ObjectRef& routines, const Text& document)
{
    Variant code = std::int16_t{0};
    Call(routines, u"DBL_OpslaanDatabase", working_, document, options_.layout, options_.type, code);
    // Somebody took the mark away and set his own: the document is no longer ours to put back.
    if (ToInteger(code) == ConvertCode::inUseByOther) isMarked_ = false;
    if (ToInteger(code) != 0) Fail(ToInteger(code));
    isSaved_ = true;
    std::vector<std::string> wrong = CheckSave(session_, working_, document);
    for (std::string& fault : CheckStructure(session_, document).faults) wrong.push_back(std::move(fault));
    if (!wrong.empty()) throw ConversionStop{0, "the saved document is not what was to be saved", Listed(wrong)};
}

void Conversion::DropWorkingFiles()
{
    if (!working_.empty()) ResumeNext([&] { files_.Delete(working_); });
    // A conversion that fails leaves its copy; whatever lay there before was moved aside.
    const Text copy = session_.platform.system.TemporaryFolder().value_or(Text()) + Text(conversionCopy);
    if (isMarked_ && files_.Exists(copy)) ResumeNext([&] { files_.Delete(copy); });
}

void Conversion::Undo(DocumentBackup& backup)
{
    if (!isMarked_) return backup.Discard();
    if (!IsStillOld()) {
        backup.Discard();
        return Release();
    }
    const auto error = ResumeNext([&] { backup.PutBack(); });
    if (error) {
        report_.notes.push_back("the document could not be put back as it was: " + Described(*error));
        if (options_.backup) report_.backup = session_.Native(backup.Path());
    }
    // A mark that an interrupted run of this user left came back too.
    if (error || (info_.inUseBy && !info_.inUseBy->empty())) Release();
}

bool Conversion::IsStillOld()
{
    if (isSaved_) return true;
    std::optional<std::int32_t> version;
    ResumeNext([&] { version = ReadInfo(session_, document_).version; });
    return !version || version == info_.version;
}

void Conversion::Release()
{
    Variant code = std::int16_t{0};
    ResumeNext([&] { Call(session_.Routines(), u"DBL_BestandVrijgeven", document_, code); });
}

}  // namespace vmlib::host
