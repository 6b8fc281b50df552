#pragma once

#include "qel/buffers/QelGeometryBuffer.h"
#include "qel/buffers/detail/QelImmediateModeCursor.h"
#include "qel/math/QelVecColor.h"

#include <cstdint>

/// A buffer filled vertex by vertex as in OpenGL immediate mode: set the current texture
/// coordinates, normal and color, then emit a vertex, which takes the current values. An
/// attribute set for some vertices only gives the earlier ones OpenGL's default (color 1,1,1,1,
/// normal 0,0,1, texture coordinate 0,0,0,1); one never set is left out of the vertex, so the
/// draw takes OpenGL's current value. FinishVertices packs position, used texture layers, normal
/// and color into one interleaved vertex and uploads it.
///
/// The per-vertex calls are inline: a host makes millions of them. Each writes straight into the
/// next vertex's place in the gathered array, already in the stored layout, and a vertex whose
/// attributes were all set again costs no copy; only an attribute's first use, a wider coordinate
/// count, growth and refusals leave that path.
class QEL_EXPORT QelImmediateModeBuffer : public QelGeometryBuffer
{
public:
    /// nCapacity: the number of vertices expected, reserved up front.
    explicit QelImmediateModeBuffer(int nCapacity = 0);

    /// Emits a vertex with the current attributes. Once any vertex has four coordinates every vertex
    /// stores four (w 1 for the three-coordinate ones); a null array is reported and emits nothing.
    ///@{
    void Vertex3(float x, float y, float z) { EmitVertex<3>(x, y, z, 1.0f); }
    void Vertex3v(const float* pXyz)
    {
        if (!pXyz)
            return NullArray("Vertex3v");
        Vertex3(pXyz[0], pXyz[1], pXyz[2]);
    }
    void Vertex4(float x, float y, float z, float w) { EmitVertex<4>(x, y, z, w); }
    void Vertex4v(const float* pXyzw)
    {
        if (!pXyzw)
            return NullArray("Vertex4v");
        Vertex4(pXyzw[0], pXyzw[1], pXyzw[2], pXyzw[3]);
    }
    ///@}

    /// Texture coordinates of layer 0..7; a layer's coordinate count only grows. Components not
    /// given are OpenGL's (t and r 0, q 1).
    ///@{
    void TexCoord1(unsigned int nLayer, float s) { SetTexCoord<1>("TexCoord1", nLayer, s, 0.0f, 0.0f); }
    void TexCoord2(unsigned int nLayer, float s, float t) { SetTexCoord<2>("TexCoord2", nLayer, s, t, 0.0f); }
    void TexCoord2v(unsigned int nLayer, const float* pSt)
    {
        if (!pSt)
            return NullArray("TexCoord2v");
        SetTexCoord<2>("TexCoord2v", nLayer, pSt[0], pSt[1], 0.0f);
    }
    void TexCoord3(unsigned int nLayer, float s, float t, float r) { SetTexCoord<3>("TexCoord3", nLayer, s, t, r); }
    void TexCoord3v(unsigned int nLayer, const float* pStr)
    {
        if (!pStr)
            return NullArray("TexCoord3v");
        SetTexCoord<3>("TexCoord3v", nLayer, pStr[0], pStr[1], pStr[2]);
    }
    void TexCoord4(unsigned int nLayer, float s, float t, float r, float q)
    {
        SetTexCoord<4>("TexCoord4", nLayer, s, t, r, q);
    }
    void TexCoord4v(unsigned int nLayer, const float* pStrq)
    {
        if (!pStrq)
            return NullArray("TexCoord4v");
        SetTexCoord<4>("TexCoord4v", nLayer, pStrq[0], pStrq[1], pStrq[2], pStrq[3]);
    }
    ///@}

    /// Sets the current normal; it is stored as given (not normalised).
    ///@{
    void Normal(float x, float y, float z)
    {
        QelImmediateModeCursor& c = Cursor();
        const int nAt = c.m_cLayout.m_nNormalOffset;
        if (nAt >= 0)
        {
            c.m_nSet |= QelImmediateModeCursor::kNormalBit;
            c.Put(nAt, x);
            c.Put(nAt + 4, y);
            c.Put(nAt + 8, z);
        }
        else
            NormalSlow(x, y, z);
    }
    void Normalv(const float* pXyz)
    {
        if (!pXyz)
            return NullArray("Normalv");
        Normal(pXyz[0], pXyz[1], pXyz[2]);
    }
    ///@}

    /// Colors are kept as 4 bytes (c * 255 truncated, as packed colors are made); three components give alpha 255.
    ///@{
    void Color3(float r, float g, float b) { SetColor(ColorToDW(r, g, b, 1.0f)); }
    void Color3v(const float* pRgb)
    {
        if (!pRgb)
            return NullArray("Color3v");
        Color3(pRgb[0], pRgb[1], pRgb[2]);
    }
    void Color4(float r, float g, float b, float a) { SetColor(ColorToDW(r, g, b, a)); }
    void Color4v(const float* pRgba)
    {
        if (!pRgba)
            return NullArray("Color4v");
        Color4(pRgba[0], pRgba[1], pRgba[2], pRgba[3]);
    }
    ///@}
    /// A packed color: red in the low byte.
    void Color4(unsigned long nPacked) { SetColor(uint32_t(nPacked & 0xFFFFFFFFul)); }

private:
    QelImmediateModeCursor& Cursor() const { return *static_cast<QelImmediateModeCursor*>(InlineState()); }

    // Each value is stored on its own: building a small array first and copying it would read
    // back stores still in flight, which stalls far longer than the stores take.

    template <int N>
    void EmitVertex(float x, float y, float z, float w)
    {
        QelImmediateModeCursor& c = Cursor();
        // A position of N coordinates fits a layout of N or more; a three-coordinate one in a
        // four-coordinate layout gets w = 1.
        if (c.HasSlot() && (N == 3 || c.m_cLayout.m_nVertexCoords == 4))
        {
            c.Put(0, x);
            c.Put(4, y);
            c.Put(8, z);
            if (c.m_cLayout.m_nVertexCoords == 4)
                c.Put(12, w);
            if (!c.EmitWhole())
                EmitPartial();
            else if (!c.HasSlot())
                SlotFull();
        }
        else
        {
            const float v[4] = {x, y, z, w};
            VertexSlow(v, N);
        }
    }

    template <int N>
    void SetTexCoord(const char* pName, unsigned int nLayer, float s, float t, float r, float q = 1.0f)
    {
        QelImmediateModeCursor& c = Cursor();
        if (nLayer < unsigned(kQelTextureLayers) && c.m_cLayout.m_nTexCoords[nLayer] == N)
        {
            const int nAt = c.m_cLayout.m_nTexCoordOffsets[nLayer];
            c.m_nSet |= uint16_t(1u << nLayer);
            c.Put(nAt, s);
            if (N > 1)
                c.Put(nAt + 4, t);
            if (N > 2)
                c.Put(nAt + 8, r);
            if (N > 3)
                c.Put(nAt + 12, q);
        }
        else
        {
            const float v[4] = {s, t, r, q};
            TexCoordSlow(pName, nLayer, v, N);
        }
    }

    void SetColor(uint32_t nRgba)
    {
        QelImmediateModeCursor& c = Cursor();
        if (c.m_cLayout.m_nColorOffset >= 0)
        {
            c.m_nSet |= QelImmediateModeCursor::kColorBit;
            c.PutColor(c.m_cLayout.m_nColorOffset, nRgba);
        }
        else
            ColorSlow(nRgba);
    }

    // The paths out of line: layout changes, growth of the gathered array, and refusals.

    /// Emits a vertex of nCoords coordinates after widening the layout or growing the array.
    void VertexSlow(const float* pXyzw, int nCoords);
    /// Sets a layer's coordinates from pStrq (4 floats, defaults filled) after checking the
    /// layer and raising its count to nCoords.
    void TexCoordSlow(const char* pName, unsigned int nLayer, const float* pStrq, int nCoords);
    void NormalSlow(float x, float y, float z);
    void ColorSlow(uint32_t nRgba);
    /// Emits the slot's vertex, whose position is set, taking the attributes not set in it from
    /// the vertex before.
    void EmitPartial();
    /// The array has no room for the next slot: the current vertex moves out of the array.
    void SlotFull();
    static void NullArray(const char* pName);
};
