#include "process.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>

namespace {

int entryCount(const char *folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<int>(std::distance(begin(entries), end(entries)));
}

} // namespace

int threadCount()
{
    return entryCount("/proc/self/task");
}

// Also counts the descriptor through which it reads the folder.
int descriptorCount()
{
    return entryCount("/proc/self/fd");
}

// Counts the memory mappings, because the stack of a thread that was not joined stays mapped.
int threadRemainsCount()
{
    std::ifstream maps("/proc/self/maps");
    const std::istreambuf_iterator<char> begin(maps), end;
    return static_cast<int>(std::count(begin, end, '\n'));
}

long long allocatedBytes()
{
    const struct mallinfo2 memory = mallinfo2();
    return static_cast<long long>(memory.uordblks) + static_cast<long long>(memory.hblkhd);
}
