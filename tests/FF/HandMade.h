// HandMade: document files as no writer of today writes them: in the other byte order,
// and with hostile headers.
#pragma once

#include "Bastel/Sys/Sys_Crc32C.h"
#include "Bastel/Sys/Sys_File.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/FF/Format/FF_FileBasedEncrytpedStreams.h"
#include "Support/MemoryFileSystem.h"

#include <bit>

namespace HandMade {

struct Form
{
    bool mSwap = false;
    int mMaskType = 0;
    Cmn_Int16 mHeaderVersion = 1;
    Cmn_UInt32 mHeaderExtra = 0; // bytes behind the TOC offset
    Cmn_Int64 mTocOffset = -1;   // as it is written; -1 for the right one
    Cmn_Int64 mEntry = -1;       // where the table says that the stream is, likewise
};

// Stream 7, described as "a number", that holds 1234.
inline void Write(MemoryFileSystem& ioFiles, const char* iPath, const Form& iForm)
{
    ioFiles.SetBytes(iPath, {});
    Sys_File file{Sys_FileLoc(iPath)};
    file.Open(Sys_FileSystem::eAccess_Write);
    file.Write("\x03"
               "0010111100101011",
               17);
    file.Write(iForm.mSwap ? "\1" : "\0", 1);
    std::unique_ptr<Sys_FileBasedInStream> in;
    std::unique_ptr<Sys_FileBasedOutStream> stream;
    Sys_File inFile{Sys_FileLoc(iPath)};
    inFile.Open(Sys_FileSystem::eAccess_Read);
    FF_FileBasedEncrytpedStreams::CreateInAndOutStreams(
        inFile, file, static_cast<EFF_EncryptionType>(iForm.mMaskType), in, stream);
    Sys_TypedOutStream out(*stream, iForm.mSwap);
    const Cmn_UInt32 headerStream = 30 + iForm.mHeaderExtra;
    constexpr Cmn_UInt32 cStream = 32;
    const auto first = static_cast<Cmn_UInt32>(out.GetPosition()) + headerStream;
    {
        Sys_StdStreamHeaderWriter header(out, "Z", iForm.mHeaderVersion);
        out.WriteUInt32(iForm.mTocOffset < 0 ? first + cStream : static_cast<Cmn_UInt32>(iForm.mTocOffset));
        for (Cmn_UInt32 i = 0; i < iForm.mHeaderExtra; ++i)
            out.WriteUInt8(0xAB);
    }
    {
        FF_StreamHeaderWriter header(nullptr, out, 7, 1);
        out.WriteInt32(1234);
    }
    FF_Document::TOC toc;
    const FF_Document::Context context(7, 0);
    const FF_Document::TOC::Entry entry = toc.Insert({&context, 1});
    toc.AddValue(entry, "a number");
    toc.AddOffset(entry, 0, iForm.mEntry < 0 ? first : static_cast<Cmn_UInt32>(iForm.mEntry));
    toc.StreamOut(out);
    stream->Flush();
}

// A little-endian header "Z" at the end of a file, with a right sum of its own and whatever size it claims;
// 0xFFFFFFFF for none yet.
inline void AppendHeader(std::vector<std::uint8_t>& ioBytes, Cmn_UInt32 iBodySize)
{
    const auto start = static_cast<std::ptrdiff_t>(ioBytes.size());
    const auto put = [&](Cmn_UInt32 iValue, int iCount) {
        for (int i = 0; i < iCount; ++i)
            ioBytes.push_back(static_cast<std::uint8_t>(iValue >> (8 * i)));
    };
    for (const char c : {'K', 'S', 'H', '3', '\x01', 'Z'})
        ioBytes.push_back(static_cast<std::uint8_t>(c));
    put(1, 2);
    put(0, 4);
    put(iBodySize == 0xFFFFFFFF ? 4 : 5, 2);
    put(iBodySize, 4);
    put(0, 4);
    const Cmn_UInt32 sum =
        Sys_Crc32C(0, &*(ioBytes.begin() + start), ioBytes.size() - static_cast<std::size_t>(start));
    put(std::rotr(sum, 15) + 0x4B534833 + static_cast<Cmn_UInt32>(start), 4);
}

} // namespace HandMade
