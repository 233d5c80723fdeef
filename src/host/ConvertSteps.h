#pragma once

#include "host/ConvertBackup.h"
#include "host/ConvertReport.h"
#include "host/Info.h"

/// The steps of the conversion of one document, as ConvertDocument.h lists them.
namespace vmlib::host {

/// Database codes that the program itself finds.
struct ConvertCode
{
    enum Value : std::int16_t
    {
        fileNotFound = 1,
        cannotCopy = 4,
        noInfo = 5,
        wrongType = 6,
        newer = 7,
        cannotOpen = 8,
        fieldMissing = 9,
        layoutNotFound = 10,
        layoutWithoutInfo = 11,
        typeNotInLayout = 12,
        mayNotConvert = 13,
        inUse = 14,
        folderNotWritable = 16,
        fileNotWritable = 17,
        cannotOverwrite = 19,
        inUseByOther = 21,
        conversionFailed = 26,
    };
};

struct ConvertOptions
{
    Text type, layout;
    bool backup = true;
    Text backupFolder{};  // "" is the document's own
    bool dryRun = false;
    std::vector<Text> allowed{};  // TABLE or TABLE.FIELD, without regard to case
};

/// What the layout database says of the file type.
struct LayoutVersion
{
    std::int16_t code = 0;
    std::int32_t version = 0;
    bool hasFields = false;
};

/// What ends the work on a document.
struct ConversionStop
{
    std::int16_t code = 0;
    std::string text;        // instead of the code's own
    std::string detail;      // what the engine said
    bool isPassing = false;  // it may go better in a moment
};

/// "error 3022: ..."
std::string Described(const Error& error);

/// One document on its way; for one run.
class Conversion
{
public:
    Conversion(Session& session, const ConvertOptions& options, const LayoutVersion& layout, DocumentReport& report)
        : session_(session), files_(session.platform.files), options_(options), layout_(layout), report_(report)
    {
    }

    /// @throws ConversionStop, Error; the document is then what it was
    void Run(const Text& path);

private:
    [[noreturn]] void Fail(std::int16_t code, std::string detail = {})
    {
        throw ConversionStop{code, {}, std::move(detail)};
    }

    /// Finds out whether there is anything to do, and whether it may be done.
    void ReadDocument();
    void RequireRights();

    /// A conversion passes over what cannot be read of a table: that must not go unseen.
    void RefuseDamage();
    void MakeBackup(DocumentBackup& backup);

    /// Everything on a copy in the temporary folder.
    void Rehearse();
    void Convert(const Text& document);
    void Open(const ObjectRef& routines, const Text& document);

    /// Why a conversion fails: opening says only that it did, so it is done once more on the working copy.
    std::string WhyNotConverted(const ObjectRef& routines);
    void Verify(const Text& document);

    /// What held nothing is no loss that anybody has to allow.
    bool IsAllowed(const Loss& loss) const;
    void Save(const ObjectRef& routines, const Text& document);
    void DropWorkingFiles();

    /// The document as it was, before anybody else can have it: our mark stands until its bytes are back.
    void Undo(DocumentBackup& backup);

    /// False after another process of this user's converted the document at the same time: what it saved stays.
    bool IsStillOld();
    void Release();

    Session& session_;
    Files& files_;
    const ConvertOptions& options_;
    const LayoutVersion& layout_;
    DocumentReport& report_;
    Text document_;
    InfoRecord info_;
    Text working_;
    bool isMarked_ = false;
    bool isSaved_ = false;  // and then found wanting: the old document goes back
};

}  // namespace vmlib::host
