#pragma once

#include <cstdio>
#include <cstdlib>

/// Aborts the run unless \a holds; the fuzzer reports this as a finding. \a fact describes what must be true.
inline void require(bool holds, const char *fact)
{
    if (holds)
        return;
    std::fprintf(stderr, "violated: %s\n", fact);
    std::abort();
}
