#pragma once

#include <cstdio>
#include <cstdlib>

/// Aborts the run, which the fuzzer reports as a finding, unless \a holds. \a fact describes what must be
/// true.
inline void require(bool holds, const char *fact)
{
    if (holds)
        return;
    std::fprintf(stderr, "violated: %s\n", fact);
    std::abort();
}
