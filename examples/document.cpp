// A document with a title and a list of clips: saved safely, then one clip read by key.
#include "Kora/Diagnostics.h"
#include "Kora/Documents.h"

#include <cstdio>

namespace {

constexpr Cmn_Int16 cTitle = 100; // the application's own stream types
constexpr Cmn_Int16 cClips = 101;
constexpr Cmn_Int16 cClip = 102;

void Write(FF_Document& ioDocument)
{
    Sys_TypedOutStream out = ioDocument.MakeTypedOutStream();
    const auto here = [&] { return static_cast<Cmn_UInt64>(out.GetPosition()); };

    FF_Document::AddTOCEntry(&ioDocument, here(), cTitle, "title");
    {
        const FF_StreamHeaderWriter header(&ioDocument, out, cTitle, 1);
        out.WriteString("Evening take");
    }
    FF_Document::AddTOCEntry(&ioDocument, here(), cClips, "clips");
    const FF_StreamHeaderWriter header(&ioDocument, out, cClips, 1);
    FF_StreamListWriter list(&ioDocument, out, 3);
    const char* const names[] = {"drums", "bass", "voice"};
    for (Cmn_Int32 i = 0; i < 3; ++i) {
        list.AddListEntry(i, names[i]);
        const FF_StreamHeaderWriter clip(&ioDocument, out, cClip, 1);
        out.WriteString(names[i]);
        out.WriteFloat64(0.5 * i);
    }
}

// The third clip, without reading what lies before it.
void ReadLastClip(FF_Document& ioDocument)
{
    Sys_TypedInStream in = ioDocument.MakeTypedInStream();
    if (!ioDocument.SeekToStream(FF_Document::TOCKey(cClips), in)) return;
    const FF_StreamHeaderReader header(&ioDocument, in, cClips, FF_StreamHeaderReader::eUseExtendedTOC);
    FF_StreamListReader list(&ioDocument, in);
    list.SeekToListEntry(2);
    const FF_StreamHeaderReader clip(&ioDocument, in, cClip);
    const std::string name = in.ReadString();
    std::printf("%d clips, the last is %s at %.1f s\n", list.GetNumItems(), name.c_str(), in.ReadFloat64());
}

} // namespace

int main()
{
    const Sys_FileLoc location("example.kora");
    try {
        FF_SafeSave save(location);
        Write(save.GetDocument());
        save.Commit();

        FF_Document document(location);
        document.Open(Sys_Store::eOpenFlag_Read);
        ReadLastClip(document);
        std::printf("%s", document.Dump().c_str());
    } catch (const Cmn_Exception& exception) {
        std::fprintf(stderr, "%s\n", exception.Describe().c_str());
        return 1;
    }
    std::remove("example.kora");
}
