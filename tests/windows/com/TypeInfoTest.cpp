#include "component/com/EngineIds.h"
#include "windows/com/Client.h"

namespace vmlib::com::test {
namespace {

Text NameOf(ITypeInfo* info, MEMBERID id)
{
    BSTR name = nullptr;
    EXPECT_EQ(info->GetDocumentation(id, &name, nullptr, nullptr, nullptr), S_OK);
    Text text = FromBstr(name);
    ::SysFreeString(name);
    return text;
}

TEST(TypeInfoTest, ObjectsOutsideTheLibrariesHaveTheirOwn)
{
    ::CoInitialize(nullptr);
    {
        const LoadedDll dll(L"vmdengine.dll");
        const auto engine = dll.Make(engineClassId);
        OwnedVariant workspace;
        VARIANT zero = Long(0);
        DISPPARAMS first = {&zero, nullptr, 1, 0};
        ASSERT_EQ(engine->Invoke(IdOf(engine.Get(), L"Workspaces"), IID_NULL, 0, DISPATCH_PROPERTYGET, &first,
                                 &workspace, nullptr, nullptr),
                  S_OK);
        IDispatch* const object = workspace.Get().pdispVal;
        ComPtr<ITypeInfo> info;
        ASSERT_EQ(object->GetTypeInfo(0, 0, info.Put()), S_OK);
        EXPECT_EQ(NameOf(info.Get(), MEMBERID_NIL), u"Workspace");

        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
        const UINT count = attributes->cFuncs;
        info->ReleaseTypeAttr(attributes);
        bool isOpenDatabaseThere = false;
        for (UINT i = 0; i < count; ++i) {
            FUNCDESC* function = nullptr;
            ASSERT_EQ(info->GetFuncDesc(i, &function), S_OK);
            const Text name = NameOf(info.Get(), function->memid);
            if (function->memid < 0x60000000) {  // those of IDispatch itself come from there on
                EXPECT_EQ(IdOf(object, Wide(name)), function->memid) << ToUtf8(name);
            }
            if (name == u"OpenDatabase") {
                isOpenDatabaseThere = true;
                ASSERT_EQ(function->cParams, 4);  // Name, Options, ReadOnly, Connect
                EXPECT_EQ(function->lprgelemdescParam[0].paramdesc.wParamFlags & PARAMFLAG_FOPT, 0);
                EXPECT_NE(function->lprgelemdescParam[1].paramdesc.wParamFlags & PARAMFLAG_FOPT, 0);
                EXPECT_EQ(function->elemdescFunc.tdesc.vt, VT_DISPATCH);
            }
            info->ReleaseFuncDesc(function);
        }
        EXPECT_TRUE(isOpenDatabaseThere);
    }
    ::CoUninitialize();
}

}  // namespace
}  // namespace vmlib::com::test
