#include "host/CommandLine.h"

namespace vmlib::host {

void AddCommands(CommandLine& line)
{
    AddDocumentCommands(line);
    AddBaseCommand(line);
    AddStatusCommand(line);
    AddConvertCommand(line);
    AddRecoverCommand(line);
    AddRestoreCommand(line);
    AddInfoCommand(line);
    AddQueryCommands(line);
    AddLayoutCommands(line);
    AddCheckCommand(line);
    AddRepairCommands(line);
    AddClassCommands(line);
    AddSettingsCommand(line);
    AddMessageCommands(line);
}

}  // namespace vmlib::host
