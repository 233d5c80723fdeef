#pragma once

#include "jet/Database.h"

/// How a file is opened: which error each obstacle is, and the checks of its first page.
namespace vmlib::jet {

/// What stands at the path. @throws Error 3044 when the folder is missing, 3024 the file, 3051 when it is a folder
FileFacts RequireFile(Files& files, TextView path);

/// @throws Error 3045 held exclusively, 3356 wanted exclusively and held, 3051 no rights, 3024, 3044
std::unique_ptr<OpenFile> OpenForDatabase(Files& files, TextView path, bool readOnly, bool exclusive);

/// Refuses format 4 too, for what works on format 3 alone.
/// @param header  the first bytes of a file. @throws Error 3343 with the reason
void RequireFormat(std::span<const std::uint8_t> header, const Text& path);

/// The format, 4 as well. @throws Error 3343 with the reason; 3049 and 3428 for damage marks unless `forRepair`; 3031
FileFormat RequireDatabase(OpenFile& file, bool shared, const OpenOptions& options);

/// Of a database that is open already. @throws Error 3031
void RequirePassword(Pager& pager, TextView password);

/// Makes a file for a new database.
/// @param temporary  its name need not outlive a power cut
/// @throws Error 3204 exists, 3044, 3055 bad name, 3051 no rights, 3026
std::unique_ptr<OpenFile> MakeForDatabase(Files& files, TextView path, bool temporary);

/// With ".mdb" when the name has no extension.
Text WithExtension(TextView path);

}  // namespace vmlib::jet
