#include "qel/platform/QelTimer.h"

#include <chrono>

int64_t QelQueryPerformanceCounter()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

int64_t QelQueryPerformanceFrequency()
{
    return 1000000000;
}

double QelGetHighResTime()
{
    return double(QelQueryPerformanceCounter()) / double(QelQueryPerformanceFrequency());
}

void QelHighResTimer::Start()
{
    m_nStart = QelQueryPerformanceCounter();
}

double QelHighResTimer::GetElapsedSeconds() const
{
    return double(QelQueryPerformanceCounter() - m_nStart) / double(QelQueryPerformanceFrequency());
}
