#include "qel/models/QelModelData.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <unordered_map>

namespace
{
/// Un-normalized face normal (twice the area) of triangle t.
QelVec3 FaceCross(const QelModelMesh& m, size_t t)
{
    const QelVec3& a = m.m_vPositions[m.m_vTriangles[3 * t]];
    const QelVec3& b = m.m_vPositions[m.m_vTriangles[3 * t + 1]];
    const QelVec3& c = m.m_vPositions[m.m_vTriangles[3 * t + 2]];
    return (b - a).Cross(c - a);
}

QelVec3 Unit(const QelVec3& v)
{
    double d = std::sqrt(double(v.x) * v.x + double(v.y) * v.y + double(v.z) * v.z);
    if (!(d > 0.0) || !std::isfinite(d))
        return QelVec3(0.0f, 0.0f, 1.0f);
    return QelVec3(float(v.x / d), float(v.y / d), float(v.z / d));
}

struct PositionKey
{
    uint32_t a, b, c;
    bool operator==(const PositionKey& o) const { return a == o.a && b == o.b && c == o.c; }
};
struct PositionKeyHash
{
    size_t operator()(const PositionKey& k) const
    {
        return (size_t(k.a) * 0x9E3779B1u) ^ (size_t(k.b) * 0x85EBCA77u) ^ (size_t(k.c) * 0xC2B2AE3Du);
    }
};
PositionKey KeyOf(const QelVec3& p)
{
    PositionKey k;
    // +0 and -0 are one position.
    float f[3] = {p.x + 0.0f, p.y + 0.0f, p.z + 0.0f};
    std::memcpy(&k.a, &f[0], 4);
    std::memcpy(&k.b, &f[1], 4);
    std::memcpy(&k.c, &f[2], 4);
    return k;
}

/// Appends a copy of vertex v (every attribute) and returns its index.
uint32_t CopyVertex(QelModelMesh& m, uint32_t v)
{
    m.m_vPositions.push_back(m.m_vPositions[v]);
    for (std::vector<QelVec2>& vLayer : m.m_vTexCoords)
        if (!vLayer.empty())
            vLayer.push_back(vLayer[v]);
    if (!m.m_vColors.empty())
        m.m_vColors.push_back(m.m_vColors[v]);
    return static_cast<uint32_t>(m.m_vPositions.size() - 1);
}

void SmoothMesh(QelModelMesh& m, float fCosCrease)
{
    const size_t nTriangles = m.NumTriangles();
    const size_t nVertices = m.NumVertices();
    // Corners meet by position, not by vertex index, so texture seams do not break the smoothing.
    std::unordered_map<PositionKey, uint32_t, PositionKeyHash> mapGroups;
    std::vector<uint32_t> vGroup(nVertices);
    for (size_t v = 0; v < nVertices; ++v)
        vGroup[v] = mapGroups.emplace(KeyOf(m.m_vPositions[v]), uint32_t(mapGroups.size())).first->second;
    std::vector<uint32_t> vStart(mapGroups.size() + 1, 0);
    for (size_t i = 0; i < 3 * nTriangles; ++i)
        ++vStart[vGroup[m.m_vTriangles[i]] + 1];
    for (size_t g = 1; g < vStart.size(); ++g)
        vStart[g] += vStart[g - 1];
    std::vector<uint32_t> vIncident(3 * nTriangles);
    std::vector<uint32_t> vFill(vStart.begin(), vStart.end() - 1);
    for (size_t i = 0; i < 3 * nTriangles; ++i)
        vIncident[vFill[vGroup[m.m_vTriangles[i]]]++] = static_cast<uint32_t>(i / 3);

    std::vector<QelVec3> vCross(nTriangles), vUnit(nTriangles);
    for (size_t t = 0; t < nTriangles; ++t)
    {
        vCross[t] = FaceCross(m, t);
        vUnit[t] = Unit(vCross[t]);
    }

    m.m_vNormals.assign(nVertices, QelVec3(0.0f, 0.0f, 1.0f));
    std::vector<uint8_t> vAssigned(nVertices, 0);
    std::vector<int64_t> vNextCopy(nVertices, -1); // chain of copies made of each vertex
    for (size_t i = 0; i < 3 * nTriangles; ++i)
    {
        const size_t t = i / 3;
        uint32_t v = m.m_vTriangles[i];
        QelVec3 n(0.0f, 0.0f, 0.0f);
        const uint32_t g = vGroup[v];
        for (uint32_t k = vStart[g]; k < vStart[g + 1]; ++k)
            if (vUnit[vIncident[k]].Dot(vUnit[t]) >= fCosCrease)
                n = n + vCross[vIncident[k]];
        n = Unit(n);
        if (!vAssigned[v])
        {
            vAssigned[v] = 1;
            m.m_vNormals[v] = n;
            continue;
        }
        int64_t nFound = v;
        while (nFound >= 0 && !(m.m_vNormals[size_t(nFound)] == n))
            nFound = vNextCopy[size_t(nFound)];
        if (nFound < 0)
        {
            uint32_t nCopy = CopyVertex(m, v);
            m.m_vNormals.push_back(n);
            vNextCopy.push_back(vNextCopy[v]);
            vNextCopy[v] = nCopy;
            nFound = nCopy;
        }
        m.m_vTriangles[i] = static_cast<uint32_t>(nFound);
    }
}
template <typename T>
size_t DropIfMismatched(std::vector<T>& v, size_t nVertices)
{
    if (v.empty() || v.size() == nVertices)
        return 0;
    v.clear();
    return 1;
}

/// Drops whole primitives with an index past the vertices, and a ragged tail.
size_t DropBadPrimitives(std::vector<uint32_t>& v, size_t nCorners, size_t nVertices)
{
    size_t nOut = 0, nDropped = v.size() % nCorners ? 1 : 0;
    for (size_t i = 0; i + nCorners <= v.size(); i += nCorners)
    {
        bool bGood = true;
        for (size_t k = 0; k < nCorners; ++k)
            bGood = bGood && v[i + k] < nVertices;
        if (!bGood)
        {
            ++nDropped;
            continue;
        }
        for (size_t k = 0; k < nCorners; ++k)
            v[nOut++] = v[i + k];
    }
    v.resize(nOut);
    return nDropped;
}

size_t RepairMesh(QelModelMesh& m)
{
    const size_t n = m.NumVertices();
    size_t nRepaired = DropIfMismatched(m.m_vNormals, n) + DropIfMismatched(m.m_vColors, n);
    for (std::vector<QelVec2>& vLayer : m.m_vTexCoords)
        nRepaired += DropIfMismatched(vLayer, n);
    return nRepaired + DropBadPrimitives(m.m_vTriangles, 3, n) + DropBadPrimitives(m.m_vLines, 2, n) +
           DropBadPrimitives(m.m_vPoints, 1, n);
}
} // namespace

void QelModelData::Clear()
{
    m_vMeshes.clear();
    m_vMaterials.clear();
    m_vNodes.clear();
    m_cBounds.Initialize();
}

size_t QelModelData::NumVertices() const
{
    size_t n = 0;
    for (const QelModelMesh& m : m_vMeshes)
        n += m.NumVertices();
    return n;
}

size_t QelModelData::NumTriangles() const
{
    size_t n = 0;
    for (const QelModelMesh& m : m_vMeshes)
        n += m.NumTriangles();
    return n;
}

size_t QelModelData::NumLines() const
{
    size_t n = 0;
    for (const QelModelMesh& m : m_vMeshes)
        n += m.NumLines();
    return n;
}

size_t QelModelData::NumPoints() const
{
    size_t n = 0;
    for (const QelModelMesh& m : m_vMeshes)
        n += m.m_vPoints.size();
    return n;
}

size_t QelModelData::NumTextures() const
{
    size_t n = 0;
    for (const QelModelMaterial& m : m_vMaterials)
        n += m.m_vTextures.size();
    return n;
}

QelMatrix4 QelModelData::WorldMatrix(int nNode) const
{
    QelMatrix4 mat;
    // Parents come first, so a chain is at most as long as the list; the bound also stops a cycle.
    for (size_t nSteps = 0; nNode >= 0 && size_t(nNode) < m_vNodes.size() && nSteps <= m_vNodes.size(); ++nSteps)
    {
        mat = m_vNodes[size_t(nNode)].m_matLocal * mat;
        nNode = m_vNodes[size_t(nNode)].m_nParent;
    }
    return mat;
}

void QelModelData::ForEachPlacement(const std::function<void(size_t nMesh, const QelMatrix4* pWorld)>& fnVisit) const
{
    std::vector<uint8_t> vPlaced(m_vMeshes.size(), 0);
    for (size_t n = 0; n < m_vNodes.size(); ++n)
    {
        const QelMatrix4 mat = WorldMatrix(int(n));
        for (int nMesh : m_vNodes[n].m_vMeshes)
            if (nMesh >= 0 && size_t(nMesh) < m_vMeshes.size())
            {
                vPlaced[size_t(nMesh)] = 1;
                fnVisit(size_t(nMesh), &mat);
            }
    }
    for (size_t i = 0; i < m_vMeshes.size(); ++i)
        if (!vPlaced[i])
            fnVisit(i, nullptr);
}

void QelModelData::ComputeBounds()
{
    m_cBounds.Initialize();
    ForEachPlacement([this](size_t nMesh, const QelMatrix4* pWorld) {
        QelBox3 b = m_vMeshes[nMesh].ComputeBounds();
        if (b.IsValid())
            m_cBounds += pWorld ? b * *pWorld : b;
    });
}

void QelModelData::ComputeMissingNormals(float fCreaseDegrees)
{
    const float fCos = std::cos(fCreaseDegrees * 0.017453292f);
    for (QelModelMesh& m : m_vMeshes)
        if (m.m_vNormals.empty() && !m.m_vTriangles.empty())
            SmoothMesh(m, fCos);
}

size_t QelModelData::Validate()
{
    size_t nRepaired = 0;
    for (QelModelMesh& m : m_vMeshes)
    {
        if (m.m_nMaterial < -1 || m.m_nMaterial >= int(m_vMaterials.size()))
        {
            m.m_nMaterial = -1;
            ++nRepaired;
        }
        nRepaired += RepairMesh(m);
    }
    for (size_t n = 0; n < m_vNodes.size(); ++n)
    {
        QelModelNode& node = m_vNodes[n];
        if (node.m_nParent < -1 || node.m_nParent >= int(n))
        {
            node.m_nParent = -1;
            ++nRepaired;
        }
        for (size_t i = node.m_vMeshes.size(); i-- > 0;)
            if (node.m_vMeshes[i] < 0 || size_t(node.m_vMeshes[i]) >= m_vMeshes.size())
            {
                node.m_vMeshes.erase(node.m_vMeshes.begin() + long(i));
                ++nRepaired;
            }
    }
    return nRepaired;
}
