#include "app/HeapPolicy.h"

#include <malloc.h>

namespace {

constexpr int kilobyte = 1024;
// The library would raise both thresholds with every large block that is freed, up to 32 and 64 MB. Smaller
// ones than these cost page faults: the H.264 parser takes and frees 174 KB with every key frame.
constexpr int mapFrom = 192 * kilobyte;
constexpr int keepOnTop = 1024 * kilobyte;
// The library would make eight per core, on a large machine one for every thread.
constexpr int arenas = 16;

} // namespace

void keepHeapCompact()
{
    mallopt(M_MMAP_THRESHOLD, mapFrom);
    mallopt(M_TRIM_THRESHOLD, keepOnTop);
    mallopt(M_ARENA_MAX, arenas);
}

void returnFreeMemory()
{
    malloc_trim(0);
}
