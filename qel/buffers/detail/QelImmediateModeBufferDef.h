#pragma once

#include "qel/buffers/detail/QelGeometryBufferDef.h"

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

    /// Emits a vertex of nCoords (3 or 4) coordinates with the current attributes.
    void Vertex(const float* pXyzw, int nCoords);
    /// Sets the current texture coordinate of a layer from nCoords components; pName names the caller.
    void TexCoord(const char* pName, unsigned int nLayer, const float* pCoords, int nCoords);
    void Normal(const float* pXyz);
    void Color(const unsigned char* pRgba);

private:
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
    unsigned char m_nCurrent[4 * 4 + kQelTextureLayers * 4 * 4 + 12 + 4] = {};
    bool m_bOutOfMemory = false;
};
