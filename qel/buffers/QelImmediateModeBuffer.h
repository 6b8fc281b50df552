#pragma once

#include "qel/buffers/QelGeometryBuffer.h"

class QelImmediateModeBufferDef;

/// A buffer filled vertex by vertex as in OpenGL immediate mode: set the current texture
/// coordinates, normal and color, then emit a vertex, which takes the current values. An
/// attribute set for some vertices only gives the earlier ones OpenGL's default (color 1,1,1,1,
/// normal 0,0,1, texture coordinate 0,0,0,1); one never set is left out of the vertex, so the
/// draw takes OpenGL's current value. FinishVertices packs position, used texture layers, normal
/// and color into one interleaved vertex and uploads it.
class QEL_EXPORT QelImmediateModeBuffer : public QelGeometryBuffer
{
public:
    /// nCapacity: the number of vertices expected, reserved up front.
    explicit QelImmediateModeBuffer(int nCapacity = 0);

    /// Emits a vertex with the current attributes. Once any vertex has four coordinates every vertex
    /// stores four (w 1 for the three-coordinate ones); a null array is reported and emits nothing.
    ///@{
    void Vertex3(float x, float y, float z);
    void Vertex3v(const float* pXyz);
    void Vertex4(float x, float y, float z, float w);
    void Vertex4v(const float* pXyzw);
    ///@}

    /// Texture coordinates of layer 0..7; a layer's coordinate count only grows.
    ///@{
    void TexCoord1(unsigned int nLayer, float s);
    void TexCoord2(unsigned int nLayer, float s, float t);
    void TexCoord2v(unsigned int nLayer, const float* pSt);
    void TexCoord3(unsigned int nLayer, float s, float t, float r);
    void TexCoord3v(unsigned int nLayer, const float* pStr);
    void TexCoord4(unsigned int nLayer, float s, float t, float r, float q);
    void TexCoord4v(unsigned int nLayer, const float* pStrq);
    ///@}

    /// Sets the current normal; it is stored as given (not normalised).
    ///@{
    void Normal(float x, float y, float z);
    void Normalv(const float* pXyz);
    ///@}

    /// Colors are kept as 4 bytes (c * 255 truncated, as packed colors are made); three components give alpha 255.
    ///@{
    void Color3(float r, float g, float b);
    void Color3v(const float* pRgb);
    void Color4(float r, float g, float b, float a);
    void Color4v(const float* pRgba);
    ///@}
    /// A packed color: red in the low byte.
    void Color4(unsigned long nPacked);

private:
    QelImmediateModeBufferDef* D() const;
};
