#include "QelDemo.h"

#include "qel/materials/QelMaterial.h"
#include "qel/materials/QelTexture.h"
#include "qel/platform/QelOffscreenContext.h"
#include "qel/xml/QelMasterXMLInterface.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
const int kWidth = 384, kHeight = 192;

void Put(std::vector<unsigned char>& v, uint32_t n, int nBytes)
{
    for (int i = 0; i < nBytes; ++i)
        v.push_back((unsigned char)(n >> (8 * i)));
}

/// A 64 x 64 checker of warm and pale squares as a 24-bit .bmp file.
std::vector<unsigned char> CheckerBmp()
{
    const int n = 64, nRow = n * 3;
    std::vector<unsigned char> v = {'B', 'M'};
    Put(v, 54 + nRow * n, 4);
    Put(v, 0, 4);
    Put(v, 54, 4);
    for (uint32_t k : {40u, uint32_t(n), uint32_t(n)})
        Put(v, k, 4);
    Put(v, 1, 2);
    Put(v, 24, 2);
    for (int i = 0; i < 6; ++i)
        Put(v, 0, 4);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
        {
            const bool bWarm = ((x / 8) + (y / 8)) % 2 == 0;
            v.push_back(bWarm ? 40 : 230);  // blue
            v.push_back(bWarm ? 110 : 225); // green
            v.push_back(bWarm ? 220 : 215); // red
        }
    return v;
}

/// A 64 x 64 DXT1 .dds file with its whole mip chain: diagonal stripes of four colors in level 0,
/// one flat color in each smaller level.
std::vector<unsigned char> StripesDds()
{
    const int n = 64, nLevels = 7;
    std::vector<unsigned char> v = {'D', 'D', 'S', ' '};
    Put(v, 124, 4);
    Put(v, 0x21007, 4);
    Put(v, n, 4);
    Put(v, n, 4);
    Put(v, 0, 4);
    Put(v, 0, 4);
    Put(v, nLevels, 4);
    for (int i = 0; i < 11; ++i)
        Put(v, 0, 4);
    Put(v, 32, 4);
    Put(v, 4, 4);
    v.insert(v.end(), {'D', 'X', 'T', '1'});
    for (int i = 0; i < 5; ++i)
        Put(v, 0, 4);
    Put(v, 0x401008, 4);
    for (int i = 0; i < 4; ++i)
        Put(v, 0, 4);
    const uint16_t aColors[] = {0xF800, 0xFFE0, 0x07E0, 0x001F};
    for (int l = 0; l < nLevels; ++l)
    {
        const int nBlocks = std::max(1, (n >> l) / 4);
        for (int by = 0; by < nBlocks; ++by)
            for (int bx = 0; bx < nBlocks; ++bx)
            {
                const uint16_t c = aColors[l == 0 ? ((bx + by) / 2) % 4 : l % 4];
                Put(v, c, 2);
                Put(v, c, 2);
                Put(v, 0, 4);
            }
    }
    return v;
}

bool WriteBytes(const std::string& strPath, const std::vector<unsigned char>& v)
{
    FILE* p = std::fopen(strPath.c_str(), "wb");
    if (!p)
        return false;
    const bool bOk = std::fwrite(v.data(), 1, v.size(), p) == v.size();
    return std::fclose(p) == 0 && bOk;
}

/// A torus mesh with normals and texture coordinates, drawn as triangle strips.
void DrawTorus(float fMajor, float fMinor, int nRings, int nSides)
{
    const float kTwoPi = 6.2831853f;
    for (int i = 0; i < nRings; ++i)
    {
        glBegin(GL_TRIANGLE_STRIP);
        for (int j = 0; j <= nSides; ++j)
            for (int k = 1; k >= 0; --k)
            {
                const float u = float(i + k) / float(nRings), v = float(j) / float(nSides);
                const float a = u * kTwoPi, b = v * kTwoPi;
                const float nx = std::cos(a) * std::cos(b), ny = std::sin(a) * std::cos(b), nz = std::sin(b);
                glTexCoord2f(u * 3.0f, v);
                glNormal3f(nx, ny, nz);
                glVertex3f(std::cos(a) * fMajor + nx * fMinor, std::sin(a) * fMajor + ny * fMinor, nz * fMinor);
            }
        glEnd();
    }
}

void Run(QelDemoApp&)
{
    if (!QelDemoBeginFrame(kWidth, kHeight))
        return;
    const std::string strDir = QelDemoOutputDir();
    if (!WriteBytes(strDir + "/checker.bmp", CheckerBmp()) || !WriteBytes(strDir + "/stripes.dds", StripesDds()))
    {
        std::printf("  could not write the demo's textures to %s\n", strDir.c_str());
        return;
    }

    // One file under two spellings is one cached texture.
    QelMaterial cPainted;
    cPainted.m_strName = "Painted clay";
    cPainted.m_vecAmbient = QelVec4(0.25f, 0.25f, 0.25f, 1.0f);
    cPainted.m_vecDiffuse = QelVec4(1.0f, 1.0f, 1.0f, 1.0f);
    cPainted.m_vecSpecular = QelVec4(0.6f, 0.6f, 0.6f, 1.0f);
    cPainted.m_fShininess = 40.0f;
    QelTextureLayer cLayer;
    cLayer.m_strFilename = strDir + "/checker.bmp";
    cLayer.m_cTexture.LoadFromFile(cLayer.m_strFilename, true);
    cPainted.m_vLayers.push_back(cLayer);
    QelTexture cAgain, cStripes;
    cAgain.LoadFromFile(strDir + "/./sub/../checker.bmp", true);
    cStripes.LoadFromFile(strDir + "/stripes.dds", true);
    const QelTexture& cChecker = cPainted.m_vLayers[0].m_cTexture;
    std::printf("  checker.bmp: %ux%u through DevIL, OpenGL texture %u; the same file spelled again: texture %u\n",
                cChecker.GetWidth(), cChecker.GetHeight(), cChecker.GetName(), cAgain.GetName());
    std::printf("  stripes.dds: %ux%u, compressed %s, alpha %s, read by the library's own DDS reader\n",
                cStripes.GetWidth(), cStripes.GetHeight(), cStripes.IsCompressed() ? "yes" : "no",
                cStripes.HasAlpha() ? "yes" : "no");
    unsigned int nFiles = 0, nResources = 0;
    QelTexture::GetCacheUsage(nFiles, nResources);
    std::printf("  texture cache: %u file textures, %u resource textures\n", nFiles, nResources);

    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0.08f, 0.09f, 0.12f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-4.0, 4.0, -2.0, 2.0, -4.0, 4.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();

    // Left: the lit, textured torus.
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glEnable(GL_NORMALIZE);
    const GLfloat aLight[] = {-0.4f, 0.6f, 1.0f, 0.0f};
    glLightfv(GL_LIGHT0, GL_POSITION, aLight);
    glPushMatrix();
    glTranslatef(-2.0f, 0.0f, 0.0f);
    glRotatef(-60.0f, 1.0f, 0.0f, 0.0f);
    glRotatef(20.0f, 0.0f, 1.0f, 0.0f);
    cPainted.Activate(QelVec4(1.0f, 1.0f, 1.0f, 1.0f), 1.0f, 1.0f, 1.0f, 1.0f);
    DrawTorus(1.1f, 0.45f, 48, 24);
    cPainted.Deactivate();
    glPopMatrix();
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);

    // Right: the DDS texture on a flat square.
    QelMaterial cFlat;
    QelTextureLayer cDds;
    cDds.m_cTexture = cStripes;
    cDds.m_nFunction = QelTextureLayer::eFunctionReplace;
    cFlat.m_vLayers.push_back(cDds);
    cFlat.Activate(QelVec4(1.0f, 1.0f, 1.0f, 1.0f), 1.0f, 1.0f, 1.0f, 1.0f);
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0);
    glVertex2f(0.6f, -1.6f);
    glTexCoord2f(1, 0);
    glVertex2f(3.8f, -1.6f);
    glTexCoord2f(1, 1);
    glVertex2f(3.8f, 1.6f);
    glTexCoord2f(0, 1);
    glVertex2f(0.6f, 1.6f);
    glEnd();
    cFlat.Deactivate();
    glFinish();

    QelMasterXMLInterface cXml;
    cXml.NewData("Material", "");
    cPainted.Save(&cXml, true);
    const std::string strXml = cXml.SaveDataToString();
    std::printf("  the material saved (%zu bytes of XML), its texture kept by file name: %s\n", strXml.size(),
                strXml.find("<Filename>checker.bmp</Filename>") != std::string::npos ? "yes" : "no");

    const std::string strPath = strDir + "/materials.png";
    if (QelOffscreenContext::SavePng(strPath))
        std::printf("  frame written to %s\n", strPath.c_str());
    cAgain.Release();
    cStripes.Release();
}

QelDemoSection s_section(90, "Images, textures and materials", Run);
} // namespace
