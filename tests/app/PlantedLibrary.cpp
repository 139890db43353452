#include <cstdlib>

/// Whoever loads this library does not live to tell.
__attribute__((constructor)) static void loaded()
{
    std::abort();
}
