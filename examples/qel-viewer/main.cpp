// qel-viewer: an interactive host of the library. Usage:
//
//   qel-viewer [--size WxH] [--screenshot OUT.png --frames N] [--script FILE] [--timing N] [FILE...]
//
// Files are opened in order; with --script the commands run after them and the program exits
// (status 1 when a command failed); with --screenshot it renders N frames, writes OUT.png and exits;
// with --timing it prints how long each file took to open and each of N frames took, and exits.

#include "ViewerApp.h"
#include "ViewerPropertyValues.h"
#include "ViewerScript.h"
#include "ViewerTiming.h"
#include "ViewerWindow.h"

#include "qel/models/QelModel.h"
#include "qel/platform/QelTimer.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{
struct SOptions
{
    int m_nWidth = 1280;
    int m_nHeight = 800;
    std::string m_strScreenshot;
    int m_nFrames = 1;
    std::string m_strScript;
    int m_nTimingFrames = 0;
    std::vector<std::string> m_vFiles;
};

int Usage(const char* pWhy)
{
    std::fprintf(stderr, "qel-viewer: %s\nusage: qel-viewer [--size WxH] [--screenshot OUT.png --frames N] "
                         "[--script FILE] [--timing N] [FILE...]\n", pWhy);
    return 2;
}

bool ParseSize(const std::string& strText, int& nWidth, int& nHeight)
{
    size_t nX = strText.find('x');
    return nX != std::string::npos && ViewerValues::ParseInt(strText.substr(0, nX), nWidth) &&
           ViewerValues::ParseInt(strText.substr(nX + 1), nHeight) && nWidth > 0 && nHeight > 0 &&
           nWidth <= 16384 && nHeight <= 16384;
}

/// Returns 0 when the options are fine, else the exit status.
int ParseOptions(int argc, char** argv, SOptions& cOptions)
{
    for (int i = 1; i < argc; ++i)
    {
        std::string strArg = argv[i];
        bool bHasValue = i + 1 < argc;
        if (strArg == "--size" && bHasValue)
        {
            if (!ParseSize(argv[++i], cOptions.m_nWidth, cOptions.m_nHeight))
                return Usage("--size takes WIDTHxHEIGHT, each 1 to 16384");
        }
        else if (strArg == "--screenshot" && bHasValue)
            cOptions.m_strScreenshot = argv[++i];
        else if (strArg == "--frames" && bHasValue)
        {
            if (!ViewerValues::ParseInt(argv[++i], cOptions.m_nFrames) || cOptions.m_nFrames < 1)
                return Usage("--frames takes a whole number from 1");
        }
        else if (strArg == "--timing" && bHasValue)
        {
            if (!ViewerValues::ParseInt(argv[++i], cOptions.m_nTimingFrames) || cOptions.m_nTimingFrames < 1 ||
                cOptions.m_nTimingFrames > 100000)
                return Usage("--timing takes a number of frames from 1 to 100000");
        }
        else if (strArg == "--script" && bHasValue)
            cOptions.m_strScript = argv[++i];
        else if (strArg == "--help" || strArg == "-h")
            return Usage("an interactive viewer of the library's scenes");
        else if (strArg.rfind("--", 0) == 0)
            return Usage(("unknown or incomplete option " + strArg).c_str());
        else
            cOptions.m_vFiles.push_back(strArg);
    }
    return 0;
}
void PrintTiming(ViewerWindow& cWindow, const std::vector<ViewerTiming::SOpen>& vOpens, int nFrames)
{
    std::vector<double> vWallMs, vCpuMs;
    cWindow.TimeFrames(nFrames, vWallMs, vCpuMs);
    unsigned int nWidth = 0, nHeight = 0;
    cWindow.View().GetWindowSize(nWidth, nHeight);
    size_t nTriangles = 0;
    for (QelDisplayObject* pObject : cWindow.Scene().Objects())
        if (auto* pModel = dynamic_cast<QelModel*>(pObject))
            nTriangles += pModel->GetModelData().NumTriangles();
    std::fputs(ViewerTiming::Report(vOpens, int(nWidth), int(nHeight), nTriangles, vWallMs, vCpuMs).c_str(), stdout);
    std::fflush(stdout);
}
} // namespace

int main(int argc, char** argv)
{
    SOptions cOptions;
    if (int nStatus = ParseOptions(argc, argv, cOptions))
        return nStatus;

    bool bBatch = !cOptions.m_strScript.empty() || !cOptions.m_strScreenshot.empty() || cOptions.m_nTimingFrames > 0;
    ViewerApp cApp(true);
    ViewerWindow cWindow(cApp);
    if (!cWindow.Create(cOptions.m_nWidth, cOptions.m_nHeight))
        return 3;
    std::vector<ViewerTiming::SOpen> vOpens;
    for (const std::string& strFile : cOptions.m_vFiles)
    {
        ViewerTiming::SOpen cOpen;
        cOpen.m_strFile = strFile;
        const double dWall = QelGetHighResTime(), dCpu = ViewerTiming::CpuMs();
        cOpen.m_bOk = cWindow.OpenFile(strFile); // a file that fails is reported in the log; the viewer goes on
        cOpen.m_dWallMs = (QelGetHighResTime() - dWall) * 1000.0;
        cOpen.m_dCpuMs = ViewerTiming::CpuMs() - dCpu;
        vOpens.push_back(cOpen);
    }

    bool bOk = true;
    if (!cOptions.m_strScript.empty())
        bOk = ViewerScript::RunFile(cWindow, cOptions.m_strScript);
    if (bOk && !cOptions.m_strScreenshot.empty())
        bOk = cWindow.RenderFrames(cOptions.m_nFrames) && cWindow.Screenshot(cOptions.m_strScreenshot);
    if (bOk && cOptions.m_nTimingFrames > 0)
        PrintTiming(cWindow, vOpens, cOptions.m_nTimingFrames);
    if (!bBatch)
        cWindow.Run();
    return bOk ? 0 : 1;
}
