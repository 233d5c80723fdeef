#include "component/com/Exceptions.h"

#include <cstdio>

namespace vmlib::com {

namespace {

constexpr std::uint32_t controlFacility = 0x800A0000;
constexpr std::int32_t automationError = 440;

/// The result code in which VB classes raise a number; a negative one is a result code already.
SCODE CodeOf(std::int32_t number)
{
    if (number <= 0 || number > 0xFFFF) return number;
    return static_cast<SCODE>(controlFacility + static_cast<std::uint32_t>(number));
}

constexpr struct
{
    std::uint32_t result;
    std::int32_t number;
} numbers[] = {
    {0x80020001, 438}, {0x80020003, 438}, {0x80020004, 448}, {0x80020005, 13},  {0x80020006, 438}, {0x80020007, 446},
    {0x80020008, 458}, {0x8002000A, 6},   {0x8002000B, 9},   {0x8002000C, 447}, {0x8002000D, 10},  {0x8002000E, 450},
    {0x8002000F, 449}, {0x80020011, 451}, {0x80020012, 11},  {0x80004001, 445}, {0x80004002, 430}, {0x80070005, 70},
    {0x8007000E, 7},   {0x80070057, 5},   {0x80040154, 429}, {0x800401F3, 429}, {0x80030002, 432}, {0x80030003, 76},
    {0x80028CA0, 13},  {0x800706BA, 462},
};

std::int32_t NumberOf(HRESULT result)
{
    const auto code = static_cast<std::uint32_t>(result);
    for (const auto& entry : numbers)
        if (entry.result == code) return entry.number;
    if ((code & 0xFFFF0000) == controlFacility) return static_cast<std::int32_t>(code & 0xFFFF);
    return result;
}

Text TextOf(std::int32_t number)
{
    if (number > 0 && number <= 0xFFFF) return ErrorText(number);
    wchar_t* found = nullptr;
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                         nullptr, static_cast<DWORD>(number), 0, reinterpret_cast<wchar_t*>(&found), 0, nullptr);
    Text text = length > 0 ? FromWide(found, length) : u"Automation error";
    ::LocalFree(found);
    while (!text.empty() && text.back() < u' ') text.pop_back();
    return text;
}

/// For callers that ask GetErrorInfo.
void SetErrorObject(const Error& error, const Text& source)
{
    ComPtr<ICreateErrorInfo> created;
    if (FAILED(::CreateErrorInfo(created.Put()))) return;
    created->SetGUID(IID_IDispatch);
    created->SetSource(const_cast<wchar_t*>(Wide(source)));
    created->SetDescription(const_cast<wchar_t*>(Wide(error.Description())));
    if (const auto info = created.As<IErrorInfo>()) ::SetErrorInfo(0, info.Get());
}

}  // namespace

HRESULT Raise(const Error& error, const Text& typeName, EXCEPINFO* exception)
{
    const Text source = error.Source().empty() ? typeName : error.Source();
    SetErrorObject(error, source);
    if (exception) {
        *exception = {};
        exception->scode = CodeOf(error.Number());
        exception->bstrSource = ::SysAllocString(Wide(source));
        exception->bstrDescription = ::SysAllocString(Wide(error.Description()));
    }
    return DISP_E_EXCEPTION;
}

Error ErrorOf(HRESULT result, EXCEPINFO& exception)
{
    if (result != DISP_E_EXCEPTION) {
        const std::int32_t number = NumberOf(result);
        return Error(number, TextOf(number));
    }
    if (exception.pfnDeferredFillIn) exception.pfnDeferredFillIn(&exception);
    std::int32_t number = exception.wCode != 0 ? exception.wCode : NumberOf(exception.scode);
    if (number == 0) number = automationError;  // an object that forgot to say which: still an error
    Text description = FromBstr(exception.bstrDescription);
    if (description.empty()) description = TextOf(number);
    Error error(number, std::move(description), FromBstr(exception.bstrSource));
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);
    ::SysFreeString(exception.bstrHelpFile);
    exception = {};
    return error;
}

}  // namespace vmlib::com
