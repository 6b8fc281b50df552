#include "QelDemo.h"

#include "qel/models/QelModel.h"
#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelOffscreenContext.h"

#include <GL/glew.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
const int kWidth = 384, kHeight = 288;

/// A 64 x 64 checker of cream and terracotta squares as an uncompressed 24-bit Targa file.
std::string CheckerTga()
{
    const int n = 64;
    std::string s(18, '\0');
    s[2] = 2; // uncompressed true color
    s[12] = char(n);
    s[14] = char(n);
    s[16] = 24;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
        {
            const bool bDark = ((x / 8) + (y / 8)) % 2 == 0;
            s += bDark ? "\x30\x58\xC0" : "\xC8\xE6\xF2"; // blue, green, red
        }
    return s;
}

/// A textured torus lying on a slate plate, with a glass pane beside it: three materials, the
/// torus's normals left for the loader to compute.
std::string SceneObj()
{
    std::string s = "# torus, plate and pane\nmtllib scene.mtl\no torus\n";
    const int nRings = 48, nSides = 24;
    const float kTwoPi = 6.2831853f;
    char a[128];
    for (int i = 0; i <= nRings; ++i)
        for (int j = 0; j <= nSides; ++j)
        {
            const float u = float(i) / nRings, v = float(j) / nSides;
            const float fa = u * kTwoPi, fb = v * kTwoPi, r = 1.0f + 0.4f * std::cos(fb);
            std::snprintf(a, sizeof(a), "v %.5f %.5f %.5f\nvt %.5f %.5f\n", r * std::cos(fa), r * std::sin(fa),
                          0.4f * std::sin(fb), u, v);
            s += a;
        }
    s += "usemtl checker\ns 1\n";
    for (int i = 0; i < nRings; ++i)
        for (int j = 0; j < nSides; ++j)
        {
            const int k = i * (nSides + 1) + j + 1, l = k + nSides + 1;
            std::snprintf(a, sizeof(a), "f %d/%d %d/%d %d/%d %d/%d\n", k, k, l, l, l + 1, l + 1, k + 1, k + 1);
            s += a;
        }
    s += "s off\no plate\nv -2 -2 -0.45\nv 2 -2 -0.45\nv 2 2 -0.45\nv -2 2 -0.45\nusemtl slate\nf -4 -3 -2 -1\n";
    s += "o pane\nv 0.2 -1.7 -0.45\nv 1.9 -1.7 -0.45\nv 1.9 -1.7 0.9\nv 0.2 -1.7 0.9\nusemtl glass\nf -4 -3 -2 -1\n";
    return s;
}

const char* const kSceneMtl = "newmtl checker\nKa 1 1 1\nKd 1 1 1\nKs 0.5 0.5 0.5\nNs 40\nmap_Kd -s 4 1 1 Checker.TGA\n"
                              "map_Bump wrinkles.png\n"
                              "newmtl slate\nKd 0.30 0.36 0.42\n"
                              "newmtl glass\nKd 0.55 0.8 1.0\nKs 0.9 0.9 0.9\nNs 90\nd 0.4\n";

/// The model framed from the three-quarter view under a head light; the frame as RGBA bytes.
std::vector<unsigned char> DrawFramed(QelModel& model)
{
    glClearColor(0.08f, 0.09f, 0.12f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    QelDemoDrawModel(model, 0, 0, kWidth, kHeight);
    glFinish();
    glDisable(GL_DEPTH_TEST);
    return QelOffscreenContext::ReadFrame();
}

void PrintCounts(const char* pWhat, const QelModelData& d)
{
    std::printf("  %s: %zu meshes, %zu vertices, %zu triangles, %zu materials, %zu textures\n", pWhat,
                d.m_vMeshes.size(), d.NumVertices(), d.NumTriangles(), d.m_vMaterials.size(), d.NumTextures());
}

void Run(QelDemoApp& app)
{
    if (!QelDemoBeginFrame(kWidth, kHeight))
        return;
    const std::string strDir = QelDemoOutputDir();
    // The material library names its texture in another case, as files made on Windows do.
    if (!QelDemoWriteFile(strDir + "/checker.tga", CheckerTga()) || !QelDemoWriteFile(strDir + "/scene.mtl", kSceneMtl) ||
        !QelDemoWriteFile(strDir + "/scene.obj", SceneObj()))
    {
        std::printf("  could not write the demo's model to %s\n", strDir.c_str());
        return;
    }

    QelModel model;
    {
        // The bump map names a file that does not exist: a warning, and the material without it.
        QelDemoExpect expect(app, 1);
        if (!model.LoadFile(strDir + "/scene.obj"))
            return;
    }
    PrintCounts("scene.obj + scene.mtl", model.GetModelData());
    const std::vector<unsigned char> vFrame = DrawFramed(model);
    const std::string strPng = strDir + "/models.png";
    if (QelOffscreenContext::SavePng(strPng))
        std::printf("  drawn lit and textured (glass over the torus drawn last) into %s\n", strPng.c_str());

    const std::string strZmf = strDir + "/scene.zmf";
    QelModelFormat* pWriter = QelModelFormat::GetFileHandlerForFilename(strZmf);
    if (!pWriter || !pWriter->Save(strZmf, model.GetModelData()))
        return;
    QelModel reloaded;
    if (!reloaded.LoadFile(strZmf))
        return;
    std::printf("  converted to the own format (%s, \"%s\") and loaded back\n", strZmf.c_str(),
                pWriter->GetLabel().c_str());
    PrintCounts("scene.zmf", reloaded.GetModelData());
    std::printf("  the reloaded model draws the same frame: %s\n", DrawFramed(reloaded) == vFrame ? "yes" : "no");
}

QelDemoSection s_section(100, "Models", Run);
} // namespace
