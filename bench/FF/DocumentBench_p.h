// What the cases of the document benchmarks share: the same bodies under the keys {list, item}{type}, a
// hundred thousand to save and BenchSizes to read, and one folder on the disk that the build is on.
#pragma once

#include "Bastel/Cmn/Cmn_Types.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

constexpr Cmn_Int32 cBenchItems = 100000;
constexpr Cmn_Int16 cBenchListType = 20;
constexpr Cmn_Int16 cBenchItemType = 21;

using BenchBody = std::array<Cmn_UInt8, 100>;

inline BenchBody MakeBenchBody(Cmn_Int32 iItem)
{
    BenchBody body;
    for (std::size_t i = 0; i < body.size(); ++i)
        body[i] = static_cast<Cmn_UInt8>(static_cast<std::size_t>(iItem) * 31 + i);
    return body;
}

// Items in an order that no cache learns.
inline std::vector<Cmn_Int32> MakeBenchOrder(Cmn_Int32 iItems)
{
    std::mt19937 random(1);
    std::uniform_int_distribution<Cmn_Int32> item(0, iItems - 1);
    std::vector<Cmn_Int32> order(4096);
    for (Cmn_Int32& each : order)
        each = item(random);
    return order;
}

// A path in a folder that goes with the process.
inline std::string BenchPath(const char* iName)
{
    struct Folder
    {
        Folder()
            : mPath(std::filesystem::current_path() / "FFBench.tmp")
        {
            std::filesystem::remove_all(mPath);
            std::filesystem::create_directories(mPath);
        }
        ~Folder()
        {
            std::error_code ignored;
            std::filesystem::remove_all(mPath, ignored);
        }
        std::filesystem::path mPath;
    };
    static const Folder sFolder;
    return (sFolder.mPath / iName).string();
}

// The sizes that are read.
template <class Benchmark>
void BenchSizes(Benchmark* ioBenchmark)
{
    for (const int items : {1000, cBenchItems, 1000000})
        ioBenchmark->Arg(items);
}

// Saves a file of so many items once for all cases that read it: iSave(path, items).
template <class Save>
const std::string& SavedForBench(const char* iName, Cmn_Int32 iItems, const Save& iSave)
{
    static std::map<std::pair<std::string, Cmn_Int32>, std::string> sPaths;
    std::string& path = sPaths[{iName, iItems}];
    if (path.empty()) {
        path = BenchPath((std::to_string(iItems) + iName).c_str());
        iSave(path, iItems);
    }
    return path;
}

// Ends the program: a figure of work that failed says nothing.
inline void BenchNeeds(bool iHolds)
{
    if (!iHolds) std::abort();
}

// Writes a file in one request and waits for the disk: what no save can beat.
void WritePlainFile(const std::string& iPath, const std::vector<char>& iBytes);
// Waits for the disk in place of a peer that does not.
void SyncPlainFile(const std::string& iPath);
