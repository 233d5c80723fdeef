#pragma once

#include "automation/MemberTable.h"
#include "platform/Platform.h"

namespace vmlib {

/// Numbers and the byte images of old record files as a late-bound class. Members and parameters are those of the
/// functions in src/mbf.
class Mbf : public AutomationClass<Mbf>
{
public:
    explicit Mbf(Platform& platform) : platform_(platform) {}
    static const MemberTable& Members();

private:
    std::int16_t CVI(Text& x);
    std::int32_t CVL(Text& x);
    float CVS(Text& x);
    double CVD(Text& x);
    Text MKI(std::int16_t& x);
    Text MKL(std::int32_t& x);
    Text MKS(float& x);
    Text MKD(double& x);
    float CVSMBF(Text& OldStringSP);
    double CVDMBF(Text& OldStringDP);
    Text MKSMBF(float& OldNumberSP);
    Text MKDMBF(double& OldNumberDP);
    Text MKDTPR(double& OldNumberDP);

    Platform& platform_;
};

}  // namespace vmlib
