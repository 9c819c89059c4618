#pragma once

// How the process's heap treats memory that is free again. Streams come and go for hours with a hundred
// threads and frames of some hundred kilobytes; glibc as it comes then holds twice what is in use. Where the
// C library offers no choice, both calls do nothing.

// Has freed frames go back to the system at once. Call first of all in main().
void keepHeapCompact();

// Gives everything that is free back to the system, which takes some 10 ms. Call on a worker thread.
void returnFreeMemory();

// Has a large block at hand, its pages in memory, for the next request of the size of the last one. For every
// stream that is opened libmpv takes 10 MB to look at its beginning and clears them; having the system find
// the pages takes as long as the whole rest of opening it. Call on a worker thread. Does nothing before there
// was such a request.
void prepareLargeBlock();
