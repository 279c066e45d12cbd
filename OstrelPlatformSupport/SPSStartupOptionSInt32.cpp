#include "OstrelPlatformSupport/SPSStartupOptionSInt32.h"

#include "OstrelPlatformSupport/PSEnvironment_p.h"

#include <charconv>
#include <string_view>

namespace {

std::int32_t ParseOr(std::string_view iText, std::int32_t iDefault)
{
    // from_chars takes a minus but no plus.
    if (iText.starts_with('+') && !iText.starts_with("+-")) iText.remove_prefix(1);
    std::int32_t value = 0;
    const char* const end = iText.data() + iText.size();
    const auto [rest, error] = std::from_chars(iText.data(), end, value);
    return error == std::errc() && rest == end ? value : iDefault;
}

} // namespace

SPSStartupOptionSInt32::SPSStartupOptionSInt32(const std::string& iName, std::int32_t iDefault)
    : mValue(ParseOr(PSGetEnvironment("OSTREL_OPTION_" + iName), iDefault))
{
}
