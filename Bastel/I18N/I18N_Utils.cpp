#include "Bastel/I18N/I18N_Utils.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace {

struct Entry
{
    Cmn_Int32 mID;
    const char* mText;
};

constexpr Entry cTable[] = {
#define KORA_STRING(iID, iText) {iID, iText},
#include "Bastel/I18N/Strings.def"
#undef KORA_STRING
};
static_assert(std::ranges::is_sorted(cTable, std::ranges::less_equal(), &Entry::mID),
              "Strings.def lists each identifier once, ascending: the search relies on it");

} // namespace

std::string I18N_Utils::GetString(Cmn_Int32 iID)
{
    const Entry* const entry = std::ranges::lower_bound(cTable, iID, {}, &Entry::mID);
    return entry != std::end(cTable) && entry->mID == iID ? entry->mText : "";
}
