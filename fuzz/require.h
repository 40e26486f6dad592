#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the run, which the fuzzer takes for a finding, unless \a fact holds.
inline void require(bool holds, const char *fact)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken: %s\n", fact);
    std::abort();
}
