#include "Tool/Tool_PlotText.h"

namespace {

// Thousandths of the font size, from the blank to "~", rounded up.
constexpr Cmn_Int16 cAscii[] = {
    349, 457,  521, 838, 696, 1002, 873, 307, 458, 458, 523, 838, 380, 416,  380, 366, 696, 696,  696,
    696, 696,  696, 696, 696, 696,  696, 400, 400, 838, 838, 838, 581, 1000, 774, 763, 734, 831,  684,
    684, 821,  837, 373, 373, 775,  638, 996, 837, 851, 733, 851, 771, 721,  683, 813, 774, 1104, 771,
    725, 726,  458, 366, 458, 838,  500, 500, 675, 716, 593, 716, 679, 436,  716, 712, 343, 343,  666,
    343, 1042, 712, 688, 716, 716,  494, 596, 479, 712, 652, 924, 646, 652,  583, 712, 366, 712,  838};
static_assert(std::size(cAscii) == '~' - ' ' + 1);

constexpr char cEllipsis[] = "…";
constexpr char32_t cJoiner = 0x200D; // makes one picture of those on either side

// The first character and its bytes; of what is no UTF-8 one byte, which readers get as U+FFFD.
struct Character
{
    explicit Character(std::string_view iText)
        : mCode(static_cast<unsigned char>(iText[0]))
    {
        const std::size_t size = mCode >= 0xF0 ? 4 : mCode >= 0xE0 ? 3 : mCode >= 0xC2 ? 2 : 1;
        if (size == 1 || size > iText.size() || mCode > 0xF4) return;
        char32_t code = mCode & (0x7Fu >> size);
        for (std::size_t i = 1; i < size; ++i) {
            const auto byte = static_cast<unsigned char>(iText[i]);
            if ((byte & 0xC0) != 0x80) return;
            code = code << 6 | (byte & 0x3F);
        }
        mCode = code;
        mSize = size;
    }
    // Drawn over or into the one before.
    bool IsMark() const
    {
        return mSize > 1 && ((mCode >= 0x0300 && mCode <= 0x036F) || mCode == cJoiner ||
                             (mCode >= 0xFE00 && mCode <= 0xFE0F) || (mCode >= 0x1F3FB && mCode <= 0x1F3FF));
    }
    Cmn_Int64 Width() const
    {
        constexpr char32_t cFirstFullWidth = 0x1100;
        constexpr char32_t cFirstPicture = 0x10000;
        if (mCode >= ' ' && mCode <= '~') return cAscii[mCode - ' '];
        if (IsMark()) return 0;
        if (mSize == 1 || mCode < cFirstFullWidth) return 1200;
        return mCode < cFirstPicture ? 1050 : 1400;
    }

    char32_t mCode;
    std::size_t mSize = 1;
};

Cmn_Int64 Thousandths(std::string_view iText)
{
    Cmn_Int64 width = 0;
    for (std::size_t at = 0; at < iText.size();) {
        const Character character(iText.substr(at));
        width += character.Width();
        at += character.mSize;
    }
    return width;
}

} // namespace

Cmn_Int64 Tool_TextWidth(std::string_view iText, Cmn_Int64 iFontSize)
{
    return (Thousandths(iText) * iFontSize + 99) / 100;
}

std::string Tool_ShortenedText(std::string_view iText, Cmn_Int64 iFontSize, Cmn_Int64 iWidth)
{
    if (Tool_TextWidth(iText, iFontSize) <= iWidth) return std::string(iText);
    const Cmn_Int64 most = iWidth * 100 / iFontSize - Thousandths(cEllipsis);
    Cmn_Int64 width = 0;
    std::size_t whole = 0; // where the last character ends that may be the last
    char32_t before = 0;
    for (std::size_t at = 0; at < iText.size();) {
        const Character character(iText.substr(at));
        if (!character.IsMark() && before != cJoiner) whole = at;
        width += character.Width();
        if (width > most) break;
        before = character.mCode;
        at += character.mSize;
    }
    return std::string(iText.substr(0, whole)) + cEllipsis;
}
