#include "jet/Definition.h"

#include <algorithm>

#include "jet/Names.h"

namespace vmlib::jet {

bool ColumnDefinition::Required() const
{
    return properties.Boolean(u"Required").value_or(false);
}

std::optional<bool> ColumnDefinition::AllowZeroLength() const
{
    return properties.Boolean(u"AllowZeroLength");
}

std::optional<std::size_t> TableDefinition::ColumnNamed(TextView wanted) const
{
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (EqualIgnoringCase(columns[i].name, wanted)) return i;
    }
    return std::nullopt;
}

std::optional<std::size_t> TableDefinition::ColumnNumbered(std::uint16_t number) const
{
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].number == number) return i;
    }
    return std::nullopt;
}

const IndexDefinition* TableDefinition::IndexNamed(TextView wanted) const
{
    const auto found = std::find_if(indexes.begin(), indexes.end(),
                                    [&](const IndexDefinition& index) { return SameName(index.name, wanted); });
    return found == indexes.end() ? nullptr : &*found;
}

bool TableDefinition::RefusesNull(std::size_t realIndex) const
{
    if (trees.at(realIndex).required) return true;
    return std::any_of(indexes.begin(), indexes.end(), [&](const IndexDefinition& index) {
        return index.realIndex == realIndex && index.kind == IndexDefinition::Kind::Primary;
    });
}

}  // namespace vmlib::jet
