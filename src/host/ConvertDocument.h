#pragma once

#include <optional>
#include <vector>

#include "host/ConvertSteps.h"

namespace vmlib::host {

/// Converts documents one after the other, each whole or not at all.
///
///     backup        NAME-vN.bak, synced                the document is the old one
///     open          the document is marked; the working copy is made and converted
///     verification  document against working copy; keys and relations of the working copy
///     save          one replacement: from here on the document is the new one, without mark
///     verification  working copy against document
///
/// What fails before the save leaves the document as it was, byte by byte, and no backup; what fails after it puts the
/// backup back. A power cut leaves the old document, perhaps with the user's mark, or the new one.
class DocumentConverter
{
public:
    DocumentConverter(Session& session, ConvertOptions options) : session_(session), options_(std::move(options)) {}

    /// Never throws for what is wrong with a document: the report says it.
    DocumentReport Convert(const std::string& document);

    /// Read once it can be.
    const LayoutVersion& TheLayout();

private:
    Session& session_;
    ConvertOptions options_;
    std::optional<LayoutVersion> layout_;
};

/// Moves a readable conversion copy in the folder aside, which may be the only complete copy of somebody's document.
/// Returns what to tell of it; no value when there is none.
std::optional<std::string> MoveConversionCopyAside(Session& session, const Text& folder);

}  // namespace vmlib::host
