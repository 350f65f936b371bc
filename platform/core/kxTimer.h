// Elapsed time.
#pragma once

#include <cstdint>

namespace Kel::Core
{

/// A stop-watch. Measures wall-clock time that no change of the system's clock disturbs.
class kxTimer
{
public:
    /// Begins from zero.
    void start();
    void stop();
    /// Seconds from `start` to `stop`, or until now while the timer runs; 0 for one that was never started.
    double getSeconds() const;

    /// Makes time stand still for the whole process: every elapsed time is 0. For tests that compare reports.
    static void setFrozen(bool frozen);
    static bool isFrozen();

private:
    int64_t m_start = 0; // nanoseconds
    int64_t m_elapsed = 0;
    bool m_running = false;
};

} // namespace Kel::Core
