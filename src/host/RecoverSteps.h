#pragma once

#include "host/ConvertSteps.h"
#include "host/RecoverCompare.h"

/// The steps of bringing a left copy back.
namespace vmlib::host {

struct RecoverOptions
{
    Text type, layout;
};

/// What is known of a left copy.
struct CopyReport
{
    Text document;         // what the copy's record names; "" for nothing
    bool isThere = false;  // the document
    InfoRecord copyInfo, documentInfo;
    std::int32_t layoutVersion = 0;
    bool isConversionCopy = false;
    std::optional<std::string> unread;  // why the document could not be read
    std::vector<std::string> notes;     // what happened to the document since the copy was made
    std::vector<TableDifference> tables;
};

struct SaveReport
{
    Text saved, backup;  // "" for none
    std::vector<std::string> notes;
    bool isRemoved = false;  // the copy
};

/// One left copy. It is only read, and removed at the end:
///
///     staging   a copy of the copy, in the temporary folder: converted when it is older than the layout, unmarked
///     backup    NAME-backup-DATE of what is to be replaced, synced
///     save      one replacement: from here on the document is what the copy held, synced
///     check     copy against document; what is wrong puts the backup back
///     removal   the copy and its journal, if the document holds all that the copy held
///
/// Killed before the save the document is the old one; at every step the copy, or what it held, is there.
class Recovery
{
public:
    Recovery(Session& session, RecoverOptions options, Text copy)
        : session_(session), files_(session.platform.files), options_(std::move(options)), copy_(std::move(copy))
    {
    }

    /// Changes nothing. @throws ConversionStop, Error
    CopyReport Examine();

    /// Over the document, or under a new name. @throws ConversionStop, Error; the document is then what it was
    SaveReport SaveAs(const CopyReport& report, const Text& target);

private:
    [[noreturn]] void Fail(std::int16_t code, std::string detail = {})
    {
        throw ConversionStop{code, {}, std::move(detail)};
    }

    void RefuseOtherFiles();
    void RefuseDamage();
    void ReadDocument(CopyReport& report);
    void NoteChanges(CopyReport& report);
    void RequireTarget(const CopyReport& report, const Text& target);
    void Stage(const CopyReport& report);
    void ConvertStaged();
    void Save(const Text& target, SaveReport& saved);
    void CheckSaved(const Text& target, SaveReport& saved);
    void RemoveCopy(SaveReport& saved);
    bool IsUnchanged() const;

    Session& session_;
    Files& files_;
    RecoverOptions options_;
    Text copy_;
    Text staged_;
    std::optional<FileFacts> facts_;  // of the copy, when it was examined
};

}  // namespace vmlib::host
