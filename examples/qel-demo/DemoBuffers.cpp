#include "QelDemo.h"

#include "qel/buffers/QelImmediateModeBuffer.h"
#include "qel/buffers/QelInterleavedBuffer.h"
#include "qel/buffers/QelTightlyPackedBuffer.h"
#include "qel/math/QelVecColor.h"
#include "qel/platform/QelOffscreenContext.h"

#include <GL/glew.h>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
const int kWidth = 768, kHeight = 256;

/// A torus about the Z axis: position, normal and a color that runs through the hues around it.
struct TorusVertex
{
    float p[3];
    float n[3];
    unsigned char c[4];
};

struct Torus
{
    std::vector<TorusVertex> vVertices;
    std::vector<int> vIndices; ///< triangles
};

Torus MakeTorus(int nAround, int nAcross, float fMajor, float fMinor)
{
    Torus t;
    const float kTwoPi = 6.2831853f;
    for (int i = 0; i <= nAround; ++i)
    {
        const float u = kTwoPi * float(i) / float(nAround);
        // Hue from the angle around the ring, as three phase-shifted cosines.
        const float r = 0.5f + 0.5f * std::cos(u), g = 0.5f + 0.5f * std::cos(u - 2.094f),
                    b = 0.5f + 0.5f * std::cos(u + 2.094f);
        const QelPackedColor nColor = ColorToDW(r, g, b, 1.0f);
        for (int j = 0; j <= nAcross; ++j)
        {
            const float v = kTwoPi * float(j) / float(nAcross);
            const float nx = std::cos(v) * std::cos(u), ny = std::cos(v) * std::sin(u), nz = std::sin(v);
            TorusVertex tv = {{fMajor * std::cos(u) + fMinor * nx, fMajor * std::sin(u) + fMinor * ny, fMinor * nz},
                              {nx, ny, nz},
                              {(unsigned char)nColor, (unsigned char)(nColor >> 8), (unsigned char)(nColor >> 16), 255}};
            t.vVertices.push_back(tv);
        }
    }
    const int nRow = nAcross + 1;
    for (int i = 0; i < nAround; ++i)
        for (int j = 0; j < nAcross; ++j)
        {
            const int a = i * nRow + j, b = a + nRow;
            t.vIndices.insert(t.vIndices.end(), {a, b, a + 1, a + 1, b, b + 1});
        }
    return t;
}

void FillImmediate(QelImmediateModeBuffer& b, const Torus& t)
{
    for (const TorusVertex& v : t.vVertices)
    {
        b.Color4((unsigned long)(v.c[0] | v.c[1] << 8 | v.c[2] << 16 | v.c[3] << 24));
        b.Normalv(v.n);
        b.Vertex3v(v.p);
    }
    b.FinishVertices();
}

void FillInterleaved(QelInterleavedBuffer& b, const Torus& t)
{
    b.SetStride(sizeof(TorusVertex));
    b.SetVertexOffset(3, offsetof(TorusVertex, p));
    b.SetNormalOffset(offsetof(TorusVertex, n));
    b.SetColorOffset(offsetof(TorusVertex, c));
    b.SetMaxNumVertices(int(t.vVertices.size()));
    b.SetBuffer(t.vVertices.data(), unsigned(t.vVertices.size()), 0);
}

void FillTightlyPacked(QelTightlyPackedBuffer& b, const Torus& t)
{
    std::vector<float> vPositions, vNormals;
    std::vector<unsigned long> vColors;
    for (const TorusVertex& v : t.vVertices)
    {
        vPositions.insert(vPositions.end(), v.p, v.p + 3);
        vNormals.insert(vNormals.end(), v.n, v.n + 3);
        vColors.push_back((unsigned long)(v.c[0] | v.c[1] << 8 | v.c[2] << 16 | v.c[3] << 24));
    }
    const int n = int(t.vVertices.size());
    b.AppendVertices(n, 3, vPositions.data());
    b.AppendNormals(n, vNormals.data());
    b.AppendColors(n, vColors.data());
    b.FinishVertices();
}

void SetUpLitView()
{
    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0.08f, 0.09f, 0.12f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-3.3, 3.3, -1.1, 1.1, -5.0, 5.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    const float aLight[4] = {-0.4f, 0.6f, 1.0f, 0.0f}, aDiffuse[4] = {0.9f, 0.9f, 0.9f, 1.0f},
                aAmbient[4] = {0.25f, 0.25f, 0.25f, 1.0f};
    glLightfv(GL_LIGHT0, GL_POSITION, aLight);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, aDiffuse);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, aAmbient);
    glEnable(GL_LIGHT0);
    glEnable(GL_LIGHTING);
    glEnable(GL_COLOR_MATERIAL);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    glEnable(GL_NORMALIZE);
    glEnable(GL_DEPTH_TEST);
}

void RestoreState()
{
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_NORMALIZE);
    glDisable(GL_COLOR_MATERIAL);
    glDisable(GL_LIGHTING);
    glDisable(GL_LIGHT0);
}

void Run(QelDemoApp&)
{
    if (!QelDemoBeginFrame(kWidth, kHeight))
        return;
    std::printf("  path: %s\n", glGenBuffersARB ? "OpenGL buffer objects" : "client arrays (no buffer objects)");

    const Torus t = MakeTorus(64, 32, 0.7f, 0.28f);
    QelImmediateModeBuffer immediate(int(t.vVertices.size()));
    QelInterleavedBuffer interleaved;
    QelTightlyPackedBuffer packed(int(t.vVertices.size()));
    FillImmediate(immediate, t);
    FillInterleaved(interleaved, t);
    FillTightlyPacked(packed, t);
    QelGeometryBuffer* aBuffers[3] = {&immediate, &interleaved, &packed};
    const char* aNames[3] = {"immediate mode", "interleaved", "tightly packed"};
    for (int i = 0; i < 3; ++i)
    {
        aBuffers[i]->AddIndices(t.vIndices.data(), int(t.vIndices.size()));
        aBuffers[i]->FinishIndices(QelGeometryBuffer::INDEX_16_BIT);
        std::printf("  %-15s %d vertices of %d bytes, %d indices, empty: %s\n", aNames[i], aBuffers[i]->NumVertices(),
                    aBuffers[i]->VertexSize(), aBuffers[i]->NumIndices(), aBuffers[i]->Empty() ? "yes" : "no");
    }
    std::printf("  video memory: %u bytes of vertices, %u bytes of indices\n", QelGeometryBuffer::VideoMemoryVertexBytes(),
                QelGeometryBuffer::VideoMemoryIndexBytes());

    SetUpLitView();
    for (int i = 0; i < 3; ++i)
    {
        glPushMatrix();
        glTranslatef(-2.2f + 2.2f * float(i), 0.0f, 0.0f);
        glRotatef(-55.0f, 1.0f, 0.0f, 0.0f);
        glRotatef(20.0f * float(i), 0.0f, 0.0f, 1.0f);
        aBuffers[i]->DrawIndexed(QelGeometryBuffer::TRIANGLES, 0, aBuffers[i]->NumIndices(), true, true);
        glPopMatrix();
    }
    glFinish();
    RestoreState();
    std::printf("  drawn side by side: %s, %s, %s (left to right)\n", aNames[0], aNames[1], aNames[2]);

    const std::string strPath = QelDemoOutputDir() + "/buffers-tori.png";
    if (QelOffscreenContext::SavePng(strPath))
        std::printf("  frame written to %s\n", strPath.c_str());
    for (QelGeometryBuffer* p : aBuffers)
        p->Clear();
    std::printf("  after Clear: %u bytes of vertices, %u bytes of indices in video memory\n",
                QelGeometryBuffer::VideoMemoryVertexBytes(), QelGeometryBuffer::VideoMemoryIndexBytes());
}

QelDemoSection s_section(80, "Geometry buffers: one lit torus through each of the three buffers", Run);
} // namespace
