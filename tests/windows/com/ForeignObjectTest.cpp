#include <thread>

#include "component/com/ComObject.h"
#include "component/com/LibraryIds.h"
#include "core/Error.h"
#include "windows/com/Client.h"

namespace vmlib::com::test {
namespace {

/// Somebody else's object, as a script host makes them. PakketConvert looks at its arguments and replaces the first
/// one; Mislukt replaces it and raises what it was told to.
class Foreign final : public IDispatch
{
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** found) override
    {
        const bool isKnown = wanted == IID_IUnknown || wanted == IID_IDispatch;
        *found = isKnown ? this : nullptr;
        if (!isKnown) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override
    {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override
    {
        const std::wstring name = names[0];
        ids[0] = name == L"PakketConvert" ? 1 : name == L"Mislukt" ? 2 : DISPID_UNKNOWN;
        return ids[0] > 0 ? S_OK : DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*, EXCEPINFO* thrown,
                                     UINT*) override
    {
        for (UINT i = parameters->cArgs; i > 0; --i) types.push_back(parameters->rgvarg[i - 1].vt);
        VARIANT* const first = parameters->rgvarg[parameters->cArgs - 1].pvarVal;
        ::VariantClear(first);
        *first = Bstr(L"vervangen");
        if (id == 1) return S_OK;
        *thrown = exception;
        thrown->bstrDescription = ::SysAllocString(description.c_str());
        return DISP_E_EXCEPTION;
    }

    int references = 1;
    std::vector<VARTYPE> types;
    EXCEPINFO exception = {};
    std::wstring description;
};

TEST(ForeignObjectTest, GetsVariablesAndItsChangesComeBack)
{
    Foreign foreign;
    {
        const ObjectRef object = ToObjectRef(&foreign);
        EXPECT_EQ(object, ToObjectRef(&foreign)) << "one object a pointer";
        Variant first(std::int32_t{1}), second(u"ORDERS");
        Call(object, u"PakketConvert", first, second, Variant::Missing());
        const VARTYPE variable = VT_BYREF | VT_VARIANT;
        EXPECT_EQ(foreign.types, (std::vector<VARTYPE>{variable, variable, VT_ERROR}));
        EXPECT_EQ(first, Variant(u"vervangen"));
        EXPECT_EQ(second, Variant(u"ORDERS"));
        EXPECT_EQ(object->TypeName(), u"Object");
    }
    EXPECT_EQ(foreign.references, 1);
}

TEST(ForeignObjectTest, ErrorsHaveTheNumbersThatScriptHostsSee)
{
    const struct
    {
        WORD code;
        std::uint32_t result;
        const wchar_t* description;
        std::int32_t number;
        const char16_t* text;
    } cases[] = {
        {1013, 0, L"eigen tekst", 1013, u"eigen tekst"},
        {0, 0x800A000D, L"", 13, u"Type mismatch"},
        {0, 0x80040201, L"van de host", static_cast<std::int32_t>(0x80040201), u"van de host"},
        {0, 0x80070005, L"", 70, u"Permission denied"},
        {0, 0, L"", 440, u"Automation error"},
    };
    for (const auto& row : cases) {
        Foreign foreign;
        foreign.exception.wCode = row.code;
        foreign.exception.scode = static_cast<SCODE>(row.result);
        foreign.description = row.description;
        Variant arguments[] = {Variant(std::int32_t{1})};
        try {
            ToObjectRef(&foreign)->Invoke(u"Mislukt", InvokeKind::Method, arguments);
            ADD_FAILURE() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), row.number);
            EXPECT_EQ(error.Description(), row.text);
        }
        EXPECT_EQ(arguments[0], Variant(u"vervangen")) << "what was changed before the failure stays";
        EXPECT_EQ(foreign.references, 1);
    }
    Foreign foreign;
    try {
        Call(ToObjectRef(&foreign), u"Bestaat");
        ADD_FAILURE() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), 438);
    }
}

TEST(ForeignObjectTest, AThreadThatEndsLeavesTheOthersTheirObjects)
{
    ::CoInitialize(nullptr);
    {
        const LoadedDll library(L"vmlib.dll");
        const auto here = library.Make(routinesClassId);
        for (int i = 0; i < 3; ++i)
            std::thread([&] {
                ::CoInitialize(nullptr);
                OwnedVariant file, type;
                file.Get() = Bstr(L"C:\\geen.mdb");
                type.Get() = Bstr(L"ORDERS");
                {
                    const auto there = library.Make(routinesClassId);
                    const Outcome version =
                        Invoke(there.Get(), L"DBL_GetVersieNummer", DISPATCH_METHOD, {file.Get(), type.Get()});
                    EXPECT_EQ(version.value, Variant(std::int16_t{0}));
                }
                ::CoUninitialize();
            }).join();
        OwnedVariant code;
        code.Get() = Short(3);
        EXPECT_EQ(Invoke(here.Get(), L"DBL_GetDatabaseError", DISPATCH_METHOD, {code.Get()}).result, S_OK);
        EXPECT_FALSE(library.CanUnload());
    }
    ::CoUninitialize();
}

}  // namespace
}  // namespace vmlib::com::test
