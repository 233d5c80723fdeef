#include <algorithm>

#include "jet/DefinitionCodec.h"
#include "jet/TableState.h"

// Changes of rows: everything that can refuse a row is asked before the first byte changes; what can still fail then (a
// full disk, damage) happens within a unit of work and is undone as a whole.
namespace vmlib::jet {

namespace {

/// The bytes of a long value as the caller gives it.
std::span<const std::uint8_t> LongBytes(const Value& value)
{
    if (const auto* text = std::get_if<std::string>(&value))
        return {reinterpret_cast<const std::uint8_t*>(text->data()), text->size()};
    if (const auto* bytes = std::get_if<Bytes>(&value)) return *bytes;
    throw Error(ErrorNumber::DataConversion);
}

}  // namespace

Table::State::Keys Table::State::KeysOf(const Row& row) const
{
    Keys keys;
    keys.reserve(definition.trees.size());
    for (const TreeDefinition& tree : definition.trees) keys.push_back(IndexKey::Of(definition, tree, row));
    return keys;
}

/// Asks the indexes whose key differs from the one `before` (empty: all). Keys that are Null in every column never
/// collide, as SQL has it.
void Table::State::RefuseKeys(const Row& row, const Keys& keys, const Keys& before)
{
    const auto unchanged = [&](std::size_t i) { return !before.empty() && before[i] == keys[i]; };
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (unchanged(i) || !definition.RefusesNull(i)) continue;
        if (IndexKey::HasNull(definition, definition.trees[i], row)) throw Error(ErrorNumber::NullInKey);
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const TreeDefinition& tree = definition.trees[i];
        if (unchanged(i) || !tree.unique || !keys[i] || IndexKey::AllNull(definition, tree, row)) continue;
        if (trees[i].Contains(*keys[i])) throw Error(ErrorNumber::DuplicateValue);
    }
}

void Table::State::AddEntries(const Keys& keys, const Keys& before, RowPointer at)
{
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (!keys[i] || (!before.empty() && before[i] == keys[i])) continue;
        trees[i].Insert(*keys[i], at);
        CountKey(i, 1);
    }
}

/// An entry that is missing is a fault for the check to report: the row goes or changes all the same.
void Table::State::RemoveEntries(const Keys& keys, const Keys& after, RowPointer at)
{
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (!keys[i] || (!after.empty() && after[i] == keys[i])) continue;
        if (trees[i].Remove(*keys[i], at)) CountKey(i, -1);
    }
}

/// Of unique indexes only: there each key is a distinct one. Genuine files let the number drift, and nothing relies on
/// it.
void Table::State::CountKey(std::size_t tree, int difference)
{
    if (!definition.trees[tree].unique) return;
    const PageEdit page = pager.Edit(definition.page);
    const std::uint32_t count = counters::DistinctKeys(page.Ref(), tree);
    if (count == 0 && difference < 0) return;
    counters::SetDistinctKeys(page, tree, count + static_cast<std::uint32_t>(difference));
}

void Table::State::CountRow(const PageEdit& definitionPage, int difference)
{
    const std::uint32_t count = counters::RowCount(definitionPage.Ref());
    if (count == 0 && difference < 0) return;  // of a file that was not closed properly
    counters::SetRowCount(definitionPage, count + static_cast<std::uint32_t>(difference));
}

/// @throws Error 3047
void Table::State::CheckSize(const Row& row)
{
    fieldSizes.assign(row.size(), 0);
    for (const std::size_t i : longColumns) {
        if (kept[i]) {
            fieldSizes[i] = longFields[i].size();
        } else if (!IsNull(row[i])) {
            fieldSizes[i] = LongValues::FieldSize(LongBytes(row[i]).size());
        }
    }
    codec->SizeOf(row, fieldSizes);
}

/// Long values that the row before has and the new row keeps stay where they are.
void Table::State::KeepLongValues(const Row& row, const RowFields& before, PageNumber page)
{
    Bytes old;
    for (const std::size_t i : longColumns) {
        const auto field = codec->Field(before, i);
        if (!field || IsNull(row[i])) continue;
        const auto wanted = LongBytes(row[i]);
        if (LongValues::LengthOf(*field, page) != wanted.size()) continue;
        LongValues::Read(pager, *field, page, old);
        kept[i] = std::equal(old.begin(), old.end(), wanted.begin(), wanted.end());
        if (kept[i]) longFields[i].assign(field->begin(), field->end());
    }
}

void Table::State::StoreLongValues(const Row& row)
{
    for (const std::size_t i : longColumns) {
        if (kept[i]) continue;
        longFields[i].clear();
        if (!IsNull(row[i])) longFields[i] = longValues->Store(definition.columns[i], LongBytes(row[i]));
    }
}

void Table::State::FreeLongValues(const RowFields& before, PageNumber page)
{
    for (const std::size_t i : longColumns) {
        if (kept[i]) continue;
        if (const auto field = codec->Field(before, i)) longValues->Free(definition.columns[i], *field, page);
    }
}

Row Table::State::IndexedFields(const RowFields& fields) const
{
    Row row(definition.columns.size());
    for (const std::size_t i : indexedColumns) codec->Decode(fields, i, row[i]);
    return row;
}

/// True when storing the row changes no page but the row's own and the counters.
bool Table::State::FitsOnePage(const Row& row) const
{
    return trees.empty() && std::all_of(longColumns.begin(), longColumns.end(), [&](std::size_t i) {
               return IsNull(row[i]) || LongBytes(row[i]).size() <= LongValues::greatestInlineSize;
           });
}

void Table::State::NoteInserted(RowPointer at)
{
    for (auto scan = scans.begin(); scan != scans.end();) {
        if (const auto running = scan->lock()) {
            running->NoteInserted(at);
            ++scan;
        } else {
            scan = scans.erase(scan);
        }
    }
}

RowPointer Table::Insert(const Row& row)
{
    State& state = state_->ToChange();
    if (row.size() != state.definition.columns.size()) throw Error(ErrorNumber::InvalidArgument);
    state.kept.assign(row.size(), false);
    state.longFields.resize(row.size());
    state.CheckSize(row);

    RowPointer at;
    if (state.FitsOnePage(row)) {
        state.StoreLongValues(row);
        state.codec->Encode(row, state.longFields, state.buffer);
        const PageEdit counters = state.pager.Edit(state.definition.page);
        at = state.rows->Store(
            state.buffer.Row());  // the last step that can fail, and it does so before the row is there
        State::CountRow(counters, 1);
    } else {
        const State::Keys keys = state.KeysOf(row);
        state.RefuseKeys(row, keys, {});
        UnitOfWork unit(state.pager);
        state.StoreLongValues(row);
        state.codec->Encode(row, state.longFields, state.buffer);
        at = state.rows->Store(state.buffer.Row());
        state.AddEntries(keys, {}, at);
        State::CountRow(state.pager.Edit(state.definition.page), 1);
        unit.Commit();
    }
    state.NoteInserted(at);
    return at;
}

void Table::Update(RowPointer at, const Row& row)
{
    State& state = state_->ToChange();
    if (row.size() != state.definition.columns.size()) throw Error(ErrorNumber::InvalidArgument);
    const auto found = state.rows->Find(at);
    if (!found) throw Error(ErrorNumber::RecordDeleted);
    const Bytes copy(found->bytes.begin(), found->bytes.end());  // the page is about to change
    const PageNumber page = found->at.page;
    const RowFields before = state.codec->Parse(copy, page);

    state.kept.assign(row.size(), false);
    state.longFields.resize(row.size());
    state.KeepLongValues(row, before, page);
    state.CheckSize(row);
    const State::Keys oldKeys = state.KeysOf(state.IndexedFields(before));
    const State::Keys newKeys = state.KeysOf(row);
    state.RefuseKeys(row, newKeys, oldKeys);

    UnitOfWork unit(state.pager);
    state.StoreLongValues(row);
    state.codec->Encode(row, state.longFields, state.buffer);
    state.rows->Replace(at, state.buffer.Row());
    state.RemoveEntries(oldKeys, newKeys, at);
    state.AddEntries(newKeys, oldKeys, at);
    state.FreeLongValues(before, page);
    unit.Commit();
}

void Table::Delete(RowPointer at)
{
    State& state = state_->ToChange();
    const auto found = state.rows->Find(at);
    if (!found) throw Error(ErrorNumber::RecordDeleted);
    const Bytes copy(found->bytes.begin(), found->bytes.end());
    const PageNumber page = found->at.page;
    const RowFields before = state.codec->Parse(copy, page);
    const State::Keys keys = state.KeysOf(state.IndexedFields(before));

    UnitOfWork unit(state.pager);
    state.RemoveEntries(keys, {}, at);
    state.kept.assign(state.definition.columns.size(), false);
    state.FreeLongValues(before, page);
    state.rows->Erase(at);
    State::CountRow(state.pager.Edit(state.definition.page), -1);
    unit.Commit();
}

std::int32_t Table::TakeAutoNumber()
{
    State& state = state_->ToChange();
    const PageEdit page = state.pager.Edit(state.definition.page);
    const std::uint32_t next = counters::LastAutoNumber(page.Ref()) + 1;
    counters::SetLastAutoNumber(page, next);
    return static_cast<std::int32_t>(next);
}

void Table::NoteAutoNumber(std::int32_t given)
{
    State& state = state_->ToChange();
    const PageEdit page = state.pager.Edit(state.definition.page);
    const auto last = static_cast<std::int32_t>(counters::LastAutoNumber(page.Ref()));
    if (given > last) counters::SetLastAutoNumber(page, static_cast<std::uint32_t>(given));
}

}  // namespace vmlib::jet
