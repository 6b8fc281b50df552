#include "qel/display/detail/QelTriangleBvh.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace
{
const uint32_t kLeafSize = 4;

/// Entry and exit of the ray through the box, within [0, fMaxT]; false when it misses.
inline bool SlabTest(const float* pMin, const float* pMax, const QelVec3& vStart, const QelVec3& vInverse, float fMaxT,
                     float& fEnter)
{
    float t0 = 0.0f, t1 = fMaxT;
    for (int a = 0; a < 3; ++a)
    {
        float fNear = (pMin[a] - vStart[a]) * vInverse[a];
        float fFar = (pMax[a] - vStart[a]) * vInverse[a];
        if (fNear > fFar)
            std::swap(fNear, fFar);
        // A NaN from 0 * infinity (a ray in the slab's plane) leaves the interval as it was.
        t0 = fNear > t0 ? fNear : t0;
        t1 = fFar < t1 ? fFar : t1;
        if (t0 > t1)
            return false;
    }
    fEnter = t0;
    return true;
}
} // namespace

void QelTriangleBvh::Clear()
{
    m_vNodes.clear();
    m_vTriangles.clear();
    m_vOriginal.clear();
}

size_t QelTriangleBvh::Build(const float* pVertices, size_t nVertexCount, const uint32_t* pIndices,
                             size_t nTriangleCount)
{
    Clear();
    if (!pVertices || nTriangleCount == 0 || nTriangleCount > size_t(UINT32_MAX) / 4)
        return nTriangleCount;
    std::vector<uint32_t> vOrder;
    std::vector<float> vCentroids, vBounds;
    std::vector<STriangle> vAll;
    vOrder.reserve(nTriangleCount);
    size_t nSkipped = 0;
    for (size_t t = 0; t < nTriangleCount; ++t)
    {
        size_t nCorner[3];
        bool bValid = true;
        for (int c = 0; c < 3; ++c)
        {
            nCorner[c] = pIndices ? size_t(pIndices[3 * t + c]) : 3 * t + size_t(c);
            bValid = bValid && nCorner[c] < nVertexCount;
        }
        QelVec3 v[3];
        for (int c = 0; bValid && c < 3; ++c)
        {
            v[c] = QelVec3(pVertices + 3 * nCorner[c]);
            bValid = std::isfinite(v[c].x) && std::isfinite(v[c].y) && std::isfinite(v[c].z);
        }
        if (!bValid)
        {
            ++nSkipped;
            continue;
        }
        vOrder.push_back(uint32_t(t));
        vAll.push_back(STriangle{v[0], v[1] - v[0], v[2] - v[0]});
        for (int a = 0; a < 3; ++a)
        {
            vCentroids.push_back((v[0][a] + v[1][a] + v[2][a]) / 3.0f);
            vBounds.push_back(std::min({v[0][a], v[1][a], v[2][a]}));
            vBounds.push_back(std::max({v[0][a], v[1][a], v[2][a]}));
        }
    }
    if (vOrder.empty())
        return nSkipped;
    // vOrder holds positions in vAll from here on; the caller's numbers are kept beside them.
    std::vector<uint32_t> vCaller(vOrder);
    for (uint32_t i = 0; i < vOrder.size(); ++i)
        vOrder[i] = i;
    m_vNodes.reserve(2 * vOrder.size() / kLeafSize + 1);
    BuildNode(vOrder, vCentroids, vBounds, 0, uint32_t(vOrder.size()));
    m_vTriangles.resize(vOrder.size());
    m_vOriginal.resize(vOrder.size());
    for (size_t i = 0; i < vOrder.size(); ++i)
    {
        m_vTriangles[i] = vAll[vOrder[i]];
        m_vOriginal[i] = vCaller[vOrder[i]];
    }
    return nSkipped;
}

uint32_t QelTriangleBvh::BuildNode(std::vector<uint32_t>& vOrder, std::vector<float>& vCentroids,
                                   std::vector<float>& vBounds, uint32_t nBegin, uint32_t nEnd)
{
    const uint32_t nNode = uint32_t(m_vNodes.size());
    m_vNodes.push_back(SNode());
    SNode cNode;
    float fCMin[3], fCMax[3];
    for (int a = 0; a < 3; ++a)
    {
        cNode.m_fMin[a] = fCMin[a] = 3.4028235e38f;
        cNode.m_fMax[a] = fCMax[a] = -3.4028235e38f;
    }
    for (uint32_t i = nBegin; i < nEnd; ++i)
        for (int a = 0; a < 3; ++a)
        {
            const uint32_t t = vOrder[i];
            cNode.m_fMin[a] = std::min(cNode.m_fMin[a], vBounds[6 * t + 2 * a]);
            cNode.m_fMax[a] = std::max(cNode.m_fMax[a], vBounds[6 * t + 2 * a + 1]);
            fCMin[a] = std::min(fCMin[a], vCentroids[3 * t + a]);
            fCMax[a] = std::max(fCMax[a], vCentroids[3 * t + a]);
        }
    int nAxis = 0;
    for (int a = 1; a < 3; ++a)
        if (fCMax[a] - fCMin[a] > fCMax[nAxis] - fCMin[nAxis])
            nAxis = a;
    if (nEnd - nBegin <= kLeafSize || fCMax[nAxis] <= fCMin[nAxis])
    {
        cNode.m_nFirst = nBegin;
        cNode.m_nCount = nEnd - nBegin;
        m_vNodes[nNode] = cNode;
        return nNode;
    }
    const uint32_t nMid = nBegin + (nEnd - nBegin) / 2;
    std::nth_element(vOrder.begin() + nBegin, vOrder.begin() + nMid, vOrder.begin() + nEnd,
                     [&](uint32_t l, uint32_t r) { return vCentroids[3 * l + nAxis] < vCentroids[3 * r + nAxis]; });
    cNode.m_nCount = 0;
    cNode.m_nFirst = BuildNode(vOrder, vCentroids, vBounds, nBegin, nMid);
    cNode.m_nRight = BuildNode(vOrder, vCentroids, vBounds, nMid, nEnd);
    m_vNodes[nNode] = cNode;
    return nNode;
}

QelBox3 QelTriangleBvh::GetBounds() const
{
    if (m_vNodes.empty())
        return QelBox3();
    const SNode& r = m_vNodes[0];
    return QelBox3(QelVec3(r.m_fMin), QelVec3(r.m_fMax));
}

bool QelTriangleBvh::Intersect(const QelVec3& vStart, const QelVec3& vDirection, float fMaxT, float& fT,
                               size_t& nTriangle) const
{
    if (m_vNodes.empty())
        return false;
    const QelVec3 vInverse(1.0f / vDirection.x, 1.0f / vDirection.y, 1.0f / vDirection.z);
    float fBest = fMaxT;
    int64_t nBest = -1;
    uint32_t nStack[64];
    int nTop = 0;
    nStack[nTop++] = 0;
    while (nTop > 0)
    {
        const SNode& n = m_vNodes[nStack[--nTop]];
        float fEnter;
        if (!SlabTest(n.m_fMin, n.m_fMax, vStart, vInverse, fBest, fEnter))
            continue;
        if (n.m_nCount == 0)
        {
            // Depth stays below 64: median splits halve the count at every level.
            nStack[nTop++] = n.m_nRight;
            nStack[nTop++] = n.m_nFirst;
            continue;
        }
        for (uint32_t i = n.m_nFirst; i < n.m_nFirst + n.m_nCount; ++i)
        {
            // Moller-Trumbore, both faces.
            const STriangle& tri = m_vTriangles[i];
            const QelVec3 p = vDirection.Cross(tri.m_vecAC);
            const float fDet = tri.m_vecAB.Dot(p);
            if (fDet == 0.0f || !std::isfinite(fDet))
                continue;
            const float fInv = 1.0f / fDet;
            const QelVec3 s = vStart - tri.m_vecA;
            const float u = s.Dot(p) * fInv;
            if (u < 0.0f || u > 1.0f)
                continue;
            const QelVec3 q = s.Cross(tri.m_vecAB);
            const float v = vDirection.Dot(q) * fInv;
            if (v < 0.0f || u + v > 1.0f)
                continue;
            const float t = tri.m_vecAC.Dot(q) * fInv;
            if (t > 0.0f && t < fBest)
            {
                fBest = t;
                nBest = int64_t(i);
            }
        }
    }
    if (nBest < 0)
        return false;
    fT = fBest;
    nTriangle = m_vOriginal[size_t(nBest)];
    return true;
}
