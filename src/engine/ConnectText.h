#pragma once

#include <optional>

#include "jet/Definition.h"

/// The texts with ";" between their parts that tell how to open or create a database.
namespace vmlib::engine {

/// `;PWD=text`, `MS Access;PWD=text;DATABASE=path`: what stands before the first ";" names a driver.
struct ConnectText
{
    std::optional<Text> password;
    std::optional<Text> database;

    /// Keys ignore case, unknown keys are ignored. @throws Error 3170 for a driver that is not this engine
    static ConnectText Parse(TextView text);
};

/// `;LANGID=0x0413;CP=1252;COUNTRY=0;PWD=text` of CreateDatabase. A text without LANGID means the general order.
struct LocaleText
{
    jet::SortLocale locale;
    Text password;
    bool givesLocale = false;    // there is a LANGID
    bool givesPassword = false;  // there is a PWD, perhaps an empty one

    /// Keys ignore case. @throws Error 3424 when a part is not understood
    static LocaleText Parse(TextView text);
};

}  // namespace vmlib::engine
