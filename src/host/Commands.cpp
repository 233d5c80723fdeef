#include "host/CommandLine.h"

namespace vmlib::host {

void AddCommands(CommandLine& line)
{
    AddDocumentCommands(line);
    AddBaseCommand(line);
    AddStatusCommand(line);
    AddConvertCommand(line);
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
