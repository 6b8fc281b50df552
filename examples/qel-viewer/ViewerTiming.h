#pragma once

#include <string>
#include <vector>

/// What `--timing N` measures and prints: how long each file took to open (wall and process CPU
/// time, the latter comparable with the loader benchmarks, which count CPU time), and the time of
/// each of N frames drawn afterwards, the first apart because it uploads the models.
namespace ViewerTiming
{
struct SOpen
{
    std::string m_strFile;
    double m_dWallMs = 0.0;
    double m_dCpuMs = 0.0;
    bool m_bOk = false;
};

/// Process CPU time in milliseconds.
double CpuMs();

/// The report, one "timing: " line per item: the opens, the view's size and triangles, every
/// frame's wall time, the first frame, and the median, mean, minimum and maximum wall time and the
/// median CPU time of the frames after the first.
std::string Report(const std::vector<SOpen>& vOpens, int nViewWidth, int nViewHeight, size_t nTriangles,
                   const std::vector<double>& vWallMs, const std::vector<double>& vCpuMs);

/// The median of the values (the mean of the middle two for an even count); 0 for none.
double Median(std::vector<double> vValues);
} // namespace ViewerTiming
