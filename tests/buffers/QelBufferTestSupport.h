#pragma once

#include "qel/buffers/QelInterleavedBuffer.h"
#include "qel/platform/QelOffscreenContext.h"

#include <GL/glew.h>

#include <cstddef>
#include <cstring>
#include <vector>

/// Sets a GLEW entry point to null for the guard's lifetime, as a context without the extension
/// would leave it, and puts it back afterwards.
template <class FnPointer>
class QelNullEntryPoint
{
public:
    explicit QelNullEntryPoint(FnPointer& rPointer) : m_rPointer(rPointer), m_pSaved(rPointer) { m_rPointer = nullptr; }
    ~QelNullEntryPoint() { m_rPointer = m_pSaved; }
    QelNullEntryPoint(const QelNullEntryPoint&) = delete;
    QelNullEntryPoint& operator=(const QelNullEntryPoint&) = delete;

private:
    FnPointer& m_rPointer;
    FnPointer m_pSaved;
};

namespace QelBufferTest
{
const unsigned int kBlack = 0xFF000000u;
const unsigned int kWhite = 0xFFFFFFFFu;
const unsigned int kRed = 0xFF0000FFu;
const unsigned int kGreen = 0xFF00FF00u;
const unsigned int kBlue = 0xFFFF0000u;

/// Opaque black over the whole target, identity matrices (the pixel grid spans clip space), and
/// none of lighting, texturing or depth testing.
inline void BeginFrame()
{
    glViewport(0, 0, QelOffscreenContext::Width(), QelOffscreenContext::Height());
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_TEXTURE_2D);
    glColor4f(1, 1, 1, 1);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

/// Describes vertices of type TVertex, with a position of 3 floats in member p and a color of
/// 4 bytes in member c, and a capacity of nMax of them.
template <class TVertex>
void DescribePositionAndColor(QelInterleavedBuffer& b, int nMax)
{
    b.SetStride(sizeof(TVertex));
    b.SetVertexOffset(3, offsetof(TVertex, p));
    b.SetColorOffset(offsetof(TVertex, c));
    b.SetMaxNumVertices(nMax);
}

/// The pixel under a point of clip space.
inline unsigned int PixelAt(float x, float y)
{
    return QelOffscreenContext::ReadPixel(int((x + 1) * 0.5f * float(QelOffscreenContext::Width())),
                                          int((y + 1) * 0.5f * float(QelOffscreenContext::Height())));
}

/// The finished vertex array as OpenGL reads it, from the buffer object or the client array.
inline std::vector<unsigned char> FinishedBytes(const QelGeometryBuffer& b)
{
    std::vector<unsigned char> v(size_t(b.NumVertices()) * size_t(b.VertexSize()));
    if (!b.BindVertexBuffer())
        return {};
    GLint nName = 0;
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &nName);
    if (nName)
        glGetBufferSubData(GL_ARRAY_BUFFER, 0, GLsizeiptr(v.size()), v.data());
    else
    {
        void* p = nullptr;
        glGetPointerv(GL_VERTEX_ARRAY_POINTER, &p); // the position leads the vertex: the array's start
        std::memcpy(v.data(), p, v.size());
    }
    QelGeometryBuffer::UnBindVertexBuffer();
    return v;
}
} // namespace QelBufferTest
