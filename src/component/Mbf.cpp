#include "component/Mbf.h"

#include "mbf/ByteStrings.h"
#include "mbf/LegacyReals.h"

namespace vmlib {

const MemberTable& Mbf::Members()
{
    using Self = Mbf;
    static const MemberTable table = MemberTable::Of<Self>(u"MBF")
                                         .Method<&Self::CVI>(u"CVI", {u"x"})
                                         .Method<&Self::CVL>(u"CVL", {u"x"})
                                         .Method<&Self::CVS>(u"CVS", {u"x"})
                                         .Method<&Self::CVD>(u"CVD", {u"x"})
                                         .Method<&Self::MKI>(u"MKI", {u"x"})
                                         .Method<&Self::MKL>(u"MKL", {u"x"})
                                         .Method<&Self::MKS>(u"MKS", {u"x"})
                                         .Method<&Self::MKD>(u"MKD", {u"x"})
                                         .Method<&Self::CVSMBF>(u"CVSMBF", {u"OldStringSP"})
                                         .Method<&Self::CVDMBF>(u"CVDMBF", {u"OldStringDP"})
                                         .Method<&Self::MKSMBF>(u"MKSMBF", {u"OldNumberSP"})
                                         .Method<&Self::MKDMBF>(u"MKDMBF", {u"OldNumberDP"})
                                         .Method<&Self::MKDTPR>(u"MKDTPR", {u"OldNumberDP"});
    return table;
}

std::int16_t Mbf::CVI(Text& x)
{
    return mbf::CVI(platform_, x);
}

std::int32_t Mbf::CVL(Text& x)
{
    return mbf::CVL(platform_, x);
}

float Mbf::CVS(Text& x)
{
    return mbf::CVS(platform_, x);
}

double Mbf::CVD(Text& x)
{
    return mbf::CVD(platform_, x);
}

Text Mbf::MKI(std::int16_t& x)
{
    return mbf::MKI(x);
}

Text Mbf::MKL(std::int32_t& x)
{
    return mbf::MKL(x);
}

Text Mbf::MKS(float& x)
{
    return mbf::MKS(x);
}

Text Mbf::MKD(double& x)
{
    return mbf::MKD(x);
}

float Mbf::CVSMBF(Text& OldStringSP)
{
    return mbf::CVSMBF(OldStringSP);
}

double Mbf::CVDMBF(Text& OldStringDP)
{
    return mbf::CVDMBF(OldStringDP);
}

Text Mbf::MKSMBF(float& OldNumberSP)
{
    return mbf::MKSMBF(OldNumberSP);
}

Text Mbf::MKDMBF(double& OldNumberDP)
{
    return mbf::MKDMBF(OldNumberDP);
}

Text Mbf::MKDTPR(double& OldNumberDP)
{
    return mbf::MKDTPR(OldNumberDP);
}

}  // namespace vmlib
