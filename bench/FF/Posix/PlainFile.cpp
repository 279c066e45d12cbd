#include "bench/FF/DocumentBench_p.h"

#include <fcntl.h>
#include <unistd.h>

void WritePlainFile(const std::string& iPath, const std::vector<char>& iBytes)
{
    const int file = open(iPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    BenchNeeds(file >= 0);
    BenchNeeds(write(file, iBytes.data(), iBytes.size()) == static_cast<ssize_t>(iBytes.size()));
    BenchNeeds(fsync(file) == 0 && close(file) == 0);
}

void SyncPlainFile(const std::string& iPath)
{
    const int file = open(iPath.c_str(), O_RDWR | O_CLOEXEC);
    BenchNeeds(file >= 0 && fsync(file) == 0 && close(file) == 0);
}
