#pragma once

#include "host/Session.h"

namespace vmlib::host {

/// The one record of a document's Info table; a field that is not there or Null is no value.
struct InfoRecord
{
    std::optional<std::int32_t> version;
    std::optional<Text> type;
    std::optional<Text> name;     // the document's path, in a working copy that of its document
    std::optional<Text> inUseBy;  // without blanks around it; "" when nobody has it
};

/// Reads it from a document opened for reading. @throws the engine's Error when the file or the table cannot be opened
InfoRecord ReadInfo(Session& session, TextView path);

/// Writes the fields that have a value into the record, which is added when there is none.
void WriteInfo(Session& session, TextView path, const InfoRecord& record);

/// The mark of a document that nobody has in use.
inline constexpr TextView nobody = u" ";

}  // namespace vmlib::host
