// Any bytes as a document: they are refused with one documented complaint, or all of it is read; it is checked, repaired
// and appended to, and what repair and flush write is without fault.
//
// Sums keep damage out, and with it most of what a fuzzer tries. The mutator below works on the unmasked bytes and
// makes the sums right again afterwards, from the innermost frame outward.
#include "Bastel/Sys/Sys_ByteOrder_p.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "FF/SmallDocument.h"
#include "Fuzz/FuzzTarget.h"
#include "Kora/FF/FF_ScrambleKernels_p.h"
#include "Support/MemoryFileSystem.h"

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

// --- the mutator's view of a document

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
    if (ioFile.size() - iAt < 30u + header[4]) return;
    unsigned char* const block = header + 11 + header[4]; // flags, size and sums
    const bool swap = ioFile[17] != 0;
    const auto left = static_cast<Cmn_UInt32>(ioFile.data() + ioFile.size() - (block + 14));
    const Cmn_UInt32 size = std::min(Sys_LoadInteger<Cmn_UInt32>(block + 2, swap), left);
    const int flags = (Sys_LoadInteger<Cmn_UInt16>(block, swap) & 2) | 5;
    Sys_StoreInteger(block, static_cast<Cmn_UInt16>(flags), swap);
    Sys_StoreInteger(block + 2, size, swap);
    Sys_StoreInteger(block + 6, Sys_Crc32C(0, block + 14, size), swap);
    const auto summed = static_cast<std::size_t>(block + 10 - header);
    Sys_StoreInteger(block + 10, std::rotr(Sys_Crc32C(0, header, summed), 15) + 0x4B534832, swap);
}

// The table is where a table seems to be; every frame fits its sums.
void FixSums(std::span<unsigned char> ioFile)
{
    const std::size_t begin = BeginOfStreams(ioFile);
    std::vector<std::size_t> frames;
    for (std::size_t at = begin; at + 4 <= ioFile.size(); ++at)
        if (std::memcmp(&ioFile[at], "KSH2", 4) == 0) frames.push_back(at);
    if (frames.size() < 2 || frames[0] != begin) return;
    unsigned char* const table = &ioFile[begin + cHeaderStream - 4];
    const bool swap = ioFile[17] != 0;
    const auto known = Sys_LoadInteger<Cmn_UInt32>(table, swap);
    if (std::find(frames.begin() + 1, frames.end(), known) == frames.end())
        Sys_StoreInteger(table, static_cast<Cmn_UInt32>(frames.back()), swap);
    for (std::size_t i = frames.size(); i-- > 0;)
        FixFrame(ioFile, frames[i]);
}

// --- what must hold

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

// An outermost stream whose sum is right is taken as it is, even one that was written with nested headers that are wrong,
// and a table whose sum is right is believed about what sound headers are in. Damage makes neither; the mutator does.
bool IsAsItWasWritten(const std::string& iFault)
{
    return iFault.starts_with("expected body sum of ") ||
           iFault.find(" of the table of contents, found stream ") != std::string::npos;
}

void CheckRepaired()
{
    for (const FF_Fault& fault : FF_DocumentCheck::Check(Sys_FileLoc(cRepaired)))
        Require(IsAsItWasWritten(fault.text), "a repaired document is sound, but: " + fault.text);
    FF_Document document = SmallDocument::Make(cRepaired);
    document.Open(Sys_Store::eOpenFlag_Read);
    FF_DocumentCheck::ListStreams(document); // throws unless every outermost stream fits its sum
}

void Check()
{
    const SmallDocument::Reading reading = SmallDocument::Read(cPath);
    Require(reading.namesFile, "a complaint names the file: " + reading.complaint);
    Require(reading.complaint.find('\n') == std::string::npos,
            "a complaint is one line: " + reading.complaint);
    for (const FF_Fault& fault : FF_DocumentCheck::Check(Sys_FileLoc(cPath)))
        Require(fault.offset >= 0 && fault.offset <= static_cast<Cmn_Int64>(Disk().GetBytes(cPath).size()),
                "a fault lies in the file");

    const MemoryFileSystem::Bytes before = Disk().GetBytes(cPath);
    FF_DocumentRepair::Repair(Sys_FileLoc(cPath), Sys_FileLoc(cRepaired));
    Require(Disk().GetBytes(cPath) == before, "repair leaves its source alone");
    CheckRepaired();

    const bool opens = !reading.text.empty() || reading.complaint.empty();
    const std::string complaint = Append();
    Require(!opens || complaint.empty(), "what can be read can be appended to: " + complaint);
}
} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(unsigned char* ioBytes, std::size_t iSize,
                                               std::size_t iMaxSize, unsigned iSeed)
{
    const auto isDocument = [&] { return iSize > 20 + cHeaderStream; };
    if (iSeed % 16 == 0 || !isDocument()) return LLVMFuzzerMutate(ioBytes, iSize, iMaxSize);
    Mask({ioBytes, iSize});
    const std::size_t kept = iSeed % 4 == 0 ? 0 : 49; // three times of four the beginning stays
    iSize = kept + LLVMFuzzerMutate(ioBytes + kept, iSize - kept, iMaxSize - kept);
    if (!isDocument()) return iSize;
    FixSums({ioBytes, iSize});
    Mask({ioBytes, iSize});
    return iSize;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* iBytes, std::size_t iSize)
{
    Disk().SetFiles({
        {cPath, {iBytes, iBytes + iSize}}
    });
    Disk().ClearLog();
    Check();
    return 0;
}
