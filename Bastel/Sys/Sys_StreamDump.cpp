#include "Bastel/Sys/Sys_StreamDump.h"

#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_StdStreamHeader_p.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

using Fields = Sys_StdStreamHeaderFields;

std::string Hex(std::size_t iValue, int iDigits)
{
    std::string text;
    for (int shift = 4 * (iDigits - 1); shift >= 0; shift -= 4)
        text += "0123456789abcdef"[iValue >> shift & 0xF];
    return text;
}

// What a terminal can show, the rest as dots.
std::string Printable(std::string_view iBytes)
{
    std::string text(iBytes);
    std::ranges::replace_if(
        text, [](char c) { return c < ' ' || c > '~'; }, '.');
    return text;
}

class Dumper
{
public:
    Dumper(std::span<const Cmn_UInt8> iBytes, bool iSwap)
        : mBytes(iBytes)
        , mSwap(iSwap)
    {
    }

    std::string TakeText() { return std::move(mText); }

    // What lies in [iStart, iEnd): headers with their bodies, and runs of other bytes between them.
    void DumpRange(std::size_t iStart, std::size_t iEnd, int iLevel)
    {
        std::size_t run = iStart;
        for (std::size_t at = iStart; at < iEnd && mLines < Sys_StreamDump::cMaxLines;) {
            std::size_t body = 0;
            const auto header =
                iLevel < Sys_StreamDump::cMaxLevels ? ReadHeader(at, iEnd, body) : std::nullopt;
            if (!header) {
                ++at;
                continue;
            }
            DumpRun(run, at, iLevel);
            at = DumpStream(*header, at, body, iEnd, iLevel);
            run = at;
        }
        DumpRun(run, iEnd, iLevel);
    }

private:
    std::optional<Fields> ReadHeader(std::size_t iAt, std::size_t iEnd, std::size_t& oBody) const
    {
        const auto rest = mBytes.subspan(iAt, iEnd - iAt);
        constexpr auto cMagic = Fields::cMagic;
        if (rest.size() < cMagic.size() || std::memcmp(rest.data(), cMagic.data(), cMagic.size()) != 0)
            return std::nullopt;
        Sys_MemInStream bytes(mBytes.first(iEnd));
        Sys_TypedInStream typed(bytes, mSwap);
        typed.SetPosition(static_cast<Cmn_Int64>(iAt));
        try {
            const Fields fields = Fields::Read(typed);
            oBody = static_cast<std::size_t>(typed.GetPosition());
            return fields;
        } catch (const Sys_StreamReadException&) {
            return std::nullopt;
        }
    }

    // Returns where the stream ends.
    std::size_t DumpStream(const Fields& iHeader, std::size_t iAt, std::size_t iBody, std::size_t iEnd,
                           int iLevel)
    {
        const std::size_t left = iEnd - iBody;
        const bool isSound = iHeader.IsSound(static_cast<Cmn_Int64>(left));
        std::string line =
            '"' + Printable(iHeader.mName) + "\" version " + std::to_string(iHeader.mVersion) + ", ";
        if (iHeader.mBodySize == Fields::cUnknownSize)
            line += "size not written";
        else
            line += std::to_string(iHeader.mBodySize) + " bytes";
        if (iHeader.IsList()) line += ", list";
        if (iHeader.mListIndex != 0) line += ", item " + std::to_string(iHeader.mListIndex);
        if (iHeader.HasSums()) line += Sums(iHeader, iBody, isSound);
        if (!isSound) line += ", not a complete header; " + std::to_string(left) + " bytes follow";
        AddLine(iAt, iLevel, line);

        const std::size_t end = isSound ? iBody + iHeader.mBodySize : iEnd;
        DumpRange(iBody, end, iLevel + 1);
        return end;
    }

    const char* Sums(const Fields& iHeader, std::size_t iBody, bool iIsSound) const
    {
        if (iHeader.mHeaderSum != iHeader.mComputedSum) return ", its own sum does not fit";
        if (!iIsSound) return "";
        const bool fits = Sys_Crc32C(0, mBytes.data() + iBody, iHeader.mBodySize) == iHeader.mBodySum;
        return fits ? ", sums fit" : ", its body's sum does not fit";
    }

    void DumpRun(std::size_t iStart, std::size_t iEnd, int iLevel)
    {
        constexpr std::size_t cBytesPerLine = 16;
        const std::size_t shown = std::min(iEnd, iStart + Sys_StreamDump::cMaxRunBytes);
        for (std::size_t at = iStart; at < shown; at += cBytesPerLine) {
            std::string hex, text;
            for (std::size_t i = at; i < std::min(shown, at + cBytesPerLine); ++i) {
                hex += Hex(mBytes[i], 2) + ' ';
                text += static_cast<char>(mBytes[i]);
            }
            hex.resize(3 * cBytesPerLine + 1, ' ');
            AddLine(at, iLevel, hex + Printable(text));
        }
        if (shown < iEnd) AddLine(shown, iLevel, "... " + std::to_string(iEnd - shown) + " more bytes");
    }

    void AddLine(std::size_t iAt, int iLevel, const std::string& iText)
    {
        if (mLines > Sys_StreamDump::cMaxLines) return;
        if (mLines++ == Sys_StreamDump::cMaxLines)
            mText += "...\n";
        else
            mText +=
                std::string(2 * static_cast<std::size_t>(iLevel), ' ') + Hex(iAt, 8) + "  " + iText + '\n';
    }

    std::span<const Cmn_UInt8> mBytes;
    bool mSwap;
    std::string mText;
    std::size_t mLines = 0;
};

} // namespace

std::string Sys_StreamDump::ToText(std::span<const Cmn_UInt8> iBytes, bool iSwap)
{
    Dumper dumper(iBytes, iSwap);
    dumper.DumpRange(0, iBytes.size(), 0);
    return dumper.TakeText();
}
