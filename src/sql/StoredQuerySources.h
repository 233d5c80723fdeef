#pragma once

#include "core/Error.h"
#include "sql/StoredQueryParts.h"

namespace vmlib::sql::stored {

/// A name in brackets where its characters or its meaning ask for them.
Text Bracketed(TextView name);
/// A parameter as a designer stores it (Forms!My Form!Box) or as a program wrote it ([Name]): brackets piece by piece.
Text BracketedPieces(TextView name);
Text Quoted(TextView path);
Error Corrupt(TextView what);
/// Adds an item to a list, with the separator between two.
void AppendTo(Text& list, TextView item, TextView separator = u", ");

/// The FROM list of a stored query: it begins as a list of sources, which join rows melt into larger parts.
class SourceText
{
public:
    void AddTable(const ClauseRow& row);
    /// Joins the part that holds the left table with the part that holds the right one; both in one part is a further
    /// condition of its join.
    /// @throws Error 3340 for a table that is no source
    void AddJoin(const ClauseRow& row);
    /// Sources without a join first.
    Text All() const;

private:
    struct Part
    {
        Text text;                     // of a table
        Text left, word, right;        // of a join
        std::vector<Text> conditions;  // in the order of the rows, which is the reverse of the text
        std::vector<Text> tables;
    };
    static Text Open(const Part& part);
    static Text Closed(const Part& part);
    std::size_t PartOf(TextView table) const;

    std::vector<Part> parts_;
};

}  // namespace vmlib::sql::stored
