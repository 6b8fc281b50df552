#include "ViewerTiming.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <numeric>

namespace ViewerTiming
{
double CpuMs()
{
    timespec ts{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1000.0 + double(ts.tv_nsec) / 1e6;
}

double Median(std::vector<double> vValues)
{
    if (vValues.empty())
        return 0.0;
    std::sort(vValues.begin(), vValues.end());
    const size_t n = vValues.size();
    return n % 2 ? vValues[n / 2] : (vValues[n / 2 - 1] + vValues[n / 2]) / 2.0;
}

std::string Report(const std::vector<SOpen>& vOpens, int nViewWidth, int nViewHeight, size_t nTriangles,
                   const std::vector<double>& vFrameMs, const std::vector<double>& vCpuMs)
{
    std::string strOut;
    char aLine[512];
    for (const SOpen& cOpen : vOpens)
    {
        std::snprintf(aLine, sizeof(aLine), "timing: open %s: %.1f ms wall, %.1f ms cpu%s\n", cOpen.m_strFile.c_str(),
                      cOpen.m_dWallMs, cOpen.m_dCpuMs, cOpen.m_bOk ? "" : " (failed)");
        strOut += aLine;
    }
    std::snprintf(aLine, sizeof(aLine), "timing: view %dx%d, %zu triangles\n", nViewWidth, nViewHeight, nTriangles);
    strOut += aLine;
    strOut += "timing: frames ms:";
    for (double d : vFrameMs)
    {
        std::snprintf(aLine, sizeof(aLine), " %.2f", d);
        strOut += aLine;
    }
    strOut += "\n";
    if (vFrameMs.empty())
        return strOut;
    std::snprintf(aLine, sizeof(aLine), "timing: first frame %.2f ms wall, %.2f ms cpu\n", vFrameMs.front(),
                  vCpuMs.empty() ? 0.0 : vCpuMs.front());
    strOut += aLine;
    const std::vector<double> vSteady(vFrameMs.begin() + 1, vFrameMs.end());
    if (vSteady.empty())
        return strOut;
    const auto cMinMax = std::minmax_element(vSteady.begin(), vSteady.end());
    const double dCpu = vCpuMs.size() > 1 ? Median(std::vector<double>(vCpuMs.begin() + 1, vCpuMs.end())) : 0.0;
    std::snprintf(aLine, sizeof(aLine),
                  "timing: later frames (%zu) median %.2f ms wall (mean %.2f, min %.2f, max %.2f), median %.2f ms cpu\n",
                  vSteady.size(), Median(vSteady),
                  std::accumulate(vSteady.begin(), vSteady.end(), 0.0) / double(vSteady.size()), *cMinMax.first,
                  *cMinMax.second, dCpu);
    return strOut + aLine;
}
} // namespace ViewerTiming
