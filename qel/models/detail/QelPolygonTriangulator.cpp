#include "qel/models/detail/QelPolygonTriangulator.h"

#include <algorithm>
#include <cmath>

namespace
{
struct Vec3d
{
    double x, y, z;
};

Vec3d Cross(const Vec3d& a, const Vec3d& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

void Fan(uint32_t nFirst, const std::vector<uint32_t>& vNext, size_t nLeft, std::vector<uint32_t>& vOut)
{
    uint32_t b = vNext[nFirst];
    for (size_t k = 2; k < nLeft; ++k)
    {
        uint32_t c = vNext[b];
        vOut.push_back(nFirst);
        vOut.push_back(b);
        vOut.push_back(c);
        b = c;
    }
}
} // namespace

bool QelPolygonTriangulator::Triangulate(const std::vector<QelVec3>& vCorners, std::vector<uint32_t>& vOut)
{
    const size_t n = vCorners.size();
    if (n < 3)
        return true;
    m_vNext.resize(n);
    m_vPrev.resize(n);
    for (size_t i = 0; i < n; ++i)
    {
        m_vNext[i] = static_cast<uint32_t>(i + 1 == n ? 0 : i + 1);
        m_vPrev[i] = static_cast<uint32_t>(i == 0 ? n - 1 : i - 1);
    }
    if (n == 3)
    {
        Fan(0, m_vNext, 3, vOut);
        return true;
    }

    // Newell's normal: the best-fit plane's normal, pointing so that the polygon winds counter-clockwise.
    Vec3d N{0, 0, 0}, C{0, 0, 0};
    for (size_t i = 0; i < n; ++i)
    {
        const QelVec3& a = vCorners[i];
        const QelVec3& b = vCorners[m_vNext[i]];
        N.x += (double(a.y) - b.y) * (double(a.z) + b.z);
        N.y += (double(a.z) - b.z) * (double(a.x) + b.x);
        N.z += (double(a.x) - b.x) * (double(a.y) + b.y);
        C.x += a.x;
        C.y += a.y;
        C.z += a.z;
    }
    double fLen = std::sqrt(N.x * N.x + N.y * N.y + N.z * N.z);
    if (!(fLen > 0.0) || !std::isfinite(fLen))
    {
        Fan(0, m_vNext, n, vOut); // no area at all: any split covers it
        return true;
    }
    N = {N.x / fLen, N.y / fLen, N.z / fLen};
    Vec3d U = std::fabs(N.x) < 0.6 ? Vec3d{1, 0, 0} : Vec3d{0, 1, 0};
    U = Cross(U, N);
    double fU = std::sqrt(U.x * U.x + U.y * U.y + U.z * U.z);
    U = {U.x / fU, U.y / fU, U.z / fU};
    Vec3d V = Cross(N, U); // U x V = N: counter-clockwise about N stays counter-clockwise in (U, V)
    C = {C.x / double(n), C.y / double(n), C.z / double(n)};
    m_vX.resize(n);
    m_vY.resize(n);
    for (size_t i = 0; i < n; ++i)
    {
        Vec3d d{vCorners[i].x - C.x, vCorners[i].y - C.y, vCorners[i].z - C.z};
        m_vX[i] = d.x * U.x + d.y * U.y + d.z * U.z;
        m_vY[i] = d.x * V.x + d.y * V.y + d.z * V.z;
    }

    auto turn = [this](uint32_t a, uint32_t b, uint32_t c) {
        return (m_vX[b] - m_vX[a]) * (m_vY[c] - m_vY[b]) - (m_vY[b] - m_vY[a]) * (m_vX[c] - m_vX[b]);
    };
    auto same = [this](uint32_t a, uint32_t b) { return m_vX[a] == m_vX[b] && m_vY[a] == m_vY[b]; };
    m_vReflex.assign(n, 0);
    size_t nReflex = 0;
    double fMinX = m_vX[0], fMaxX = m_vX[0], fMinY = m_vY[0], fMaxY = m_vY[0];
    for (uint32_t i = 0; i < n; ++i)
    {
        if (turn(m_vPrev[i], i, m_vNext[i]) <= 0.0)
        {
            m_vReflex[i] = 1;
            ++nReflex;
        }
        fMinX = std::min(fMinX, m_vX[i]);
        fMaxX = std::max(fMaxX, m_vX[i]);
        fMinY = std::min(fMinY, m_vY[i]);
        fMaxY = std::max(fMaxY, m_vY[i]);
    }
    // About one reflex corner per cell.
    const size_t nGrid = std::max<size_t>(1, size_t(std::sqrt(double(nReflex))));
    const double fCellX = (fMaxX - fMinX) / double(nGrid) + 1e-300, fCellY = (fMaxY - fMinY) / double(nGrid) + 1e-300;
    auto cellOf = [&](double f, double fMin, double fCell) {
        double c = (f - fMin) / fCell;
        return c <= 0.0 ? size_t(0) : (c >= double(nGrid - 1) ? nGrid - 1 : size_t(c));
    };
    m_vCellStart.assign(nGrid * nGrid + 1, 0);
    for (uint32_t i = 0; i < n; ++i)
        if (m_vReflex[i])
            ++m_vCellStart[cellOf(m_vY[i], fMinY, fCellY) * nGrid + cellOf(m_vX[i], fMinX, fCellX) + 1];
    for (size_t c = 1; c < m_vCellStart.size(); ++c)
        m_vCellStart[c] += m_vCellStart[c - 1];
    m_vCellItems.resize(nReflex);
    {
        std::vector<uint32_t> vFill(m_vCellStart.begin(), m_vCellStart.end() - 1);
        for (uint32_t i = 0; i < n; ++i)
            if (m_vReflex[i])
                m_vCellItems[vFill[cellOf(m_vY[i], fMinY, fCellY) * nGrid + cellOf(m_vX[i], fMinX, fCellX)]++] = i;
    }

    // An ear is a convex corner whose triangle holds no reflex corner (on its border counts as in).
    auto isEar = [&](uint32_t i, size_t& nWork) {
        const uint32_t a = m_vPrev[i], c = m_vNext[i];
        if (turn(a, i, c) <= 0.0)
            return false;
        if (nReflex == 0)
            return true;
        const size_t x0 = cellOf(std::min({m_vX[a], m_vX[i], m_vX[c]}), fMinX, fCellX);
        const size_t x1 = cellOf(std::max({m_vX[a], m_vX[i], m_vX[c]}), fMinX, fCellX);
        const size_t y0 = cellOf(std::min({m_vY[a], m_vY[i], m_vY[c]}), fMinY, fCellY);
        const size_t y1 = cellOf(std::max({m_vY[a], m_vY[i], m_vY[c]}), fMinY, fCellY);
        for (size_t y = y0; y <= y1; ++y)
            for (size_t x = x0; x <= x1; ++x)
            {
                ++nWork;
                for (uint32_t k = m_vCellStart[y * nGrid + x]; k < m_vCellStart[y * nGrid + x + 1]; ++k)
                {
                    const uint32_t r = m_vCellItems[k];
                    ++nWork;
                    if (!m_vReflex[r] || r == a || r == i || r == c || same(r, a) || same(r, i) || same(r, c))
                        continue;
                    if (turn(a, i, r) >= 0.0 && turn(i, c, r) >= 0.0 && turn(c, a, r) >= 0.0)
                        return false;
                }
            }
        return true;
    };

    const size_t nBudget = 64 * n + 200000000;
    size_t nWork = 0, nLeft = n;
    uint32_t i = 0;
    size_t nSinceEar = 0;
    while (nLeft > 3)
    {
        if (nWork > nBudget)
        {
            Fan(i, m_vNext, nLeft, vOut);
            return false;
        }
        bool bClip = isEar(i, nWork);
        ++nWork;
        if (!bClip && ++nSinceEar > nLeft)
        {
            // No ear in a whole round: the polygon is not simple or is numerically flat here. A corner
            // that does not turn gives a triangle without area; failing that, clip where we stand.
            uint32_t j = i;
            for (size_t k = 0; k < nLeft; ++k, j = m_vNext[j])
                if (turn(m_vPrev[j], j, m_vNext[j]) == 0.0)
                    break;
            i = turn(m_vPrev[j], j, m_vNext[j]) == 0.0 ? j : i;
            bClip = true;
        }
        if (!bClip)
        {
            i = m_vNext[i];
            continue;
        }
        const uint32_t a = m_vPrev[i], c = m_vNext[i];
        vOut.push_back(a);
        vOut.push_back(i);
        vOut.push_back(c);
        m_vNext[a] = c;
        m_vPrev[c] = a;
        m_vReflex[i] = 0;
        --nLeft;
        nSinceEar = 0;
        for (uint32_t k : {a, c})
            if (m_vReflex[k] && turn(m_vPrev[k], k, m_vNext[k]) > 0.0)
                m_vReflex[k] = 0;
        // Going on with the next corner clips around the ring in rounds, so triangles stay small.
        i = c;
    }
    Fan(i, m_vNext, 3, vOut);
    return true;
}
