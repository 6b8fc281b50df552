#pragma once

#include "qel/buffers/detail/QelGeometryBufferDef.h"

#include <cstring>

/// Data of QelImmediateModeBuffer. Vertices are gathered already interleaved in a layout that
/// grows as attributes first appear (the gathered ones are then repacked with OpenGL's defaults),
/// so emitting a vertex is one copy of the current vertex and FinishVertices one upload.
class QelImmediateModeBufferDef : public QelGeometryBufferDef
{
public:
    QelImmediateModeBufferDef(QelGeometryBuffer* pOwner, int nCapacity);

    void FinishVertices() override;
    int NumVertices() const override;
    void Clear() override;

    // The per-vertex calls are inline: a host makes millions of them, and only a layout change
    // (an attribute's first use) leaves the straight path.

    /// Emits a vertex of nCoords (3 or 4) coordinates with the current attributes.
    void Vertex(const float* pXyzw, int nCoords)
    {
        if (nCoords > m_nMaxCoordSize)
            RaiseVertexCoords(nCoords);
        if (m_cGather.m_nVertexOffset != 0)
            return; // a failed relayout; reported already
        std::memcpy(m_nCurrent, pXyzw, 12); // the position leads every packed vertex
        if (m_cGather.m_nVertexCoords == 4)
        {
            const float w = nCoords == 4 ? pXyzw[3] : 1.0f;
            std::memcpy(m_nCurrent + 12, &w, 4);
        }
        if (m_cGathered.AppendChunks(m_nCurrent, size_t(m_cGather.m_nVertexSize)))
            ++m_nGathered;
        else
            AppendGrowing();
    }

    /// Sets the current texture coordinate of a layer from nCoords components; pName names the caller.
    void TexCoord(const char* pName, unsigned int nLayer, const float* pCoords, int nCoords)
    {
        if (nLayer >= unsigned(kQelTextureLayers))
        {
            LayerInRange(pName, nLayer);
            return;
        }
        float* t = m_fTexCoords[nLayer];
        t[0] = pCoords[0];
        t[1] = nCoords > 1 ? pCoords[1] : 0.0f;
        t[2] = nCoords > 2 ? pCoords[2] : 0.0f;
        t[3] = nCoords > 3 ? pCoords[3] : 1.0f;
        if (nCoords > m_nLayerCoords[nLayer])
            RaiseLayerCoords(nLayer, nCoords);
        const int nOffset = m_cGather.m_nTexCoordOffsets[nLayer];
        if (nOffset >= 0)
            CopyFloats(m_nCurrent + nOffset, t, m_cGather.m_nTexCoords[nLayer]);
    }

    void Normal(const float* pXyz)
    {
        std::memcpy(m_fNormal, pXyz, 12);
        if (!m_bNormalUsed)
            FirstUse(m_bNormalUsed);
        if (m_cGather.m_nNormalOffset >= 0)
            std::memcpy(m_nCurrent + m_cGather.m_nNormalOffset, m_fNormal, 12);
    }

    void Color(const unsigned char* pRgba)
    {
        std::memcpy(m_nColor, pRgba, 4);
        if (!m_bColorUsed)
            FirstUse(m_bColorUsed);
        if (m_cGather.m_nColorOffset >= 0)
            std::memcpy(m_nCurrent + m_cGather.m_nColorOffset, m_nColor, 4);
    }

private:
    /// Copies 1 to 4 floats; fixed sizes become plain moves.
    static void CopyFloats(unsigned char* pTo, const float* pFrom, int nCount)
    {
        switch (nCount)
        {
        case 1: std::memcpy(pTo, pFrom, 4); break;
        case 2: std::memcpy(pTo, pFrom, 8); break;
        case 3: std::memcpy(pTo, pFrom, 12); break;
        default: std::memcpy(pTo, pFrom, 16); break;
        }
    }
    void RaiseVertexCoords(int nCoords);
    void RaiseLayerCoords(unsigned int nLayer, int nCoords);
    /// Marks an attribute used and relayouts.
    void FirstUse(bool& bUsed);
    /// Appends the current vertex when the gathered array has no room left: grows it within the byte limit.
    void AppendGrowing();

    /// Gives the current vertex and every gathered one the layout of the attributes used so far.
    bool Relayout();
    /// Writes the current attributes (not the position) into the current vertex.
    void WriteCurrent();
    /// Copies one vertex from the old layout to the new, filling what is new with the defaults.
    static void Repack(const unsigned char* pOld, const QelVertexLayout& lOld, unsigned char* pNew,
                       const QelVertexLayout& lNew);

    float m_fTexCoords[kQelTextureLayers][4];
    bool m_bLayerUsed[kQelTextureLayers] = {};
    int m_nLayerCoords[kQelTextureLayers] = {};
    float m_fNormal[3] = {0.0f, 0.0f, 1.0f};
    bool m_bNormalUsed = false;
    unsigned char m_nColor[4] = {255, 255, 255, 255};
    bool m_bColorUsed = false;
    int m_nCapacity;
    int m_nMaxCoordSize = 0;

    QelVertexLayout m_cGather; ///< layout of the gathered vertices
    QelByteArray m_cGathered;
    int m_nGathered = 0;
    int m_nFinished = 0; ///< vertices at the last FinishVertices, once the gathered ones were handed over
    /// The current vertex, with the 16 spare bytes that AppendChunks reads.
    unsigned char m_nCurrent[4 * 4 + kQelTextureLayers * 4 * 4 + 12 + 4 + 16] = {};
    bool m_bOutOfMemory = false;
};
