#include "component/Melding.h"

#include "messages/MessageServices.h"

namespace vmlib {

const MemberTable& Melding::Members()
{
    using Self = Melding;
    static const MemberTable table =
        MemberTable::Of<Self>(u"Melding")
            .Method<&Self::VmdBox>(u"VmdBox", {u"sTekst", u"nMeldType", u"sTitel"})
            .Method<&Self::VmdBox2>(u"VmdBox2",
                                    {u"sTekst", u"nMeldType", u"sTitel", u"sButton0", u"sButton1", u"sButton2"})
            .Method<&Self::OngeldigeWaarde>(u"OngeldigeWaarde", {u"sMelding", u"dMinimumValue", u"dMaximumValue"})
            .Method<&Self::OngeldigPercentage>(u"OngeldigPercentage", {u"sMelding", u"dMinimumValue", u"dMaximumValue"})
            .Method<&Self::VmdAfHandel2>(u"VmdAfHandel2", {u"sFout", u"sControl", u"nRes", u"vFoutnummer"});
    return table;
}

Variant Melding::VmdBox(Text& sTekst, std::int16_t& nMeldType, Text& sTitel)
{
    return vmlib::VmdBox(desktop_, sTekst, nMeldType, sTitel);
}

Variant Melding::VmdBox2(Text& sTekst, std::int16_t& nMeldType, Text& sTitel, Text& sButton0, Text& sButton1,
                         Text& sButton2)
{
    return vmlib::VmdBox2(desktop_, sTekst, nMeldType, sTitel, sButton0, sButton1, sButton2);
}

void Melding::OngeldigeWaarde(Text& sMelding, double& dMinimumValue, double& dMaximumValue)
{
    vmlib::OngeldigeWaarde(desktop_, sMelding, dMinimumValue, dMaximumValue);
}

void Melding::OngeldigPercentage(Text& sMelding, double& dMinimumValue, double& dMaximumValue)
{
    vmlib::OngeldigPercentage(desktop_, sMelding, dMinimumValue, dMaximumValue);
}

void Melding::VmdAfHandel2(Text& sFout, Text& sControl, std::int16_t& nRes, Variant& vFoutnummer)
{
    vmlib::VmdAfHandel2(desktop_, sFout, sControl, nRes, vFoutnummer);
}

}  // namespace vmlib
