#include "component/AlgemeneLibrary.h"
#include "general/FormHelpers.h"
#include "general/Help.h"
#include "general/ResourceStrings.h"

namespace vmlib {

Text AlgemeneLibrary::LoadResString(Variant& Id)
{
    return VmdLib_LoadResString(Id);
}

void AlgemeneLibrary::LoadResStrings(ObjectRef& frm)
{
    vmlib::LoadResStrings(frm);
}

void AlgemeneLibrary::ComboBreedte(ObjectRef& Form, ObjectRef& Ctrl, std::int32_t Breedte)
{
    vmlib::ComboBreedte(platform_, Form, Ctrl, Breedte);
}

void AlgemeneLibrary::ComboHoogte(ObjectRef& Form, ObjectRef& Ctrl, std::int16_t& AantalRegels)
{
    vmlib::ComboHoogte(platform_, Form, Ctrl, AantalRegels);
}

void AlgemeneLibrary::SizeCombo(ObjectRef& rForm, ObjectRef& rCbo)
{
    vmlib::SizeCombo(platform_, rForm, rCbo);
}

void AlgemeneLibrary::Centreer(ObjectRef& frmSource)
{
    VmdLib_Centreer(platform_, frmSource);
}

void AlgemeneLibrary::Centreer2(ObjectRef& Owner, ObjectRef& frmSource)
{
    VmdLib_Centreer2(platform_, Owner, frmSource);
}

void AlgemeneLibrary::PadNaamInkorten(ObjectRef& frm, Text& sPad, std::int16_t& nBreedte)
{
    VmdLib_PadNaamInkorten(frm, sPad, nBreedte);
}

std::int16_t AlgemeneLibrary::PrintAPI_TextWidth(std::int16_t& hDC, Text& s)
{
    return vmlib::PrintAPI_TextWidth(platform_, hDC, s);
}

void AlgemeneLibrary::ZetOwner(ObjectRef& Project)
{
    vmlib::ZetOwner(Project);
}

void AlgemeneLibrary::Help(std::int32_t& hWnd, Text& sHelpBestand, std::int32_t& lContext)
{
    vmlib::Help(platform_, hWnd, sHelpBestand, lContext);
}

void AlgemeneLibrary::HelpForceFile(std::int32_t& hWnd, Text& sHelpFile)
{
    vmlib::HelpForceFile(platform_, hWnd, sHelpFile);
}

void AlgemeneLibrary::HelpGet(std::int32_t& hWnd, Text& sHelpBestand, std::int32_t& lCmd, std::int32_t& lContext)
{
    vmlib::HelpGet(platform_, hWnd, sHelpBestand, lCmd, lContext);
}

void AlgemeneLibrary::HelpKey(std::int32_t& hWnd, Text& sHelpBestand, Text& sContext)
{
    vmlib::HelpKey(platform_, hWnd, sHelpBestand, sContext);
}

void AlgemeneLibrary::HelpQuit(std::int32_t& hWnd, Text& sHelpBestand)
{
    vmlib::HelpQuit(platform_, hWnd, sHelpBestand);
}

void AlgemeneLibrary::HelpSearch(std::int32_t& hWnd, Text& sHelpBestand)
{
    vmlib::HelpSearch(platform_, hWnd, sHelpBestand);
}

void AlgemeneLibrary::HelpOnderwerpen(Text& sHelpBestand)
{
    vmlib::HelpOnderwerpen(platform_, sHelpBestand);
}

void AlgemeneLibrary::HelpOnHelp(std::int32_t& hWnd, Text& sHelpBestand)
{
    vmlib::HelpOnHelp(platform_, hWnd, sHelpBestand);
}

}  // namespace vmlib
