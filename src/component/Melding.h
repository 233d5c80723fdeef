#pragma once

#include "automation/MemberTable.h"
#include "platform/Platform.h"

namespace vmlib {

/// Messages and the central report of run-time errors as a late-bound class. Members and parameters are those of the
/// functions in src/messages.
class Melding : public AutomationClass<Melding>
{
public:
    explicit Melding(Platform& platform) : desktop_(platform.desktop) {}
    static const MemberTable& Members();

private:
    Variant VmdBox(Text& sTekst, std::int16_t& nMeldType, Text& sTitel);
    Variant VmdBox2(Text& sTekst, std::int16_t& nMeldType, Text& sTitel, Text& sButton0, Text& sButton1,
                    Text& sButton2);
    void OngeldigeWaarde(Text& sMelding, double& dMinimumValue, double& dMaximumValue);
    void OngeldigPercentage(Text& sMelding, double& dMinimumValue, double& dMaximumValue);
    void VmdAfHandel2(Text& sFout, Text& sControl, std::int16_t& nRes, Variant& vFoutnummer);

    Desktop& desktop_;
};

}  // namespace vmlib
