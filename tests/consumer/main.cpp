// A host in small: it links the installed library and crosses its boundary in the ways that hosts do.
#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Cmn/Cmn_StringToInt.h"

#include <cstdio>
#include <string>

namespace {

int sFailures = 0;
std::string sReport;

void Expect(bool iHolds, const char* iClaim)
{
    if (!iHolds) {
        std::printf("does not hold: %s\n", iClaim);
        ++sFailures;
    }
}

void AFailedCheckReachesTheHostsHandler()
{
    const Cmn_Assert::Handler before =
        Cmn_Assert::SetHandler([](const char* iText, int) { sReport = iText; });
    const int bars = 0;
    Expect(!Cmn_ASSERT(bars > 0), "a failed check is false");
    Cmn_Assert::SetHandler(before);
    Expect(sReport.rfind("bars > 0@$^$@", 0) == 0, "the report opens with the expression");
}

void AnExceptionIsCaughtByItsTypeInTheHost()
{
    Expect(Cmn_StringToInt32(" 960 ") == 960, "text becomes an integer");
    try {
        Cmn_StringToInt32("960 ticks");
        Expect(false, "text with more than an integer throws");
    } catch (const Cmn_Exception& error) {
        Expect(error.GetMessageID() == Cmn_eMessage_NotAnInteger, "the exception names its message");
    }
}

} // namespace

int main()
{
    AFailedCheckReachesTheHostsHandler();
    AnExceptionIsCaughtByItsTypeInTheHost();
    return sFailures == 0 ? 0 : 1;
}
