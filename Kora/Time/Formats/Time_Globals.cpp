#include "Kora/Time/Formats/Time_Globals.h"

#include "Kora/Sys/Sys_Trace.h"
#include "Kora/Time/Formats/Time_SMPTE.h"

#include <algorithm>
#include <array>

namespace {

constexpr double cPALDown = 0.96;
constexpr double cPALUp = 1.0416666666666667; // 25/24

struct Combo
{
    EPullFactor mNTSC, mPAL;
    const char* mName;
    const char* mDescription;
};

// Indexed by EComboPullFactor.
constexpr std::array<Combo, 9> cCombos = {{
    {ePullFactor_None, ePullFactor_None, "None", ""},
    {ePullFactor_Down, ePullFactor_None, "0.1% Down", " [24/30 fps - FILM To NTSC]"},
    {ePullFactor_Up, ePullFactor_None, "0.1% Up", " [29.97 fps - NTSC To FILM]"},
    {ePullFactor_None, ePullFactor_Down, "4% Down", " [25 fps - PAL To FILM]"},
    {ePullFactor_None, ePullFactor_Up, "4% Up", " [24/30 fps - FILM To PAL]"},
    {ePullFactor_Down, ePullFactor_Down, "4% Down, 0.1% Down", " [25 fps - PAL To NTSC]"},
    {ePullFactor_Up, ePullFactor_Down, "4% Down, 0.1% Up", " [Invalid]"},
    {ePullFactor_Down, ePullFactor_Up, "4% Up, 0.1% Down", " [Invalid]"},
    {ePullFactor_Up, ePullFactor_Up, "4% Up, 0.1% Up", " [29.97 fps - NTSC To PAL]"},
}};

const Combo* FindCombo(EComboPullFactor iCombo)
{
    return iCombo >= 0 && iCombo < static_cast<Cmn_Int32>(cCombos.size())
               ? &cCombos[static_cast<std::size_t>(iCombo)]
               : nullptr;
}

} // namespace

double Time_Globals::sSampleRate = 44100.0;
double Time_Globals::sFrameRate = 30000.0 / 1001.0;
EPullFactor Time_Globals::sPullFactors[2][2] = {{ePullFactor_None, ePullFactor_None},
                                                {ePullFactor_None, ePullFactor_None}};
EPullFactor Time_Globals::sPullFactorsSaveForLE[2][2] = {{ePullFactor_None, ePullFactor_None},
                                                         {ePullFactor_None, ePullFactor_None}};
ETimeCodeFormat Time_Globals::sGlobalTimeCodeFormat = eTimeCodeFormat_30;
Cmn_Int32 Time_Globals::sFrameOffset = 0;
bool Time_Globals::sAutoMatchPullFactors = false;

double Time_Globals::GetSampleRate() { return sSampleRate; }

void Time_Globals::SetSampleRate(double iSampleRate) { sSampleRate = iSampleRate; }

double Time_Globals::GetFrameRate() { return sFrameRate; }

void Time_Globals::SetFrameRate(double iFrameRate)
{
    if (iFrameRate == sFrameRate) return;
    Sys_TRACE(Sys_Trace::cCategory_TimeSettings, "Frame Rate: %3.3f", iFrameRate);
    sFrameRate = iFrameRate;
}

ETimeCodeFormat Time_Globals::GetGlobalTimeCodeFormat() { return sGlobalTimeCodeFormat; }

void Time_Globals::SetGlobalTimeCodeFormat(ETimeCodeFormat iFormat)
{
    if (iFormat == sGlobalTimeCodeFormat) return;
    Sys_TRACE(Sys_Trace::cCategory_TimeSettings, "Timecode Rate: %s", GetTimeCodeFormatString(iFormat));
    sGlobalTimeCodeFormat = iFormat;
}

Cmn_Int32 Time_Globals::GetFrameOffset() { return sFrameOffset; }

void Time_Globals::SetFrameOffset(long iFrames)
{
    const Cmn_Int32 frames = static_cast<Cmn_Int32>(iFrames);
    if (frames == sFrameOffset) return;
    Sys_TRACE(Sys_Trace::cCategory_TimeSettings, "Frame Offset: %d", frames);
    sFrameOffset = frames;
}

Cmn_Int32 Time_Globals::GetFrameOffset(ETimeCodeFormat iFormat)
{
    Time_SMPTE timecode(iFormat);
    timecode.SetFromTotalFrames(sFrameOffset);
    timecode.MakeIntoLegalDropFrameLocation();
    return timecode.GetTotalFrames();
}

bool Time_Globals::GetAutoMatchPullFactors() { return sAutoMatchPullFactors; }

void Time_Globals::SetAutoMatchPullFactors(bool iAutoMatch) { sAutoMatchPullFactors = iAutoMatch; }

EPullFactor Time_Globals::GetPullFactor(EPullMedia iMedia, EPullType iType)
{
    return sPullFactors[iMedia][iType];
}

void Time_Globals::SetPullFactor(EPullMedia iMedia, EPullType iType, EPullFactor iFactor)
{
    if (iFactor == sPullFactors[iMedia][iType]) return;
    Sys_TRACE(Sys_Trace::cCategory_TimeSettings,
              "Time_Globals::SetPullFactor - media: %s, type: %s, pull factor: %s",
              GetPullMediaString(iMedia), GetPullTypeString(iType), GetPullFactorString(iFactor));
    sPullFactors[iMedia][iType] = iFactor;
}

EPullFactor Time_Globals::GetPullFactorSaveForLE(EPullMedia iMedia, EPullType iType)
{
    return sPullFactorsSaveForLE[iMedia][iType];
}

void Time_Globals::SetPullFactorSaveForLE(EPullMedia iMedia, EPullType iType, EPullFactor iFactor)
{
    sPullFactorsSaveForLE[iMedia][iType] = iFactor;
}

double Time_Globals::GetPullSampleRate() { return AdjustForPullFactors(ePullMedia_Audio, sSampleRate); }

double Time_Globals::GetPullFrameRate()
{
    const EPullFactor ntsc = sPullFactors[ePullMedia_Video][ePullType_NTSC];
    const EPullFactor pal = sPullFactors[ePullMedia_Video][ePullType_PAL];
    double rate = sFrameRate;
    // Multiplication before division, each rounded: these bits are compared elsewhere.
    if (ntsc == ePullFactor_Down) rate = rate * 1000.0 / 1001.0;
    if (ntsc == ePullFactor_Up) rate = rate * 1001.0 / 1000.0;
    if (pal == ePullFactor_Down) rate = rate * 24.0 / 25.0;
    if (pal == ePullFactor_Up) rate = rate * 25.0 / 24.0;
    return rate;
}

double Time_Globals::AdjustForPullFactors(EPullMedia iMedia, double iValue)
{
    if (iMedia != ePullMedia_Audio && iMedia != ePullMedia_Video) return iValue;
    const bool isAudio = iMedia == ePullMedia_Audio;
    const EPullFactor divides = isAudio ? ePullFactor_Down : ePullFactor_Up;
    const EPullFactor multiplies = isAudio ? ePullFactor_Up : ePullFactor_Down;
    const EPullFactor ntsc = sPullFactors[iMedia][ePullType_NTSC];
    const EPullFactor pal = sPullFactors[iMedia][ePullType_PAL];
    double value = iValue;
    if (ntsc == divides) value /= 1.001;
    if (ntsc == multiplies) value *= 1.001;
    if (pal == divides) value *= cPALDown;
    if (pal == multiplies) value *= cPALUp;
    return value;
}

const char* Time_Globals::GetPullFactorString(EPullFactor iFactor)
{
    switch (iFactor) {
    case ePullFactor_None:
        return "None";
    case ePullFactor_Up:
        return "Pull Up";
    case ePullFactor_Down:
        return "Pull Down";
    default:
        return "";
    }
}

const char* Time_Globals::GetPullTypeString(EPullType iType)
{
    switch (iType) {
    case ePullType_NTSC:
        return "NTSC";
    case ePullType_PAL:
        return "PAL";
    default:
        return "";
    }
}

const char* Time_Globals::GetPullMediaString(EPullMedia iMedia)
{
    switch (iMedia) {
    case ePullMedia_Audio:
        return "Audio";
    case ePullMedia_Video:
        return "Video";
    default:
        return "";
    }
}

const char* Time_Globals::GetTimeCodeFormatString(ETimeCodeFormat iFormat)
{
    switch (iFormat) {
    case eTimeCodeFormat_24:
        return "24 fps";
    case eTimeCodeFormat_25:
        return "25 fps";
    case eTimeCodeFormat_2997:
        return "29.97 fps";
    case eTimeCodeFormat_2997OMF:
        return "29.97 fps (OMF)";
    case eTimeCodeFormat_2997Drop:
        return "29.97 fps drop";
    case eTimeCodeFormat_2997DropOMF:
        // Deliberate: users know it so. Test: FormatsNameThemselvesAndTheirAudioPulls
        return "2997  fps drop (OMF)";
    case eTimeCodeFormat_30:
        return "30 fps";
    case eTimeCodeFormat_30Drop:
        return "30 fps drop";
    case eTimeCodeFormat_23976:
        return "23.976 fps";
    case eTimeCodeFormat_50:
        return "50 fps";
    case eTimeCodeFormat_5994:
        return "59.94 fps";
    case eTimeCodeFormat_5994Drop:
        return "59.94 fps drop";
    case eTimeCodeFormat_60:
        return "60 fps";
    case eTimeCodeFormat_60Drop:
        return "60 fps drop";
    default:
        return "?";
    }
}

std::string Time_Globals::GetComboString(EComboPullFactor iCombo, bool iWithDescription)
{
    const Combo* const combo = FindCombo(iCombo);
    if (combo == nullptr) return {};
    return iWithDescription ? std::string(combo->mName) + combo->mDescription : combo->mName;
}

EComboPullFactor Time_Globals::GetComboPullFactor(EPullFactor iNTSC, EPullFactor iPAL)
{
    const auto found = std::find_if(cCombos.begin(), cCombos.end(), [&](const Combo& iCombo) {
        return iCombo.mNTSC == iNTSC && iCombo.mPAL == iPAL;
    });
    return found == cCombos.end() ? eComboPullFactor_None
                                  : static_cast<EComboPullFactor>(found - cCombos.begin());
}

void Time_Globals::ComboToPullFactors(EComboPullFactor iCombo, EPullFactor& oNTSC, EPullFactor& oPAL)
{
    const Combo* const combo = FindCombo(iCombo);
    oNTSC = combo != nullptr ? combo->mNTSC : ePullFactor_None;
    oPAL = combo != nullptr ? combo->mPAL : ePullFactor_None;
}

EComboPullFactor Time_Globals::GetRoutingComboFactor(EVideoFormat iFrom, EVideoFormat iTo)
{
    switch (iFrom) {
    case eVideoFormat_NTSC:
        if (iTo == eVideoFormat_Film) return eComboPullFactor_NTSCUp;
        if (iTo == eVideoFormat_PAL) return eComboPullFactor_PALUpNTSCUp;
        break;
    case eVideoFormat_Film:
        if (iTo == eVideoFormat_NTSC) return eComboPullFactor_NTSCDown;
        if (iTo == eVideoFormat_PAL) return eComboPullFactor_PALUp;
        break;
    case eVideoFormat_PAL:
        if (iTo == eVideoFormat_NTSC) return eComboPullFactor_PALDownNTSCDown;
        if (iTo == eVideoFormat_Film) return eComboPullFactor_PALDown;
        break;
    default:
        break;
    }
    return eComboPullFactor_None;
}

bool Time_Globals::ValidAudioComboFactor(EComboPullFactor iCombo)
{
    switch (sGlobalTimeCodeFormat) {
    case eTimeCodeFormat_24:
    case eTimeCodeFormat_30:
    case eTimeCodeFormat_30Drop:
        return iCombo == eComboPullFactor_NTSCUp || iCombo == eComboPullFactor_PALDown;
    case eTimeCodeFormat_25:
        return iCombo == eComboPullFactor_PALUp || iCombo == eComboPullFactor_PALUpNTSCUp;
    case eTimeCodeFormat_2997:
    case eTimeCodeFormat_2997Drop:
    case eTimeCodeFormat_23976:
        return iCombo == eComboPullFactor_NTSCDown || iCombo == eComboPullFactor_PALDownNTSCDown;
    default:
        return false;
    }
}
