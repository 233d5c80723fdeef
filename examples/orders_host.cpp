// A host in C++: the part of an application that opens its documents of the file type ORDERS.
//
//     orders_host open DOCUMENT LAYOUT            opens, converting an older document; prints the working copy's path
//     orders_host picture DOCUMENT ARTICLE FILE   puts the bytes of a file into the article's long binary field Foto
//
// Version 2 of the layout calls the field Naam of Klanten Bedrijfsnaam. A conversion moves data by field name, so the
// names would be lost: the class OrdersConverter, which the library creates and calls by name, fills them in.

#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

#include "automation/Convert.h"
#include "automation/MemberTable.h"
#include "component/Component.h"
#include "engine/Engine.h"

using namespace vmlib;

namespace {

/// What the converter needs from its host, and what it reports back.
struct Conversion
{
    ObjectRef library;
    Text document;  // the old data: the library closes it before it converts the working copy
    std::int32_t names = 0;
    std::string problem;
};

Variant FieldOf(const ObjectRef& recordset, TextView name)
{
    return Get(ToObject(Get(ToObject(Get(recordset, u"Fields")), u"Item", name)), u"Value");
}

class OrdersConverter : public AutomationClass<OrdersConverter>
{
public:
    explicit OrdersConverter(Conversion& conversion) : conversion_(conversion) {}

    static const MemberTable& Members()
    {
        static const MemberTable table =
            MemberTable::Of<OrdersConverter>(u"Converter")
                .Method<&OrdersConverter::PakketConvert>(
                    u"PakketConvert", {u"vDatabase", u"vFileType", u"vOudeVersie", u"vNieuweVersie"});
        return table;
    }

private:
    /// The library ignores what a converter throws, so the host remembers it.
    void PakketConvert(Variant& vDatabase, Variant&, Variant& vOudeVersie, Variant&)
    {
        try {
            if (ToLong(vOudeVersie) < 2) FillCompanyNames(ToObject(vDatabase));
        } catch (const Error& error) {
            conversion_.problem = error.what();
        }
    }

    void FillCompanyNames(const ObjectRef& converted)
    {
        const auto names = OldNames();
        const ObjectRef customers = ToObject(Call(converted, u"OpenRecordset", u"Klanten"));
        for (; !ToBoolean(Get(customers, u"EOF")); Call(customers, u"MoveNext")) {
            const auto name = names.find(ToLong(FieldOf(customers, u"KlantNr")));
            if (name == names.end()) continue;
            Call(customers, u"Edit");
            Put(ToObject(Get(ToObject(Get(customers, u"Fields")), u"Item", u"Bedrijfsnaam")), u"Value", name->second);
            Call(customers, u"Update");
            ++conversion_.names;
        }
        Call(customers, u"Close");
    }

    std::map<std::int32_t, Variant> OldNames() const
    {
        const ObjectRef old =
            ToObject(Call(conversion_.library, u"DBL_OpenMdb", conversion_.document, false, true, false));
        const ObjectRef customers = ToObject(Call(old, u"OpenRecordset", u"SELECT KlantNr, Naam FROM Klanten"));
        std::map<std::int32_t, Variant> names;
        for (; !ToBoolean(Get(customers, u"EOF")); Call(customers, u"MoveNext"))
            names[ToLong(FieldOf(customers, u"KlantNr"))] = FieldOf(customers, u"Naam");
        Call(customers, u"Close");
        Call(old, u"Close");
        return names;
    }

    Conversion& conversion_;
};

class Host
{
public:
    Host()
    {
        System& system = platform_.system;
        Locale::SetUser(Locale::Named(system.NumberLocaleName()), Locale::Named(system.DateLocaleName()));
        RegisterEngine(classes_, platform_, system.TemporaryFolder().value_or(u"\\"));
        RegisterClasses(classes_, platform_);
        library_ = classes_.Create(u"VmdDbLibRoutines");
        Call(library_, u"DBL_InitPassWord");
    }

    int Open(const std::string& document, const std::string& layout)
    {
        Conversion conversion{library_, NativeToFull(document), 0, {}};
        classes_.Register(u"Orders.Converter", [&] { return std::make_shared<OrdersConverter>(conversion); });
        Call(library_, u"DBL_AutoConvertPakket", u"Orders.Converter");

        Variant working, status, version, layoutVersion, code;
        const bool opened = ToBoolean(Call(library_, u"DBL_OpenDatabase", conversion.document, working, u"ORDERS",
                                           NativeToFull(layout), status, version, layoutVersion, code));
        if (!opened) {
            std::cerr << ToUtf8(ToText(Call(library_, u"DBL_GetDatabaseError", code))) << '\n';
            return 10 + ToInteger(code);
        }
        if (!conversion.problem.empty()) {
            std::cerr << "The names were not converted: " << conversion.problem << '\n';
            return 3;
        }
        std::cerr << "Version " << ToLong(version) << " of the document, " << ToLong(layoutVersion)
                  << " of the layout; the converter filled " << conversion.names << " names\n";
        std::cout << platform_.files.ToNative(ToText(working)) << '\n';
        return 0;
    }

    int SetPicture(const std::string& document, const std::string& article, const std::string& file)
    {
        std::ifstream stream(file, std::ios::binary);
        if (!stream) throw Error(ErrorNumber::FileNotFound, {FromUtf8(file)});
        Bytes bytes{std::istreambuf_iterator<char>(stream), {}};
        const ObjectRef database =
            ToObject(Call(library_, u"DBL_OpenMdb", NativeToFull(document), false, false, false));
        const Text sql =
            u"SELECT Foto FROM Artikelen WHERE ArtikelNr = '" + Replaced(FromUtf8(article), u"'", u"''") + u"'";
        const ObjectRef articles = ToObject(Call(database, u"OpenRecordset", sql));
        Call(articles, u"Edit");
        Put(ToObject(Get(ToObject(Get(articles, u"Fields")), u"Item", u"Foto")), u"Value", Array(std::move(bytes)));
        Call(articles, u"Update");
        Call(articles, u"Close");
        Call(database, u"Close");
        return 0;
    }

private:
    Text NativeToFull(const std::string& path) { return platform_.files.FullPath(platform_.files.FromNative(path)); }

    Platform& platform_ = NativePlatform();
    ClassRegistry classes_;
    ObjectRef library_;
};

}  // namespace

int main(int count, char** values)
{
    const std::vector<std::string> arguments(values + 1, values + count);
    try {
        Host host;
        if (arguments.size() == 3 && arguments[0] == "open") return host.Open(arguments[1], arguments[2]);
        if (arguments.size() == 4 && arguments[0] == "picture")
            return host.SetPicture(arguments[1], arguments[2], arguments[3]);
    } catch (const Error& error) {
        std::cerr << "error " << error.what() << '\n';
        return 3;
    }
    std::cerr << "usage: orders_host open DOCUMENT LAYOUT | picture DOCUMENT ARTICLE FILE\n";
    return 2;
}
