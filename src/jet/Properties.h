#pragma once

#include <optional>
#include <vector>

#include "core/Text.h"
#include "core/Values.h"

/// Properties of objects and fields as the LvProp column of MSysObjects keeps them.
namespace vmlib::jet {

struct Property
{
    Text name;
    std::uint8_t type = 0;        // a column type code
    bool definition = false;      // "data definition" property: 1 in the file
    Bytes value;                  // as stored
    std::uint8_t otherFlags = 0;  // bits beside `definition` in its byte; 80 is seen
};

/// Properties of one object or field, in the order of the file; unknown ones keep their bytes.
class PropertyList
{
public:
    const std::vector<Property>& All() const { return properties_; }
    bool Empty() const { return properties_.empty(); }

    const Property* Find(TextView name) const;
    std::optional<bool> Boolean(TextView name) const;
    std::optional<Text> String(TextView name) const;

    void Set(Property property);  // replaces the one of the same name in place, else appends
    void SetBoolean(TextView name, bool value, bool definition = true);
    void SetString(TextView name, TextView value, std::uint8_t type = 12, bool definition = true);
    void Remove(TextView name);

private:
    std::vector<Property> properties_;
};

/// The whole LvProp value: the object's own properties and those of its fields by name.
struct ObjectProperties
{
    PropertyList own;
    std::vector<std::pair<Text, PropertyList>> fields;
    std::vector<Text> unfit;  // properties of format 4 whose text code page 1252 cannot hold; `?` stands in it
    Bytes unknownChunks;      // chunks of kinds not understood, kept as they are
    std::vector<Text> names;  // property names in the order of the file; Encode adds those that are missing

    /// Of format 4 too, whose text becomes that of format 3.
    /// @throws Error 3428 when the bytes contradict the format; an empty value gives no properties
    static ObjectProperties Decode(const Bytes& stored);
    Bytes Encode() const;
    PropertyList& OfField(TextView name);  // made when missing
    const PropertyList* FindField(TextView name) const;
    void RemoveField(TextView name);
    void RenameField(TextView from, TextView to);
    bool Empty() const;
};

}  // namespace vmlib::jet
