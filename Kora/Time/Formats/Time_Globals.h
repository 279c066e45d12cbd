// Time_Globals: the session's sample rate, frame rate, timecode format, frame offset and
// pull factors, process-wide.
//
// Units:     rates in samples or frames per second; the frame offset in frames.
// Pulls:     audio and video run faster or slower when material moves between film (24), NTSC (29.97) and PAL
//            (25): the NTSC pull is 0.1 % (30 : 29.97), the PAL pull 4 % (24 : 25).
// Lifetime:  the values hold from library load; nothing resets them.
// Threads:   no locks. Set them from the host's main thread while no conversion runs.
// Trace:     setters marked (traced) write a line to category 0x4000E0C when the value changes.
#pragma once

#include "Export/Kora_API.h"
#include "Kora/Time/Formats/Time_ETimeCodeFormat.h"

#include <string>

// What runs faster or slower.
enum EPullMedia : Cmn_Int32 {
    ePullMedia_Audio = 0,
    ePullMedia_Video = 1,
};

// Which of the two pulls: 0.1 % or 4 %.
enum EPullType : Cmn_Int32 {
    ePullType_NTSC = 0,
    ePullType_PAL = 1,
};

// Which way a pull goes.
enum EPullFactor : Cmn_Int32 {
    ePullFactor_Unset = 0, // unused here
    ePullFactor_None = 1,
    ePullFactor_Up = 2,
    ePullFactor_Down = 3,
};

// Both pulls of one medium together, the PAL pull first in the name.
enum EComboPullFactor : Cmn_Int32 {
    eComboPullFactor_None = 0,
    eComboPullFactor_NTSCDown = 1,
    eComboPullFactor_NTSCUp = 2,
    eComboPullFactor_PALDown = 3,
    eComboPullFactor_PALUp = 4,
    eComboPullFactor_PALDownNTSCDown = 5,
    eComboPullFactor_PALDownNTSCUp = 6,
    eComboPullFactor_PALUpNTSCDown = 7,
    eComboPullFactor_PALUpNTSCUp = 8,
};

// What material was made for.
enum EVideoFormat : Cmn_Int32 {
    eVideoFormat_None = 0,
    eVideoFormat_NTSC = 1,
    eVideoFormat_Film = 2,
    eVideoFormat_PAL = 3,
};

class KORA_API Time_Globals
{
public:
    // At load 44100.
    static double GetSampleRate();
    static void SetSampleRate(double iSampleRate);
    // At load 30000/1001. (traced)
    static double GetFrameRate();
    static void SetFrameRate(double iFrameRate);
    // At load 30 fps. (traced)
    static ETimeCodeFormat GetGlobalTimeCodeFormat();
    static void SetGlobalTimeCodeFormat(ETimeCodeFormat iFormat);
    // At load 0. (traced)
    static Cmn_Int32 GetFrameOffset();
    static void SetFrameOffset(long iFrames);
    // The offset moved to the next frame that has a label, for a drop format; the offset itself otherwise.
    [[nodiscard]] static Cmn_Int32 GetFrameOffset(ETimeCodeFormat iFormat);
    // At load off.
    static bool GetAutoMatchPullFactors();
    static void SetAutoMatchPullFactors(bool iAutoMatch);

    // At load all none. Media and type must be of their enumerations. (traced)
    [[nodiscard]] static EPullFactor GetPullFactor(EPullMedia iMedia, EPullType iType);
    // Changes what GetPullSampleRate and GetPullFrameRate give.
    static void SetPullFactor(EPullMedia iMedia, EPullType iType, EPullFactor iFactor);
    // A second table in which callers park the factors; nothing else reads it.
    [[nodiscard]] static EPullFactor GetPullFactorSaveForLE(EPullMedia iMedia, EPullType iType);
    // Changes nothing but what its getter gives.
    static void SetPullFactorSaveForLE(EPullMedia iMedia, EPullType iType, EPullFactor iFactor);

    // The sample rate with the audio pulls: what every conversion between samples and time uses.
    static double GetPullSampleRate();
    // The frame rate with the video pulls. At 30 with NTSC pull down it is 29.97.
    static double GetPullFrameRate();
    // iValue with the pulls of a medium. For audio a rate. For video a duration, so the pulls
    // go the other way than in
    // GetPullFrameRate: 30 with NTSC pull down is 30.03. Test: VideoPullsAdjustDurationsAgainstRates
    [[nodiscard]] static double AdjustForPullFactors(EPullMedia iMedia, double iValue);

    // Names for users; values outside the enumerations give "?" (formats) or an empty text.
    [[nodiscard]] static const char* GetPullFactorString(EPullFactor iFactor);
    // As GetPullFactorString.
    [[nodiscard]] static const char* GetPullTypeString(EPullType iType);
    // As GetPullFactorString.
    [[nodiscard]] static const char* GetPullMediaString(EPullMedia iMedia);
    // "29.97 fps drop" and the like.
    [[nodiscard]] static const char* GetTimeCodeFormatString(ETimeCodeFormat iFormat);
    // "4% Down, 0.1% Down", with the description " [25 fps - PAL To NTSC]" appended when asked for.
    [[nodiscard]] static std::string GetComboString(EComboPullFactor iCombo, bool iWithDescription);

    // A pair with a factor outside none, up and down is combination 0, a combination outside 0
    // to 8 the pair none, none.
    [[nodiscard]] static EComboPullFactor GetComboPullFactor(EPullFactor iNTSC, EPullFactor iPAL);
    // The pair of a combination.
    static void ComboToPullFactors(EComboPullFactor iCombo, EPullFactor& oNTSC, EPullFactor& oPAL);
    // The combination that takes material of one video format to another; 0 where none is needed.
    [[nodiscard]] static EComboPullFactor GetRoutingComboFactor(EVideoFormat iFrom, EVideoFormat iTo);
    // Whether an audio combination suits the global timecode format. None never does.
    [[nodiscard]] static bool ValidAudioComboFactor(EComboPullFactor iCombo);

private:
    Time_Globals() = default;

    static double sSampleRate;
    static double sFrameRate;
    static EPullFactor sPullFactors[2][2]; // [media][type]
    static EPullFactor sPullFactorsSaveForLE[2][2];
    static ETimeCodeFormat sGlobalTimeCodeFormat;
    static Cmn_Int32 sFrameOffset;
    static bool sAutoMatchPullFactors;
};
