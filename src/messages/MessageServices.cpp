#include "messages/MessageServices.h"

#include "automation/Convert.h"
#include "core/Error.h"
#include "general/ResourceStrings.h"
#include "messages/MessageForm.h"

namespace vmlib {

namespace {

constexpr std::int16_t exclamation = 48;
constexpr std::int16_t abortRetryIgnoreStopSecond = 2 | 16 | 256;

// Numbers of the Dutch texts.
constexpr std::int32_t invalidValueText = 30269, andText = 30270, invalidPercentageText = 30271, errorText = 30272,
                       routineText = 30273, inText = 30274;

struct ErrorFamily
{
    int first, last;
    TextView name;
};

// The first that matches. "EROR" is what the reports have always said; support looks for it.
constexpr ErrorFamily errorFamilies[] = {
    {1, 76, u"GENERAL ERROR"},
    {260, 521, u"WINDOWS EROR"},
    {30000, 30019, u"GRID ERROR"},
    {31001, 31039, u"OLE ERROR"},
    {20476, 28671, u"COMMON DIALOG ERROR"},
    {32751, 32765, u"COMMON DIALOG ERROR"},
    {600, 648, u"ODBC ERROR"},
    {3001, 3299, u"DATA ACCESS ERROR"},
};

TextView FamilyOf(double number)
{
    for (const ErrorFamily& family : errorFamilies)
        if (number >= family.first && number <= family.last) return family.name;
    return {};
}

void ShowOutOfRange(Desktop& desktop, std::int32_t firstText, const Text& caption, double least, double most)
{
    const Text text = Text(ResourceString(firstText)) + NumberToText(least) + Text(ResourceString(andText)) +
                      NumberToText(most) + u"!";
    VmdBox(desktop, text, exclamation, caption);
}

}  // namespace

Variant VmdBox(Desktop& desktop, const Text& sTekst, std::int16_t nMeldType, const Text& sTitel)
{
    return Variant(std::int32_t{desktop.MessageBox(sTekst, nMeldType, sTitel)});
}

Variant VmdBox2(Desktop& desktop, const Text& sTekst, std::int16_t nMeldType, const Text& sTitel, const Text& sButton0,
                const Text& sButton1, const Text& sButton2)
{
    constexpr std::int32_t leftAligned = 0, centred = -2;
    return Variant(frmMsg(desktop).Box(sTekst, nMeldType, sTitel, sButton0, sButton1, sButton2, nullptr, leftAligned,
                                       centred, centred));
}

void OngeldigeWaarde(Desktop& desktop, const Text& sMelding, double dMinimumValue, double dMaximumValue)
{
    ShowOutOfRange(desktop, invalidValueText, sMelding, dMinimumValue, dMaximumValue);
}

void OngeldigPercentage(Desktop& desktop, const Text& sMelding, double dMinimumValue, double dMaximumValue)
{
    ShowOutOfRange(desktop, invalidPercentageText, sMelding, dMinimumValue, dMaximumValue);
}

void VmdAfHandel2(Desktop& desktop, const Text& sFout, const Text& sControl, std::int16_t& nRes,
                  const Variant& vFoutnummer)
{
    const Variant value = DefaultValue(vFoutnummer);
    const double number = ToDouble(value);
    if (number == 0) return;

    Text report(FamilyOf(number));
    if (!report.empty()) report += u"\r\n";
    report.append(u"\r\n").append(ResourceString(errorText)).append(ToText(value));
    report.append(u" (").append(RuntimeErrorText(ToLong(value))).append(u")\r\n\r\n");
    report.append(ResourceString(inText)).append(sFout).append(ResourceString(routineText)).append(sControl);
    nRes = ToInteger(VmdBox(desktop, report, abortRetryIgnoreStopSecond, u"Velmora"));
}

}  // namespace vmlib
