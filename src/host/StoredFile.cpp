#include "host/StoredFile.h"

namespace vmlib::host {

namespace {

constexpr std::int16_t tableObject = 1, linkedOdbcTable = 4, linkedTable = 6;

bool IsSystem(const jet::ObjectEntry& object)
{
    return (object.flags & 0x80000002u) != 0;
}

}  // namespace

StoredFile::StoredFile(Session& session, TextView path) : workspace_(session.Storage())
{
    jet::OpenOptions options;
    options.readOnly = true;
    options.password = session.Password();
    database_ = workspace_.Open(path, options);
}

std::vector<Text> StoredFile::Tables() const
{
    std::vector<Text> names;
    for (const jet::ObjectEntry& object : database_->Objects())
        if (object.type == tableObject && !IsSystem(object)) names.emplace_back(TrimRight(object.name));
    return names;
}

std::vector<Text> StoredFile::LinkedTables() const
{
    std::vector<Text> names;
    for (const jet::ObjectEntry& object : database_->Objects())
        if (object.type == linkedOdbcTable || object.type == linkedTable) names.emplace_back(TrimRight(object.name));
    return names;
}

bool IsOwnField(TextView table, TextView field)
{
    if (!EqualIgnoringCase(table, u"Info")) return false;
    return EqualIgnoringCase(field, u"Versie") || EqualIgnoringCase(field, u"BestandNaam") ||
           EqualIgnoringCase(field, u"InGebruikDoor");
}

bool IsPadded(const jet::ColumnDefinition& column)
{
    return column.fixedSize && (column.type == jet::ColumnType::Text || column.type == jet::ColumnType::Binary);
}

}  // namespace vmlib::host
