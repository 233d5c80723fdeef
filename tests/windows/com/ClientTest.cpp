#include <thread>

#include "automation/Collection.h"
#include "component/com/DispatchObject.h"
#include "component/com/EngineIds.h"
#include "component/com/LibraryIds.h"
#include "windows/com/Client.h"

namespace vmlib::com::test {
namespace {

constexpr WORD method = DISPATCH_METHOD, get = DISPATCH_PROPERTYGET, put = DISPATCH_PROPERTYPUT;

/// A client in C++: what script hosts do not show of the interfaces.
class ClientTest : public testing::Test
{
protected:
    ClientTest() { ::CoInitialize(nullptr); }
    ~ClientTest() override { ::CoUninitialize(); }

    LoadedDll library_{L"vmlib.dll"};
    LoadedDll engine_{L"vmdengine.dll"};
};

TEST_F(ClientTest, FactoriesMakeTheFiveClassesAndNothingElse)
{
    void* found = nullptr;
    EXPECT_EQ(library_.ClassObject(IID_IDispatch, IID_IClassFactory, &found), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_TRUE(library_.CanUnload());
    for (const GUID& id : {routinesClassId, messagesClassId, generalClassId, registryClassId, mbfClassId}) {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(library_.ClassObject(id, IID_IClassFactory, reinterpret_cast<void**>(factory.Put())), S_OK);
        EXPECT_FALSE(library_.CanUnload());
        const auto outer = library_.Make(id);
        EXPECT_EQ(factory->CreateInstance(outer.Get(), IID_IUnknown, &found), CLASS_E_NOAGGREGATION);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IStream, &found), E_NOINTERFACE);
        factory->LockServer(TRUE);
        factory = {};
    }
    EXPECT_FALSE(library_.CanUnload());
    ComPtr<IClassFactory> factory;
    library_.ClassObject(mbfClassId, IID_IClassFactory, reinterpret_cast<void**>(factory.Put()));
    for (int i = 0; i < 5; ++i) factory->LockServer(FALSE);
    factory = {};
    EXPECT_TRUE(library_.CanUnload());
}

TEST_F(ClientTest, AnObjectIsOneAndTheSameByEveryInterface)
{
    const auto mbf = library_.Make(mbfClassId);
    const auto unknown = mbf.As<IUnknown>(), again = mbf.As<IProvideClassInfo>().As<IUnknown>();
    EXPECT_EQ(unknown.Get(), again.Get());
    EXPECT_EQ(mbf.As<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IID_IDispatch), S_OK);
    EXPECT_EQ(mbf.As<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IID_IStream), S_FALSE);
    const auto engine = engine_.Make(engineClassId), other = engine_.Make(engineClassId);
    EXPECT_EQ(engine.Get(), other.Get()) << "one engine a thread";
}

TEST_F(ClientTest, NamesHaveNumbers)
{
    const auto mbf = library_.Make(mbfClassId);
    wchar_t member[] = L"mKi", parameter[] = L"X", unknown[] = L"Bestaat";
    wchar_t* names[] = {member, parameter, unknown};
    DISPID ids[3] = {};
    EXPECT_EQ(mbf->GetIDsOfNames(IID_NULL, names, 2, LOCALE_USER_DEFAULT, ids), S_OK);
    EXPECT_EQ(ids[1], 0);
    EXPECT_EQ(mbf->GetIDsOfNames(IID_NULL, names, 3, LOCALE_USER_DEFAULT, ids), DISP_E_UNKNOWNNAME);
    EXPECT_GT(ids[0], 0);
    EXPECT_EQ(ids[2], DISPID_UNKNOWN);
    EXPECT_EQ(mbf->GetIDsOfNames(IID_IUnknown, names, 1, LOCALE_USER_DEFAULT, ids), DISP_E_UNKNOWNINTERFACE);
    names[0] = unknown;
    EXPECT_EQ(mbf->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, ids), DISP_E_UNKNOWNNAME);
}

TEST_F(ClientTest, WrongCallsHaveTheirResults)
{
    const auto mbf = library_.Make(mbfClassId);
    DISPPARAMS none = {};
    const DISPID mki = IdOf(mbf.Get(), L"MKI");
    EXPECT_EQ(mbf->Invoke(mki, IID_IUnknown, 0, method, &none, nullptr, nullptr, nullptr), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(mbf->Invoke(mki, IID_NULL, 0, method, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(Invoke(mbf.Get(), 4711, method, {}).result, DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(Invoke(mbf.Get(), mki, method, {}).result, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(Invoke(mbf.Get(), mki, method, {Short(1), Short(2)}).result, DISP_E_BADPARAMCOUNT);
    EXPECT_EQ(Invoke(mbf.Get(), mki, method, {Missing()}).result, DISP_E_PARAMNOTOPTIONAL);
    EXPECT_EQ(Invoke(mbf.Get(), mki, method, {Short(1)}, {5}).result, DISP_E_PARAMNOTFOUND);

    OwnedVariant word;
    word.Get() = Bstr(L"woord");
    const Outcome mismatch = Invoke(mbf.Get(), mki, method, {word.Get()});
    EXPECT_EQ(mismatch.result, DISP_E_TYPEMISMATCH);
    EXPECT_EQ(mismatch.badArgument, 0u);
    EXPECT_EQ(Invoke(mbf.Get(), mki, method, {Long(70000)}).result, DISP_E_OVERFLOW);
    VARIANT record = {};
    record.vt = VT_CLSID;
    EXPECT_EQ(Invoke(mbf.Get(), mki, method, {record}).result, DISP_E_BADVARTYPE);
}

TEST_F(ClientTest, MethodsAnswerGetsAndNamedArguments)
{
    const auto mbf = library_.Make(mbfClassId);
    const Variant expected(Text(u"\u0002\u0001"));
    for (const WORD flags : {method, get, static_cast<WORD>(method | get)})
        EXPECT_EQ(Invoke(mbf.Get(), L"MKI", flags, {Short(258)}).value, expected) << flags;
    EXPECT_EQ(Invoke(mbf.Get(), L"MKI", method, {Short(258)}, {0}).value, expected);
}

TEST_F(ClientTest, ReferencesTakeWhatTheCallLeft)
{
    const auto routines = library_.Make(routinesClassId);
    // A variant takes the parameter's type: the code is an Integer.
    OwnedVariant code;
    code.Get() = Long(3);
    const Outcome named = Invoke(routines.Get(), L"DBL_GetDatabaseError", method, {Reference(code.Get())});
    EXPECT_EQ(named.value, Variant(u"Kan geen tmp-file aanmaken."));
    EXPECT_EQ(code.Get().vt, VT_I2);
    EXPECT_EQ(code.Get().iVal, 3);
    // A typed variable keeps its own.
    LONG typed = 3;
    VARIANT reference = {};
    reference.vt = VT_BYREF | VT_I4;
    reference.plVal = &typed;
    EXPECT_EQ(Invoke(routines.Get(), L"DBL_GetDatabaseError", method, {reference}).result, S_OK);
    EXPECT_EQ(typed, 3);
}

TEST_F(ClientTest, ErrorsCarryNumberTextAndSource)
{
    const auto engine = engine_.Make(engineClassId);
    OwnedVariant path;
    path.Get() = Bstr(L"C:\\nergens\\geen.mdb");
    const Outcome missing = Invoke(engine.Get(), L"OpenDatabase", method, {path.Get()});
    EXPECT_EQ(missing.result, DISP_E_EXCEPTION);
    EXPECT_TRUE(missing.code == static_cast<SCODE>(0x800A0BE4) || missing.code == static_cast<SCODE>(0x800A0BD0))
        << std::hex << missing.code;  // 3044: the folder is missing; 3024: the file
    EXPECT_NE(missing.description.find(u"nergens"), Text::npos);
    EXPECT_FALSE(missing.source.empty());
}

TEST_F(ClientTest, OnlyItsThreadCallsAnObject)
{
    const auto mbf = library_.Make(mbfClassId);
    HRESULT result = S_OK;
    std::thread([&] { result = Invoke(mbf.Get(), 1, method, {Short(1)}).result; }).join();
    EXPECT_EQ(result, RPC_E_WRONG_THREAD);
}

TEST_F(ClientTest, CollectionsAreEnumerated)
{
    const auto engine = engine_.Make(engineClassId);
    const Outcome workspaces = Invoke(engine.Get(), L"Workspaces", get, {});
    const auto list = ToDispatch(workspaces.value.As<ObjectRef>());
    DISPPARAMS none = {};
    OwnedVariant found;
    ASSERT_EQ(list->Invoke(DISPID_NEWENUM, IID_NULL, 0, get | method, &none, &found, nullptr, nullptr), S_OK);
    ASSERT_EQ(found.Get().vt, VT_UNKNOWN);
    const auto items = ComPtr<IUnknown>(found.Get().punkVal).As<IEnumVARIANT>();
    OwnedVariant item;
    ULONG fetched = 0;
    ASSERT_EQ(items->Next(1, &item, &fetched), S_OK);
    EXPECT_EQ(Invoke(item.Get().pdispVal, L"Name", get, {}).value, Variant(u"#Default Workspace#"));
    OwnedVariant behind;
    EXPECT_EQ(items->Next(1, &behind, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 0u);
    ComPtr<IEnumVARIANT> copy;
    EXPECT_EQ(items->Clone(copy.Put()), S_OK);
    EXPECT_EQ(copy->Skip(1), S_FALSE);
    items->Reset();
    EXPECT_EQ(items->Skip(1), S_OK);
}

TEST_F(ClientTest, NothingIsLeftWhenAllIsReleased)
{
    {
        const auto routines = library_.Make(routinesClassId);
        const auto engine = engine_.Make(engineClassId);
        Invoke(engine.Get(), L"Workspaces", get, {});
        EXPECT_FALSE(library_.CanUnload());
        EXPECT_FALSE(engine_.CanUnload());
    }
    EXPECT_TRUE(library_.CanUnload());
    EXPECT_TRUE(engine_.CanUnload());
}

TEST(UnloadTest, AThousandTimesWithoutGrowth)
{
    ::CoInitialize(nullptr);
    const auto once = [] {
        const LoadedDll library(L"vmlib.dll");
        {
            const auto mbf = library.Make(mbfClassId);
            Invoke(mbf.Get(), L"MKI", method, {Short(1)});
        }
        EXPECT_TRUE(library.CanUnload());
    };
    const auto used = [] {
        MEMORYSTATUSEX status = {};
        status.dwLength = sizeof status;
        ::GlobalMemoryStatusEx(&status);
        return status.ullTotalVirtual - status.ullAvailVirtual;
    };
    for (int i = 0; i < 100; ++i) once();
    const auto before = used();
    for (int i = 0; i < 900; ++i) once();
    EXPECT_LT(used(), before + (8 << 20));
    ::CoUninitialize();
}

/// The library inside a DLL, read back member by member, against the numbers and names that its classes answer to.
class TypeLibraryTest : public testing::TestWithParam<const wchar_t*>
{
};

TEST_P(TypeLibraryTest, SaysWhatTheClassesAnswer)
{
    ::CoInitialize(nullptr);
    const LoadedDll dll(GetParam());
    ComPtr<ITypeLib> library;
    ASSERT_EQ(::LoadTypeLibEx(GetParam(), REGKIND_NONE, library.Put()), S_OK);
    int classes = 0, members = 0;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info, dispatch;
        ASSERT_EQ(library->GetTypeInfo(i, info.Put()), S_OK);
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
        const TYPEKIND kind = attributes->typekind;
        const GUID id = attributes->guid;
        info->ReleaseTypeAttr(attributes);
        if (kind != TKIND_COCLASS) continue;
        ++classes;
        const auto object = dll.Make(id);
        ASSERT_TRUE(object);
        ASSERT_EQ(object->GetTypeInfo(0, 0, dispatch.Put()), S_OK);
        ASSERT_EQ(dispatch->GetTypeAttr(&attributes), S_OK);
        EXPECT_EQ(attributes->typekind, TKIND_DISPATCH);
        const GUID interfaceId = attributes->guid;
        const UINT functions = attributes->cFuncs;
        dispatch->ReleaseTypeAttr(attributes);
        void* same = nullptr;
        EXPECT_EQ(object->QueryInterface(interfaceId, &same), S_OK);
        object->Release();
        for (UINT f = 0; f < functions; ++f) {
            FUNCDESC* function = nullptr;
            ASSERT_EQ(dispatch->GetFuncDesc(f, &function), S_OK);
            if (function->memid > 0 && function->memid < 0x60000000) {
                BSTR names[16] = {};
                UINT count = 0;
                dispatch->GetNames(function->memid, names, 16, &count);
                EXPECT_EQ(IdOf(object.Get(), names[0]), function->memid) << ToUtf8(FromBstr(names[0]));
                for (UINT n = 0; n < count; ++n) ::SysFreeString(names[n]);
                ++members;
            }
            dispatch->ReleaseFuncDesc(function);
        }
    }
    EXPECT_GE(classes, 1);
    EXPECT_GT(members, 9);
    ::CoUninitialize();
}

INSTANTIATE_TEST_SUITE_P(Dlls, TypeLibraryTest, testing::Values(L"vmlib.dll", L"vmdengine.dll"),
                         [](const auto& info) { return std::string(info.index == 0 ? "vmlib" : "vmdengine"); });

}  // namespace
}  // namespace vmlib::com::test
