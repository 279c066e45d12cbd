// Any bytes as a time in any form: they are refused with a reason, or read as a time that is written in a form
// which reads as the same time and is written the same.
#include "Fuzz/FuzzTarget.h"
#include "Kora/Time.h"

namespace {

template <class Form>
void CheckForm(Form iForm, std::string_view iText)
{
    const char* whyNot = nullptr;
    const Form before = iForm;
    if (!iForm.FromText(iText, &whyNot)) {
        Require(whyNot != nullptr && *whyNot != '\0', "a refusal has a reason");
        Require(iForm == before, "what is refused changes nothing");
        return;
    }
    const std::string written = iForm.ToString();
    Form again = before;
    Require(again.FromText(written), "\"" + written + "\" is not read");
    Require(again == iForm, "\"" + written + "\" reads as another value");
    Require(again.ToString() == written, "\"" + written + "\" is written otherwise");
}

class Session
{
public:
    Session()
    {
        mMeters.AddMeterChange(Time_Tick(0), Time_Meter(4, 4), 1);
        mMeters.AddMeterChange(Time_Tick(9000001), Time_Meter(7, 8));
        mMeters.AddMeterChange(Time_Tick(50000000), Time_Meter(5, 7));
        mConverter.UseDefaultMaps();
        mConverter.SetMeterMap(&mMeters);
    }

    void Check(Time_EForm iForm, std::string_view iText) const
    {
        const Time_Format format(mConverter);
        Time_Typed time;
        const char* whyNot = nullptr;
        if (!format.FromText(iForm, iText, time, &whyNot)) {
            Require(whyNot != nullptr && *whyNot != '\0', "a refusal has a reason");
            return;
        }
        const std::string written = format.ToString(iForm, time);
        if (written.empty()) return; // before sample 0
        Time_Typed again;
        Require(format.FromText(iForm, written, again, &whyNot), "\"" + written + "\" is not read");
        Require(format.ToString(iForm, again) == written, "\"" + written + "\" is written otherwise");
    }

private:
    Time_MeterMap mMeters;
    Time_Converter mConverter;
};

void CheckLabels(ETimeCodeFormat iFormat, std::string_view iText)
{
    Time_Globals::SetGlobalTimeCodeFormat(iFormat);
    CheckForm(Time_SMPTE(iFormat), iText);
    Time_SMPTE label(iFormat);
    if (!label.FromSubframeText(iText)) return;
    Time_SMPTE again(iFormat);
    Require(again.FromSubframeText(label.ToSubframeString()) && again == label, "a subframe reads otherwise");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* iBytes, std::size_t iSize)
{
    static const Session session;
    constexpr ETimeCodeFormat formats[] = {eTimeCodeFormat_24, eTimeCodeFormat_2997Drop,
                                           eTimeCodeFormat_60Drop};
    if (iSize == 0) return 0;
    const std::string_view text(reinterpret_cast<const char*>(iBytes + 1), iSize - 1);
    const unsigned choice = iBytes[0] % 9;
    CheckLabels(formats[iBytes[0] / 9 % std::size(formats)], text);
    session.Check(static_cast<Time_EForm>(choice), text);
    CheckForm(Time_MinSec(), text);
    CheckForm(Time_FeetFrame(0, Time_eFilmGauge_16mm), text);
    CheckForm(Time_NotationDurationValue(), text);
    CheckForm(Time_Meter(), text);
    CheckForm(Time_TempoMark(), text);
    CheckForm(Time_KeySignature(), text);
    return 0;
}
