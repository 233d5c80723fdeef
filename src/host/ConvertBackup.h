#pragma once

#include "host/Session.h"

namespace vmlib::host {

/// The copy that a conversion makes of a document first.
///
///     Kas.mdb-v1.bak      of version 1
///     Kas.mdb-v1-2.bak    another one, as the first is there with other contents
class DocumentBackup
{
public:
    DocumentBackup(Session& session, Text document) : session_(session), document_(std::move(document)) {}

    /// Makes it, complete and synced, in the folder (with trailing "\"). One that is there already beside the document
    /// will do when it has the same bytes, or others only where a run of this user's that was killed has left its mark.
    /// What such a run left half made in another folder goes. @throws FileError
    void Make(const Text& folder, std::int32_t version);
    /// Instead: a copy in the temporary folder, for as long as this object lives.
    void MakeTemporary();

    const Text& Path() const { return path_; }

    /// Puts the document's bytes back in one step. The backup is gone then if it was made for this run.
    void PutBack();
    /// Removes what was made for this run, as the document was not changed.
    void Discard();

    ~DocumentBackup();
    DocumentBackup(const DocumentBackup&) = delete;
    DocumentBackup& operator=(const DocumentBackup&) = delete;

private:
    /// @param start  the backup's name up to the number of a second one
    void MakeNamed(const Text& name, const Text& start, bool isBeside);

    Session& session_;
    Text document_;
    Text path_;
    bool isOwn_ = false;        // made by this object
    bool isTemporary_ = false;  // goes with it
};

/// True for "-v", a number, perhaps "-" and a number, and ".bak": what stands behind a document's name.
bool IsBackupMark(TextView rest);

}  // namespace vmlib::host
