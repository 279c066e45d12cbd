#include <gtest/gtest.h>

#include <string>
#include <windows.h>

// The texts are resources of the DLL, which the host's translators can read and replace.
TEST(I18N, TheDLLHoldsTheTableAsStringResources)
{
    const HMODULE dll = GetModuleHandleW(L"Kora.dll");
    ASSERT_NE(dll, nullptr);
    wchar_t text[256];
#define KORA_STRING(iID, iText)                                                                              \
    ASSERT_GT(LoadStringW(dll, iID, text, 256), 0);                                                          \
    EXPECT_EQ(std::wstring(text), std::wstring(L##iText));
#include "Bastel/I18N/Strings.def"
#undef KORA_STRING
}
