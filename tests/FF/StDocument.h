// StDocument: documents in memory for the tests of document files, with the verbs that they need.
#pragma once

#include "Kora/FF/Document/FF_Document.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Document/FF_StSetStreamContext.h"
#include "Kora/FF/Document/FF_StreamHeader.h"
#include "Kora/FF/Document/FF_StreamList.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Support/AssertRecorder.h"
#include "Support/MemoryFileSystem.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>

#include <optional>

inline constexpr char cPath[] = "/songs/take.kora";

// One document file in a file system of its own; a report of a broken precondition that the
// test did not take fails it.
class StDocument : public testing::Test
{
protected:
    using Bytes = MemoryFileSystem::Bytes;

    ~StDocument() override { EXPECT_EQ(TakeReports(), ""); }

    Bytes FileBytes() const { return mFiles.GetBytes(cPath); }

    // Opened unless the flag is that of closed ones.
    struct Document : FF_Document
    {
        explicit Document(EOpenFlag iFlag = eOpenFlag_Closed, int iType = 0, const char* iPath = cPath,
                          ETextEncoding iText = eTextEncoding_Utf8)
            : FF_Document(Sys_FileLoc(iPath), static_cast<EFF_EncryptionType>(iType), iText, false)
        {
            if (iFlag != eOpenFlag_Closed) Open(iFlag);
        }
    };
    // Registers and writes a stream that holds a number.
    static void Write(FF_Document& ioDocument, Cmn_Int16 iType, Cmn_Int32 iNumber)
    {
        Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
        FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(out.GetPosition()), iType, "a number");
        const FF_StreamHeaderWriter header(&ioDocument, out, iType, 1);
        out.WriteInt32(iNumber);
    }
    // Registers and writes a list of the numbers from 0 on; each is plain data or, with a type, a stream.
    static void WriteList(FF_Document* iDocument, Sys_TypedOutStream& ioOut, Cmn_Int16 iType,
                          Cmn_Int32 iCount, Cmn_Int16 iItemType = FF_Document::cNoStreamType)
    {
        FF_Document::AddTOCEntry(iDocument, static_cast<Cmn_UInt64>(ioOut.GetPosition()), iType, "list");
        const FF_StreamHeaderWriter header(iDocument, ioOut, iType, 1);
        FF_StreamListWriter list(iDocument, ioOut, iCount);
        for (Cmn_Int32 i = 0; i < iCount; ++i) {
            list.AddListEntry(i, "item");
            std::optional<FF_StreamHeaderWriter> item;
            if (iItemType != FF_Document::cNoStreamType)
                item.emplace(iDocument, ioOut, iItemType, Cmn_Int16{1});
            ioOut.WriteInt32(i);
        }
    }
    // The number under the key, or -1 where the document does not have it.
    static Cmn_Int32 Read(FF_Document& ioDocument, Cmn_Int16 iType)
    {
        Sys_TypedInStream in = ioDocument.MakeTypedInStream();
        if (!ioDocument.SeekToStream(FF_Document::TOCKey(iType), in)) return -1;
        const FF_StreamHeaderReader header(&ioDocument, in, iType);
        return in.ReadInt32();
    }
    // The message of what the call throws, which names the file; 0 when it throws nothing.
    template <class Call>
    static int MessageOf(const Call& iCall)
    {
        const Cmn_Exception thrown = Thrown(iCall);
        EXPECT_EQ(thrown.GetFile().empty(), thrown.GetMessageID() == 0) << thrown.Describe();
        return thrown.GetMessageID();
    }
    // "offset: text" of each.
    static std::string Text(const std::vector<FF_Fault>& iFaults)
    {
        std::string text;
        for (const FF_Fault& fault : iFaults)
            text += (text.empty() ? "" : "; ") + std::to_string(fault.mOffset) + ": " + fault.mText;
        return text;
    }
    // The words of the reports so far.
    std::string TakeReports()
    {
        std::string words;
        for (const std::string& report : mAsserts.Take())
            words += (words.empty() ? "" : " | ") + report.substr(0, report.find(Cmn_Assert::cSeparator));
        return words;
    }

    MemoryFileSystem mFiles;

private:
    Sys_FileSystem::StSystem mSystem{mFiles};
    AssertRecorder mAsserts;
};
