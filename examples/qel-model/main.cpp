// qel-model: what a model file holds, and conversion to the library's own format.
//   qel-model info FILE [--json]
//   qel-model convert IN OUT.zmf
#include "qel/framework/QelSysApp.h"
#include "qel/models/QelModelData.h"
#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelString.h"
#include "qel/platform/QelTimer.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

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
                         "       qel-model convert IN OUT.zmf\n");
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
} // namespace

int main(int argc, char** argv)
{
    ToolApp app;
    if (argc >= 3 && std::strcmp(argv[1], "info") == 0 && (argc == 3 || (argc == 4 && std::strcmp(argv[3], "--json") == 0)))
        return Info(argv[2], argc == 4);
    if (argc == 4 && std::strcmp(argv[1], "convert") == 0)
        return Convert(argv[2], argv[3]);
    return Usage();
}
