#pragma once

#include <cstdint>

namespace bench {

/// Judges how busy the computer is with other work than this program's.
class MachineLoad
{
public:
    MachineLoad();

    /// Returns the share, 0 to 1, of the time of all CPUs that neither was idle nor went to this process or
    /// its children, since the previous call or the construction. That is the time of other processes, of
    /// interrupts and, on a virtual machine, of its host. A span too short to judge gets the previous share.
    double othersShare();

private:
    struct Sample
    {
        int64_t time = 0; ///< nanoseconds, as the members below
        int64_t idle = 0; ///< of all CPUs
        int64_t own = 0;  ///< CPU time of this process and its children
    };

    static Sample sample();

    Sample m_last;
    double m_share = 0;
};

} // namespace bench
