#include "engine/TableAccess.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>

#include "engine/Values.h"

namespace vmlib::engine {
namespace {

constexpr int costOfSeek = 4;
constexpr int costOfFetch = 3;  // of a row through an index, where a scanned row costs 1

bool CanSeek(const jet::ColumnDefinition& column, std::uint16_t langid)
{
    switch (column.type) {
        case jet::ColumnType::Text:
            return column.locale.langid == langid && jet::IndexKey::KnowsOrder(langid);
        case jet::ColumnType::Memo:
        case jet::ColumnType::Binary:
        case jet::ColumnType::LongBinary:
            return false;
        default:
            return true;
    }
}

struct ColumnConstraints
{
    int equal = -1, lower = -1, upper = -1;  // positions in aConstraint
};

ColumnConstraints ConstraintsOn(int column, const sqlite3_index_info& info)
{
    ColumnConstraints found;
    for (int i = 0; i < info.nConstraint; ++i) {
        const auto& constraint = info.aConstraint[i];
        if (!constraint.usable || constraint.iColumn != column) continue;
        switch (constraint.op) {
            case SQLITE_INDEX_CONSTRAINT_EQ:
                found.equal = i;
                break;
            case SQLITE_INDEX_CONSTRAINT_GT:
            case SQLITE_INDEX_CONSTRAINT_GE:
                found.lower = i;
                break;
            case SQLITE_INDEX_CONSTRAINT_LT:
            case SQLITE_INDEX_CONSTRAINT_LE:
                found.upper = i;
                break;
            default:
                break;
        }
    }
    return found;
}

struct Candidate
{
    AccessPlan plan;
    std::vector<int> constraints;  // in the order of xFilter's arguments
    double rows = 0;
};

std::optional<Candidate> CandidateOf(const jet::TableDefinition& table, std::size_t treeNumber, std::uint16_t langid,
                                     const sqlite3_index_info& info)
{
    const jet::TreeDefinition& tree = table.trees[treeNumber];
    Candidate candidate;
    candidate.plan.kind = AccessPlan::Kind::Index;
    candidate.plan.tree = treeNumber;
    candidate.rows = std::max(1.0, static_cast<double>(table.rowCount));
    for (const auto& indexed : tree.columns) {
        const auto position = table.ColumnNumbered(indexed.column);
        if (!position || !CanSeek(table.columns[*position], langid)) break;
        const auto on = ConstraintsOn(static_cast<int>(*position), info);
        if (on.equal >= 0) {
            ++candidate.plan.equalColumns;
            candidate.constraints.push_back(on.equal);
            candidate.rows /= 10;
            continue;
        }
        if (indexed.descending) break;
        if (on.lower >= 0) candidate.constraints.push_back(on.lower);
        if (on.upper >= 0) candidate.constraints.push_back(on.upper);
        candidate.plan.hasLower = on.lower >= 0;
        candidate.plan.hasUpper = on.upper >= 0;
        if (candidate.plan.hasLower) candidate.rows /= 3;
        if (candidate.plan.hasUpper) candidate.rows /= 3;
        break;
    }
    if (candidate.constraints.empty()) return std::nullopt;
    if (candidate.plan.equalColumns == tree.columns.size() && tree.unique) candidate.rows = 1;
    candidate.rows = std::max(1.0, candidate.rows);
    return candidate;
}

jet::ColumnMask MaskOf(const jet::TableDefinition& table, sqlite3_uint64 usedColumns)
{
    constexpr std::size_t lastBit = 63;
    jet::ColumnMask mask(table.columns.size());
    for (std::size_t i = 0; i < mask.size(); ++i) mask[i] = (usedColumns >> std::min(i, lastBit)) & 1;
    return mask;
}

}  // namespace

std::string AccessPlan::Encode() const
{
    char text[96];
    std::snprintf(text, sizeof text, "%d %zu %zu %d %d %llx", static_cast<int>(kind), tree, equalColumns, hasLower,
                  hasUpper, static_cast<unsigned long long>(usedColumns));
    return text;
}

// By hand: a join comes here for each row of its outer table.
AccessPlan AccessPlan::Decode(const char* text)
{
    const char* const end = text + std::strlen(text);
    const auto next = [&](int base) {
        unsigned long long number = 0;
        text = std::from_chars(text, end, number, base).ptr;
        if (text != end) ++text;
        return number;
    };
    AccessPlan plan;
    plan.kind = static_cast<Kind>(next(10));
    plan.tree = static_cast<std::size_t>(next(10));
    plan.equalColumns = static_cast<std::size_t>(next(10));
    plan.hasLower = next(10) != 0;
    plan.hasUpper = next(10) != 0;
    plan.usedColumns = next(16);
    return plan;
}

void PlanAccess(const jet::TableDefinition& table, std::uint16_t langid, sqlite3_index_info& info)
{
    Candidate best;
    best.rows = std::max(1.0, static_cast<double>(table.rowCount));
    double bestCost = best.rows + costOfSeek;
    const auto consider = [&](Candidate candidate) {
        const double cost = costOfSeek + costOfFetch * candidate.rows;
        if (cost >= bestCost) return;
        bestCost = cost;
        best = std::move(candidate);
    };
    if (const int equal = ConstraintsOn(-1, info).equal; equal >= 0) {
        Candidate pointer;
        pointer.plan.kind = AccessPlan::Kind::Pointer;
        pointer.constraints = {equal};
        pointer.rows = 0;
        bestCost = costOfSeek;
        best = pointer;
    }
    // The keys of format 4 are not ours, and making an order of all rows costs more than a walk.
    const std::size_t trees = table.format == jet::FileFormat::Format3 ? table.trees.size() : 0;
    for (std::size_t tree = 0; tree < trees; ++tree)
        if (auto candidate = CandidateOf(table, tree, langid, info)) consider(std::move(*candidate));

    best.plan.usedColumns = info.colUsed;
    for (std::size_t i = 0; i < best.constraints.size(); ++i)
        info.aConstraintUsage[best.constraints[i]].argvIndex = static_cast<int>(i) + 1;
    info.idxStr = sqlite3_mprintf("%s", best.plan.Encode().c_str());
    info.needToFreeIdxStr = 1;
    info.estimatedCost = bestCost;
    info.estimatedRows = static_cast<sqlite3_int64>(std::max(1.0, best.rows));
    if (best.plan.kind == AccessPlan::Kind::Pointer) info.idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
}

void TableReader::Start(const AccessPlan& plan, std::span<sqlite3_value*> arguments)
{
    plan_ = plan;
    const jet::TableDefinition& definition = table_.table->Definition();
    mask_ = MaskOf(definition, plan.usedColumns);
    const bool hasNull =
        std::ranges::any_of(arguments, [](auto* value) { return sqlite3_value_type(value) == SQLITE_NULL; });
    atEnd_ = hasNull;  // nothing equals Null nor lies beside it
    if (atEnd_) return;
    if (plan_.kind == AccessPlan::Kind::Pointer) {
        const auto packed = sqlite3_value_type(arguments[0]) == SQLITE_INTEGER ? sqlite3_value_int64(arguments[0]) : -1;
        where_ = jet::RowPointer::Unpack(static_cast<std::uint32_t>(packed));
        atEnd_ = packed < 0 || packed > 0xFFFFFFFF || !table_.table->Fetch(where_, row_, mask_);
        return;
    }
    if (plan_.kind == AccessPlan::Kind::Index && plan_.tree < definition.trees.size() && StartIndex(arguments)) return;
    plan_.kind = AccessPlan::Kind::Scan;
    cursor_ = table_.table->Scan(mask_);
    atEnd_ = !cursor_.Next();
}

bool TableReader::StartIndex(std::span<sqlite3_value*> arguments)
{
    const jet::TableDefinition& definition = table_.table->Definition();
    const jet::TreeDefinition& tree = definition.trees[plan_.tree];
    std::vector<jet::Value> values;
    const auto key = [&](std::size_t argument, std::size_t column) -> std::optional<jet::Key> {
        const auto position = definition.ColumnNumbered(tree.columns.at(column).column);
        auto value = position ? FromConstraint(arguments[argument], definition.columns[*position].type) : std::nullopt;
        if (!value) return std::nullopt;
        values.resize(column);
        values.push_back(std::move(*value));
        return jet::IndexKey::Prefix(definition, tree, values);
    };
    prefix_.clear();
    for (std::size_t i = 0; i < plan_.equalColumns; ++i) {
        const auto next = key(i, i);
        if (!next) return false;
        prefix_ = *next;
    }
    std::size_t argument = plan_.equalColumns;
    jet::Key lower = prefix_;
    if (plan_.hasLower) {
        const auto bound = key(argument++, plan_.equalColumns);
        if (!bound) return false;
        lower = *bound;
    }
    upper_.clear();
    if (plan_.hasUpper) {
        const auto bound = key(argument, plan_.equalColumns);
        if (!bound) return false;
        upper_ = *bound;
    }
    // Of a key beyond 255 bytes the file keeps the first 253; an entry then matches by those and SQLite checks the row.
    constexpr std::size_t keptOfLongKey = jet::greatestKeySize - 2;
    for (jet::Key* long_ : {&prefix_, &lower, &upper_})
        if (long_->size() > keptOfLongKey) long_->resize(keptOfLongKey);
    entry_.emplace(table_.table->Tree(plan_.tree).LowerBound(lower));
    ReadEntry();
    return true;
}

void TableReader::ReadEntry()
{
    for (; !entry_->AtEnd(); entry_->Next()) {
        const jet::Key& key = entry_->EntryKey();
        if (!key.starts_with(prefix_)) break;
        if (!upper_.empty() && key.compare(0, upper_.size(), upper_) > 0) break;
        where_ = entry_->Row();
        if (table_.table->Fetch(where_, row_, mask_)) {
            atEnd_ = false;
            return;
        }
    }
    atEnd_ = true;
}

void TableReader::Next()
{
    switch (plan_.kind) {
        case AccessPlan::Kind::Scan:
            atEnd_ = !cursor_.Next();
            break;
        case AccessPlan::Kind::Pointer:
            atEnd_ = true;
            break;
        case AccessPlan::Kind::Index:
            entry_->Next();
            ReadEntry();
            break;
    }
}

}  // namespace vmlib::engine
