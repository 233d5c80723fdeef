#include "component/com/TableTypeInfo.h"

#include <vector>

#include "component/com/MemberIds.h"

namespace vmlib::com {

namespace {

constexpr GUID systemLibraryId = {0x00020430, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};  // stdole2.tlb

/// The description of a member, with what it points to.
class Description
{
public:
    Description(const MemberTable& table, const MemberInfo& member)
        : parameters_(member.parameters.size()), referenced_(member.parameters.size())
    {
        const bool isPut = member.kind == InvokeKind::Put, isEnumerator = member.name == u"_NewEnum";
        function_.memid = MemberIds::IdIn(table, member.name);
        function_.funckind = FUNC_DISPATCH;
        function_.invkind =
            isPut ? INVOKE_PROPERTYPUT : (member.kind == InvokeKind::Get ? INVOKE_PROPERTYGET : INVOKE_FUNC);
        function_.callconv = CC_STDCALL;
        if (member.hidden) function_.wFuncFlags = FUNCFLAG_FHIDDEN;
        const bool isVoid = isPut || member.result == VarType::Empty;
        function_.elemdescFunc.tdesc.vt =
            isVoid ? static_cast<VARTYPE>(VT_VOID)
                   : (isEnumerator ? static_cast<VARTYPE>(VT_UNKNOWN) : static_cast<VARTYPE>(member.result));
        names_.push_back(member.name);
        for (std::size_t i = 0; i < parameters_.size(); ++i) {
            const bool isNewValue = isPut && i + 1 == parameters_.size();
            Describe(member.parameters[i], isNewValue, i);
            const Text& name = member.parameters[i].name;
            if (!isNewValue) names_.push_back(name.empty() ? u"value" : name);
        }
        function_.lprgelemdescParam = parameters_.data();
        function_.cParams = static_cast<SHORT>(parameters_.size());
    }
    Description(const Description&) = delete;
    Description& operator=(const Description&) = delete;

    bool AddTo(ICreateTypeInfo& info, UINT place)
    {
        if (FAILED(info.AddFuncDesc(place, &function_))) return false;
        std::vector<wchar_t*> names;
        for (const Text& name : names_) names.push_back(const_cast<wchar_t*>(Wide(name)));
        return SUCCEEDED(info.SetFuncAndParamNames(place, names.data(), static_cast<UINT>(names.size())));
    }

private:
    void Describe(const ParameterInfo& parameter, bool isNewValue, std::size_t place)
    {
        ELEMDESC& described = parameters_[place];
        // Only a VARIANT can be left out.
        const VARTYPE type =
            parameter.optional ? static_cast<VARTYPE>(VT_VARIANT) : static_cast<VARTYPE>(parameter.type);
        const bool byReference = parameter.byReference && !isNewValue;
        referenced_[place].vt = type;
        described.tdesc.vt = byReference ? static_cast<VARTYPE>(VT_PTR) : type;
        if (byReference) described.tdesc.lptdesc = &referenced_[place];
        described.paramdesc.wParamFlags = static_cast<USHORT>(PARAMFLAG_FIN | (byReference ? PARAMFLAG_FOUT : 0) |
                                                              (parameter.optional && !isNewValue ? PARAMFLAG_FOPT : 0));
    }

    FUNCDESC function_ = {};
    std::vector<ELEMDESC> parameters_;
    std::vector<TYPEDESC> referenced_;
    std::vector<Text> names_;
};

/// Every dispatch interface comes from IDispatch, as the system's own library describes it.
bool DeriveFromDispatch(ICreateTypeInfo& info)
{
    ComPtr<ITypeLib> library;
    ComPtr<ITypeInfo> dispatch;
    HREFTYPE reference = 0;
    return SUCCEEDED(::LoadRegTypeLib(systemLibraryId, 2, 0, 0, library.Put())) &&
           SUCCEEDED(library->GetTypeInfoOfGuid(IID_IDispatch, dispatch.Put())) &&
           SUCCEEDED(info.AddRefTypeInfo(dispatch.Get(), &reference)) && SUCCEEDED(info.AddImplType(0, reference));
}

}  // namespace

ComPtr<ITypeInfo> MakeTypeInfo(const MemberTable& table)
{
    ComPtr<ICreateTypeLib2> library;
    ComPtr<ICreateTypeInfo> info;
    // Never saved, so the name of its file does not matter.
    if (FAILED(::CreateTypeLib2(sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32, L"members.tlb", library.Put()))) return {};
    wchar_t libraryName[] = L"VMLibMembers";
    Text name = table.TypeName();
    library->SetName(libraryName);
    if (FAILED(library->CreateTypeInfo(reinterpret_cast<wchar_t*>(name.data()), TKIND_DISPATCH, info.Put()))) return {};
    if (!DeriveFromDispatch(*info.Get())) return {};
    UINT place = 0;
    for (const MemberInfo& member : table.Members())
        if (!Description(table, member).AddTo(*info.Get(), place++)) return {};
    return SUCCEEDED(info->LayOut()) ? info.As<ITypeInfo>() : ComPtr<ITypeInfo>();
}

}  // namespace vmlib::com
