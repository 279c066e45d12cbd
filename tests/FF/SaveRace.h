// SaveRace: two who save one document and one who reads it, all as fast as they can, and
// the order of what they did.
//
// Holds for every reading: it is one whole document; and when save Y began after save X had returned, and has
// returned before the reading began, X is not what is read.
#pragma once

#include "Bastel/Sys/Sys_FileSystem.h"
#include "FF/StDocument.h"
#include "Kora/FF/Document/FF_SafeSave.h"
#include "Support/StFolder.h"

#include <atomic>
#include <cstdio>

namespace SaveRace {
constexpr int cSavers = 2;
constexpr int cStride = 1 << 24; // a document holds saver * cStride + number

// Lies in memory that all taking part share; zeroes are the beginning.
struct Log
{
    struct Save
    {
        std::atomic<long> mBegan;
        std::atomic<long> mEnded; // 0 until it returned
    };
    static constexpr int cMost = 1 << 18;
    std::atomic<long> mClock;
    std::atomic<int> mLast[cSavers];      // number of the save that is under way, or was last
    std::atomic<int> mLastEnded[cSavers]; // that returned
    std::atomic<int> mFailed;
    Save mSaves[cSavers][cMost];
};

inline void SaveNumber(const std::string& iPath, Cmn_Int32 iNumber)
{
    FF_SafeSave save(Sys_FileLoc(iPath), eFF_EncryptionType_Block93, eTextEncoding_Utf8, false);
    Sys_TypedOutStream out = save.GetDocument().MakeTypedOutStream();
    for (const Cmn_Int16 type : {Cmn_Int16{7}, Cmn_Int16{8}}) {
        FF_Document::AddTOCEntry(&save.GetDocument(), static_cast<Cmn_UInt64>(out.GetPosition()), type, "");
        const FF_StreamHeaderWriter header(&save.GetDocument(), out, type, 1);
        out.WriteInt32(iNumber);
    }
    save.Commit();
}

inline Cmn_Int32 ReadNumber(const std::string& iPath)
{
    FF_Document document(Sys_FileLoc(iPath), eFF_EncryptionType_None, eTextEncoding_Utf8, false);
    document.Open(Sys_Store::eOpenFlag_Read);
    Cmn_Int32 numbers[2] = {};
    for (const Cmn_Int16 type : {Cmn_Int16{7}, Cmn_Int16{8}}) {
        Sys_TypedInStream in = document.MakeTypedInStream();
        if (!document.SeekToStream(FF_Document::TOCKey(type), in)) throw Sys_StreamReadException(type);
        const FF_StreamHeaderReader header(&document, in, type);
        numbers[type - 7] = in.ReadInt32();
    }
    if (numbers[0] != numbers[1]) throw Sys_StreamReadException(0);
    return numbers[0];
}

// Goes on behind what it, or one killed in its place, did before.
inline void RunSaver(Log& ioLog, const std::string& iPath, int iSaver, int iSaves) noexcept
{
    for (int number = ioLog.mLast[iSaver] + 1; number <= iSaves; ++number) {
        Log::Save& save = ioLog.mSaves[iSaver][number];
        ioLog.mLast[iSaver] = number;
        save.mBegan = ++ioLog.mClock;
        try {
            SaveNumber(iPath, iSaver * cStride + number);
        } catch (const Cmn_Exception& exception) {
            ++ioLog.mFailed;
            std::fprintf(stderr, "saver %d, save %d: %s\n", iSaver, number, exception.Describe().c_str());
            continue;
        }
        save.mEnded = ++ioLog.mClock;
        ioLog.mLastEnded[iSaver] = number;
    }
}

// "" or what is wrong.
inline std::string CheckReading(Log& ioLog, const std::string& iPath)
{
    int ended[cSavers];
    for (int saver = 0; saver < cSavers; ++saver)
        ended[saver] = ioLog.mLastEnded[saver];
    try {
        const Cmn_Int32 found = ReadNumber(iPath);
        const Log::Save& save = ioLog.mSaves[found / cStride][found % cStride];
        const long foundEnded = save.mEnded;
        for (int saver = 0; saver < cSavers; ++saver) {
            const bool isLost = foundEnded != 0 && ioLog.mSaves[saver][ended[saver]].mBegan > foundEnded;
            if (isLost)
                return "save " + std::to_string(ended[saver]) + " of saver " + std::to_string(saver) +
                       " is lost, " + std::to_string(found) + " is in its place";
        }
    } catch (const Cmn_Exception& exception) {
        return exception.Describe();
    }
    return {};
}

// The file beside the document, there while a save is under way.
inline std::string Beside(const StFolder& iFolder)
{
    for (const auto& entry : std::filesystem::directory_iterator(iFolder.Path()))
        if (entry.path().filename().string().starts_with(FF_SafeSave::cPrefix)) return entry.path().string();
    return {};
}
} // namespace SaveRace
