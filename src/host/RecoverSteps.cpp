#include "host/RecoverSteps.h"

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "host/BackupFiles.h"
#include "host/ConvertCheck.h"
#include "host/ConvertDocument.h"
#include "host/Leftovers.h"
#include "host/ValueText.h"

namespace vmlib::host {

namespace {

constexpr std::int16_t cannotOpenTarget = 20, notRecoverable = 25;

Text NameOf(TextView path)
{
    return Text(path.substr(path.rfind(u'\\') + 1));
}

bool IsOtherUser(const InfoRecord& info, const Text& user)
{
    return info.inUseBy && !info.inUseBy->empty() && *info.inUseBy != user;
}

/// Removes a file at the end of a block.
class Remover
{
public:
    Remover(Files& files, const Text& path) : files_(files), path_(path) {}
    ~Remover()
    {
        if (!path_.empty()) ResumeNext([&] { files_.Delete(path_); });
    }
    Remover(const Remover&) = delete;
    Remover& operator=(const Remover&) = delete;

private:
    Files& files_;
    const Text& path_;
};

std::string Lines(const std::vector<std::string>& lines)
{
    std::string text;
    for (std::size_t i = 0; i < lines.size() && i < 5; ++i) text += (i ? "; " : "") + lines[i];
    if (lines.size() > 5) text += "; and " + std::to_string(lines.size() - 5) + " more";
    return text;
}

}  // namespace

CopyReport Recovery::Examine()
{
    copy_ = files_.FullPath(copy_);
    RefuseOtherFiles();
    RefuseDamage();

    CopyReport report;
    report.isConversionCopy = IsConversionCopy(NameOf(copy_));
    report.copyInfo = ReadInfo(session_, copy_);
    facts_ = files_.Facts(copy_);  // reading settled a journal
    const InfoRecord& info = report.copyInfo;
    if (!info.type && !info.version)
        Fail(ConvertCode::noInfo, "the copy has no record of a document: it was not finished, or is none");
    if (!info.type || !info.version) Fail(ConvertCode::fieldMissing);
    if (!EqualIgnoringCase(Trim(*info.type), Trim(options_.type)))
        Fail(ConvertCode::wrongType, "its type is " + Printable(Trim(*info.type)));
    const LayoutVersion layout =
        DocumentConverter(session_, ConvertOptions{options_.type, options_.layout}).TheLayout();
    if (layout.code != 0) Fail(layout.code);
    report.layoutVersion = layout.version;
    if (*info.version > layout.version) Fail(ConvertCode::newer);
    ReadDocument(report);
    return report;
}

/// Only a working copy or a conversion copy: anything else is somebody's document.
void Recovery::RefuseOtherFiles()
{
    if (!files_.Exists(copy_)) Fail(ConvertCode::fileNotFound);
    const Text name = NameOf(copy_);
    if (!name.starts_with(u'~') && !IsConversionCopy(name)) Fail(notRecoverable);
}

void Recovery::RefuseDamage()
{
    std::vector<std::string> faults;
    try {
        faults = CheckStructure(session_, copy_).faults;
    } catch (const FileError&) {
        throw;
    } catch (const Error& error) {
        if (error.Is(ErrorNumber::FileInUse) || error.Is(ErrorNumber::ExclusivelyOpen) ||
            error.Is(ErrorNumber::InvalidPassword))
            throw;
        faults.push_back(Described(error));
    }
    if (!faults.empty())
        throw ConversionStop{0, session_.Native(copy_) + " is damaged",
                             Lines(faults) + "\nrun vmlib repair on it (or on a copy of it), then recover again"};
}

void Recovery::ReadDocument(CopyReport& report)
{
    const Text name(Trim(report.copyInfo.name.value_or(Text())));
    if (name.empty()) return;
    report.document = name;
    ResumeNext([&] {
        report.document = files_.FullPath(name);
        report.isThere = files_.Exists(report.document);
    });
    if (!report.isThere) return;
    try {
        report.documentInfo = ReadInfo(session_, report.document);
        report.tables = CompareCopy(session_, copy_, report.document);
    } catch (const Error& error) {
        report.unread = Described(error);
    }
    NoteChanges(report);
}

void Recovery::NoteChanges(CopyReport& report)
{
    const std::string document = session_.Native(report.document);
    const InfoRecord& info = report.documentInfo;
    const Text mark = info.inUseBy.value_or(Text()), copied = report.copyInfo.inUseBy.value_or(Text());
    if (!report.unread && !copied.empty() && mark != copied)
        report.notes.push_back(document + " was released after the copy was made" +
                               (mark.empty() ? "" : ", and taken by " + Printable(mark)) +
                               ": it may have been saved since");
    if (!report.unread && info.version != report.copyInfo.version && info.version && report.copyInfo.version)
        report.notes.push_back(document + " is of version " + std::to_string(*info.version) + ", the copy of version " +
                               std::to_string(*report.copyInfo.version));
    ResumeNext([&] {
        const Date changed = files_.Properties(report.document).modified, made = files_.Properties(copy_).created;
        if (changed.serial > made.serial)
            report.notes.push_back(document + " was changed at " + IsoDate(changed) + ", after the copy was made at " +
                                   IsoDate(made) + " (UTC)");
    });
}

SaveReport Recovery::SaveAs(const CopyReport& report, const Text& target)
{
    RequireTarget(report, target);
    SaveReport saved;
    const Remover remover(files_, staged_);
    Stage(report);
    if (files_.Exists(target)) saved.backup = KeepAsBackup(session_, target);
    try {
        Save(target, saved);
    } catch (...) {
        // Not needed when the document is still what it was.
        ResumeNext([&] {
            if (!saved.backup.empty() && SameBytes(files_, target, saved.backup)) files_.Delete(saved.backup);
        });
        throw;
    }
    saved.saved = target;
    RemoveCopy(saved);
    return saved;
}

void Recovery::RequireTarget(const CopyReport& report, const Text& target)
{
    const bool isOverDocument = EqualIgnoringCase(target, report.document);
    if (!isOverDocument) {
        // What stands there is no business of this copy's.
        if (files_.Facts(target)) throw FileError(FileFault::Exists, target);
        return;
    }
    if (!report.isThere) return;
    if (ToInteger(Call(session_.Routines(), u"DBL_GetRechten", target)) == 0) Fail(ConvertCode::cannotOverwrite);
    if (report.unread) Fail(cannotOpenTarget, *report.unread + "\nname a new DOCUMENT to save the copy beside it");
    if (IsOtherUser(ReadInfo(session_, target), session_.UserName()))
        Fail(ConvertCode::inUseByOther, "name a new DOCUMENT to save the copy beside it");
}

void Recovery::Stage(const CopyReport& report)
{
    const Text folder = session_.platform.system.TemporaryFolder().value_or(Text());
    staged_ = files_.CreateUnique(folder, u"~" + options_.type.substr(0, 2)).first;
    files_.Copy(copy_, staged_);
    if (*report.copyInfo.version < report.layoutVersion) ConvertStaged();
    // The saved document is free at the instant that it takes the name.
    InfoRecord freed;
    freed.inUseBy = u"";
    WriteInfo(session_, staged_, freed);
}

/// As opening it does: in place.
void Recovery::ConvertStaged()
{
    const Text folder = session_.platform.system.TemporaryFolder().value_or(Text());
    const Text conversionPath = folder + Text(conversionCopy);
    // The conversion would delete it, and it may be what is being recovered.
    const bool isOurs = EqualIgnoringCase(copy_, files_.FullPath(conversionPath));
    if (const auto told = MoveConversionCopyAside(session_, folder)) session_.err << *told << "\n";
    if (isOurs) {
        copy_.clear();
        for (int n = 1; copy_.empty(); ++n) {
            const Text name = folder + Text(asideCopyStart) + Decimal(n) + u".tmp";
            const auto facts = files_.Facts(name);
            if (facts && facts->identity == facts_->identity) copy_ = name;
            if (!facts) break;
        }
        if (copy_.empty()) throw FileError(FileFault::NotFound, conversionPath);
    }
    Variant workingFile = u"", status = std::int16_t{0}, version = std::int16_t{0}, layoutVersion = std::int16_t{0},
            code = std::int16_t{0};
    const bool wasFree = !files_.Exists(conversionPath);
    Call(session_.Routines(), u"DBL_OpenDatabase", staged_, workingFile, options_.type, options_.layout, status,
         version, layoutVersion, code);
    if (ToInteger(code) == 0) return;
    if (wasFree) ResumeNext([&] { files_.Delete(conversionPath); });
    Fail(ToInteger(code));
}

void Recovery::Save(const Text& target, SaveReport& saved)
{
    Variant code = std::int16_t{0};
    Call(session_.Routines(), u"DBL_OpslaanDatabase", staged_, target, options_.layout, options_.type, code);
    if (ToInteger(code) != 0) Fail(ToInteger(code));
    try {
        CheckSaved(target, saved);
    } catch (...) {
        if (saved.backup.empty())
            files_.Delete(target);
        else
            files_.Replace(saved.backup, target);
        throw;
    }
}

/// The copy goes only if the document holds all of it.
void Recovery::CheckSaved(const Text& target, SaveReport& saved)
{
    const ConversionCheck check = CheckConversion(session_, copy_, target);
    std::vector<std::string> wrong = check.mismatches;
    for (const std::string& fault : CheckStructure(session_, target).faults) wrong.push_back(fault);
    if (!wrong.empty()) throw ConversionStop{0, "the saved document is not what was to be saved", Lines(wrong)};
    for (const Loss& loss : check.losses) {
        if (loss.rows == 0) continue;
        std::string note = "not in the saved document: " + Printable(loss.table);
        if (!loss.field.empty()) note += "." + Printable(loss.field);
        if (!loss.key.empty()) note += " " + loss.key;
        if (!loss.value.empty()) note += " " + loss.value;
        saved.notes.push_back(note + ": " + loss.reason);
    }
}

bool Recovery::IsUnchanged() const
{
    const auto now = files_.Facts(copy_);
    return now && facts_ && now->size == facts_->size && now->modified.serial == facts_->modified.serial &&
           now->identity == facts_->identity;
}

void Recovery::RemoveCopy(SaveReport& saved)
{
    if (!saved.notes.empty()) {
        saved.notes.push_back(session_.Native(copy_) + " stays, as it holds more than the document");
        return;
    }
    if (!IsUnchanged()) {
        saved.notes.push_back(session_.Native(copy_) + " stays, as somebody changed it meanwhile");
        return;
    }
    const auto error = ResumeNext([&] {
        files_.Delete(copy_);
        const Text journal = copy_ + Text(journalMark);
        if (files_.Exists(journal)) files_.Delete(journal);
    });
    if (error) saved.notes.push_back(session_.Native(copy_) + " could not be removed: " + Described(*error));
    saved.isRemoved = !error;
}

}  // namespace vmlib::host
