#include "Bastel/Cmn/Cmn_Utf8.h"

#include "Bastel/Cmn/Cmn_Assert.h"

namespace {

constexpr bool IsSurrogate(char32_t iUnit) { return iUnit >= 0xD800 && iUnit <= 0xDFFF; }

// How many continuation bytes a first byte asks for, the bits it gives, and the range of the first of them: a
// narrower range than 80 to BF is what shuts out overlong forms, surrogates and values above U+10FFFF.
struct Lead
{
    int mMore;
    char32_t mBits;
    unsigned char mLow = 0x80;
    unsigned char mHigh = 0xBF;
};

Lead LeadOf(unsigned char iByte)
{
    if (iByte < 0x80) return {0, iByte};
    if (iByte < 0xC2) return {-1, 0};
    if (iByte < 0xE0) return {1, iByte & 0x1Fu};
    if (iByte == 0xE0) return {2, 0, 0xA0, 0xBF};
    if (iByte == 0xED) return {2, 0xD, 0x80, 0x9F};
    if (iByte < 0xF0) return {2, iByte & 0x0Fu};
    if (iByte == 0xF0) return {3, 0, 0x90, 0xBF};
    if (iByte < 0xF4) return {3, iByte & 0x07u};
    if (iByte == 0xF4) return {3, 4, 0x80, 0x8F};
    return {-1, 0};
}

} // namespace

char32_t Cmn_TakeUtf8(std::string_view& ioText)
{
    if (!Cmn_ASSERT(!ioText.empty())) return 0;
    Lead lead = LeadOf(static_cast<unsigned char>(ioText.front()));
    ioText.remove_prefix(1);
    for (; lead.mMore > 0; --lead.mMore, lead.mLow = 0x80, lead.mHigh = 0xBF) {
        const unsigned char byte = ioText.empty() ? 0 : static_cast<unsigned char>(ioText.front());
        if (byte < lead.mLow || byte > lead.mHigh) return cCmn_ReplacementCharacter;
        lead.mBits = lead.mBits << 6 | (byte & 0x3Fu);
        ioText.remove_prefix(1);
    }
    return lead.mMore == 0 ? lead.mBits : cCmn_ReplacementCharacter;
}

void Cmn_AppendUtf8(std::string& ioText, char32_t iCharacter)
{
    if (IsSurrogate(iCharacter) || iCharacter > 0x10FFFF) iCharacter = cCmn_ReplacementCharacter;
    const auto append = [&](char32_t iByte) {
        ioText += static_cast<char>(static_cast<unsigned char>(iByte));
    };
    const auto appendRest = [&](int iShift) {
        for (; iShift >= 0; iShift -= 6)
            append(0x80 | (iCharacter >> iShift & 0x3F));
    };
    if (iCharacter < 0x80) {
        append(iCharacter);
    } else if (iCharacter < 0x800) {
        append(0xC0 | iCharacter >> 6);
        appendRest(0);
    } else if (iCharacter < 0x10000) {
        append(0xE0 | iCharacter >> 12);
        appendRest(6);
    } else {
        append(0xF0 | iCharacter >> 18);
        appendRest(12);
    }
}

std::string Cmn_Utf8FromUtf16(std::u16string_view iText)
{
    std::string text;
    for (std::size_t i = 0; i < iText.size(); ++i) {
        char32_t character = iText[i];
        const char32_t next = i + 1 < iText.size() ? iText[i + 1] : 0;
        if (character >= 0xD800 && character < 0xDC00 && next >= 0xDC00 && next <= 0xDFFF) {
            character = 0x10000 + ((character - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        }
        Cmn_AppendUtf8(text, character);
    }
    return text;
}
