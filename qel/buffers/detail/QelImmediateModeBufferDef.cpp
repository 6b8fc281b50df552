#include "qel/buffers/detail/QelImmediateModeBufferDef.h"

#include "qel/framework/QelSysApp.h"

#include <cstring>

namespace
{
const float kDefaultTexCoord[4] = {0.0f, 0.0f, 0.0f, 1.0f};
const float kDefaultNormal[3] = {0.0f, 0.0f, 1.0f};
const unsigned char kDefaultColor[4] = {255, 255, 255, 255};
} // namespace

QelImmediateModeBufferDef::QelImmediateModeBufferDef(QelGeometryBuffer* pOwner, int nCapacity)
    : QelGeometryBufferDef(pOwner), m_nCapacity(nCapacity > 0 ? nCapacity : 0)
{
    for (auto& t : m_fTexCoords)
        std::memcpy(t, kDefaultTexCoord, sizeof(t));
}

int QelImmediateModeBufferDef::NumVertices() const
{
    return m_nGathered > 0 ? m_nGathered : m_nFinished;
}

void QelImmediateModeBufferDef::Repack(const unsigned char* pOld, const QelVertexLayout& lOld, unsigned char* pNew,
                                       const QelVertexLayout& lNew)
{
    float xyzw[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    if (lOld.m_nVertexOffset >= 0)
        std::memcpy(xyzw, pOld + lOld.m_nVertexOffset, 4 * size_t(lOld.m_nVertexCoords));
    std::memcpy(pNew + lNew.m_nVertexOffset, xyzw, 4 * size_t(lNew.m_nVertexCoords));
    for (int i = 0; i < kQelTextureLayers; ++i)
    {
        if (lNew.m_nTexCoordOffsets[i] < 0)
            continue;
        float t[4];
        std::memcpy(t, kDefaultTexCoord, sizeof(t));
        if (lOld.m_nTexCoordOffsets[i] >= 0)
            std::memcpy(t, pOld + lOld.m_nTexCoordOffsets[i], 4 * size_t(lOld.m_nTexCoords[i]));
        std::memcpy(pNew + lNew.m_nTexCoordOffsets[i], t, 4 * size_t(lNew.m_nTexCoords[i]));
    }
    if (lNew.m_nNormalOffset >= 0)
        std::memcpy(pNew + lNew.m_nNormalOffset, lOld.m_nNormalOffset >= 0 ? pOld + lOld.m_nNormalOffset : (const void*)kDefaultNormal, 12);
    if (lNew.m_nColorOffset >= 0)
        std::memcpy(pNew + lNew.m_nColorOffset, lOld.m_nColorOffset >= 0 ? pOld + lOld.m_nColorOffset : kDefaultColor, 4);
}

bool QelImmediateModeBufferDef::Relayout()
{
    QelVertexLayout lNew;
    lNew.Pack(m_nMaxCoordSize, m_nLayerCoords, m_bNormalUsed, m_bColorUsed);
    if (m_nGathered > 0)
    {
        QelByteArray cNew;
        const size_t nStride = size_t(lNew.m_nVertexSize);
        if ((long long)nStride * m_nGathered > kQelMaxBufferBytes || !cNew.Resize(nStride * size_t(m_nGathered), false))
        {
            if (!m_bOutOfMemory)
                ReportOutOfMemory("QelImmediateModeBuffer", (long long)nStride * m_nGathered);
            m_bOutOfMemory = true;
            return false;
        }
        for (int v = 0; v < m_nGathered; ++v)
            Repack(m_cGathered.Data() + size_t(v) * size_t(m_cGather.m_nVertexSize), m_cGather,
                   cNew.Data() + size_t(v) * nStride, lNew);
        m_cGathered = std::move(cNew);
    }
    // The capacity is reserved once the first vertex fixes most of the layout, not at every
    // attribute's first use before it, each of which would allocate the whole block anew.
    else if (m_nCapacity > 0 && lNew.m_nVertexCoords > 0 && (long long)m_nCapacity * lNew.m_nVertexSize <= kQelMaxBufferBytes)
        m_cGathered.Reserve(size_t(m_nCapacity) * size_t(lNew.m_nVertexSize) + 16);
    m_cGather = lNew;
    WriteCurrent();
    return true;
}

void QelImmediateModeBufferDef::WriteCurrent()
{
    const QelVertexLayout& l = m_cGather;
    for (int i = 0; i < kQelTextureLayers; ++i)
        if (l.m_nTexCoordOffsets[i] >= 0)
            std::memcpy(m_nCurrent + l.m_nTexCoordOffsets[i], m_fTexCoords[i], 4 * size_t(l.m_nTexCoords[i]));
    if (l.m_nNormalOffset >= 0)
        std::memcpy(m_nCurrent + l.m_nNormalOffset, m_fNormal, 12);
    if (l.m_nColorOffset >= 0)
        std::memcpy(m_nCurrent + l.m_nColorOffset, m_nColor, 4);
}

void QelImmediateModeBufferDef::RaiseVertexCoords(int nCoords)
{
    m_nMaxCoordSize = nCoords;
    Relayout();
}

void QelImmediateModeBufferDef::RaiseLayerCoords(unsigned int nLayer, int nCoords)
{
    m_bLayerUsed[nLayer] = true;
    m_nLayerCoords[nLayer] = nCoords;
    Relayout();
}

void QelImmediateModeBufferDef::FirstUse(bool& bUsed)
{
    bUsed = true;
    Relayout();
}

void QelImmediateModeBufferDef::AppendGrowing()
{
    const size_t nStride = size_t(m_cGather.m_nVertexSize);
    if ((long long)(m_cGathered.Size() + nStride) > kQelMaxBufferBytes || !m_cGathered.Append(m_nCurrent, nStride))
    {
        if (!m_bOutOfMemory)
            QelSysApp::App().PrintToConsole(
                "<error> QelImmediateModeBuffer - vertex %d of %d bytes refused: out of memory or past %lld bytes\n",
                m_nGathered, int(nStride), kQelMaxBufferBytes);
        m_bOutOfMemory = true;
        return;
    }
    ++m_nGathered;
}

void QelImmediateModeBufferDef::FinishVertices()
{
    if (m_nMaxCoordSize < 1)
        QelSysApp::App().PrintToConsole(
            "<warning> CZubImmediateModeBuffer::FinishVertices, m_nMaxCoordSize < 1, cannot run sanity test\n");
    // The gathered bytes must be whole vertices of the gathering layout; a vertex lost half-way
    // to an allocation failure would shift every later one.
    else if (m_cGathered.Size() != size_t(m_nGathered) * size_t(m_cGather.m_nVertexSize) ||
             (m_cGather.m_nVertexCoords != 3 && m_cGather.m_nVertexCoords != 4))
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelImmediateModeBuffer::FinishVertices() - %d vertices in %lld bytes do not make vertices of %d bytes; nothing finished\n",
            m_nGathered, (long long)m_cGathered.Size(), m_cGather.m_nVertexSize);
        return;
    }
    if (m_nGathered < 1)
        return;
    static_cast<QelVertexLayout&>(*this) = m_cGather;
    StoreFinishedVertices(std::move(m_cGathered));
    m_cGathered.Release();
    m_nFinished = m_nGathered;
    m_nGathered = 0;
}

void QelImmediateModeBufferDef::Clear()
{
    QelGeometryBufferDef::Clear();
    for (auto& t : m_fTexCoords)
        std::memcpy(t, kDefaultTexCoord, sizeof(t));
    for (int i = 0; i < kQelTextureLayers; ++i)
    {
        m_bLayerUsed[i] = false;
        m_nLayerCoords[i] = 0;
    }
    std::memcpy(m_fNormal, kDefaultNormal, sizeof(m_fNormal));
    std::memcpy(m_nColor, kDefaultColor, sizeof(m_nColor));
    m_bNormalUsed = m_bColorUsed = m_bOutOfMemory = false;
    m_nMaxCoordSize = 0;
    m_cGather = QelVertexLayout();
    m_cGathered.Release();
    m_nGathered = m_nFinished = 0;
}
