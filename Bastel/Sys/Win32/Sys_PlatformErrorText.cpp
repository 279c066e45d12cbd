#include "Bastel/Sys/Sys_PlatformErrorText_p.h"

#include "Bastel/Cmn/Cmn_Utf8.h"

#include <array>
#include <windows.h>

std::string Sys_PlatformErrorText(Cmn_Int32 iError)
{
    std::array<wchar_t, 512> wide;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK, nullptr,
        static_cast<DWORD>(iError), 0, wide.data(), static_cast<DWORD>(wide.size()), nullptr);
    std::string text = Cmn_Utf8FromUtf16(std::u16string(wide.data(), wide.data() + length));
    text.erase(text.find_last_not_of(" .\r\n") + 1);
    return text.empty() ? "error " + std::to_string(iError) : text;
}
