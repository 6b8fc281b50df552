#include "qel/buffers/QelTightlyPackedBuffer.h"

#include "qel/buffers/detail/QelTightlyPackedBufferDef.h"
#include "qel/framework/QelSysApp.h"
#include "qel/math/QelVecColor.h"

#include <new>

QelTightlyPackedBuffer::QelTightlyPackedBuffer(int nCapacity)
    : QelGeometryBuffer(new QelTightlyPackedBufferDef(this, nCapacity))
{
}

inline QelTightlyPackedBufferDef* QelTightlyPackedBuffer::D() const
{
    return static_cast<QelTightlyPackedBufferDef*>(Def());
}

void QelTightlyPackedBuffer::AppendVertices(int nNumVertices, int nCoords, const float* pData)
{
    if (nCoords != 3 && nCoords != 4)
    {
        QelSysApp::App().PrintToConsole("<warning> Vertex coord count must be either 3 or 4\n");
        return;
    }
    D()->Append("AppendVertices", D()->m_vPositions, D()->m_nPositionCoords, nNumVertices, nCoords, pData);
}

void QelTightlyPackedBuffer::AppendTexCoords(int nNumVertices, unsigned int nLayer, int nCoords, const float* pData)
{
    if (!QelGeometryBufferDef::LayerInRange("AppendTexCoords", nLayer) ||
        !QelGeometryBufferDef::TexCoordCountInRange(nCoords))
        return;
    D()->Append("AppendTexCoords", D()->m_vTexCoords[nLayer], D()->m_nLayerCoords[nLayer], nNumVertices, nCoords,
                pData);
}

void QelTightlyPackedBuffer::AppendNormals(int nNumVertices, const float* pData)
{
    D()->Append("AppendNormals", D()->m_vNormals, D()->m_nNormalCoords, nNumVertices, 3, pData);
}

namespace
{
template <class T, class FnPack>
void AppendColorArray(QelTightlyPackedBufferDef& d, int nNumVertices, const T* pData, int nPerVertex, FnPack fnPack)
{
    if (!d.Acceptable("AppendColors", (long long)d.m_vColors.size(), nNumVertices, 1, pData))
        return;
    try
    {
        if (d.m_vColors.empty() && d.m_nCapacity > nNumVertices)
            d.m_vColors.reserve(size_t(d.m_nCapacity));
        for (int i = 0; i < nNumVertices; ++i)
            d.m_vColors.push_back(fnPack(pData + size_t(i) * size_t(nPerVertex)));
    }
    catch (const std::bad_alloc&)
    {
        QelGeometryBufferDef::ReportOutOfMemory("AppendColors", ((long long)d.m_vColors.size() + nNumVertices) * 4);
    }
}
} // namespace

void QelTightlyPackedBuffer::AppendColors(int nNumVertices, const float* pData)
{
    AppendColorArray(*D(), nNumVertices, pData, 4, [](const float* p) { return ColorToDW(p[0], p[1], p[2], p[3]); });
}

void QelTightlyPackedBuffer::AppendColors(int nNumVertices, const unsigned long* pData)
{
    AppendColorArray(*D(), nNumVertices, pData, 1, [](const unsigned long* p) { return uint32_t(*p & 0xFFFFFFFFu); });
}
