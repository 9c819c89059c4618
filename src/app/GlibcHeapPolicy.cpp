#include "app/HeapPolicy.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

namespace {

constexpr int kilobyte = 1024;
// The library would raise both thresholds with every large block that is freed, up to 32 and 64 MB. Smaller
// ones than these cost page faults: the H.264 parser takes and frees 174 KB with every key frame.
constexpr int mapFrom = 192 * kilobyte;
constexpr int keepOnTop = 1024 * kilobyte;
// The library would make eight per core, on a large machine one for every thread.
constexpr int arenas = 16;
constexpr std::size_t hugePage = 2 << 20;
constexpr std::size_t largeFrom = 4 * hugePage;

struct LargeBlock
{
    std::mutex mutex;
    // Of the last large block that was asked for.
    std::size_t wantedSize = 0;
    void *prepared = nullptr;
    std::size_t preparedSize = 0;
};

// Never destroyed: blocks are asked for until the very end.
LargeBlock &largeBlock()
{
    static auto *const instance = new LargeBlock;
    return *instance;
}

void *takePrepared(std::size_t size)
{
    LargeBlock &block = largeBlock();
    const std::lock_guard lock(block.mutex);
    block.wantedSize = size;
    return block.preparedSize == size ? std::exchange(block.prepared, nullptr) : nullptr;
}

} // namespace

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Stands before the C library's function of this name, to give a prepared block to who asks for one.
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int posix_memalign(void **memory, std::size_t alignment, std::size_t size)
{
    if (alignment % sizeof(void *) != 0 || (alignment & (alignment - 1)) != 0 || alignment == 0)
        return EINVAL;
    void *block = size >= largeFrom && alignment <= hugePage ? takePrepared(size) : nullptr;
    if (!block)
        block = memalign(alignment, size);
    if (!block)
        return ENOMEM;
    *memory = block;
    return 0;
}
#endif

void prepareLargeBlock()
{
    LargeBlock &block = largeBlock();
    std::size_t size = 0;
    {
        const std::lock_guard lock(block.mutex);
        size = block.wantedSize;
        if (size == 0 || (block.prepared && block.preparedSize == size))
            return;
    }
    void *made = memalign(hugePage, size);
    if (!made)
        return;
    madvise(made, size / hugePage * hugePage, MADV_HUGEPAGE);
    std::memset(made, 0, size);
    {
        const std::lock_guard lock(block.mutex);
        std::swap(made, block.prepared);
        block.preparedSize = size;
    }
    std::free(made);
}

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
