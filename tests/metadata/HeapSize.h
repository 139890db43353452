#pragma once

#include <malloc.h>

/// What the process has allocated, in mebibytes.
inline double heapMebibytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1 << 20);
}
