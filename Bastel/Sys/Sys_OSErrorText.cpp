#include "Bastel/Sys/Sys_OSErrorText.h"

#include "Bastel/I18N/I18N_Utils.h"
#include "Bastel/Sys/Sys_PlatformErrorText_p.h"

std::string Sys_OSErrorText(Cmn_Int32 iError)
{
    // The library's codes are below 0, and their texts have the numbers without the sign.
    std::string text = iError < 0 && iError >= -0xFFFF ? I18N_Utils::GetString(-iError) : std::string();
    return text.empty() ? Sys_PlatformErrorText(iError) : text;
}
