#include "jet/Properties.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "core/ByteOrder.h"
#include "core/Error.h"
#include "jet/Format4Rows.h"

// The LvProp value of an object. Integers are little endian, text is code page 1252.
//
//   at  size  content
//    0     4  'K' 'K' 'D' 0
//    4        chunks, each with its length (4, these six bytes included) and its kind (2):
//             kind 80: property names, each as length (2) and text
//             kind 0: properties of the object itself; kind 1: of a field
//                head: its length (4, these four bytes included), length of the name (2), name of the field (of the
//                object: empty) then properties: length (2, included), flags (1; 1 = data definition property, 80 =
//                unknown), type (1), number of its name in the list (2), length of the value (2), value
//
// In format 4 it begins with 'M' 'R' '2' 0, and names and text are UTF-16; they are read, and written never.
//
// Source: docs/file-format.md, "Properties".

namespace vmlib::jet {

namespace {

constexpr char magic[4] = {'K', 'K', 'D', 0}, magicOfFormat4[4] = {'M', 'R', '2', 0};
constexpr std::uint16_t ownKind = 0, fieldKind = 1, namesKind = 0x80;
constexpr std::size_t chunkHead = 6, propertyHead = 8;
constexpr std::uint8_t definitionFlag = 1;
constexpr std::uint8_t textType = 10, memoType = 12;
constexpr std::size_t greatestValueSize = 0xFFFF - propertyHead;

[[noreturn]] void Fail(const char* finding)
{
    constexpr auto number = static_cast<std::int32_t>(ErrorNumber::DamagedDatabase);
    throw Error(number, ErrorText(number) + u" (properties: " + FromUtf8(finding) + u")");
}

/// Takes values from the front of bytes that may end too early.
class Reader
{
public:
    explicit Reader(std::span<const std::uint8_t> bytes, bool isWide = false) : bytes_(bytes), isWide_(isWide) {}

    bool AtEnd() const { return bytes_.empty(); }
    std::span<const std::uint8_t> Raw(std::size_t size)
    {
        if (size > bytes_.size()) Fail("a length goes beyond the end");
        const auto taken = bytes_.first(size);
        bytes_ = bytes_.subspan(size);
        return taken;
    }
    template <class T>
    T Take()
    {
        return LoadLittle<T>(Raw(sizeof(T)).data());
    }
    Text Name()
    {
        const auto raw = Raw(Take<std::uint16_t>());
        if (isWide_) return format4::DecodeText(raw, noPage);
        return FromAnsi(std::string_view(reinterpret_cast<const char*>(raw.data()), raw.size()));
    }
    /// The part whose length, which counts from `counted` bytes ago, stands in front.
    template <class Length>
    Reader Part()
    {
        const std::size_t length = Take<Length>();
        if (length < sizeof(Length)) Fail("a length is too short");
        return Reader(Raw(length - sizeof(Length)), isWide_);
    }
    std::span<const std::uint8_t> Rest() const { return bytes_; }
    bool IsWide() const { return isWide_; }

private:
    std::span<const std::uint8_t> bytes_;
    bool isWide_;  // names are UTF-16
};

template <class T>
void Put(Bytes& to, std::type_identity_t<T> value)
{
    to.resize(to.size() + sizeof(T));
    StoreLittle<T>(to.data() + to.size() - sizeof(T), value);
}

void PutName(Bytes& to, TextView name)
{
    const std::string ansi = ToAnsi(name);
    Put<std::uint16_t>(to, static_cast<std::uint16_t>(ansi.size()));
    to.insert(to.end(), ansi.begin(), ansi.end());
}

void PutChunk(Bytes& to, std::uint16_t kind, const Bytes& contents)
{
    Put<std::uint32_t>(to, static_cast<std::uint32_t>(chunkHead + contents.size()));
    Put<std::uint16_t>(to, kind);
    to.insert(to.end(), contents.begin(), contents.end());
}

/// Text of format 4 as that of format 3.
void Narrow(Property& property, std::vector<Text>& unfit)
{
    const Text text = format4::DecodeText(property.value, noPage);
    if (!FitsAnsi(text)) unfit.push_back(property.name);
    const std::string ansi = ToAnsi(text);
    property.value.assign(ansi.begin(), ansi.end());
}

std::pair<Text, PropertyList> ReadList(Reader chunk, const std::vector<Text>& names, std::vector<Text>& unfit)
{
    Reader head = chunk.Part<std::uint32_t>();
    std::pair<Text, PropertyList> list{head.Name(), {}};
    if (!head.AtEnd()) Fail("the head of a list is longer than its name");
    while (!chunk.AtEnd()) {
        Reader entry = chunk.Part<std::uint16_t>();
        Property property;
        const auto flags = entry.Take<std::uint8_t>();
        property.definition = (flags & definitionFlag) != 0;
        property.otherFlags = static_cast<std::uint8_t>(flags & ~definitionFlag);
        property.type = entry.Take<std::uint8_t>();
        const auto name = entry.Take<std::uint16_t>();
        if (name >= names.size()) Fail("a property's name is not in the list");
        property.name = names[name];
        const auto value = entry.Raw(entry.Take<std::uint16_t>());
        property.value.assign(value.begin(), value.end());
        if (chunk.IsWide() && (property.type == textType || property.type == memoType)) Narrow(property, unfit);
        if (!entry.AtEnd()) Fail("a property is longer than its value");
        list.second.Set(std::move(property));
    }
    return list;
}

Bytes ListContents(TextView field, const PropertyList& list, const std::vector<Text>& names)
{
    Bytes contents;
    const std::size_t nameSize = ToAnsi(field).size();
    Put<std::uint32_t>(contents, static_cast<std::uint32_t>(chunkHead + nameSize));
    PutName(contents, field);
    for (const Property& property : list.All()) {
        const auto name =
            std::ranges::find_if(names, [&](const Text& each) { return EqualIgnoringCase(each, property.name); });
        if (property.value.size() > greatestValueSize) throw Error(ErrorNumber::InvalidArgument);
        Put<std::uint16_t>(contents, static_cast<std::uint16_t>(propertyHead + property.value.size()));
        contents.push_back(static_cast<std::uint8_t>(property.otherFlags | (property.definition ? definitionFlag : 0)));
        contents.push_back(property.type);
        Put<std::uint16_t>(contents, static_cast<std::uint16_t>(name - names.begin()));
        Put<std::uint16_t>(contents, static_cast<std::uint16_t>(property.value.size()));
        contents.insert(contents.end(), property.value.begin(), property.value.end());
    }
    return contents;
}

void AddNames(std::vector<Text>& names, const PropertyList& list)
{
    for (const Property& property : list.All()) {
        const bool known =
            std::ranges::any_of(names, [&](const Text& name) { return EqualIgnoringCase(name, property.name); });
        if (!known) names.push_back(property.name);
    }
}

}  // namespace

const Property* PropertyList::Find(TextView name) const
{
    const auto found = std::ranges::find_if(
        properties_, [&](const Property& property) { return EqualIgnoringCase(property.name, name); });
    return found == properties_.end() ? nullptr : &*found;
}

std::optional<bool> PropertyList::Boolean(TextView name) const
{
    const Property* property = Find(name);
    if (property == nullptr || property->value.empty()) return std::nullopt;
    return property->value.front() != 0;
}

std::optional<Text> PropertyList::String(TextView name) const
{
    const Property* property = Find(name);
    if (property == nullptr) return std::nullopt;
    return FromAnsi(std::string_view(reinterpret_cast<const char*>(property->value.data()), property->value.size()));
}

void PropertyList::Set(Property property)
{
    if (const Property* present = Find(property.name)) {
        properties_[static_cast<std::size_t>(present - properties_.data())] = std::move(property);
    } else {
        properties_.push_back(std::move(property));
    }
}

void PropertyList::SetBoolean(TextView name, bool value, bool definition)
{
    Set({Text(name), 1, definition, {static_cast<std::uint8_t>(value ? 1 : 0)}, 0});
}

void PropertyList::SetString(TextView name, TextView value, std::uint8_t type, bool definition)
{
    const std::string ansi = ToAnsi(value);
    Set({Text(name), type, definition, Bytes(ansi.begin(), ansi.end()), 0});
}

void PropertyList::Remove(TextView name)
{
    std::erase_if(properties_, [&](const Property& property) { return EqualIgnoringCase(property.name, name); });
}

ObjectProperties ObjectProperties::Decode(const Bytes& stored)
{
    ObjectProperties properties;
    if (stored.empty()) return properties;
    Reader all(stored);
    const auto start = all.Raw(sizeof magic);
    const bool isWide = std::memcmp(start.data(), magicOfFormat4, sizeof magic) == 0;
    if (!isWide && std::memcmp(start.data(), magic, sizeof magic) != 0) Fail("they do not begin with KKD");
    all = Reader(all.Rest(), isWide);
    while (!all.AtEnd()) {
        const auto before = all.Rest();
        Reader chunk = all.Part<std::uint32_t>();
        switch (chunk.Take<std::uint16_t>()) {
            case namesKind:
                while (!chunk.AtEnd()) properties.names.push_back(chunk.Name());
                break;
            case ownKind:
                properties.own = ReadList(chunk, properties.names, properties.unfit).second;
                break;
            case fieldKind:
                properties.fields.push_back(ReadList(chunk, properties.names, properties.unfit));
                break;
            default: {
                const auto bytes = before.first(before.size() - all.Rest().size());
                properties.unknownChunks.insert(properties.unknownChunks.end(), bytes.begin(), bytes.end());
            }
        }
    }
    return properties;
}

Bytes ObjectProperties::Encode() const
{
    std::vector<Text> all = names;
    AddNames(all, own);
    for (const auto& field : fields) AddNames(all, field.second);

    Bytes bytes(std::begin(magic), std::end(magic));
    Bytes nameList;
    for (const Text& name : all) PutName(nameList, name);
    PutChunk(bytes, namesKind, nameList);
    if (!own.Empty()) PutChunk(bytes, ownKind, ListContents({}, own, all));
    for (const auto& field : fields) PutChunk(bytes, fieldKind, ListContents(field.first, field.second, all));
    bytes.insert(bytes.end(), unknownChunks.begin(), unknownChunks.end());
    return bytes;
}

PropertyList& ObjectProperties::OfField(TextView name)
{
    for (auto& field : fields) {
        if (EqualIgnoringCase(field.first, name)) return field.second;
    }
    return fields.emplace_back(Text(name), PropertyList{}).second;
}

const PropertyList* ObjectProperties::FindField(TextView name) const
{
    const auto found =
        std::ranges::find_if(fields, [&](const auto& field) { return EqualIgnoringCase(field.first, name); });
    return found == fields.end() ? nullptr : &found->second;
}

void ObjectProperties::RemoveField(TextView name)
{
    std::erase_if(fields, [&](const auto& field) { return EqualIgnoringCase(field.first, name); });
}

void ObjectProperties::RenameField(TextView from, TextView to)
{
    for (auto& field : fields) {
        if (EqualIgnoringCase(field.first, from)) field.first = Text(to);
    }
}

bool ObjectProperties::Empty() const
{
    const bool fieldsEmpty = std::ranges::all_of(fields, [](const auto& field) { return field.second.Empty(); });
    return own.Empty() && fieldsEmpty && unknownChunks.empty();
}

}  // namespace vmlib::jet
