#pragma once

#include "qel/buffers/QelGeometryBuffer.h"

class QelInterleavedBufferDef;

/// A buffer whose caller describes an interleaved layout (stride and offsets) and hands over
/// whole blocks of vertices with SetBuffer. A block at byte offset 0 (re)defines the store; one
/// at a later offset updates those vertices in place, so a dynamic buffer edits part of a mesh.
class QEL_EXPORT QelInterleavedBuffer : public QelGeometryBuffer
{
public:
    /// bDynamic: the store is made for frequent updates (GL_DYNAMIC_DRAW_ARB instead of static).
    explicit QelInterleavedBuffer(bool bDynamic = false);

    /// Bytes from one vertex to the next.
    void SetStride(unsigned int nStride);
    /// Position of nCoords (3 or 4) floats at byte nOffset of a vertex.
    void SetVertexOffset(unsigned int nCoords, unsigned int nOffset);
    /// Texture coordinates of a layer (0..7): nCoords (1..4) floats at byte nOffset.
    void SetTexCoordOffset(unsigned int nLayer, unsigned int nCoords, unsigned int nOffset);
    /// Normal of 3 floats at byte nOffset.
    void SetNormalOffset(unsigned int nOffset);
    /// Color of 4 bytes (red, green, blue, alpha) at byte nOffset.
    void SetColorOffset(unsigned int nOffset);
    /// The most vertices the buffer holds; needs the stride first.
    void SetMaxNumVertices(int nMaxVertices);
    /// Copies nNumVertices vertices from pData to byte nByteOffset of the vertex array.
    void SetBuffer(const void* pData, unsigned int nNumVertices, unsigned int nByteOffset);

private:
    QelInterleavedBufferDef* D() const;
};
