#pragma once

#include "qel/math/QelBox3.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <cstdint>
#include <string>
#include <vector>

/// Geometry of a model with one material, ready for a vertex buffer: one entry per distinct vertex in
/// each attribute array, and index lists into them for triangles, line segments and points.
struct QEL_EXPORT QelModelMesh
{
    /// The name the file gave the part (object, group, layer or shape); may be empty.
    std::string m_strName;
    /// Vertex positions in the mesh's own coordinates (its nodes place it).
    std::vector<QelVec3> m_vPositions;
    /// Empty, or one per position.
    std::vector<QelVec3> m_vNormals;
    /// One list per texture coordinate layer; each is empty or one per position.
    std::vector<std::vector<QelVec2>> m_vTexCoords;
    /// Empty, or one packed color (red in the low byte) per position.
    std::vector<uint32_t> m_vColors;
    /// Three indices per triangle, counter-clockwise seen from the front.
    std::vector<uint32_t> m_vTriangles;
    /// Two indices per line segment.
    std::vector<uint32_t> m_vLines;
    /// One index per point.
    std::vector<uint32_t> m_vPoints;
    /// Index into the model's materials; -1 for the default material.
    int m_nMaterial = -1;

    /// Counts of the stored vertices and of whole primitives.
    ///@{
    size_t NumVertices() const { return m_vPositions.size(); }
    size_t NumTriangles() const { return m_vTriangles.size() / 3; }
    size_t NumLines() const { return m_vLines.size() / 2; }
    ///@}
    /// The box around every position, used or not; empty without positions. Coordinates that are
    /// not numbers are passed over.
    QelBox3 ComputeBounds() const
    {
        QelBox3 b;
        // Plain comparisons rather than the box's fmin and fmax calls, which the compiler does not
        // inline: for NaN they keep the bound just the same, and a large mesh is bounded in a
        // fraction of the time.
        float aMin[3] = {b.m_vecMin.x, b.m_vecMin.y, b.m_vecMin.z}, aMax[3] = {b.m_vecMax.x, b.m_vecMax.y, b.m_vecMax.z};
        for (const QelVec3& p : m_vPositions)
        {
            const float a[3] = {p.x, p.y, p.z};
            for (int k = 0; k < 3; ++k)
            {
                aMin[k] = a[k] < aMin[k] ? a[k] : aMin[k];
                aMax[k] = a[k] > aMax[k] ? a[k] : aMax[k];
            }
        }
        return QelBox3(QelVec3(aMin[0], aMin[1], aMin[2]), QelVec3(aMax[0], aMax[1], aMax[2]));
    }
};
