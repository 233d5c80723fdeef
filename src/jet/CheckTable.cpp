#include "jet/CheckTable.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/DefinitionCodec.h"

namespace vmlib::jet {
namespace {

constexpr std::uint32_t inlineFlag = 0x80000000;
constexpr std::uint32_t oneRowFlag = 0x40000000;
constexpr std::uint32_t lengthBits = 0x3FFFFFFF;
constexpr std::size_t longFieldSize = 12;
constexpr std::size_t greatestInline = 64;
constexpr std::size_t pointerSize = 4;
constexpr std::size_t greatestEntryFaults = 10;  // a tree

}  // namespace

TableCheck::TableCheck(Pager& pager, CheckFindings& findings, PageLedger& ledger, std::string name,
                       PageNumber definitionPage)
    : pager_(pager), findings_(findings), ledger_(ledger), name_(std::move(name)), page_(definitionPage)
{
}

bool TableCheck::ReadDefinition()
{
    return findings_.Guard(name_ + ", definition", [&] {
        for (const PageNumber page : DefinitionPages(pager_, page_)) ledger_.Claim(page, "the definition of " + name_);
        definition_ = ReadDefinitionPages(pager_, page_);
        codec_.emplace(definition_);
        CheckColumns();
    });
}

void TableCheck::CheckColumns()
{
    for (const ColumnDefinition& column : definition_.columns) {
        if (IsLongValue(column.type) != column.ownedMap.has_value()) {
            findings_.Fault(name_ + "." + Printed(column.name) + ": its type and its page maps disagree");
        }
    }
    for (const IndexDefinition& index : definition_.indexes) {
        if (index.kind == IndexDefinition::Kind::Primary && !definition_.TreeOf(index).unique) {
            findings_.Fault(name_ + "." + Printed(index.name) + ": a primary index that is not unique");
        }
    }
    std::set<std::uint32_t> numbers;
    for (const IndexDefinition& index : definition_.indexes) {
        if (!numbers.insert(index.number).second)
            findings_.Fault(name_ + ": " + Printed(index.name) + " and another index have one number");
    }
    for (std::size_t tree = 0; tree < definition_.trees.size(); ++tree) {
        if (TreeName(tree) == name_ + ".")
            findings_.Fault(name_ + ": index tree " + std::to_string(tree) + " has no name");
    }
}

const Value& TableCheck::ValueOf(const Row& row, TextView column) const
{
    static const Value null = Null{};
    const auto position = definition_.ColumnNamed(column);
    return position ? row[*position] : null;
}

const EntryList* TableCheck::Entries(std::size_t realIndex) const
{
    return realIndex < entries_.size() && entries_[realIndex] ? &*entries_[realIndex] : nullptr;
}

std::string TableCheck::TreeName(std::size_t realIndex) const
{
    std::string names;
    for (const IndexDefinition& index : definition_.indexes) {
        if (index.realIndex != realIndex) continue;
        if (!names.empty()) names += "/";
        names += Printed(index.name);
    }
    return name_ + "." + names;
}

// --------------------------------------------------------------------------------------------- rows

void TableCheck::CheckRows(bool keepRows)
{
    keepRows_ = keepRows;
    WalkTrees();
    ClaimLongValues();
    const std::string who = name_ + " (rows)";
    const std::vector<PageNumber> owned = ledger_.ClaimMap(definition_.ownedMap, who);
    for (const PageNumber page : ledger_.ClaimMap(definition_.roomMap, name_ + " (pages with room)")) {
        if (!std::binary_search(owned.begin(), owned.end(), page)) {
            findings_.Fault(name_ + ": page " + std::to_string(page) + " has room but is not owned");
        }
    }
    Slots slots;
    for (const PageNumber page : owned) {
        if (ledger_.Claim(page, who)) findings_.Guard(who, [&] { CheckPage(page, slots); });
    }
    CheckMovedRows(slots);
    CheckUnusedLongValues();
    CheckEntries();
    CheckCounts();
}

void TableCheck::CheckPage(PageNumber number, Slots& slots)
{
    const DataPage page(pager_.Read(number), page_);
    for (std::size_t index = 0; index < page.SlotCount(); ++index) {
        const Slot slot = page.At(index);
        const RowPointer at{number, static_cast<std::uint8_t>(index)};
        switch (slot.state) {
            case SlotState::Deleted:
                if (!slot.bytes.empty()) findings_.Note(name_ + ": the deleted row " + Printed(at) + " keeps bytes");
                break;
            case SlotState::MovedAway:
                if (slot.bytes.size() != pointerSize) {
                    findings_.Fault(name_ + ": the place of the moved row " + Printed(at) + " is no pointer");
                } else {
                    slots.movedAway[at] = RowPointer::Unpack(LoadLittle<std::uint32_t>(slot.bytes.data()));
                }
                break;
            case SlotState::MovedHere:
                slots.movedHere.insert(at);
                break;
            case SlotState::Row:
                CheckRow(at, slot.bytes);
                break;
        }
    }
    ledger_.CheckFreeBytes(number, page.FreeBytes(), name_);
}

/// Every moved row is reached from one place, every such place leads to a moved row.
void TableCheck::CheckMovedRows(const Slots& slots)
{
    std::set<RowPointer> reached;
    for (const auto& moved : slots.movedAway) {
        const RowPointer from = moved.first;
        const RowPointer to = moved.second;
        if (!slots.movedHere.contains(to) || !reached.insert(to).second) {
            findings_.Fault(name_ + ": row " + Printed(from) + " moved to " + Printed(to) +
                            ", where no row of its own is");
            continue;
        }
        findings_.Guard(name_ + " row " + Printed(from), [&] {
            const DataPage page(pager_.Read(to.page), page_);
            CheckRow(from, page.At(to.row).bytes);
        });
    }
    for (const RowPointer at : slots.movedHere) {
        if (!reached.contains(at)) findings_.Fault(name_ + ": nothing leads to the moved row " + Printed(at));
    }
}

void TableCheck::CheckRow(RowPointer at, std::span<const std::uint8_t> bytes)
{
    ++rowCount_;
    findings_.Guard(name_ + " row " + Printed(at), [&] {
        const RowFields fields = codec_->Parse(bytes, at.page);
        Row row(definition_.columns.size());
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (!IsLongValue(definition_.columns[i].type)) {
                codec_->Decode(fields, i, row[i]);
            } else if (const auto field = codec_->Field(fields, i)) {
                ReadLongValue(definition_.columns[i], *field, at, row[i]);
            }
        }
        CheckValues(at, row);
        CheckKeys(at, row);
        if (keepRows_) rows_.push_back(std::move(row));
    });
}

void TableCheck::CheckValues(RowPointer at, const Row& row)
{
    for (std::size_t i = 0; i < row.size(); ++i) {
        const ColumnDefinition& column = definition_.columns[i];
        if (const auto* text = std::get_if<std::string>(&row[i]); text != nullptr && column.type == ColumnType::Text) {
            if (text->size() > column.size) {
                findings_.Fault(name_ + " row " + Printed(at) + ": " + Printed(column.name) + " has " +
                                std::to_string(text->size()) + " of " + std::to_string(column.size) + " characters");
            }
        }
        if (const auto* number = std::get_if<std::int32_t>(&row[i]); number != nullptr && column.autoNumber) {
            greatestAutoNumber_ = std::max<std::int64_t>(greatestAutoNumber_, *number);
        }
    }
}

void TableCheck::CheckCounts()
{
    findings_.Report().rows += rowCount_;
    if (definition_.rowCount != rowCount_) {
        findings_.Note(name_ + ": the definition counts " + std::to_string(definition_.rowCount) + " rows, there are " +
                       std::to_string(rowCount_));
    }
    if (greatestAutoNumber_ > static_cast<std::int32_t>(definition_.lastAutoNumber)) {
        findings_.Fault(name_ + ": AutoNumber " + std::to_string(greatestAutoNumber_) +
                        " was given, the last is said to be " +
                        std::to_string(static_cast<std::int32_t>(definition_.lastAutoNumber)));
    }
}

// --------------------------------------------------------------------------------------------- long values

void TableCheck::ClaimLongValues()
{
    for (const ColumnDefinition& column : definition_.columns) {
        if (!column.ownedMap) continue;
        const std::string who = name_ + "." + Printed(column.name) + " (long values)";
        LongColumn& owned = longColumns_[column.number];
        for (const PageNumber page : ledger_.ClaimMap(*column.ownedMap, who)) {
            if (ledger_.Claim(page, who)) owned.pages.insert(page);
        }
        if (!column.roomMap || *column.roomMap == 0) continue;
        for (const PageNumber page : ledger_.ClaimMap(*column.roomMap, who + " with room")) {
            if (!owned.pages.contains(page)) {
                findings_.Fault(who + ": page " + std::to_string(page) + " has room but is not owned");
            }
        }
    }
}

void TableCheck::ReadLongValue(const ColumnDefinition& column, std::span<const std::uint8_t> field, RowPointer row,
                               Value& into)
{
    if (field.size() < longFieldSize) throw Damaged(row.page, "a long value's field is cut off");
    const auto word = LoadLittle<std::uint32_t>(field.data());
    const std::size_t length = word & lengthBits;
    Bytes bytes;
    if ((word & inlineFlag) != 0) {
        if (field.size() != longFieldSize + length || length > greatestInline) {
            throw Damaged(row.page, "a long value in its row has the wrong length");
        }
        bytes.assign(field.begin() + longFieldSize, field.end());
    } else {
        if (field.size() != longFieldSize) throw Damaged(row.page, "a long value's field is too long");
        const RowPointer first = RowPointer::Unpack(LoadLittle<std::uint32_t>(field.data() + pointerSize));
        bytes = ReadPieces(longColumns_[column.number], first, (word & oneRowFlag) != 0, length);
    }
    if (!keepRows_) return;
    if (column.type == ColumnType::Memo) {
        into = std::string(bytes.begin(), bytes.end());
    } else {
        into = std::move(bytes);
    }
}

Bytes TableCheck::ReadPieces(LongColumn& owned, RowPointer first, bool oneRow, std::size_t length)
{
    Bytes bytes;
    for (RowPointer at = first; at != RowPointer{};) {
        if (!owned.pages.contains(at.page))
            throw Damaged(at.page, "a long value stands on a page that its column does not own");
        if (!owned.used.insert(at).second)
            throw Damaged(at.page, "a piece of a long value is used twice: row " + std::to_string(at.row));
        const DataPage page(pager_.Read(at.page), DataPage::longValueOwner);
        if (at.row >= page.SlotCount() || page.At(at.row).state != SlotState::Row) {
            throw Damaged(at.page, "a piece of a long value is missing: row " + std::to_string(at.row));
        }
        const auto piece = page.At(at.row).bytes;
        if (oneRow) {
            bytes.assign(piece.begin(), piece.end());
            break;
        }
        if (piece.size() <= pointerSize) throw Damaged(at.page, "a piece of a long value is too short");
        bytes.insert(bytes.end(), piece.begin() + pointerSize, piece.end());
        at = RowPointer::Unpack(LoadLittle<std::uint32_t>(piece.data()));
    }
    if (bytes.size() != length) throw Damaged(first.page, "a long value has another length than its row says");
    return bytes;
}

void TableCheck::CheckUnusedLongValues()
{
    for (const auto& column : longColumns_) {
        for (const PageNumber page : column.second.pages) {
            findings_.Guard(name_ + " (long values)", [&] { CheckLongValuePage(page, column.second.used); });
        }
    }
}

void TableCheck::CheckLongValuePage(PageNumber number, const std::set<RowPointer>& used)
{
    const DataPage page(pager_.Read(number), DataPage::longValueOwner);
    for (std::size_t row = 0; row < page.SlotCount(); ++row) {
        const RowPointer at{number, static_cast<std::uint8_t>(row)};
        if (page.At(row).state != SlotState::Deleted && !used.contains(at)) {
            findings_.Fault(name_ + ": the piece " + Printed(at) + " of a long value is used by no row");
        }
    }
    ledger_.CheckFreeBytes(number, page.FreeBytes(), name_ + " (long values)");
}

// --------------------------------------------------------------------------------------------- keys

void TableCheck::WalkTrees()
{
    TreeCheck check(pager_, findings_, ledger_);
    for (std::size_t tree = 0; tree < definition_.trees.size(); ++tree) {
        entries_.push_back(check.Walk(definition_.trees[tree], page_, TreeName(tree)));
        if (entries_.back()) findings_.Report().indexEntries += entries_.back()->Count();
    }
}

void TableCheck::CheckKeys(RowPointer at, const Row& row)
{
    for (std::size_t i = 0; i < definition_.trees.size(); ++i) {
        const TreeDefinition& tree = definition_.trees[i];
        if (!entries_[i] || keysUnknown_.contains(i)) continue;
        if (tree.required && IndexKey::HasNull(definition_, tree, row)) {
            findings_.Fault(TreeName(i) + ": row " + Printed(at) + " has a Null in a key that must not have one");
        }
        std::optional<Key> key;
        try {
            key = IndexKey::Of(definition_, tree, row);
        } catch (const Error& error) {
            if (!error.Is(ErrorNumber::NotSupported)) throw;
            findings_.Note(TreeName(i) + ": the keys are not checked, their sort order is not known");
            keysUnknown_.insert(i);
            continue;
        }
        if (!key) continue;
        if (!entries_[i]->Mark(EntryOf(*key, at))) {
            findings_.Fault(TreeName(i) + ": row " + Printed(at) + " has no entry " + PrintedKey(*key));
        }
        if (tree.unique && IndexKey::HasNull(definition_, tree, row)) keysWithNull_.emplace(i, std::move(*key));
    }
    for (NeededKeys& needed : needed_) {
        if (IndexKey::HasNull(definition_, needed.parentTree, row)) continue;
        Key key = *IndexKey::Of(definition_, needed.parentTree, row);
        needed.keys.emplace(std::move(key), at);
    }
}

/// Entries that no row accounts for, and keys that come twice where they must not.
void TableCheck::CheckEntries()
{
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (!entries_[i] || keysUnknown_.contains(i)) continue;
        const EntryList& entries = *entries_[i];
        std::size_t faults = 0;
        for (std::size_t at = 0; at < entries.Count(); ++at) {
            if (!entries.IsMarked(at) && ++faults <= greatestEntryFaults) {
                findings_.Fault(TreeName(i) + ": entry " + PrintedKey(entries.KeyAt(at)) + " of row " +
                                Printed(RowOf(entries.At(at))) + " follows from no row");
            }
        }
        if (faults > greatestEntryFaults)
            findings_.Fault(TreeName(i) + ": " + std::to_string(faults) + " entries follow from no row");
        if (!definition_.trees[i].unique) continue;
        for (std::size_t at = 1; at < entries.Count(); ++at) {
            const std::string_view key = entries.KeyAt(at);
            if (key != entries.KeyAt(at - 1) || keysWithNull_.contains({i, Key(key)})) continue;  // Nulls may repeat
            findings_.Fault(TreeName(i) + ": key " + PrintedKey(key) + " comes twice in a unique index");
        }
    }
}

}  // namespace vmlib::jet
