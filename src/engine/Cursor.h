#pragma once

#include <functional>

#include "engine/RowChange.h"
#include "engine/RowSource.h"

namespace vmlib::engine {

/// DAO's recordset types and edit modes.
enum class RecordsetType : std::int16_t
{
    Table = 1,
    Dynaset = 2,
    Snapshot = 4,
    ForwardOnly = 8,
};
enum class EditMode : std::int16_t
{
    None = 0,
    InProgress = 1,
    Add = 2,
};

/// A place among the rows of a source, with BOF and EOF, and the copy buffer of Edit and AddNew. The late-bound objects
/// (a recordset, its fields) share one and keep no state of rows themselves.
class Cursor
{
public:
    using Opener = std::function<std::unique_ptr<RowSource>()>;

    struct Opening
    {
        RecordsetType type = RecordsetType::Dynaset;
        bool readOnly = false;
        bool pessimistic = true;  // Edit locks the page of the row until Update
        Text table;               // table type: its name
        std::vector<Text> reads;  // the tables that the rows come from
    };

    /// @param opener  runs the query; again for Requery
    Cursor(DatabaseRef database, Opening opening, Opener opener);
    /// A clone: same rows, no current row.
    explicit Cursor(const Cursor& other);

    void Close();
    bool IsOpen() const { return source_ != nullptr; }
    DatabaseHandle& TheDatabase() { return *database_; }
    const DatabaseRef& SharedDatabase() const { return database_; }
    const Opening& TheOpening() const { return opening_; }
    RecordsetType Type() const { return opening_.type; }
    const Text& TableName() const { return opening_.table; }
    /// True when rows come from this table.
    bool Reads(jet::Database& storage, TextView table) const;
    const RowShape& Shape() { return Source().Shape(); }
    /// @throws Error 3420 after Close
    RowSource& Source();
    void Replace(std::unique_ptr<RowSource> source);
    void Requery();

    // Moves. @throws Error 3021 beyond an end
    bool Bof() { return Source(), place_ == Place::Before || place_ == Place::Empty; }
    bool Eof() { return Source(), place_ == Place::Behind || place_ == Place::Empty; }
    void MoveFirst();
    void MoveLast();
    void MoveNext();
    void MovePrevious();
    void Move(std::int32_t rows);
    Bytes Bookmark();
    void GoTo(const Bytes& bookmark);  // 3159, 3167
    Bytes LastModified();
    void GoToPosition(std::int32_t position);
    std::optional<std::int32_t> Position();
    /// After a Seek that went to the source itself.
    void Arrived(bool found);

    // Values. @throws Error 3021 without a row, 3167 on a deleted one
    jet::Value Read(std::size_t column);
    /// @throws Error 3020 outside Edit and AddNew, 3421, 3163, 3315, 3164 for an AutoNumber, 3219 for a computed column
    void Write(std::size_t column, const Variant& value);
    bool CanWrite(std::size_t column);
    /// The column of a base table that an output column changes; null when it changes none.
    const jet::ColumnDefinition* ColumnOf(std::size_t column);
    /// The design of the stored column that an output column shows; null for a computed one.
    const jet::ColumnDefinition* DesignOf(std::size_t column);

    // Changes. @throws Error 3251, 3027, 3188 for a row that another session edits, and what the row's rules raise
    bool IsUpdatable();
    EditMode Mode() const;
    bool LocksEdits() const { return opening_.pessimistic; }
    /// @throws Error 3219 during an edit
    void SetLocksEdits(bool locks);
    /// A rollback of the workspace ended the edit: its buffer and its locks go.
    void EndRolledBackEdit();
    /// @throws Error as Update does, when the value of a column breaks the rule of its field
    void CheckRule(std::size_t column, const Variant& value);
    /// Tells one Edit or AddNew from another. @throws Error 3020
    std::uint64_t EditNumber();
    void Edit();
    void AddNew();
    void Update();
    void CancelUpdate();
    void Delete();

    /// Walks the rows, beginning with the current one moved by `step` (0: the first or last row), to one for which the
    /// criteria are True.
    /// @return false when there is none; the place is as before then
    bool Find(TextView criteria, bool fromEnd, bool forward);

private:
    enum class Place
    {
        Empty,
        Before,
        OnRow,
        Behind,
        Nowhere,  // after a Seek without match
    };
    struct EditBuffer
    {
        EditMode mode = EditMode::None;
        std::uint64_t number = 0;
        std::uint64_t rollbacks = 0;                                  // a rollback ends the edit
        std::vector<std::vector<std::optional<jet::Value>>> changes;  // per base table and column: what was assigned
        std::vector<std::optional<jet::Row>> before;                  // per base table: the row as Edit found it
        jet::Row added;                                               // AddNew: the new row with its defaults
        std::vector<jet::Database::PageLock> locks;                   // of the rows' pages
    };

    void RequireRow();
    void RequireChangeable();
    void Start(EditMode mode);
    void StoreEdit();
    void StoreNew();
    std::unique_ptr<RowRules> RulesOf(std::size_t table);
    void DropBuffer() { buffer_ = EditBuffer{}; }

    DatabaseRef database_;
    Opening opening_;
    Opener opener_;
    std::unique_ptr<RowSource> source_;
    Place place_ = Place::Empty;
    bool rowDeleted_ = false;
    EditBuffer buffer_;
    std::uint64_t lastEdit_ = 0;
    std::optional<Bytes> lastModified_;
};

}  // namespace vmlib::engine
