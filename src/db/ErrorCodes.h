#pragma once

#include <cstdint>

#include "core/Text.h"

namespace vmlib::db {

/// What an operation of the document layer reports in its by-reference nErrorCode. A closed list.
namespace DatabaseCode {
enum : std::int16_t
{
    Ok = 0,
    FileNotFound = 1,
    UserUnknown = 2,
    NoTemporaryFile = 3,
    CannotCopy = 4,
    NoInfo = 5,
    WrongFileType = 6,
    NewerThanLayout = 7,
    CannotOpen = 8,
    InfoFieldMissing = 9,
    LayoutNotFound = 10,
    LayoutWithoutInfo = 11,
    FileTypeNotInLayout = 12,
    ConversionNeedsRights = 13,
    CopyDeclined = 14,
    AlreadyOpen = 15,
    FolderNotWritable = 16,
    FileNotWritable = 17,
    NameBeginsWithTilde = 18,
    CannotOverwrite = 19,
    CannotOpenTarget = 20,
    InUseByOther = 21,
    NoSuchFolder = 22,
    NotInList = 23,
    BaseFileNotOpenable = 24,
    NotRecoverable = 25,
    ConversionFailed = 26,
};
}  // namespace DatabaseCode

/// The Dutch text of a code; "" for 0, "Onbekende fout. Fout: " and the number for one that is not in the list.
Text DBL_GetDatabaseError(std::int16_t nErrorCode);

}  // namespace vmlib::db
