#include "windows/com/Client.h"

namespace vmlib::com::test {

DISPID IdOf(IDispatch* object, const wchar_t* name)
{
    auto* text = const_cast<wchar_t*>(name);
    DISPID id = DISPID_UNKNOWN;
    object->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id);
    return id;
}

Outcome Invoke(IDispatch* object, DISPID id, WORD flags, std::vector<VARIANT> arguments, std::vector<DISPID> named)
{
    DISPPARAMS parameters{arguments.data(), named.data(), static_cast<UINT>(arguments.size()),
                          static_cast<UINT>(named.size())};
    OwnedVariant value;
    EXCEPINFO exception = {};
    Outcome outcome;
    outcome.result =
        object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, &value, &exception, &outcome.badArgument);
    outcome.value = FromVariant(value.Get());
    outcome.code = exception.scode;
    outcome.source = FromBstr(exception.bstrSource);
    outcome.description = FromBstr(exception.bstrDescription);
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);
    return outcome;
}

Outcome Invoke(IDispatch* object, const wchar_t* name, WORD flags, std::vector<VARIANT> arguments,
               std::vector<DISPID> named)
{
    return Invoke(object, IdOf(object, name), flags, std::move(arguments), std::move(named));
}

VARIANT Long(LONG value)
{
    VARIANT variant = {};
    variant.vt = VT_I4;
    variant.lVal = value;
    return variant;
}

VARIANT Short(SHORT value)
{
    VARIANT variant = {};
    variant.vt = VT_I2;
    variant.iVal = value;
    return variant;
}

VARIANT Bstr(const wchar_t* text)
{
    VARIANT variant = {};
    variant.vt = VT_BSTR;
    variant.bstrVal = ::SysAllocString(text);
    return variant;
}

VARIANT Missing()
{
    VARIANT variant = {};
    variant.vt = VT_ERROR;
    variant.scode = DISP_E_PARAMNOTFOUND;
    return variant;
}

VARIANT Reference(VARIANT& variable)
{
    VARIANT variant = {};
    variant.vt = VT_BYREF | VT_VARIANT;
    variant.pvarVal = &variable;
    return variant;
}

}  // namespace vmlib::com::test
