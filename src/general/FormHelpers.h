#pragma once

#include "automation/Object.h"
#include "platform/Platform.h"

/// Forms and controls of a host, reached by their properties: where they stand, how long lists drop down, how long
/// texts are. Forms are measured in twips, controls in the units of their form ("ScaleMode"). Except for ComboBreedte
/// no error reaches the caller: a step that fails is skipped.
namespace vmlib {

/// Width of the list of a combo box, in units of the form.
/// @throws Error what the form or the control raises; 6 for a width outside 32 bits
void ComboBreedte(Platform& platform, const ObjectRef& Form, const ObjectRef& Ctrl, std::int32_t Breedte);

/// Height of the list of a combo box: that of AantalRegels + 2 lines, at most what the form allows, which is its height
/// in twips less the top of the control in pixels less 5. More lines than 16 bits count get what the form allows.
void ComboHoogte(Platform& platform, const ObjectRef& Form, const ObjectRef& Ctrl, std::int16_t AantalRegels);

/// ComboHoogte of 20 lines.
void SizeCombo(Platform& platform, const ObjectRef& rForm, const ObjectRef& rCbo);

/// In the middle of the screen; without a screen the form stays where it is.
void VmdLib_Centreer(Platform& platform, const ObjectRef& frmSource);

/// In the middle of another form, moved so that it lies on the screen. Of a form larger than the screen the top left
/// corner does.
void VmdLib_Centreer2(Platform& platform, const ObjectRef& Owner, const ObjectRef& frmSource);

/// Shortens a path to a width: its first three characters, "... ", and its end from a "\" on.
/// @param frm       measures with "TextWidth"
/// @param sPad      in and out; as it is when it fits
/// @param nBreedte  in and out: less the width of the beginning when the path was shortened
void VmdLib_PadNaamInkorten(const ObjectRef& frm, Text& sPad, std::int16_t& nBreedte);

/// Width of a text on a device context, cut to 16 bits; the text as code page 1252 has it.
/// @param hDC  a handle of 16 bits, widened with its sign
std::int16_t PrintAPI_TextWidth(Platform& platform, std::int16_t hDC, const Text& s);

/// Keeps an object alive for the calling thread, in place of the one before.
void ZetOwner(const ObjectRef& Project);

}  // namespace vmlib
