#pragma once

#include "qel/buffers/QelGeometryBuffer.h"

class QelTightlyPackedBufferDef;

/// A buffer filled from separate arrays of positions, texture coordinates, normals and colors.
/// FinishVertices interleaves them (position, used texture layers, normal, color) and uploads the
/// result; every array given must then hold as many vertices as the positions, or nothing is finished.
class QEL_EXPORT QelTightlyPackedBuffer : public QelGeometryBuffer
{
public:
    /// nCapacity: the number of vertices expected, reserved at the first append of each array.
    explicit QelTightlyPackedBuffer(int nCapacity = 0);

    /// Positions of nCoords (3 or 4) floats each; every call gives the same count.
    void AppendVertices(int nNumVertices, int nCoords, const float* pData);
    /// Texture coordinates of nCoords (1..4) floats each for layer 0..7.
    void AppendTexCoords(int nNumVertices, unsigned int nLayer, int nCoords, const float* pData);
    /// Normals of 3 floats each.
    void AppendNormals(int nNumVertices, const float* pData);
    /// Colors of 4 floats each (red, green, blue, alpha), kept as bytes (c * 255 truncated).
    void AppendColors(int nNumVertices, const float* pData);
    /// Packed colors, red in the low byte.
    void AppendColors(int nNumVertices, const unsigned long* pData);

private:
    QelTightlyPackedBufferDef* D() const;
};
