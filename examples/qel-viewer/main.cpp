// qel-viewer: an interactive host of the library. Usage:
//
//   qel-viewer [--size WxH] [--screenshot OUT.png --frames N] [--script FILE] [FILE...]
//
// Files are opened in order; with --script the commands run after them and the program exits
// (status 1 when a command failed); with --screenshot it renders N frames, writes OUT.png and exits.

#include "ViewerApp.h"
#include "ViewerPropertyValues.h"
#include "ViewerScript.h"
#include "ViewerWindow.h"

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
    std::vector<std::string> m_vFiles;
};

int Usage(const char* pWhy)
{
    std::fprintf(stderr, "qel-viewer: %s\nusage: qel-viewer [--size WxH] [--screenshot OUT.png --frames N] "
                         "[--script FILE] [FILE...]\n", pWhy);
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
} // namespace

int main(int argc, char** argv)
{
    SOptions cOptions;
    if (int nStatus = ParseOptions(argc, argv, cOptions))
        return nStatus;

    bool bBatch = !cOptions.m_strScript.empty() || !cOptions.m_strScreenshot.empty();
    ViewerApp cApp(true);
    ViewerWindow cWindow(cApp);
    if (!cWindow.Create(cOptions.m_nWidth, cOptions.m_nHeight))
        return 3;
    for (const std::string& strFile : cOptions.m_vFiles)
        cWindow.OpenFile(strFile); // a file that fails is reported in the log; the viewer goes on

    bool bOk = true;
    if (!cOptions.m_strScript.empty())
        bOk = ViewerScript::RunFile(cWindow, cOptions.m_strScript);
    if (bOk && !cOptions.m_strScreenshot.empty())
        bOk = cWindow.RenderFrames(cOptions.m_nFrames) && cWindow.Screenshot(cOptions.m_strScreenshot);
    if (!bBatch)
        cWindow.Run();
    return bOk ? 0 : 1;
}
