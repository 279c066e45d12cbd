// Any bytes as a document: they are refused with one documented complaint, or all of it is read, its song
// too; it is checked, repaired and appended to, and what repair and flush write is without fault.
//
// Sums keep damage out, and with it most of what a fuzzer tries. The mutator below works on the unmasked
// bytes and makes the sums right again afterwards, from the innermost frame outward.
#include "Bastel/Cmn/Cmn_XMLNode.h"
#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "FF/SmallDocument.h"
#include "Fuzz/FuzzTarget.h"
#include "Kora/FF/Format/FF_ScrambleKernels_p.h"
#include "Kora/FF/Song/FF_TimeMaps.h"
#include "Support/MemoryFileSystem.h"
#include "Tool/Tool_InputError.h"
#include "Tool/Tool_Song.h"

#include <bit>
#include <span>

extern "C" std::size_t LLVMFuzzerMutate(unsigned char* ioBytes, std::size_t iSize, std::size_t iMaxSize);

namespace {

constexpr std::size_t cHeaderStream = 30;
const std::string cPath = "fuzz.kora";
const std::string cRepaired = "repaired.kora";

MemoryFileSystem& Disk()
{
    static MemoryFileSystem sDisk;
    Sys_FileSystem::Set(&sDisk);
    return sDisk;
}

// --- The mutator's view of a document

std::size_t BeginOfStreams(std::span<unsigned char> iFile) { return iFile[18] == 0 ? 19 : 20; }

void Mask(std::span<unsigned char> ioFile)
{
    Cmn_UInt8 key = ioFile[19];
    if (FF_ScrambleKey(ioFile[18], key))
        FF_Scramble(ioFile[18], key, ioFile.data() + 20, ioFile.size() - 20, 20);
}

// Completes the frame at iAt: flags that can be, a size that fits, sums that are right.
void FixFrame(std::span<unsigned char> ioFile, std::size_t iAt)
{
    unsigned char* const header = &ioFile[iAt];
    if (ioFile.size() - iAt < 5 || ioFile.size() - iAt < 30u + header[4]) return;
    unsigned char* const block = header + 11 + header[4]; // flags, size and sums
    const bool swap = ioFile[17] != 0;
    const auto left = static_cast<Cmn_UInt32>(ioFile.data() + ioFile.size() - (block + 14));
    const Cmn_UInt32 size = std::min(Sys_LoadInteger<Cmn_UInt32>(block + 2, swap), left);
    const int flags = (Sys_LoadInteger<Cmn_UInt16>(block, swap) & 2) | 5;
    Sys_StoreInteger(block, static_cast<Cmn_UInt16>(flags), swap);
    Sys_StoreInteger(block + 2, size, swap);
    const auto place = static_cast<Cmn_UInt32>(iAt);
    Sys_StoreInteger(block + 6, Sys_Crc32C(0, block + 14, size) + place, swap);
    const auto summed = static_cast<std::size_t>(block + 10 - header);
    Sys_StoreInteger(block + 10, std::rotr(Sys_Crc32C(0, header, summed), 15) + 0x4B534833 + place, swap);
}

std::vector<std::size_t> FindFrames(std::span<unsigned char> iFile)
{
    std::vector<std::size_t> frames;
    for (std::size_t at = BeginOfStreams(iFile); at + 4 <= iFile.size(); ++at)
        if (std::memcmp(&iFile[at], "KSH3", 4) == 0) frames.push_back(at);
    return frames;
}

// Mutates what one frame holds; the frames around it get its new size, the table the new
// places. Returns the new size.
std::size_t MutateBody(unsigned char* ioBytes, std::size_t iSize, std::size_t iMaxSize, unsigned iSeed)
{
    const std::span<unsigned char> file(ioBytes, iSize);
    const std::vector<std::size_t> frames = FindFrames(file);
    const bool swap = file[17] != 0;
    const auto bodyOf = [&](std::size_t iFrame) { return iFrame + 25 + file[iFrame + 4]; };
    const auto sizeAt = [&](std::size_t iFrame) { return ioBytes + bodyOf(iFrame) - 12; };
    const std::size_t frame = frames.empty() ? iSize : frames[iSeed % frames.size()];
    if (frame + 5 >= iSize || bodyOf(frame) >= iSize) return iSize;
    const std::size_t body = bodyOf(frame);
    const auto oldSize = Sys_LoadInteger<Cmn_UInt32>(sizeAt(frame), swap);
    if (oldSize > iSize - body) return iSize;
    std::vector<unsigned char> content(ioBytes + body, ioBytes + body + oldSize);
    content.resize(oldSize + (iMaxSize - iSize));
    if (content.empty()) return iSize;
    content.resize(LLVMFuzzerMutate(content.data(), oldSize, content.size()));

    const auto grown = static_cast<Cmn_UInt32>(content.size()) - oldSize; // modulo 2^32
    const auto add = [&](unsigned char* ioNumber) {
        Sys_StoreInteger(ioNumber, Sys_LoadInteger<Cmn_UInt32>(ioNumber, swap) + grown, swap);
    };
    for (const std::size_t around : frames) {
        if (around > frame || bodyOf(around) > iSize) break;
        if (bodyOf(around) + Sys_LoadInteger<Cmn_UInt32>(sizeAt(around), swap) >= body + oldSize)
            add(sizeAt(around));
    }
    // A number of the table, or of the header stream, that is where a frame begins.
    for (std::size_t at = frames.front() + cHeaderStream - 4; at + 4 <= iSize; ++at) {
        const auto place = Sys_LoadInteger<Cmn_UInt32>(ioBytes + at, swap);
        if (at > frames.front() + cHeaderStream && at < frames.back()) at = frames.back();
        if (place > frame && std::binary_search(frames.begin(), frames.end(), place)) add(ioBytes + at);
    }
    std::memmove(ioBytes + body + content.size(), ioBytes + body + oldSize, iSize - body - oldSize);
    std::copy(content.begin(), content.end(), ioBytes + body);
    return iSize + content.size() - oldSize;
}

// The table is where a table seems to be; every frame fits its sums.
void FixSums(std::span<unsigned char> ioFile)
{
    const std::size_t begin = BeginOfStreams(ioFile);
    const std::vector<std::size_t> frames = FindFrames(ioFile);
    if (frames.size() < 2 || frames[0] != begin) return;
    unsigned char* const table = &ioFile[begin + cHeaderStream - 4];
    const bool swap = ioFile[17] != 0;
    const auto known = Sys_LoadInteger<Cmn_UInt32>(table, swap);
    if (std::find(frames.begin() + 1, frames.end(), known) == frames.end())
        Sys_StoreInteger(table, static_cast<Cmn_UInt32>(frames.back()), swap);
    for (std::size_t i = frames.size(); i-- > 0;)
        FixFrame(ioFile, frames[i]);
}

// --- What must hold

// The complaint, empty for a document that was read whole.
std::string Append()
{
    try {
        FF_Document document = SmallDocument::Make(cPath);
        document.Open(Sys_Store::eOpenFlag_ReadWrite);
        SmallDocument::Write(document, "appended");
        document.Flush();
    } catch (const Cmn_Exception& exception) {
        return exception.Describe();
    }
    return {};
}

// As the command does for `song` and `xml`.
void ReadSong()
{
    try {
        FF_Document document = SmallDocument::Make(cPath);
        document.Open(Sys_Store::eOpenFlag_Read);
        const FF_Document::TOCKey meters(FF_TimeMaps::eStreamType_MeterMap);
        const FF_Document::TOCKey tempi(FF_TimeMaps::eStreamType_TempoMap);
        const FF_Document::TOC& toc = document.GetTOC();
        if (toc.Find(meters) == FF_Document::TOC::cNone && toc.Find(tempi) == FF_Document::TOC::cNone)
            throw Tool_InputError::InFile(cPath, "no song");
        const Tool_Song song(document, Tool_AskedSettings());
        Require(song.GetEndTick() >= song.GetStartTick(), "a song ends behind its start");
        Cmn_XMLNode root("Song");
        root.AddChild(song.GetMeterMap().GetAsXML());
        root.AddChild(song.GetTempoMap().GetAsXML());
        root.AddChild(song.GetKeyMap().GetAsXML());
        Require(!root.ToString(true).empty(), "a song has an XML form");
    } catch (const Tool_InputError& error) {
        Require(std::strchr(error.what(), '\n') == nullptr, "a complaint is one line");
    } catch (const Cmn_Exception& exception) {
        Require(exception.Describe().find('\n') == std::string::npos, "a complaint is one line");
    }
}

// An outermost stream whose sum is right is taken with all it holds, even one that was written with nested
// headers that are wrong. Damage makes none; the mutator does.
bool IsAsItWasWritten(const std::string& iFault) { return iFault.starts_with("expected body sum of "); }

void CheckRepair()
{
    const MemoryFileSystem::Bytes before = Disk().GetBytes(cPath);
    static_cast<void>(FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(cRepaired)));
    Require(Disk().GetBytes(cPath) == before, "repair leaves its source alone");
    for (const FF_Fault& fault : FF_DocumentCheck::Check(Sys_FileLoc(cRepaired)))
        Require(IsAsItWasWritten(fault.mText), "a repaired document is sound, but: " + fault.mText);
    FF_Document document = SmallDocument::Make(cRepaired);
    document.Open(Sys_Store::eOpenFlag_Read);
    // Throws unless every outermost stream fits its sum.
    static_cast<void>(FF_DocumentCheck::ListStreams(document));
}

void Check(unsigned iSeed)
{
    const SmallDocument::Reading reading = SmallDocument::Read(cPath);
    Require(reading.mNamesFile, "a complaint names the file: " + reading.mComplaint);
    Require(reading.mComplaint.find('\n') == std::string::npos,
            "a complaint is one line: " + reading.mComplaint);
    const std::vector<FF_Fault> faults = FF_DocumentCheck::Check(Sys_FileLoc(cPath));
    for (const FF_Fault& fault : faults)
        Require(fault.mOffset >= 0 && fault.mOffset <= static_cast<Cmn_Int64>(Disk().GetBytes(cPath).size()),
                "a fault lies in the file");

    const bool opens = !reading.mText.empty() || reading.mComplaint.empty();
    if (opens) ReadSong();
    // The costly things take turns, so that no kind of document goes without one of them.
    const unsigned turn = iSeed % 8;
    if (turn < 3) return CheckRepair();
    if (turn > 3) return;
    // Reading meets those pages of the table that it needs, appending all of them.
    const MemoryFileSystem::Bytes before = Disk().GetBytes(cPath);
    const std::string complaint = Append();
    Require(!opens || complaint.empty() || !faults.empty(),
            "what can be read and is sound can be appended to: " + complaint);
    Require(complaint.empty() || Disk().GetBytes(cPath) == before,
            "a refused document stays as it was: " + complaint);
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(unsigned char* ioBytes, std::size_t iSize,
                                               std::size_t iMaxSize, unsigned iSeed)
{
    const auto isDocument = [&] { return iSize > 20 + cHeaderStream; };
    if (iSeed % 16 == 0 || !isDocument()) return LLVMFuzzerMutate(ioBytes, iSize, iMaxSize);
    Mask({ioBytes, iSize});
    const std::size_t kept = iSeed % 4 == 0 ? 0 : 49; // mostly the beginning stays
    if (iSeed % 2 == 0)
        iSize = kept + LLVMFuzzerMutate(ioBytes + kept, iSize - kept, iMaxSize - kept);
    else
        iSize = MutateBody(ioBytes, iSize, iMaxSize, iSeed / 2);
    if (!isDocument()) return iSize;
    FixSums({ioBytes, iSize});
    Mask({ioBytes, iSize});
    return iSize;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* iBytes, std::size_t iSize)
{
    Disk().SetFiles({{cPath, {iBytes, iBytes + iSize}}});
    Disk().ClearLog();
    Check(Sys_Crc32C(0, iBytes, iSize));
    return 0;
}
