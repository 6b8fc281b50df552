#pragma once

#include "qel/platform/QelExport.h"

#include <cstdint>

/// Ticks of the monotonic high-resolution counter (the performance counter's stand-in).
QEL_EXPORT int64_t QelQueryPerformanceCounter();

/// Ticks per second of QelQueryPerformanceCounter.
QEL_EXPORT int64_t QelQueryPerformanceFrequency();

/// Seconds on the monotonic high-resolution clock since an arbitrary fixed point.
QEL_EXPORT double QelGetHighResTime();

/// Stopwatch over the high-resolution clock.
class QEL_EXPORT QelHighResTimer
{
public:
    /// Starts measuring at once.
    QelHighResTimer() { Start(); }
    /// Restarts the measurement at now.
    void Start();
    /// Seconds since the last Start.
    double GetElapsedSeconds() const;

private:
    int64_t m_nStart = 0;
};
