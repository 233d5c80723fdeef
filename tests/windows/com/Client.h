#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "component/com/ComApi.h"
#include "component/com/ComVariant.h"

namespace vmlib::com::test {

/// A DLL, loaded as COM loads it but without the registry.
class LoadedDll
{
public:
    explicit LoadedDll(const wchar_t* name) : module_(::LoadLibraryW(name)) { EXPECT_TRUE(module_); }
    ~LoadedDll()
    {
        if (module_) ::FreeLibrary(module_);
    }
    LoadedDll(const LoadedDll&) = delete;
    LoadedDll& operator=(const LoadedDll&) = delete;

    template <class Function>
    Function Get(const char* name) const
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module_, name)));
    }
    HRESULT ClassObject(REFCLSID classId, REFIID wanted, void** found) const
    {
        return Get<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(classId, wanted, found);
    }
    bool CanUnload() const { return Get<HRESULT(STDAPICALLTYPE*)()>("DllCanUnloadNow")() == S_OK; }

    ComPtr<IDispatch> Make(REFCLSID classId) const
    {
        ComPtr<IClassFactory> factory;
        ComPtr<IDispatch> made;
        EXPECT_EQ(ClassObject(classId, IID_IClassFactory, reinterpret_cast<void**>(factory.Put())), S_OK);
        const HRESULT result =
            factory ? factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(made.Put())) : E_FAIL;
        EXPECT_EQ(result, S_OK);
        return made;
    }

private:
    HMODULE module_;
};

/// One call of Invoke with everything that it gives.
struct Outcome
{
    HRESULT result = S_OK;
    Variant value;
    SCODE code = 0;
    Text source, description;
    UINT badArgument = 99;
};

DISPID IdOf(IDispatch* object, const wchar_t* name);

/// @param arguments  as they stand in rgvarg, the last one first
Outcome Invoke(IDispatch* object, DISPID id, WORD flags, std::vector<VARIANT> arguments,
               std::vector<DISPID> named = {});
Outcome Invoke(IDispatch* object, const wchar_t* name, WORD flags, std::vector<VARIANT> arguments,
               std::vector<DISPID> named = {});

VARIANT Long(LONG value);
VARIANT Short(SHORT value);
VARIANT Bstr(const wchar_t* text);  // owned by the caller
VARIANT Missing();
VARIANT Reference(VARIANT& variable);

}  // namespace vmlib::com::test
