#include "component/AlgemeneLibrary.h"

#include "general/Paths.h"

namespace vmlib {

const MemberTable& AlgemeneLibrary::Members()
{
    using Self = AlgemeneLibrary;
    static const MemberTable table =
        MemberTable::Of<Self>(u"AlgemeneLibrary")
            .Method<&Self::TempPath>(u"VmdLib_TempPath")
            .Method<&Self::TempFile>(u"VmdLib_TempFile", {u"sNaam", u"Id"})
            .Method<&Self::ExtractFileNaam>(u"VmdLib_ExtractFileNaam", {u"sSpecIn", u"nBaseOnly"})
            .Method<&Self::ExtractPad>(u"VmdLib_ExtractPad", {u"sSpecIn"})
            .Method<&Self::WriteTest>(u"VmdLib_WriteTest", {u"sDirectory"})
            .Method<&Self::LeesGebruiker>(u"VmdLib_LeesGebruiker");
    return table;
}

Text AlgemeneLibrary::TempPath()
{
    return VmdLib_TempPath(platform_);
}

std::int32_t AlgemeneLibrary::TempFile(Text& sNaam, Optional& Id)
{
    return VmdLib_TempFile(platform_, sNaam, Id);
}

Text AlgemeneLibrary::ExtractFileNaam(Text& sSpecIn, std::int16_t& nBaseOnly)
{
    return VmdLib_ExtractFileNaam(sSpecIn, nBaseOnly);
}

Text AlgemeneLibrary::ExtractPad(Text& sSpecIn)
{
    return VmdLib_ExtractPad(platform_, sSpecIn);
}

std::int32_t AlgemeneLibrary::WriteTest(Text sDirectory)
{
    return VmdLib_WriteTest(platform_, std::move(sDirectory));
}

Text AlgemeneLibrary::LeesGebruiker()
{
    return VmdLib_LeesGebruiker(platform_);
}

}  // namespace vmlib
