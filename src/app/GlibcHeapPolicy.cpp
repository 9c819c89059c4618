#include "app/HeapPolicy.h"

#include <malloc.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr int kilobyte = 1024;
// The library would raise both thresholds with every large block that is freed, up to 32 and 64 MB. Smaller
// ones than these cost page faults: the H.264 parser takes and frees 174 KB with every key frame.
constexpr int mapFrom = 192 * kilobyte;
constexpr int keepOnTop = 1024 * kilobyte;
// The library would make eight per core, on a large machine one for every thread.
constexpr int arenas = 16;
constexpr std::size_t hugePage = 2 << 20;
constexpr std::size_t hugeFrom = 4 * hugePage;

} // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Stands before the C library's function of this name. For every stream that is opened libmpv takes 10 MB to
// look at its beginning and clears them, which in pages of 4 KB takes as long as the whole rest of opening
// it.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int posix_memalign(void **memory, std::size_t alignment, std::size_t size)
{
    if (alignment % sizeof(void *) != 0 || (alignment & (alignment - 1)) != 0 || alignment == 0)
        return EINVAL;
    const bool large = size >= hugeFrom;
    *memory = memalign(large ? std::max(alignment, hugePage) : alignment, size);
    if (!*memory)
        return ENOMEM;
    if (large)
        madvise(*memory, size / hugePage * hugePage, MADV_HUGEPAGE);
    return 0;
}
#endif

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
