#pragma once

#include "jet/Database.h"

namespace vmlib::jet {

/// `SELECT expression FROM Klanten` as MSysQueries holds it.
inline Database::StoredQuery PlainQuery(const Text& name, const Text& expression)
{
    Database::StoredQuery query;
    query.name = name;
    const auto row = [&](std::uint8_t attribute, std::optional<Text> name1, std::optional<Text> text) {
        QueryRow made;
        made.attribute = attribute;
        made.order = 1;
        made.name1 = std::move(name1);
        made.expression = std::move(text);
        query.rows.push_back(std::move(made));
    };
    row(0, {}, {});
    row(255, {}, {});
    row(5, u"Klanten", {});
    row(6, {}, expression);
    return query;
}

}  // namespace vmlib::jet
