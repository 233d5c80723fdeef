#include "engine/RowSource.h"

#include <atomic>

#include "core/ByteOrder.h"

namespace vmlib::engine {

RowShape ShapeOfValues(const Selection& selection)
{
    RowShape shape;
    shape.columns = selection.Columns();
    shape.origins.resize(shape.columns.size());
    shape.designs.resize(shape.columns.size());
    for (std::size_t i = 0; i < shape.columns.size(); ++i)
        if (const jet::ColumnDefinition* design = selection.DesignOf(i))
            shape.designs[i] = std::make_shared<const jet::ColumnDefinition>(*design);
    return shape;
}

const jet::Row& RowReader::At(jet::RowPointer pointer)
{
    if (isRead_ && pointer == pointer_) return row_;
    const jet::ReadScope reading(table_.database->GetPager());
    isRead_ = false;
    if (!table_.table->Fetch(pointer, row_)) throw Error(ErrorNumber::RecordDeleted);
    pointer_ = pointer;
    isRead_ = true;
    return row_;
}

std::uint32_t NextSourceNumber()
{
    static std::atomic<std::uint32_t> last = 0;
    return ++last;
}

Bytes MakeBookmark(std::uint32_t source, std::uint32_t place)
{
    Bytes bookmark(2 * sizeof source);
    StoreLittle(bookmark.data(), source);
    StoreLittle(bookmark.data() + sizeof source, place);
    return bookmark;
}

std::uint32_t PlaceOf(const Bytes& bookmark, std::uint32_t source)
{
    if (bookmark.size() != 2 * sizeof source || LoadLittle<std::uint32_t>(bookmark.data()) != source)
        throw Error(ErrorNumber::BadBookmark);
    return LoadLittle<std::uint32_t>(bookmark.data() + sizeof source);
}

}  // namespace vmlib::engine
