// FF_DocumentFile: a document's file for those who look at its bytes, however damaged its beginning is.
//
// Byte order, mask type and key are the file's own where they lead to a sound header. Otherwise all others
// are tried, those that differ in the fewest bytes first: the file header has no sum, but what is masked
// behind it has. Where the beginning is gone, headers further in tell.
//
// Ownership: owns the file, which is open for reading. Threads: one at a time.
#pragma once

#include "Bastel/Sys/Sys_File.h"
#include "Kora/FF/Format/FF_Format_p.h"
#include "Kora/FF/Rescue/FF_StreamWalk_p.h"

#include <array>

class FF_DocumentFile
{
public:
    static constexpr Cmn_Int64 cNone = -1;

    // Throws where the file cannot be read, never for what it holds.
    explicit FF_DocumentFile(const Sys_FileLoc& iLocation);
    FF_DocumentFile(const FF_DocumentFile&) = delete;
    FF_DocumentFile& operator=(const FF_DocumentFile&) = delete;

    // What is wrong up to the first stream, and with the TOC offset.
    const std::vector<FF_Fault>& GetFaults() const { return mFaults; }
    // False where nothing that follows the file header makes sense in any layout.
    bool IsReadable() const { return mIsReadable; }

    FF_StreamWindow& GetWindow() { return mWindow; }
    bool IsSwapped() const { return mLayout.mSwap; }
    EFF_EncryptionType GetEncryptionType() const { return static_cast<EFF_EncryptionType>(mLayout.mType); }
    Cmn_Int64 GetLength() const { return mWindow.GetLength(); }
    // Where streams begin, and the table that the header stream names; cNone where no sound
    // header of one stands there.
    Cmn_Int64 GetFirstStream() const { return mFirst; }
    Cmn_Int64 GetTOC() const { return mTOC; }
    // Where the header stream belongs, and what a sound one there says, right or wrong; cNone without one.
    Cmn_Int64 GetHeaderStream() const { return mLayout.GetData(); }
    Cmn_Int64 GetToldTOC() const { return mToldTOC; }

private:
    struct Layout
    {
        Cmn_UInt8 mType = 0;
        Cmn_UInt8 mRawKey = 0;
        bool mSwap = false;
        Cmn_Int64 GetData() const { return FF_Format::GetHeaderStream(mType); }
        int CountDifferences(const Layout& iOther) const;
    };
    // As it stands: the file header, the header stream, and the magic behind them.
    using Front = std::array<Cmn_UInt8, FF_Format::cFirstMasked + FF_Format::cHeaderStreamSize +
                                            Cmn_Int64{Sys_StdStreamHeaderFields::cMagic.size()}>;

    std::size_t ReadPlain(Cmn_Int64 iPosition, void* oBytes, std::size_t iCount);
    void SetLayout(const Layout& iLayout);
    bool PeekAt(Cmn_Int64 iPosition, Sys_StdStreamHeaderInfo& oHeader);
    bool ReadHeaderStream(Sys_StdStreamHeaderInfo& oHeader, Cmn_Int64& oTOC);
    bool IsTOC(Cmn_Int64 iPosition);
    Cmn_Int64 HowFarItLeads(const Layout& iLayout);
    static bool LooksRight(const Front& iFront, const Layout& iLayout);
    std::vector<Cmn_UInt8> GetKeys(const Front& iFront, Cmn_UInt8 iType, Cmn_UInt8 iOwnKey) const;
    std::vector<Layout> GetLayouts(const Front& iFront, const Layout& iOwn) const;
    Layout GuessLayout(const Layout& iElse, Cmn_Int64& oNumWhole);
    Cmn_Int64 CountWhole(const Layout& iLayout);
    void FindLayout(const Front& iFront, const Layout& iOwn);
    void AddFault(Cmn_Int64 iOffset, std::string iText) { mFaults.push_back({iOffset, std::move(iText)}); }
    void CheckFront(const Front& iFront, std::size_t iCount);
    void CheckLayout(const Layout& iOwn);
    void CheckHeaderStream();

    Sys_File mFile;
    FF_StreamWindow mWindow;
    Layout mLayout;
    Cmn_UInt8 mKey = 0;
    bool mIsReadable = false;
    Cmn_Int64 mFirst = 0;
    Cmn_Int64 mTOC = cNone;
    Cmn_Int64 mToldTOC = cNone;
    std::vector<FF_Fault> mFaults;
};

// "expected body sum 01234567, found 89ABCDEF"
std::string FF_SumText(const std::string& iWhat, Cmn_UInt32 iExpected, Cmn_UInt32 iFound);
