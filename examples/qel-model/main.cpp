// qel-model: what a model file holds, conversion to the library's own format, and a picture of it.
//   qel-model info FILE [--json]
//   qel-model convert IN OUT.zmf
//   qel-model render FILE OUT.png [--size WxH] [--frames N]
#include "qel/display/QelCamera.h"
#include "qel/display/QelLight.h"
#include "qel/framework/QelSysApp.h"
#include "qel/models/QelModel.h"
#include "qel/models/QelModelData.h"
#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/platform/QelString.h"
#include "qel/platform/QelTimer.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

namespace
{
/// Writes the library's messages to standard error.
class ToolApp : public QelSysApp
{
public:
    ToolApp() : QelSysApp(this) {}
    void PrintToConsole(const char* pFormat, ...) const override
    {
        va_list args;
        va_start(args, pFormat);
        std::string strText = QelFormatV(pFormat, args);
        va_end(args);
        std::fputs(strText.c_str(), stderr);
    }
};

int Usage()
{
    std::fprintf(stderr, "usage: qel-model info FILE [--json]\n"
                         "       qel-model convert IN OUT.zmf\n"
                         "       qel-model render FILE OUT.png [--size WxH] [--frames N]\n");
    return 2;
}

std::string JsonString(const std::string& s)
{
    std::string strOut = "\"";
    for (unsigned char c : s)
    {
        if (c == '"' || c == '\\')
            strOut += std::string("\\") + char(c);
        else if (c < 0x20)
            strOut += QelFormat("\\u%04x", c);
        else
            strOut += char(c);
    }
    return strOut + "\"";
}

/// Loads through the registry; prints its own message when no loader fits.
bool Load(const std::string& strFile, QelModelData& data, QelModelFormat*& pFormat, double& fMs)
{
    pFormat = QelModelFormat::GetFileHandlerForFilename(strFile);
    if (!pFormat)
    {
        std::fprintf(stderr, "qel-model: no loader for [%s]\n", strFile.c_str());
        return false;
    }
    QelHighResTimer timer;
    bool bOk = pFormat->Load(strFile, data);
    fMs = timer.GetElapsedSeconds() * 1000.0;
    return bOk;
}

int Info(const std::string& strFile, bool bJson)
{
    QelModelData data;
    QelModelFormat* pFormat = nullptr;
    double fMs = 0.0;
    if (!Load(strFile, data, pFormat, fMs))
        return 1;
    const QelVec3& a = data.m_cBounds.m_vecMin;
    const QelVec3& b = data.m_cBounds.m_vecMax;
    if (bJson)
    {
        std::printf("{\"file\": %s, \"format\": %s, \"meshes\": %zu, \"vertices\": %zu, \"triangles\": %zu, "
                    "\"lines\": %zu, \"points\": %zu, \"materials\": %zu, \"textures\": %zu, "
                    "\"bounds\": {\"min\": [%.9g, %.9g, %.9g], \"max\": [%.9g, %.9g, %.9g]}, \"load_ms\": %.3f}\n",
                    JsonString(strFile).c_str(), JsonString(pFormat->GetLabel()).c_str(), data.m_vMeshes.size(),
                    data.NumVertices(), data.NumTriangles(), data.NumLines(), data.NumPoints(), data.m_vMaterials.size(),
                    data.NumTextures(), a.x, a.y, a.z, b.x, b.y, b.z, fMs);
        return 0;
    }
    std::printf("file       %s\nformat     %s\nmeshes     %zu\nvertices   %zu\ntriangles  %zu\nlines      %zu\n"
                "points     %zu\nmaterials  %zu\ntextures   %zu\nbounds     (%g, %g, %g) to (%g, %g, %g)\nload       %.1f ms\n",
                strFile.c_str(), pFormat->GetLabel().c_str(), data.m_vMeshes.size(), data.NumVertices(),
                data.NumTriangles(), data.NumLines(), data.NumPoints(), data.m_vMaterials.size(), data.NumTextures(), a.x,
                a.y, a.z, b.x, b.y, b.z, fMs);
    return 0;
}

int Convert(const std::string& strIn, const std::string& strOut)
{
    QelModelFormat* pWriter = QelModelFormat::GetFileHandlerForFilename(strOut);
    if (!pWriter || !pWriter->CanSave())
    {
        std::fprintf(stderr, "qel-model: cannot write [%s]; the output is written in the own format (.zmf)\n", strOut.c_str());
        return 2;
    }
    QelModelData data;
    QelModelFormat* pFormat = nullptr;
    double fMs = 0.0;
    if (!Load(strIn, data, pFormat, fMs))
        return 1;
    QelHighResTimer timer;
    if (!pWriter->Save(strOut, data))
        return 1;
    std::printf("%s -> %s: %zu meshes, %zu vertices, %zu triangles (read %.1f ms, written %.1f ms)\n", strIn.c_str(),
                strOut.c_str(), data.m_vMeshes.size(), data.NumVertices(), data.NumTriangles(), fMs,
                timer.GetElapsedSeconds() * 1000.0);
    return 0;
}
/// Reads "WxH" with both sides from 1 to 8192.
bool ParseSize(const char* p, int& nWidth, int& nHeight)
{
    char cEnd = 0;
    return std::sscanf(p, "%dx%d%c", &nWidth, &nHeight, &cEnd) == 2 && nWidth >= 1 && nHeight >= 1 &&
           nWidth <= 8192 && nHeight <= 8192;
}

/// Process CPU time in milliseconds (llvmpipe's drawing threads included).
double CpuMs()
{
    timespec ts{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1000.0 + double(ts.tv_nsec) / 1e6;
}

double Median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n == 0 ? 0.0 : n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2.0;
}

/// The model framed to its bounds from the three-quarter view, lit by a head light, on a dark ground.
int Render(const std::string& strFile, const std::string& strOut, int nWidth, int nHeight, int nMoreFrames)
{
    std::string strWhy;
    if (!QelOffscreenContext::MakeCurrent(nWidth, nHeight, &strWhy) || !QelOffscreenContext::Resize(nWidth, nHeight))
    {
        std::fprintf(stderr, "qel-model: no OpenGL context to render with: %s\n", strWhy.c_str());
        return 1;
    }
    QelHighResTimer timer;
    QelModel model;
    if (!model.LoadFile(strFile))
        return 1;
    const double fLoadMs = timer.GetElapsedSeconds() * 1000.0;
    const QelBox3& cBounds = model.GetModelData().m_cBounds;
    QelCamera camera;
    camera.SetViewport(0, 0, nWidth, nHeight);
    camera.SetView(QelCamera::eViewThreeQuarter);
    camera.SetAutoClipping(false);
    if (!camera.ZoomToBox(cBounds))
    {
        std::fprintf(stderr, "qel-model: [%s] has nothing to render\n", strFile.c_str());
        return 1;
    }
    camera.FitClipToBox(cBounds);
    QelLight light;
    light.SetHeadLight(true);
    light.TurnOn(true);

    // The first frame uploads the model; with nMoreFrames the same frame is drawn again that often.
    auto fnFrame = [&]() {
        glClearColor(0.14f, 0.15f, 0.18f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        camera.Apply();
        QelLight::ApplyAll(camera.GetViewMatrix());
        // Models made on either hand show their inner faces lit too.
        glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, GL_TRUE);
        model.Render();
        glFinish();
    };
    timer.Start();
    fnFrame();
    const double fDrawMs = timer.GetElapsedSeconds() * 1000.0;
    std::vector<double> vMoreMs, vMoreCpuMs;
    for (int i = 0; i < nMoreFrames; ++i)
    {
        const double dCpu = CpuMs();
        timer.Start();
        fnFrame();
        vMoreMs.push_back(timer.GetElapsedSeconds() * 1000.0);
        vMoreCpuMs.push_back(CpuMs() - dCpu);
    }
    light.TurnOn(false);
    if (!QelOffscreenContext::SavePng(strOut))
        return 1;
    std::printf("%s -> %s: %dx%d, %zu triangles (read %.1f ms, drawn %.1f ms)\n", strFile.c_str(), strOut.c_str(),
                nWidth, nHeight, model.GetModelData().NumTriangles(), fLoadMs, fDrawMs);
    if (!vMoreMs.empty())
    {
        std::printf("%zu more frames: median %.2f ms wall (min %.2f, max %.2f), median %.2f ms cpu\n", vMoreMs.size(),
                    Median(vMoreMs), *std::min_element(vMoreMs.begin(), vMoreMs.end()),
                    *std::max_element(vMoreMs.begin(), vMoreMs.end()), Median(vMoreCpuMs));
    }
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    ToolApp app;
    if (argc >= 3 && std::strcmp(argv[1], "info") == 0 && (argc == 3 || (argc == 4 && std::strcmp(argv[3], "--json") == 0)))
        return Info(argv[2], argc == 4);
    if (argc == 4 && std::strcmp(argv[1], "convert") == 0)
        return Convert(argv[2], argv[3]);
    if (argc >= 4 && std::strcmp(argv[1], "render") == 0)
    {
        int nWidth = 800, nHeight = 600, nMoreFrames = 0;
        for (int i = 4; i < argc; i += 2)
        {
            char cEnd = 0;
            if (i + 1 >= argc)
                return Usage();
            if (std::strcmp(argv[i], "--size") == 0 && ParseSize(argv[i + 1], nWidth, nHeight))
                continue;
            if (std::strcmp(argv[i], "--frames") == 0 && std::sscanf(argv[i + 1], "%d%c", &nMoreFrames, &cEnd) == 1 &&
                nMoreFrames >= 0 && nMoreFrames <= 100000)
                continue;
            return Usage();
        }
        return Render(argv[2], argv[3], nWidth, nHeight, nMoreFrames);
    }
    return Usage();
}
