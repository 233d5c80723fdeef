#include "platform/UserRecord.h"

#include <algorithm>

namespace vmlib {

namespace {

constexpr std::size_t nameSize = std::tuple_size_v<UserRecord> / 2;

void PutName(std::span<std::uint8_t> field, TextView name)
{
    const std::string bytes = ToAnsi(name);
    std::copy_n(bytes.begin(), std::min(bytes.size(), field.size() - 1), field.begin());
}

Text NameIn(std::span<const std::uint8_t> field)
{
    return FromAnsi(std::string(field.begin(), std::find(field.begin(), field.end(), 0)));
}

}  // namespace

UserRecord ToUserRecord(const DatabaseUser& user)
{
    UserRecord record{};
    PutName(std::span(record).first<nameSize>(), user.computer);
    PutName(std::span(record).last<nameSize>(), user.user);
    return record;
}

DatabaseUser FromUserRecord(const UserRecord& record)
{
    return {NameIn(std::span(record).first<nameSize>()), NameIn(std::span(record).last<nameSize>())};
}

Text UserListPath(TextView database)
{
    const TextView name = database.substr(database.find_last_of(u"\\/:") + 1);  // npos + 1 is the start
    const TextView extension = name.substr(std::min(name.rfind(u'.'), name.size()));
    return Text(database.substr(0, database.size() - extension.size())) + u".ldb";
}

}  // namespace vmlib
