#pragma once

#include <malloc.h>
#include <sys/resource.h>

/// What the process has allocated, in mebibytes.
inline double heapMebibytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1 << 20);
}

/// The most memory that the process has had, in kibibytes.
inline long peakKibibytes()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}
