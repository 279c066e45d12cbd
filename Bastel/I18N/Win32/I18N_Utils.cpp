#include "Bastel/I18N/I18N_Utils.h"

#include "Bastel/Cmn/Cmn_Utf8.h"

#include <windows.h>

namespace {

// The module that this code is part of, the DLL, whatever the program is called that loaded it.
HMODULE OwnModule()
{
    static const char sHere = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&sHere), &module);
    return module;
}

} // namespace

std::string I18N_Utils::GetString(Cmn_Int32 iID)
{
    // Resource identifiers have 16 bits; LoadStringW would drop the others and find another text.
    if (iID < 0 || iID > 0xFFFF) return {};
    // With a capacity of 0 it gives the address of the text in the DLL, which no zero ends.
    const wchar_t* text = nullptr;
    const int length = LoadStringW(OwnModule(), static_cast<UINT>(iID), reinterpret_cast<LPWSTR>(&text), 0);
    return length > 0 ? Cmn_Utf8FromUtf16(std::u16string(text, text + length)) : std::string();
}
