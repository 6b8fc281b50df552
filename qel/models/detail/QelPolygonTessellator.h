#pragma once

#include "qel/math/QelVec3.h"

#include <cstdint>
#include <deque>
#include <vector>

struct GLUtesselator;

/// Triangulates polygons with holes through the GLU tessellator, without making vertices: the
/// corners are indices of vertices the caller already has, and where the tessellator would add a
/// vertex (rings that cross or touch) the corner of the largest weight it combines is used instead.
class QelPolygonTessellator
{
public:
    QelPolygonTessellator();
    ~QelPolygonTessellator();
    QelPolygonTessellator(const QelPolygonTessellator&) = delete;
    QelPolygonTessellator& operator=(const QelPolygonTessellator&) = delete;

    /// Appends to vTriangles the triangles that fill the first ring minus the others (odd winding:
    /// a ring inside a hole fills again). vRings hold indices into vPositions, each checked. False,
    /// with nothing appended, when the tessellator cannot be made, refuses the rings, or a corner
    /// is past the positions or not finite.
    bool Triangulate(const std::vector<QelVec3>& vPositions, const std::vector<std::vector<uint32_t>>& vRings,
                     std::vector<uint32_t>& vTriangles);

    /// Tessellator callbacks.
    ///@{
    void OnVertex(uint32_t nVertex) { m_vOut.push_back(nVertex); }
    void* OnCombine(void* const pCorners[4], const float fWeights[4]);
    void OnError() { m_bError = true; }
    ///@}

private:
    /// What the tessellator is handed for each corner: its place and its vertex.
    struct SCorner
    {
        double c[3];
        uint32_t nVertex;
    };

    GLUtesselator* m_pTess;
    std::deque<SCorner> m_vCorners; ///< a deque: the tessellator keeps pointers into it
    std::vector<uint32_t> m_vOut;
    bool m_bError = false;
};
