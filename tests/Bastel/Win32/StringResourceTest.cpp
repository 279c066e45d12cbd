#include <gtest/gtest.h>

#include <string>
#include <windows.h>

// The texts are resources of the DLL, which the host's translators can read and replace.
TEST(I18N, TheDLLHoldsTheTableAsStringResources)
{
    const HMODULE dll = GetModuleHandleW(L"Kora.dll");
    ASSERT_NE(dll, nullptr);
    wchar_t text[256];
    // A resource without a text has length 0, as one that is not there.
    const auto load = [&](unsigned iID) {
        return std::wstring(text, static_cast<std::size_t>(LoadStringW(dll, iID, text, 256)));
    };
#define KORA_STRING(iID, iText) EXPECT_EQ(load(iID), L##iText);
#include "Bastel/I18N/Strings.def"
#undef KORA_STRING
}
