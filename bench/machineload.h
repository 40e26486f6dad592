#pragma once

#include <cstdint>

namespace bench {

/// Measures how much of the CPU time goes to other work than this program's.
class MachineLoad
{
public:
    /// Returns the share (0 to 1) of the time of all CPUs that went to other processes, interrupts and, on a
    /// virtual machine, its host, since the previous call or the construction. It is computed as the time
    /// that was neither idle nor used by this process and its children. If less than 0.2 s has passed,
    /// returns the previous share (at first 0), and the next call measures this time, too.
    double othersShare();

private:
    struct Sample
    {
        Sample();

        int64_t time; ///< in nanoseconds
        int64_t used; ///< idle time of all CPUs and CPU time of this process and its children, in nanoseconds
    };

    Sample m_last;
    double m_share = 0;
};

} // namespace bench
