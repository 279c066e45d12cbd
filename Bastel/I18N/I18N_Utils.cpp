#include "Bastel/I18N/I18N_Utils.h"

#include <algorithm>
#include <iterator>

namespace {

struct Entry
{
    Cmn_Int32 id;
    const char* text;
};

// Strings.def lists identifiers in ascending order; the search below relies on it.
constexpr Entry cTable[] = {
#define KORA_STRING(iID, iText) {iID, iText},
#include "Bastel/I18N/Strings.def"
#undef KORA_STRING
};
static_assert(std::is_sorted(std::begin(cTable), std::end(cTable),
                             [](const Entry& iA, const Entry& iB) { return iA.id < iB.id; }));

} // namespace

std::string I18N_Utils::GetString(Cmn_Int32 iID)
{
    const Entry* const entry = std::lower_bound(std::begin(cTable), std::end(cTable), iID,
                                                [](const Entry& iA, Cmn_Int32 iB) { return iA.id < iB; });
    return entry != std::end(cTable) && entry->id == iID ? entry->text : "";
}
