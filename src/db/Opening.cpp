#include "db/Opening.h"

#include "automation/Convert.h"
#include "db/Closing.h"
#include "db/Conversion.h"
#include "db/EngineAccess.h"
#include "db/ErrorCodes.h"
#include "db/Hourglass.h"
#include "db/Info.h"
#include "db/LayoutCatalogue.h"
#include "general/Paths.h"

namespace vmlib::db {

namespace {

constexpr std::int32_t yesNoExclamation = 52;
constexpr std::int16_t answerYes = 6;

/// One call of DBL_OpenDatabase. Each step returns the code that ends the work, or 0.
class Opening
{
public:
    Opening(Session& session, const Text& document, Text& workingFile, const Text& type, const Text& layout,
            std::int16_t& status, std::int16_t& version, std::int16_t& layoutVersion)
        : session_(session),
          document_(document),
          workingFile_(workingFile),
          type_(type),
          layout_(layout),
          status_(status),
          version_(version),
          layoutVersion_(layoutVersion)
    {
    }

    std::int16_t Run()
    {
        user_ = VmdLib_LeesGebruiker(session_.platform);
        if (user_.empty()) return DatabaseCode::UserUnknown;
        if (!Exist(session_, document_)) return DatabaseCode::FileNotFound;
        ReadInfo();
        if (session_.opened.HoldsOpen(ListedName())) return DatabaseCode::AlreadyOpen;
        if (!MayWork()) return DatabaseCode::CopyDeclined;
        if (const auto code = LeesLayoutVersie(session_, layout_, UpperCase(type_), layoutVersion_)) return code;
        if (layoutVersion_ < version_) return DatabaseCode::NewerThanLayout;
        if (status_ != OpenStatus::CopyOfAnothers) Mark();
        if (const auto code = MakeWorkingFile()) return code;
        if (layoutVersion_ > version_)
            if (const auto code = ConverteerKopie()) return code;
        session_.opened.Add(ListedName());
        return DatabaseCode::Ok;
    }

private:
    /// A document whose Info cannot be read counts as free, and the version stays what the caller passed.
    void ReadInfo()
    {
        info_.versie = version_;
        LeesInfo(session_, document_, info_);
        version_ = info_.versie;
        if (VmdLib_ExtractFileNaam(document_).starts_with(u'~')) status_ = OpenStatus::WorkingFile;
    }

    const Text& ListedName() const { return status_ == OpenStatus::WorkingFile ? info_.bestandNaam : document_; }

    bool MayWork()
    {
        if (status_ != OpenStatus::Normal || !MarkedByOther(info_.inGebruikDoor, user_)) return true;
        const Text question = u"Het bestand " + document_ + u" is al in gebruik \r\ndoor gebruiker " +
                              info_.inGebruikDoor + u".\r\nWilt u werken met een kopie van dit bestand?";
        std::int16_t answer = 0;
        ResumeNext(
            [&] { answer = session_.platform.desktop.MessageBox(question, yesNoExclamation, u"Openen bestand"); });
        if (answer == answerYes) status_ = OpenStatus::CopyOfAnothers;
        return answer == answerYes;
    }

    void Mark()
    {
        const Closing document(DBL_OpenMdb(session_, document_, false, false, false));
        TryChangeInfo(*document, u"SELECT * FROM Info", {{u"IngebruikDoor", user_}});
    }

    std::int16_t MakeWorkingFile()
    {
        if (status_ == OpenStatus::WorkingFile) {
            workingFile_ = document_;
            return DatabaseCode::Ok;
        }
        if (VmdLib_TempFile(session_.platform, workingFile_, Variant(type_.substr(0, 2))) < 1)
            return DatabaseCode::NoTemporaryFile;
        if (ResumeNext([&] { session_.platform.files.Copy(document_, workingFile_); })) {
            ResumeNext([&] { session_.platform.files.Delete(workingFile_); });  // empty: only its name was wanted
            return DatabaseCode::CannotCopy;
        }
        const Closing copy(DBL_OpenMdb(session_, workingFile_, false, false, false));
        if (status_ == OpenStatus::CopyOfAnothers)
            TryChangeInfo(*copy, u"SELECT * FROM Info", {{u"BestandNaam", document_}, {u"InGebruikDoor", user_}});
        else
            TryChangeInfo(*copy, u"SELECT * FROM Info", {{u"BestandNaam", document_}});
        return DatabaseCode::Ok;
    }

    std::int16_t ConverteerKopie()
    {
        Closing copy(DBL_OpenMdb(session_, workingFile_, false, false, false));
        if (!copy) return DatabaseCode::ConversionFailed;
        if (ResumeNext([&] { ConverteerDatabase(session_, *copy, type_, layout_); }))
            return DatabaseCode::ConversionFailed;
        TryChangeInfo(*copy, u"Info", {{u"Versie", layoutVersion_}});
        return DatabaseCode::Ok;
    }

    Session& session_;
    const Text& document_;
    Text& workingFile_;
    const Text& type_;
    const Text& layout_;
    std::int16_t& status_;
    std::int16_t& version_;
    std::int16_t& layoutVersion_;
    Text user_;
    InfoRecord info_;
};

}  // namespace

bool DBL_OpenDatabase(Session& session, const Text& sFileIn, Text& sFileUit, const Text& sBestandType,
                      const Text& sLayoutNaam, std::int16_t& nStatus, std::int16_t& nVersie,
                      std::int16_t& nLayoutVersie, std::int16_t& nErrorCode)
{
    const Hourglass hourglass(session.platform.desktop);
    nStatus = OpenStatus::Normal;
    nErrorCode = Opening(session, sFileIn, sFileUit, sBestandType, sLayoutNaam, nStatus, nVersie, nLayoutVersie).Run();
    return nErrorCode == DatabaseCode::Ok;
}

}  // namespace vmlib::db
