// Any bytes as a document: they are refused with one documented complaint, or all of it is read; it is checked, repaired
// and appended to, and what repair and flush write is without fault. An assertion is a failure too.
//
// Sums keep damage out, and with it most of what a fuzzer tries. The mutator below works on the unmasked bytes and
// makes the sums right again afterwards, from the innermost frame outward.
#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Sys/Sys_Crc32C.h"
#include "FF/SmallDocument.h"
#include "Kora/Kora_Init.h"
#include "Support/MemoryFileSystem.h"

#include <cstdio>
#include <cstdlib>
#include <span>

extern "C" std::size_t LLVMFuzzerMutate(unsigned char* ioBytes, std::size_t iSize, std::size_t iMaxSize);

namespace {
constexpr std::size_t cHeaderStream = 30;
const std::string cPath = "fuzz.kora";
const std::string cRepaired = "repaired.kora";

void Require(bool iHolds, const std::string& iText)
{
    if (iHolds) return;
    std::fprintf(stderr, "%s\n", iText.c_str());
    std::abort();
}

void Abort(const char* iText, int) { Require(false, iText); }

MemoryFileSystem& Disk()
{
    static MemoryFileSystem sDisk;
    return sDisk;
}

// --- the mutator's view of a document

std::size_t BeginOfStreams(std::span<unsigned char> iFile) { return iFile[18] == 0 ? 19 : 20; }

void Mask(std::span<unsigned char> ioFile)
{
    constexpr unsigned cMultipliers[] = {0, 29, 17, 93, 127, 93};
    const unsigned type = ioFile[18];
    if (type == 0 || type > 5) return;
    const std::size_t key = ioFile[19] * cMultipliers[type];
    for (std::size_t i = 20; i < ioFile.size(); ++i)
        ioFile[i] ^= static_cast<unsigned char>((type == 5 ? i / 4096 : i) * key);
}

// A number of iCount bytes in the file's byte order.
struct Field
{
    unsigned char* bytes;
    std::size_t count;
    bool swapped;

    std::size_t At(std::size_t i) const { return swapped ? count - 1 - i : i; }
    std::size_t Get() const
    {
        std::size_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value |= std::size_t{bytes[At(i)]} << 8 * i;
        return value;
    }
    void Set(std::size_t iValue) const
    {
        for (std::size_t i = 0; i < count; ++i)
            bytes[At(i)] = static_cast<unsigned char>(iValue >> 8 * i);
    }
};

// Completes the frame at iAt: flags that can be, a size that fits, sums that are right.
void FixFrame(std::span<unsigned char> ioFile, std::size_t iAt)
{
    unsigned char* const header = &ioFile[iAt];
    if (ioFile.size() - iAt < 30u + header[4]) return;
    unsigned char* const block = header + 11 + header[4];
    const bool swapped = ioFile[17] != 0;
    const Field flags{block, 2, swapped};
    const Field size{block + 2, 4, swapped};
    const auto left = static_cast<std::size_t>(ioFile.data() + ioFile.size() - (block + 14));
    flags.Set((flags.Get() & 2) | 5);
    size.Set(std::min(size.Get(), left));
    Field{block + 6, 4, swapped}.Set(Sys_Crc32C(0, block + 14, size.Get()));
    Field{block + 10, 4, swapped}.Set(Sys_Crc32C(0, header, static_cast<std::size_t>(block + 10 - header)));
}

// The table is where a table seems to be; every frame fits its sums.
void FixSums(std::span<unsigned char> ioFile)
{
    const std::size_t begin = BeginOfStreams(ioFile);
    std::vector<std::size_t> frames;
    for (std::size_t at = begin; at + 4 <= ioFile.size(); ++at)
        if (std::memcmp(&ioFile[at], "KSH1", 4) == 0) frames.push_back(at);
    if (frames.size() < 2 || frames[0] != begin) return;
    const Field table{&ioFile[begin + cHeaderStream - 4], 4, ioFile[17] != 0};
    if (std::find(frames.begin() + 1, frames.end(), table.Get()) == frames.end()) table.Set(frames.back());
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

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Cmn_Assert::SetHandler(Abort);
    Kora_Init::Init();
    Sys_FileSystem::Set(&Disk());
    return 0;
}

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
