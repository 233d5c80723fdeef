// Prints the type library of a DLL as IDL, from the member tables that its classes answer calls by: there is no second
// list of members. Given the word `manifest` it prints the manifest for use without registration. Run by the build;
// widl makes the library, and both go into the DLL.

#include <cstdio>
#include <iostream>
#include <string_view>

#include "automation/MemberTable.h"
#include "component/com/MemberIds.h"
#include "component/com/Server.h"

namespace vmlib::com {
namespace {

// widl knows the automation types by these names, whatever stands behind them; no Debian package for this compiler has
// the file that declares them.
constexpr char automationTypes[] = R"([object, uuid(00000000-0000-0000-C000-000000000046)] interface IUnknown {}
[object, uuid(00020400-0000-0000-C000-000000000046)] interface IDispatch : IUnknown {}
typedef wchar_t* BSTR;
typedef short VARIANT_BOOL;
typedef double DATE;
typedef struct tagCY { hyper int64; } CURRENCY;
typedef struct tagVARIANT { hyper first, second; } VARIANT;

)";

std::string TextOf(const GUID& id)
{
    wchar_t text[40];
    const int length = ::StringFromGUID2(id, text, 40);
    return ToUtf8(FromWide(text + 1, static_cast<std::size_t>(length) - 3));  // without braces
}

std::string TypeOf(VarType type)
{
    switch (type) {
        case VarType::Empty:
            return "void";
        case VarType::Integer:
            return "short";
        case VarType::Long:
            return "long";
        case VarType::Single:
            return "float";
        case VarType::Double:
            return "double";
        case VarType::Currency:
            return "CURRENCY";
        case VarType::Date:
            return "DATE";
        case VarType::String:
            return "BSTR";
        case VarType::Boolean:
            return "VARIANT_BOOL";
        case VarType::Byte:
            return "unsigned char";
        case VarType::Object:
            return "IDispatch*";
        default:
            return "VARIANT";
    }
}

std::string ParameterText(const ParameterInfo& parameter, bool isNewValue)
{
    // Only a VARIANT can be left out.
    const std::string type = parameter.optional ? "VARIANT" : TypeOf(parameter.type);
    std::string text = parameter.byReference && !isNewValue ? "[in, out" : "[in";
    if (parameter.optional && !isNewValue) text += ", optional";
    text += "] " + type + (parameter.byReference && !isNewValue ? "* " : " ");
    return text + (parameter.name.empty() ? "newValue" : ToUtf8(parameter.name));
}

void PrintMember(const MemberTable& table, const MemberInfo& member)
{
    const bool isPut = member.kind == InvokeKind::Put, isGet = member.kind == InvokeKind::Get;
    const bool isEnumerator = member.name == u"_NewEnum";
    std::cout << "        [id(" << MemberIds::IdIn(table, member.name) << ")" << (isGet ? ", propget" : "")
              << (isPut ? ", propput" : "") << (member.hidden ? ", hidden, restricted" : "") << "]\n        "
              << (isEnumerator ? "IUnknown*" : TypeOf(isPut ? VarType::Empty : member.result)) << " "
              << ToUtf8(member.name) << "(";
    for (std::size_t i = 0; i < member.parameters.size(); ++i)
        std::cout << (i == 0 ? "" : ", ")
                  << ParameterText(member.parameters[i], isPut && i + 1 == member.parameters.size());
    std::cout << ");\n";
}

void PrintClass(const ServedClass& served)
{
    const ObjectRef object = ClassesOfThread().Create(served.progId);
    const MemberTable& table = *object->TableOfMembers();
    const std::string name = ToUtf8(Text(served.name));
    std::cout << "    [uuid(" << TextOf(served.interfaceId) << ")]\n    dispinterface _" << name
              << "\n    {\n    properties:\n    methods:\n";
    for (const MemberInfo& member : table.Members()) PrintMember(table, member);
    std::cout << "    };\n\n    [uuid(" << TextOf(served.classId) << "), helpstring(\""
              << ToUtf8(Text(served.description)) << "\")]\n    coclass " << name
              << "\n    {\n        [default] dispinterface _" << name << ";\n    };\n\n";
}

void PrintLibrary()
{
    const Server& server = TheServer();
    std::cout << automationTypes << "[uuid(" << TextOf(server.libraryId) << "), version(1.0), helpstring(\""
              << ToUtf8(Text(server.description)) << "\")]\nlibrary " << ToUtf8(Text(server.libraryName))
              << "\n{\n    importlib(\"stdole2.tlb\");\n\n";
    for (const ServedClass& served : server.classes) PrintClass(served);
    std::cout << "}\n";
}

/// The assembly has the name of the DLL, as that is the file in which programs look for it.
void PrintManifest()
{
    const Server& server = TheServer();
    std::string assembly = ToUtf8(server.libraryName);
    for (char& letter : assembly) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    const std::string library = "{" + TextOf(server.libraryId) + "}";
    std::cout << R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <assemblyIdentity type="win32" name=")"
              << assembly << R"(" version="1.0.0.0" processorArchitecture=")" << (sizeof(void*) == 8 ? "amd64" : "x86")
              << "\"/>\n  <file name=\"" << assembly << ".dll\">\n";
    for (const ServedClass& served : server.classes) {
        const std::string progId = ToUtf8(served.progId);
        std::cout << "    <comClass clsid=\"{" << TextOf(served.classId) << "}\" progid=\"" << progId << "\" tlbid=\""
                  << library << "\" threadingModel=\"Apartment\" description=\"" << ToUtf8(served.description)
                  << "\">\n      <progid>" << progId << ".1</progid>\n    </comClass>\n";
    }
    std::cout << "    <typelib tlbid=\"" << library << "\" version=\"1.0\" helpdir=\"\"/>\n  </file>\n";
    for (const ServedClass& served : server.classes)
        std::cout << "  <comInterfaceExternalProxyStub name=\"_" << ToUtf8(served.name) << "\" iid=\"{"
                  << TextOf(served.interfaceId) << "}\" tlbid=\"" << library
                  << "\" proxyStubClsid32=\"{00020420-0000-0000-C000-000000000046}\"/>\n";
    std::cout << "</assembly>\n";
}

}  // namespace
}  // namespace vmlib::com

int main(int count, char** arguments)
{
    try {
        if (count > 1 && std::string_view(arguments[1]) == "manifest")
            vmlib::com::PrintManifest();
        else
            vmlib::com::PrintLibrary();
        return std::cout.flush() ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
