#pragma once

#include <cstddef>
#include <cstdint>

#include "core/Text.h"

namespace vmlib::db {

/// Text of a fixed number of characters: longer text is cut, shorter text padded with blanks. Zero characters before
/// the first assignment.
template <std::size_t width>
class FixedText
{
public:
    FixedText() : text_(width, u'\0') {}
    FixedText& operator=(TextView text)
    {
        text_ = text.substr(0, width);
        text_.resize(width, u' ');
        return *this;
    }
    operator TextView() const { return text_; }

private:
    Text text_;
};

/// What a row of the layout database says; the codes are the engine's. The widths are part of the design: where a name
/// is handed on untrimmed it carries its padding.
struct VeldDefinitie
{
    FixedText<30> VeldNaam;
    std::int16_t VeldType = 0;
    std::int16_t VeldLengte = 0;
    std::int16_t VeldAttribuut = 0;
    bool NulWaardeToegestaan = false;
};

struct IndexDefinitie
{
    FixedText<30> IndexNaam;
    Text VeldNaam;  // the names of its fields, joined by ";"
    std::int16_t Primary = 0;
    std::int16_t Uniek = 0;
};

struct RelatieDefinitie
{
    FixedText<40> RelatieNaam;
    Text TabelNaam1, TabelNaam2, VeldNaam1, VeldNaam2;
    std::int32_t Attribuut = 0;
};

struct QueryDefinitie
{
    FixedText<20> QueryNaam;
    Text QueryParameters;
    Text QueryInhoud;
};

}  // namespace vmlib::db
