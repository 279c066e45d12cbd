// Documents of the C interface: opening, committing, songs, and what is damaged.
#include "Kora/C/C_Document_p.h"
#include "Kora/C/C_Give_p.h"
#include "Kora/C/C_Song_p.h"
#include "Kora/FF/Document/FF_Document_TOC.h"
#include "Kora/FF/Rescue/FF_DocumentCheck.h"
#include "Kora/FF/Rescue/FF_DocumentRepair.h"

#include <utility>

namespace {

// Stands in messages where a file's name would.
constexpr char cInMemory[] = "a document in memory";
constexpr Cmn_Int16 cSongTypes[] = {FF_TimeMaps::eStreamType_MeterMap, FF_TimeMaps::eStreamType_TempoMap,
                                    FF_TimeMaps::eStreamType_KeyMap, FF_TimeMaps::eStreamType_SongInfo};

std::unique_ptr<FF_Document> MakeDocument(const char* iPath)
{
    return std::make_unique<FF_Document>(Sys_FileLoc(iPath), eFF_EncryptionType_None, eTextEncoding_Utf8,
                                         false);
}

struct Discard
{
    void operator()(kora_document* iDocument) const { iDocument->Release(); }
};

template <class Open>
kora_status MakeHandle(kora_document** oDocument, const Open& iOpen)
{
    return C_Guard([&] {
        kora_document*& out = C_Out(oDocument, "out");
        std::unique_ptr<kora_document, Discard> document(new kora_document);
        iOpen(*document);
        out = document.release();
    });
}

void Tell(const std::vector<FF_Fault>& iFaults, kora_fault_handler iHandler, void* iUser)
{
    if (iHandler == nullptr) return;
    for (const FF_Fault& fault : iFaults)
        iHandler(iUser, fault.mOffset, fault.mText.c_str());
}

} // namespace

kora_document::~kora_document() { CloseStreams(); }

// From the innermost outward.
void kora_document::CloseStreams()
{
    while (!mReading.empty())
        mReading.pop_back();
    while (!mWriting.empty())
        mWriting.pop_back();
}

void kora_document::Begin(FF_Document& ioDocument, Sys_Store::EOpenFlag iFlag)
{
    if (!ioDocument.IsOpen()) ioDocument.Open(iFlag);
    if (iFlag == Sys_Store::eOpenFlag_Read)
        mIn.emplace(ioDocument.MakeTypedInStream());
    else
        mOut.emplace(ioDocument.MakeTypedOutStream());
    mState = iFlag == Sys_Store::eOpenFlag_Read ? eState_Read : eState_Write;
}

void kora_document::Open(const char* iPath)
{
    mOwn = MakeDocument(iPath);
    Begin(*mOwn, Sys_Store::eOpenFlag_Read);
}

void kora_document::Open(std::string iBytes)
{
    mMemory = std::make_unique<Sys_MemoryFile>(std::move(iBytes));
    mOwn = MakeDocument(cInMemory);
    mOwn->SetFileSystem(mMemory.get());
    Begin(*mOwn, Sys_Store::eOpenFlag_Read);
}

void kora_document::Create(const char* iPath)
{
    mSave = std::make_unique<FF_SafeSave>(Sys_FileLoc(iPath));
    Begin(mSave->GetDocument(), Sys_Store::eOpenFlag_New);
}

void kora_document::CreateInMemory()
{
    mMemory = std::make_unique<Sys_MemoryFile>();
    mOwn = MakeDocument(cInMemory);
    mOwn->SetFileSystem(mMemory.get());
    Begin(*mOwn, Sys_Store::eOpenFlag_New);
}

void kora_document::Commit()
{
    FF_Document& document = ToWrite();
    C_Require(mWriting.empty(), "a stream has not ended", KORA_REFUSED);
    if (mSave != nullptr) {
        mSave->Commit();
    } else {
        document.Flush();
        document.Close();
    }
    mState = eState_Done;
}

const std::string& kora_document::GetBytes() const
{
    C_Require(mState == eState_Done && mSave == nullptr,
              "the document is not one in memory that was committed", KORA_REFUSED);
    return mMemory->GetBytes();
}

FF_Document& kora_document::ToRead() const
{
    C_Require(mState == eState_Read, "the document is not open to read", KORA_REFUSED);
    return *mOwn;
}

FF_Document& kora_document::ToWrite() const
{
    C_Require(mState != eState_Spoiled, "what a call before was to write is there in part", KORA_REFUSED);
    C_Require(mState == eState_Write, "the document is not open to write", KORA_REFUSED);
    return mSave != nullptr ? mSave->GetDocument() : *mOwn;
}

kora_status kora_document_open(const char* path, kora_document** out)
{
    return MakeHandle(out, [&](kora_document& ioDocument) {
        C_Out(path, "path");
        ioDocument.Open(path);
    });
}

kora_status kora_document_read_bytes(const void* bytes, size_t size, kora_document** out)
{
    return MakeHandle(out, [&](kora_document& ioDocument) {
        const auto* const first = static_cast<const char*>(bytes);
        C_Out(first, "bytes");
        ioDocument.Open(std::string(first, size));
    });
}

kora_status kora_document_create(const char* path, kora_document** out)
{
    return MakeHandle(out, [&](kora_document& ioDocument) {
        C_Out(path, "path");
        ioDocument.Create(path);
    });
}

kora_status kora_document_create_in_memory(kora_document** out)
{
    return MakeHandle(out, [](kora_document& ioDocument) { ioDocument.CreateInMemory(); });
}

kora_status kora_document_commit(kora_document* document)
{
    return C_Guard([&] { C_Get(document, "document").Commit(); });
}

kora_status kora_document_get_bytes(kora_document* document, void* buffer, size_t capacity, size_t* size)
{
    return C_Guard([&] { C_GiveBytes(C_Get(document, "document").GetBytes(), buffer, capacity, size); });
}

kora_status kora_song_read_document(kora_document* document, kora_song** out)
{
    return C_Guard([&] {
        kora_document& from = C_Get(document, "document");
        FF_Document& source = from.ToRead();
        C_Require(from.mReading.empty(), "a stream is open", KORA_REFUSED);
        kora_song*& song = C_Out(out, "out");
        song = C_MakeSong([&](Kora_Song& ioSong) { ioSong.Read(source); });
    });
}

kora_status kora_song_write_document(kora_song* song, kora_document* document)
{
    return C_Guard([&] {
        const Kora_Song& from = C_Get(song, "song").Get();
        kora_document& to = C_Get(document, "document");
        FF_Document& target = to.ToWrite();
        C_Require(to.mWriting.empty(), "a stream has not ended", KORA_REFUSED);
        for (const Cmn_Int16 type : cSongTypes)
            C_Require(target.GetTOC().Find(FF_Document::TOCKey(type)) == FF_Document::TOC::cNone,
                      "the document has a song, or a stream of its types", KORA_REFUSED);
        from.CheckPlaces();
        const Cmn_Int64 before = to.mOut->GetPosition();
        try {
            from.Write(target);
        } catch (...) {
            target.TakeBackFrom(before);
            throw;
        }
    });
}

kora_status kora_document_check(const char* path, kora_fault_handler handler, void* user, size_t* faults)
{
    return C_Guard([&] {
        C_Out(path, "path");
        const std::vector<FF_Fault> found = FF_DocumentCheck::Check(Sys_FileLoc(path));
        if (faults != nullptr) *faults = found.size();
        Tell(found, handler, user);
    });
}

kora_status kora_document_repair(const char* from, const char* to, kora_fault_handler handler, void* user,
                                 size_t* recovered)
{
    return C_Guard([&] {
        C_Out(from, "from");
        C_Out(to, "to");
        const FF_DocumentRepair::Report report =
            FF_DocumentRepair::Repair(Sys_FileLoc(from), Sys_FileLoc(to), false);
        if (recovered != nullptr) *recovered = static_cast<size_t>(report.mRecovered);
        Tell(report.mHeader, handler, user);
        Tell(report.mLost, handler, user);
        C_Require(report.mRecovered > 0, "nothing in the file is a whole stream; nothing was written",
                  KORA_NOT_FOUND);
    });
}
