#pragma once

#include "qel/buffers/detail/QelGeometryBufferDef.h"

#include <cstdint>
#include <vector>

/// Data of QelTightlyPackedBuffer: one growable array per attribute, until FinishVertices
/// interleaves them into the vertex array and lets them go.
class QelTightlyPackedBufferDef : public QelGeometryBufferDef
{
public:
    QelTightlyPackedBufferDef(QelGeometryBuffer* pOwner, int nCapacity)
        : QelGeometryBufferDef(pOwner), m_nCapacity(nCapacity > 0 ? nCapacity : 0)
    {
    }

    void FinishVertices() override;
    int NumVertices() const override;
    void Clear() override;

    /// Appends nNumVertices groups of nCoords floats to vArray, whose group size is nKept (0 while
    /// unset, then fixed). pName names the caller in the refusals.
    void Append(const char* pName, std::vector<float>& vArray, int& nKept, int nNumVertices, int nCoords,
                const float* pData);
    /// Checks a count and a pointer before an append; false (reported) refuses it.
    /// Lets the separate arrays go; the vertex array stays.
    void ReleaseArrays();
    bool Acceptable(const char* pName, long long nHeld, int nNumVertices, int nPerVertex, const void* pData);

    std::vector<float> m_vPositions;
    std::vector<float> m_vTexCoords[kQelTextureLayers];
    std::vector<float> m_vNormals;
    std::vector<uint32_t> m_vColors;
    int m_nPositionCoords = 0;
    int m_nLayerCoords[kQelTextureLayers] = {};
    int m_nNormalCoords = 0;
    int m_nCapacity;
    int m_nFinished = 0; ///< vertices at the last FinishVertices, once the arrays were let go
};
