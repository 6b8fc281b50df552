#pragma once

#include "qel/math/QelVec3.h"

#include <cstdint>
#include <vector>

/// Splits a simple polygon in 3D into n - 2 triangles that cover it exactly, concave or not, by ear
/// clipping in the plane that fits the polygon best. Each corner's triangles keep the polygon's
/// winding. Work is bounded: a polygon that would take too long (many reflex corners) is finished as
/// a fan and the call returns false.
class QelPolygonTriangulator
{
public:
    /// Appends 3 * (n - 2) indices into vCorners (0..n-1) to vOut; nothing for fewer than 3 corners.
    bool Triangulate(const std::vector<QelVec3>& vCorners, std::vector<uint32_t>& vOut);

private:
    std::vector<double> m_vX, m_vY;
    std::vector<uint32_t> m_vPrev, m_vNext;
    std::vector<uint8_t> m_vReflex;
    /// The reflex corners bucketed by a uniform grid over the polygon, so that an ear test looks
    /// only at corners near its triangle.
    std::vector<uint32_t> m_vCellStart, m_vCellItems;
};
