#include "Kora/DAW/DAW_KeyConversionUtils.h"

#include "Bastel/I18N/I18N_Utils.h"
#include "Kora/DAW/DAW_KeyTable_p.h"

#include <array>

namespace {

constexpr Cmn_Int32 cUnknownText = 200;
constexpr Cmn_Int32 cUndeclaredText = 201;
constexpr Cmn_Int32 cCancelText = 202;

constexpr Cmn_UInt16 cMacRightOption = 0x3D;

static_assert(DAW_KeyConversionUtils::cNoWindowsKeyCode == cDAW_NoWindows);
static_assert(DAW_KeyConversionUtils::cNoMacKeyCode == cDAW_NoMac);

// Unknown codes read the row of Undeclared, which has nothing.
constexpr const DAW_KeyRow& RowOf(DAW_EKeyCode iKeyCode)
{
    return cDAW_KeyRows[DAW_IsKeyCode(iKeyCode) ? iKeyCode : DAW_eKeyCode_Undeclared];
}

// A table turned round: the key at the place of each code, Undeclared (0) at the others.
template <std::size_t tSize>
using KeyOfCode = std::array<Cmn_UInt8, tSize>;

constexpr void PutIfFree(Cmn_UInt8& ioKey, const DAW_KeyRow& iRow)
{
    if (ioKey == DAW_eKeyCode_Undeclared) ioKey = static_cast<Cmn_UInt8>(iRow.mKeyCode);
}

// The main keyboard stands before the keypad in the table, and wins the characters that both type.
constexpr KeyOfCode<128> cKeyOfChar = [] {
    KeyOfCode<128> keys{};
    for (const DAW_KeyRow& row : cDAW_KeyRows)
        if (row.mChar != 0) PutIfFree(keys[static_cast<Cmn_UInt8>(row.mChar)], row);
    for (const DAW_KeyRow& row : cDAW_KeyRows)
        if (row.mShiftedChar != 0)
            keys[static_cast<Cmn_UInt8>(row.mShiftedChar)] = static_cast<Cmn_UInt8>(row.mKeyCode);
    keys['\n'] = DAW_eKeyCode_Return;
    return keys;
}();

// Virtual-key codes at 0 to 255, those with the extended flag at 256 to 511.
constexpr KeyOfCode<512> cKeyOfWindowsCode = [] {
    KeyOfCode<512> keys{};
    for (const DAW_KeyRow& row : cDAW_KeyRows)
        if (row.mWindowsKeyCode != cDAW_NoWindows)
            PutIfFree(keys[row.mWindowsKeyCode + (row.mIsWindowsExtended ? 256 : 0)], row);
    for (const DAW_KeyRow& row : cDAW_KeyRows)
        if (row.mWindowsKeyCode != cDAW_NoWindows)
            PutIfFree(keys[row.mWindowsKeyCode + (row.mIsWindowsExtended ? 0 : 256)], row);
    return keys;
}();

constexpr KeyOfCode<128> cKeyOfMacCode = [] {
    KeyOfCode<128> keys{};
    for (const DAW_KeyRow& row : cDAW_KeyRows)
        if (row.mMacKeyCode != cDAW_NoMac) PutIfFree(keys[row.mMacKeyCode], row);
    keys[cMacRightOption] = DAW_eKeyCode_Alt;
    return keys;
}();

template <std::size_t tSize>
DAW_EKeyCode KeyAt(const KeyOfCode<tSize>& iKeys, std::size_t iCode)
{
    return iCode < tSize ? static_cast<DAW_EKeyCode>(iKeys[iCode]) : DAW_eKeyCode_Undeclared;
}

} // namespace

std::string DAW_KeyConversionUtils::DAW_EKeyCodeToDescriptiveString(DAW_EKeyCode iKeyCode)
{
    if (!DAW_IsKeyCode(iKeyCode)) return I18N_Utils::GetString(cUnknownText);
    if (iKeyCode == DAW_eKeyCode_Undeclared) return I18N_Utils::GetString(cUndeclaredText);
    if (iKeyCode == DAW_eKeyCode_Cancel) return I18N_Utils::GetString(cCancelText);
    return RowOf(iKeyCode).mDescriptiveText;
}

std::string DAW_KeyConversionUtils::DAW_EKeyCodeToDisplayString(DAW_EKeyCode iKeyCode)
{
    if (iKeyCode == DAW_eKeyCode_Cancel) return I18N_Utils::GetString(cCancelText);
    return RowOf(iKeyCode).mDisplayText;
}

char DAW_KeyConversionUtils::DAW_EKeyCodeToChar(DAW_EKeyCode iKeyCode) { return RowOf(iKeyCode).mChar; }

DAW_EKeyCode DAW_KeyConversionUtils::CharToDAW_EKeyCode(char iChar)
{
    return KeyAt(cKeyOfChar, static_cast<Cmn_UInt8>(iChar));
}

char DAW_KeyConversionUtils::CharToShiftedChar(char iChar)
{
    const DAW_KeyRow& row = RowOf(CharToDAW_EKeyCode(iChar));
    return row.mShiftedChar != 0 ? row.mShiftedChar : iChar;
}

DAW_EKeyCode DAW_KeyConversionUtils::WindowsKeyCodeToDAW_EKeyCode(Cmn_UInt16 iWindowsKeyCode,
                                                                  bool iIsExtended)
{
    if (iWindowsKeyCode > 255) return DAW_eKeyCode_Undeclared;
    return KeyAt(cKeyOfWindowsCode, iWindowsKeyCode + (iIsExtended ? 256u : 0u));
}

Cmn_UInt16 DAW_KeyConversionUtils::DAW_EKeyCodeToWindowsKeyCode(DAW_EKeyCode iKeyCode, bool& oIsExtended)
{
    oIsExtended = RowOf(iKeyCode).mIsWindowsExtended;
    return RowOf(iKeyCode).mWindowsKeyCode;
}

bool DAW_KeyConversionUtils::DAW_EKeyCodeIsWindowsExtendedCode(DAW_EKeyCode iKeyCode)
{
    return RowOf(iKeyCode).mIsWindowsExtended;
}

DAW_EKeyCode DAW_KeyConversionUtils::MacKeyCodeToDAW_EKeyCode(Cmn_UInt16 iMacKeyCode)
{
    return KeyAt(cKeyOfMacCode, iMacKeyCode);
}

Cmn_UInt16 DAW_KeyConversionUtils::DAW_EKeyCodeToMacKeyCode(DAW_EKeyCode iKeyCode)
{
    return RowOf(iKeyCode).mMacKeyCode;
}

DAW_EKeyCode DAW_KeyConversionUtils::DAW_EKeyCodeToOtherNumpadKeyCode(DAW_EKeyCode iKeyCode)
{
    return RowOf(iKeyCode).mOtherNumpadKeyCode;
}
