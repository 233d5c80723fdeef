#include "automation/Locale.h"

#include <atomic>
#include <list>
#include <mutex>

namespace vmlib {
namespace {

Locale MakeEnglish()
{
    Locale locale;
    locale.name = u"en";
    locale.decimalSeparator = u'.';
    locale.thousandsSeparator = u',';
    locale.listSeparator = u',';
    locale.dateSeparator = u'/';
    locale.timeSeparator = u':';
    locale.currencySign = u"$";
    locale.dateOrder = Locale::DateOrder::MonthDayYear;
    locale.shortDate = u"m/d/yyyy";
    locale.longDate = u"dddd, mmmm d, yyyy";
    locale.time = u"h:nn:ss AM/PM";
    locale.twelveHours = true;
    locale.dayNames = {u"Sunday", u"Monday", u"Tuesday", u"Wednesday", u"Thursday", u"Friday", u"Saturday"};
    locale.shortDayNames = {u"Sun", u"Mon", u"Tue", u"Wed", u"Thu", u"Fri", u"Sat"};
    locale.monthNames = {u"January", u"February", u"March",     u"April",   u"May",      u"June",
                         u"July",    u"August",   u"September", u"October", u"November", u"December"};
    locale.shortMonthNames = {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                              u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};
    locale.trueWord = u"True";
    locale.falseWord = u"False";
    locale.currencyPositive = u"$#,##0.00";
    locale.currencyNegative = u"($#,##0.00)";
    locale.yesWord = u"Yes";
    locale.noWord = u"No";
    locale.onWord = u"On";
    locale.offWord = u"Off";
    return locale;
}

Locale MakeDutch()
{
    Locale locale;
    locale.name = u"nl";
    locale.decimalSeparator = u',';
    locale.thousandsSeparator = u'.';
    locale.listSeparator = u';';
    locale.dateSeparator = u'-';
    locale.timeSeparator = u':';
    locale.currencySign = u"\u20AC";
    locale.dateOrder = Locale::DateOrder::DayMonthYear;
    locale.shortDate = u"d-m-yyyy";
    locale.longDate = u"dddd d mmmm yyyy";
    locale.time = u"hh:nn:ss";
    locale.twelveHours = false;
    locale.dayNames = {u"zondag", u"maandag", u"dinsdag", u"woensdag", u"donderdag", u"vrijdag", u"zaterdag"};
    locale.shortDayNames = {u"zo", u"ma", u"di", u"wo", u"do", u"vr", u"za"};
    locale.monthNames = {u"januari", u"februari", u"maart",     u"april",   u"mei",      u"juni",
                         u"juli",    u"augustus", u"september", u"oktober", u"november", u"december"};
    locale.shortMonthNames = {u"jan", u"feb", u"mrt", u"apr", u"mei", u"jun",
                              u"jul", u"aug", u"sep", u"okt", u"nov", u"dec"};
    locale.trueWord = u"Waar";
    locale.falseWord = u"Onwaar";
    locale.currencyPositive = u"\u20AC #,##0.00";
    locale.currencyNegative = u"\u20AC -#,##0.00";
    locale.yesWord = u"Ja";
    locale.noWord = u"Nee";
    locale.onWord = u"Aan";
    locale.offWord = u"Uit";
    return locale;
}

Locale MakeDanish()
{
    Locale locale;
    locale.name = u"da";
    locale.decimalSeparator = u',';
    locale.thousandsSeparator = u'.';
    locale.listSeparator = u';';
    locale.dateSeparator = u'-';
    locale.timeSeparator = u':';
    locale.currencySign = u"kr";
    locale.dateOrder = Locale::DateOrder::DayMonthYear;
    locale.shortDate = u"dd-mm-yyyy";
    locale.longDate = u"d. mmmm yyyy";
    locale.time = u"hh:nn:ss";
    locale.twelveHours = false;
    locale.dayNames = {u"s\u00F8ndag", u"mandag", u"tirsdag", u"onsdag", u"torsdag", u"fredag", u"l\u00F8rdag"};
    locale.shortDayNames = {u"s\u00F8", u"ma", u"ti", u"on", u"to", u"fr", u"l\u00F8"};
    locale.monthNames = {u"januar", u"februar", u"marts",     u"april",   u"maj",      u"juni",
                         u"juli",   u"august",  u"september", u"oktober", u"november", u"december"};
    locale.shortMonthNames = {u"jan", u"feb", u"mar", u"apr", u"maj", u"jun",
                              u"jul", u"aug", u"sep", u"okt", u"nov", u"dec"};
    locale.trueWord = u"Sand";
    locale.falseWord = u"Falsk";
    locale.currencyPositive = u"kr #,##0.00";
    locale.currencyNegative = u"kr -#,##0.00";
    locale.yesWord = u"Ja";
    locale.noWord = u"Nej";
    locale.onWord = u"Til";
    locale.offWord = u"Fra";
    return locale;
}

std::atomic<const Locale*> userNumbers{nullptr};
std::atomic<const Locale*> userDates{nullptr};

const Locale& OrEnglish(const Locale* locale)
{
    return locale ? *locale : Locale::English();
}

// References handed out before stay good: a locale that was set once lives as long as the process.
const Locale* Kept(const Locale& locale)
{
    for (const Locale* builtIn : {&Locale::English(), &Locale::Dutch(), &Locale::Danish()}) {
        if (&locale == builtIn) return builtIn;
    }
    static std::mutex mutex;
    static std::list<Locale> kept;
    const std::lock_guard lock(mutex);
    return &kept.emplace_back(locale);
}

}  // namespace

const Locale& Locale::English()
{
    static const Locale locale = MakeEnglish();
    return locale;
}

const Locale& Locale::Dutch()
{
    static const Locale locale = MakeDutch();
    return locale;
}

const Locale& Locale::Danish()
{
    static const Locale locale = MakeDanish();
    return locale;
}

const Locale& Locale::Named(TextView name)
{
    const TextView language = name.substr(0, name.find_first_of(u"_-.@"));
    if (EqualIgnoringCase(language, u"nl")) return Dutch();
    if (EqualIgnoringCase(language, u"da")) return Danish();
    return English();
}

const Locale& Locale::User()
{
    return OrEnglish(userNumbers);
}

const Locale& Locale::UserDates()
{
    return OrEnglish(userDates);
}

void Locale::SetUser(const Locale& numbers, const Locale& dates)
{
    userNumbers = Kept(numbers);
    userDates = Kept(dates);
}

}  // namespace vmlib
