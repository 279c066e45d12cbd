// A document of your own: takes in a list, a second version that reads the first, and what damage does.
#include "Kora/Diagnostics.h"
#include "Kora/Documents.h"

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

//! [types]
// The application's own stream types. They stand in files: they are never used for anything else again.
constexpr Cmn_Int16 cTakes = 100;
constexpr Cmn_Int16 cTake = 101;
constexpr Cmn_Int16 cNotes = 102;

struct Take
{
    std::string mName;
    Cmn_Int64 mStart = 0; // samples
    double mGain = 1;     // since version 2
};
//! [types]

//! [write]
void WriteTakes(FF_Document& ioDocument, const std::vector<Take>& iTakes, Cmn_Int16 iVersion)
{
    Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
    FF_Document::AddTOCEntry(&ioDocument, static_cast<Cmn_UInt64>(out.GetPosition()), cTakes, "takes");
    const FF_StreamHeaderWriter header(&ioDocument, out, cTakes, 1);
    FF_StreamListWriter list(&ioDocument, out, static_cast<Cmn_Int32>(iTakes.size()));
    for (std::size_t i = 0; i < iTakes.size(); ++i) {
        list.AddListEntry(static_cast<Cmn_Int32>(i), iTakes[i].mName);
        const FF_StreamHeaderWriter item(&ioDocument, out, cTake, iVersion);
        out.WriteString(iTakes[i].mName);
        out.WriteInt64(iTakes[i].mStart);
        if (iVersion >= 2) out.WriteFloat64(iTakes[i].mGain);
    }
}

// The old file stays until the new one is whole on the disk.
void Save(const Sys_FileLoc& iPlace, const std::vector<Take>& iTakes, Cmn_Int16 iVersion)
{
    FF_SafeSave save(iPlace);
    WriteTakes(save.GetDocument(), iTakes, iVersion);
    save.Commit();
}
//! [write]

//! [read]
// Where the input stands at a take.
Take ReadTake(FF_Document& ioDocument, Sys_TypedInStream& ioStream)
{
    const FF_StreamHeaderReader item(&ioDocument, ioStream, cTake);
    item.CheckVersion(1, 2);
    Take take;
    take.mName = ioStream.ReadString();
    take.mStart = ioStream.ReadInt64();
    if (item.GetVersion() >= 2) take.mGain = ioStream.ReadFloat64();
    return take;
}

void Show(const Take& iTake)
{
    std::printf("  %s at sample %lld, gain %.2f\n", iTake.mName.c_str(), static_cast<long long>(iTake.mStart),
                iTake.mGain);
}

// The second take, without reading the first.
void ShowSecondTake(const Sys_FileLoc& iPlace)
{
    FF_Document document(iPlace);
    document.Open(Sys_Store::eOpenFlag_Read);
    Sys_TypedInStream in = document.MakeTypedInStream();
    if (!document.SeekToStream(FF_Document::TOCKey(cNotes), in)) std::puts("  no notes, which is good too");
    if (!document.SeekToStream(FF_Document::TOCKey(cTakes), in)) return;
    const FF_StreamHeaderReader header(&document, in, cTakes, FF_StreamHeaderReader::eUseExtendedTOC);
    FF_StreamListReader list(&document, in);
    list.SeekToListEntry(1);
    Show(ReadTake(document, in));
}
//! [read]

//! [rescue]
void ShowWhatIsLeft(const Sys_FileLoc& iPlace, const Sys_FileLoc& iRepaired)
{
    const FF_DocumentRepair::Report report = FF_DocumentRepair::Repair(iPlace, iRepaired);
    for (const FF_Fault& fault : report.mLost)
        std::printf("  byte %lld: %s\n", static_cast<long long>(fault.mOffset), fault.mText.c_str());

    FF_Document document(iRepaired);
    document.Open(Sys_Store::eOpenFlag_Read);
    Sys_TypedInStream in = document.MakeTypedInStream();
    for (const FF_StreamInfo& stream : report.mStreams) {
        if (stream.mStreamType != cTake) continue;
        in.SetPosition(stream.mPosition);
        Show(ReadTake(document, in));
    }
}
//! [rescue]

// Turns one bit of a file where a text begins in it, as a bad disk does.
void Damage(const Sys_FileLoc& iPlace, const std::string& iText)
{
    std::fstream file(iPlace.GetPath(), std::ios::in | std::ios::out | std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::size_t at = bytes.find(iText);
    file.seekp(static_cast<std::streamoff>(at));
    file.put(static_cast<char>(bytes[at] ^ 1));
}

} // namespace

int main()
{
    const Sys_FileLoc place("guide.kora");
    const std::vector<Take> takes = {{"drums", 0, 0.8}, {"voice", 96000, 1.25}};
    try {
        std::puts("saved by the first version of the application");
        Save(place, takes, 1);
        ShowSecondTake(place);

        std::puts("saved by the second");
        Save(place, takes, 2);
        ShowSecondTake(place);

        std::puts("one bit turned inside the first take");
        Damage(place, "drums");
        try {
            ShowSecondTake(place);
        } catch (const Cmn_Exception& exception) {
            std::printf("  %s\n", exception.Describe().c_str());
        }

        std::puts("repaired");
        const Sys_FileLoc repaired("guide-repaired.kora");
        ShowWhatIsLeft(place, repaired);
        std::remove("guide-repaired.kora");
    } catch (const Cmn_Exception& exception) {
        std::fprintf(stderr, "%s\n", exception.Describe().c_str());
        return 1;
    }
    std::remove("guide.kora");
    return 0;
}
