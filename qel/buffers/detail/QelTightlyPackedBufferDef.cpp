#include "qel/buffers/detail/QelTightlyPackedBufferDef.h"

#include "qel/buffers/detail/QelInterleave.h"
#include "qel/framework/QelSysApp.h"

#include <algorithm>
#include <cstring>
#include <new>

int QelTightlyPackedBufferDef::NumVertices() const
{
    return m_nPositionCoords > 0 && !m_vPositions.empty() ? int(m_vPositions.size() / size_t(m_nPositionCoords))
                                                          : m_nFinished;
}

bool QelTightlyPackedBufferDef::Acceptable(const char* pName, long long nHeld, int nNumVertices, int nPerVertex,
                                           const void* pData)
{
    if (nNumVertices < 0 || (nHeld + nNumVertices) * nPerVertex * 4 > kQelMaxBufferBytes)
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelTightlyPackedBuffer::%s() - cannot add %d vertices to %lld, the limit is %lld bytes\n", pName,
            nNumVertices, nHeld, kQelMaxBufferBytes);
        return false;
    }
    if (nNumVertices > 0 && !pData)
    {
        QelSysApp::App().PrintToConsole("<error> NULL array passed to QelTightlyPackedBuffer::%s()\n", pName);
        return false;
    }
    return nNumVertices > 0;
}

void QelTightlyPackedBufferDef::Append(const char* pName, std::vector<float>& vArray, int& nKept, int nNumVertices,
                                       int nCoords, const float* pData)
{
    if (nKept && nCoords != nKept)
    {
        QelSysApp::App().PrintToConsole(
            "<warning> QelTightlyPackedBuffer::%s() - %d coordinates per vertex, earlier calls gave %d\n", pName,
            nCoords, nKept);
        return;
    }
    if (!Acceptable(pName, (long long)vArray.size() / nCoords, nNumVertices, nCoords, pData))
        return;
    try
    {
        if (vArray.empty() && m_nCapacity > nNumVertices)
            vArray.reserve(size_t(m_nCapacity) * size_t(nCoords));
        vArray.insert(vArray.end(), pData, pData + size_t(nNumVertices) * size_t(nCoords));
        nKept = nCoords;
    }
    catch (const std::bad_alloc&)
    {
        ReportOutOfMemory(pName, ((long long)vArray.size() + (long long)nNumVertices * nCoords) * 4);
    }
}

void QelTightlyPackedBufferDef::FinishVertices()
{
    const int nVertices = m_nPositionCoords ? int(m_vPositions.size() / size_t(m_nPositionCoords)) : 0;
    struct Other
    {
        const char* pName;
        int nLayer;
        size_t nCount;
    };
    Other aOthers[kQelTextureLayers + 2];
    int nOthers = 0;
    for (int i = 0; i < kQelTextureLayers; ++i)
        if (m_nLayerCoords[i])
            aOthers[nOthers++] = {"texture coordinates of layer", i, m_vTexCoords[i].size() / size_t(m_nLayerCoords[i])};
    if (m_nNormalCoords)
        aOthers[nOthers++] = {"normals", -1, m_vNormals.size() / 3};
    if (!m_vColors.empty())
        aOthers[nOthers++] = {"colors", -1, m_vColors.size()};
    for (int i = 0; i < nOthers; ++i)
        if (aOthers[i].nCount != size_t(nVertices))
        {
            if (aOthers[i].nLayer >= 0)
                QelSysApp::App().PrintToConsole(
                    "<warning> QelTightlyPackedBuffer::FinishVertices() - %d positions but %d %s %d; nothing finished\n",
                    nVertices, int(aOthers[i].nCount), aOthers[i].pName, aOthers[i].nLayer);
            else
                QelSysApp::App().PrintToConsole(
                    "<warning> QelTightlyPackedBuffer::FinishVertices() - %d positions but %d %s; nothing finished\n",
                    nVertices, int(aOthers[i].nCount), aOthers[i].pName);
            return;
        }
    if (nVertices < 1)
        return;

    QelVertexLayout l;
    l.Pack(m_nPositionCoords, m_nLayerCoords, m_nNormalCoords > 0, !m_vColors.empty());
    QelInterleaveStream aStreams[kQelTextureLayers + 3];
    int nStreams = 0;
    aStreams[nStreams++] = {reinterpret_cast<const unsigned char*>(m_vPositions.data()), 4 * l.m_nVertexCoords, 0};
    for (int i = 0; i < kQelTextureLayers; ++i)
        if (l.m_nTexCoordOffsets[i] >= 0)
            aStreams[nStreams++] = {reinterpret_cast<const unsigned char*>(m_vTexCoords[i].data()), 4 * l.m_nTexCoords[i],
                                    l.m_nTexCoordOffsets[i]};
    if (l.m_nNormalOffset >= 0)
        aStreams[nStreams++] = {reinterpret_cast<const unsigned char*>(m_vNormals.data()), 12, l.m_nNormalOffset};
    if (l.m_nColorOffset >= 0)
        aStreams[nStreams++] = {reinterpret_cast<const unsigned char*>(m_vColors.data()), 4, l.m_nColorOffset};

    const size_t nStride = size_t(l.m_nVertexSize);
    // Client arrays: the array of the last finish is interleaved into again when it is large
    // enough, so a buffer refilled every frame writes memory it already has instead of faulting
    // in a fresh block each time. With buffer objects it went once uploaded.
    QelByteArray cVertices = std::move(m_cClientData);
    if ((long long)nStride * nVertices > kQelMaxBufferBytes || !cVertices.Resize(nStride * size_t(nVertices), false))
    {
        m_cClientData = std::move(cVertices);
        ReportOutOfMemory("QelTightlyPackedBuffer::FinishVertices()", (long long)nStride * nVertices);
        return;
    }
    QelInterleave::Interleave(aStreams, nStreams, cVertices.Data(), nStride, size_t(nVertices));

    static_cast<QelVertexLayout&>(*this) = l;
    StoreFinishedVertices(std::move(cVertices));
    ReleaseArrays();
    m_nFinished = nVertices;
}

void QelTightlyPackedBufferDef::Clear()
{
    QelGeometryBufferDef::Clear();
    ReleaseArrays();
    m_nFinished = 0;
}

void QelTightlyPackedBufferDef::ReleaseArrays()
{
    std::vector<float>().swap(m_vPositions);
    for (auto& v : m_vTexCoords)
        std::vector<float>().swap(v);
    std::vector<float>().swap(m_vNormals);
    std::vector<uint32_t>().swap(m_vColors);
    m_nPositionCoords = m_nNormalCoords = 0;
    for (int& n : m_nLayerCoords)
        n = 0;
}
