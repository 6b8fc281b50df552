#include "qel/buffers/QelImmediateModeBuffer.h"

#include "qel/buffers/detail/QelImmediateModeBufferDef.h"
#include "qel/framework/QelSysApp.h"
#include "qel/math/QelVecColor.h"

namespace
{
/// Refuses a null array given to one of the vector forms.
bool Given(const float* p, const char* pName)
{
    if (!p)
        QelSysApp::App().PrintToConsole("<error> NULL array passed to QelImmediateModeBuffer::%s()\n", pName);
    return p != nullptr;
}
} // namespace

QelImmediateModeBuffer::QelImmediateModeBuffer(int nCapacity)
    : QelGeometryBuffer(new QelImmediateModeBufferDef(this, nCapacity))
{
}

inline QelImmediateModeBufferDef* QelImmediateModeBuffer::D() const
{
    return static_cast<QelImmediateModeBufferDef*>(Def());
}

void QelImmediateModeBuffer::Vertex3(float x, float y, float z)
{
    const float v[3] = {x, y, z};
    D()->Vertex(v, 3);
}

void QelImmediateModeBuffer::Vertex3v(const float* pXyz)
{
    if (Given(pXyz, "Vertex3v"))
        D()->Vertex(pXyz, 3);
}

void QelImmediateModeBuffer::Vertex4(float x, float y, float z, float w)
{
    const float v[4] = {x, y, z, w};
    D()->Vertex(v, 4);
}

void QelImmediateModeBuffer::Vertex4v(const float* pXyzw)
{
    if (Given(pXyzw, "Vertex4v"))
        D()->Vertex(pXyzw, 4);
}

void QelImmediateModeBuffer::TexCoord1(unsigned int nLayer, float s)
{
    D()->TexCoord("TexCoord1", nLayer, &s, 1);
}

void QelImmediateModeBuffer::TexCoord2(unsigned int nLayer, float s, float t)
{
    const float c[2] = {s, t};
    D()->TexCoord("TexCoord2", nLayer, c, 2);
}

void QelImmediateModeBuffer::TexCoord2v(unsigned int nLayer, const float* pSt)
{
    if (Given(pSt, "TexCoord2v"))
        D()->TexCoord("TexCoord2v", nLayer, pSt, 2);
}

void QelImmediateModeBuffer::TexCoord3(unsigned int nLayer, float s, float t, float r)
{
    const float c[3] = {s, t, r};
    D()->TexCoord("TexCoord3", nLayer, c, 3);
}

void QelImmediateModeBuffer::TexCoord3v(unsigned int nLayer, const float* pStr)
{
    if (Given(pStr, "TexCoord3v"))
        D()->TexCoord("TexCoord3v", nLayer, pStr, 3);
}

void QelImmediateModeBuffer::TexCoord4(unsigned int nLayer, float s, float t, float r, float q)
{
    const float c[4] = {s, t, r, q};
    D()->TexCoord("TexCoord4", nLayer, c, 4);
}

void QelImmediateModeBuffer::TexCoord4v(unsigned int nLayer, const float* pStrq)
{
    if (Given(pStrq, "TexCoord4v"))
        D()->TexCoord("TexCoord4v", nLayer, pStrq, 4);
}

void QelImmediateModeBuffer::Normal(float x, float y, float z)
{
    const float n[3] = {x, y, z};
    D()->Normal(n);
}

void QelImmediateModeBuffer::Normalv(const float* pXyz)
{
    if (Given(pXyz, "Normalv"))
        D()->Normal(pXyz);
}

void QelImmediateModeBuffer::Color3(float r, float g, float b)
{
    const unsigned char c[4] = {QelColorByte(r), QelColorByte(g), QelColorByte(b), 255};
    D()->Color(c);
}

void QelImmediateModeBuffer::Color3v(const float* pRgb)
{
    if (Given(pRgb, "Color3v"))
        Color3(pRgb[0], pRgb[1], pRgb[2]);
}

void QelImmediateModeBuffer::Color4(float r, float g, float b, float a)
{
    const unsigned char c[4] = {QelColorByte(r), QelColorByte(g), QelColorByte(b), QelColorByte(a)};
    D()->Color(c);
}

void QelImmediateModeBuffer::Color4v(const float* pRgba)
{
    if (Given(pRgba, "Color4v"))
        Color4(pRgba[0], pRgba[1], pRgba[2], pRgba[3]);
}

void QelImmediateModeBuffer::Color4(unsigned long nPacked)
{
    const unsigned char c[4] = {(unsigned char)(nPacked & 0xFF), (unsigned char)((nPacked >> 8) & 0xFF),
                                (unsigned char)((nPacked >> 16) & 0xFF), (unsigned char)((nPacked >> 24) & 0xFF)};
    D()->Color(c);
}
