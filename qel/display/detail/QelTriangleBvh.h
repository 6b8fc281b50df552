#pragma once

#include "qel/math/QelBox3.h"
#include "qel/math/QelVec3.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// A bounding volume hierarchy over triangles for ray picking: median splits on the longest axis
/// of the centroids, leaves of up to four triangles. The triangles are copied in tree order as a
/// corner and two edges, ready for the ray test, so the caller's arrays are only read by Build.
class QelTriangleBvh
{
public:
    /// Indices may be null (consecutive triples). Triangles with an index out of range or a
    /// coordinate that is not finite are left out; their count is returned.
    size_t Build(const float* pVertices, size_t nVertexCount, const uint32_t* pIndices, size_t nTriangleCount);
    void Clear();
    bool IsEmpty() const { return m_vNodes.empty(); }
    QelBox3 GetBounds() const;
    size_t GetTriangleCount() const { return m_vOriginal.size(); }

    /// The nearest hit with 0 < t < fMaxT along start + t * direction (the direction need not be
    /// of unit length); both faces count. Writes t and the caller's index of the triangle.
    bool Intersect(const QelVec3& vStart, const QelVec3& vDirection, float fMaxT, float& fT, size_t& nTriangle) const;

private:
    struct SNode
    {
        float m_fMin[3];
        float m_fMax[3];
        uint32_t m_nFirst; ///< first triangle of a leaf, or the left child (it follows its parent)
        uint32_t m_nCount; ///< triangles in a leaf; 0 for an inner node
        uint32_t m_nRight; ///< the right child of an inner node
    };
    struct STriangle
    {
        QelVec3 m_vecA, m_vecAB, m_vecAC;
    };
    uint32_t BuildNode(std::vector<uint32_t>& vOrder, std::vector<float>& vCentroids,
                       std::vector<float>& vBounds, uint32_t nBegin, uint32_t nEnd);

    std::vector<SNode> m_vNodes;
    std::vector<STriangle> m_vTriangles;
    std::vector<uint32_t> m_vOriginal;
};
