#pragma once

#include "automation/MemberTable.h"
#include "platform/Platform.h"

namespace vmlib {

/// General services as a late-bound class. Members and parameters are those of the functions in src/general.
class AlgemeneLibrary : public AutomationClass<AlgemeneLibrary>
{
public:
    explicit AlgemeneLibrary(Platform& platform) : platform_(platform) {}
    static const MemberTable& Members();

private:
    Text TempPath();
    std::int32_t TempFile(Text& sNaam, Optional& Id);
    Text ExtractFileNaam(Text& sSpecIn, std::int16_t& nBaseOnly);
    Text ExtractPad(Text& sSpecIn);
    std::int32_t WriteTest(Text sDirectory);
    Text LeesGebruiker();

    Platform& platform_;
};

}  // namespace vmlib
