#include "qel/models/detail/QelDxfBuilder.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelAciColors.h"
#include "qel/models/detail/QelLoadLog.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace
{
const double kDegrees = 0.017453292519943295;
const double kPi = 3.14159265358979323846;

std::string UpperKey(const char* p, size_t n)
{
    std::string s(p, n);
    for (char& c : s)
        c = char(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

bool Same(const QelDxfVec& a, const QelDxfVec& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

QelVec3 FaceNormal(const QelDxfVec& a, const QelDxfVec& b, const QelDxfVec& c)
{
    const double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
    const double vx = c.x - a.x, vy = c.y - a.y, vz = c.z - a.z;
    const double nx = uy * vz - uz * vy, ny = uz * vx - ux * vz, nz = ux * vy - uy * vx;
    const double d = std::sqrt(nx * nx + ny * ny + nz * nz);
    if (!(d > 0.0) || !std::isfinite(d))
        return QelVec3(0.0f, 0.0f, 1.0f);
    return QelVec3(float(nx / d), float(ny / d), float(nz / d));
}

QelDxfMatrix Translation(double x, double y, double z)
{
    QelDxfMatrix m;
    m.m[0][3] = x;
    m.m[1][3] = y;
    m.m[2][3] = z;
    return m;
}
} // namespace

QelDxfBuilder::QelDxfBuilder(QelModelData& data, QelLoadLog& log, size_t nInsertLimit)
    : m_data(data), m_log(log), m_nInsertLimit(nInsertLimit)
{
    Layer("0", 1); // layer 0 is index 0: block entities on it take the insert's layer
}

int QelDxfBuilder::Layer(const char* pName, size_t nLength)
{
    m_strKey = UpperKey(pName, nLength);
    auto it = m_mapLayers.find(m_strKey);
    if (it != m_mapLayers.end())
        return it->second;
    SLayer layer;
    layer.strName.assign(pName, nLength);
    m_vLayers.push_back(layer);
    m_mapLayers.emplace(m_strKey, int(m_vLayers.size() - 1));
    return int(m_vLayers.size() - 1);
}

QelDxfBuilder::SBlock* QelDxfBuilder::AddBlock(const std::string& strName, unsigned nLine)
{
    m_vBlocks.emplace_back();
    m_vBlocks.back().strName = strName;
    if (!m_mapBlocks.emplace(UpperKey(strName.data(), strName.size()), int(m_vBlocks.size() - 1)).second)
        m_log.Warn(nLine, "block [" + strName + "] is defined twice; the first definition is used");
    return &m_vBlocks.back();
}

void QelDxfBuilder::Place(const QelDxfEntity& e)
{
    if (e.eType == QelDxfEntity::eInsert)
        m_vInserts.push_back(e);
    else
        Emit(e, SContext());
}

uint32_t QelDxfBuilder::Resolve(int nColor, uint32_t nTrueColor, int nLayer, const SContext& c) const
{
    if (nTrueColor & QelDxfEntity::kTrueColorGiven)
        return QelAciColors::FromTrueColor(nTrueColor);
    if (nColor == 0)
        return c.nBlockColor;
    if (nColor == 256 || nColor < -255 || nColor > 256)
    {
        const SLayer& l = m_vLayers[size_t(nLayer)];
        if (l.nTrueColor & QelDxfEntity::kTrueColorGiven)
            return QelAciColors::FromTrueColor(l.nTrueColor);
        // A negative layer color marks a layer that is off; its entities keep the color.
        return QelAciColors::Packed(l.nColor < 0 ? -l.nColor : l.nColor);
    }
    return QelAciColors::Packed(nColor < 0 ? -nColor : nColor);
}

QelModelMesh& QelDxfBuilder::MeshOf(int nLayer)
{
    SLayer& l = m_vLayers[size_t(nLayer)];
    if (l.nMesh < 0)
    {
        QelModelMaterial mat;
        mat.m_strName = l.strName;
        const uint32_t c = Resolve(256, 0, nLayer, SContext());
        mat.m_vecDiffuse = QelVec4(float(c & 0xFF) / 255.0f, float(c >> 8 & 0xFF) / 255.0f,
                                   float(c >> 16 & 0xFF) / 255.0f, 1.0f);
        m_data.m_vMaterials.push_back(mat);
        m_data.m_vMeshes.emplace_back();
        m_data.m_vMeshes.back().m_strName = l.strName;
        m_data.m_vMeshes.back().m_nMaterial = int(m_data.m_vMaterials.size() - 1);
        l.nMesh = int(m_data.m_vMeshes.size() - 1);
    }
    return m_data.m_vMeshes[size_t(l.nMesh)];
}

uint32_t QelDxfBuilder::AddVertex(QelModelMesh& m, const QelDxfVec& p, const QelVec3& n, uint32_t nColor)
{
    m.m_vPositions.emplace_back(float(p.x), float(p.y), float(p.z));
    m.m_vNormals.push_back(n);
    m.m_vColors.push_back(nColor);
    m_nInserted += m_vActive.empty() ? 0 : 1;
    return uint32_t(m.m_vPositions.size() - 1);
}

void QelDxfBuilder::Face(QelModelMesh& m, const QelDxfVec* pCorners, int nCorners, uint32_t nColor)
{
    if (nCorners == 4 && Same(pCorners[2], pCorners[3]))
        nCorners = 3;
    const QelVec3 n = nCorners == 4 ? FaceNormal({0, 0, 0},
                                                 {pCorners[2].x - pCorners[0].x, pCorners[2].y - pCorners[0].y,
                                                  pCorners[2].z - pCorners[0].z},
                                                 {pCorners[3].x - pCorners[1].x, pCorners[3].y - pCorners[1].y,
                                                  pCorners[3].z - pCorners[1].z})
                                    : FaceNormal(pCorners[0], pCorners[1], pCorners[2]);
    uint32_t v[4] = {0, 0, 0, 0};
    for (int i = 0; i < nCorners; ++i)
        v[i] = AddVertex(m, pCorners[i], n, nColor);
    m.m_vTriangles.insert(m.m_vTriangles.end(), {v[0], v[1], v[2]});
    if (nCorners == 4)
        m.m_vTriangles.insert(m.m_vTriangles.end(), {v[0], v[2], v[3]});
    ++m_nElements;
}

void QelDxfBuilder::Polyline(QelModelMesh& m, const std::vector<QelDxfVec>& v, bool bClosed, uint32_t nColor)
{
    if (v.size() < 2)
        return;
    const QelVec3 n(0.0f, 0.0f, 1.0f);
    const uint32_t nFirst = AddVertex(m, v[0], n, nColor);
    for (size_t i = 1; i < v.size(); ++i)
    {
        const uint32_t k = AddVertex(m, v[i], n, nColor);
        m.m_vLines.insert(m.m_vLines.end(), {k - 1, k});
    }
    if (bClosed && v.size() > 2)
        m.m_vLines.insert(m.m_vLines.end(), {uint32_t(m.m_vPositions.size() - 1), nFirst});
    ++m_nElements;
}

void QelDxfBuilder::Arc(QelModelMesh& m, const QelDxfEntity& e, const SContext& c, uint32_t nColor)
{
    const bool bCircle = e.eType == QelDxfEntity::eCircle;
    double fStart = bCircle ? 0.0 : e.fStart, fSweep = bCircle ? 360.0 : e.fEnd - e.fStart;
    fSweep = std::fmod(fSweep, 360.0);
    if (fSweep <= 0.0)
        fSweep += 360.0;
    if (!(e.fRadius > 0.0) || !std::isfinite(fSweep) || !std::isfinite(fStart))
        return;
    const int nSegments = std::max(1, int(std::ceil(fSweep / 360.0 * kCircleSegments - 1e-9)));
    const QelDxfMatrix mat = c.mat * QelDxfMatrix::FromExtrusion(e.vecExtrusion);
    m_vScratch.clear();
    for (int i = 0; i <= nSegments; ++i)
    {
        if (bCircle && i == nSegments)
            break;
        const double a = (fStart + fSweep * i / nSegments) * kDegrees;
        m_vScratch.push_back(mat.Apply({e.p[0].x + e.fRadius * std::cos(a), e.p[0].y + e.fRadius * std::sin(a), e.p[0].z}));
    }
    Polyline(m, m_vScratch, bCircle, nColor);
}

void QelDxfBuilder::PolylineEntity(QelModelMesh& m, const QelDxfEntity& e, const SContext& c, uint32_t nColor)
{
    if (e.nFlags & 64)
        return Polyface(m, e, c, nColor);
    if (e.nFlags & 16)
        return PolygonMesh(m, e, c, nColor);
    // A 3D polyline lies in world coordinates; a 2D one in its object coordinates at its elevation.
    const bool b3D = e.eType == QelDxfEntity::ePolyline && (e.nFlags & 8);
    const QelDxfMatrix mat = b3D ? c.mat : c.mat * QelDxfMatrix::FromExtrusion(e.vecExtrusion);
    const double fZ = e.eType == QelDxfEntity::eLwPolyline ? e.fElevation : e.p[0].z;
    const bool bClosed = (e.nFlags & 1) != 0;
    m_vScratch.clear();
    const size_t nVertices = e.vVertices.size();
    for (size_t i = 0; i < nVertices; ++i)
    {
        if (i < e.vVertexFlags.size() && (e.vVertexFlags[i] & 16))
            continue; // a control point of a spline frame, not on the curve
        QelDxfVec p = e.vVertices[i];
        if (!b3D)
            p.z = fZ;
        m_vScratch.push_back(mat.Apply(p));
        // A bulge bends the segment to the next vertex (the first, from the last of a closed one)
        // into an arc; 3D polylines have none.
        const double fBulge = i < e.vBulges.size() ? e.vBulges[i] : 0.0;
        if (!b3D && fBulge != 0.0 && (i + 1 < nVertices || (bClosed && nVertices > 1)))
            BulgePoints(p, e.vVertices[(i + 1) % nVertices], fBulge, mat);
    }
    Polyline(m, m_vScratch, bClosed, nColor);
}

void QelDxfBuilder::BulgePoints(const QelDxfVec& a, const QelDxfVec& b, double fBulge, const QelDxfMatrix& mat)
{
    const double dx = b.x - a.x, dy = b.y - a.y;
    // The arc turns 4 atan(bulge), counterclockwise for a positive bulge; its center lies off the
    // chord's middle along the chord's left normal.
    const double fTurn = 4.0 * std::atan(fBulge);
    if (!std::isfinite(fTurn) || (dx == 0.0 && dy == 0.0) || !std::isfinite(dx) || !std::isfinite(dy))
        return;
    const double s = (1.0 - fBulge * fBulge) / (4.0 * fBulge);
    const double cx = (a.x + b.x) / 2.0 - s * dy, cy = (a.y + b.y) / 2.0 + s * dx;
    const double fRadius = std::hypot(a.x - cx, a.y - cy), fStart = std::atan2(a.y - cy, a.x - cx);
    const int nSegments = std::max(1, int(std::ceil(std::fabs(fTurn) / (2.0 * kPi) * kCircleSegments - 1e-9)));
    for (int k = 1; k < nSegments; ++k)
    {
        const double t = fStart + fTurn * k / nSegments;
        m_vScratch.push_back(mat.Apply({cx + fRadius * std::cos(t), cy + fRadius * std::sin(t), a.z}));
    }
}

void QelDxfBuilder::Polyface(QelModelMesh& m, const QelDxfEntity& e, const SContext& c, uint32_t nColor)
{
    const int64_t nVertices = int64_t(e.vVertices.size());
    const size_t nMost = m.m_vPositions.size() + 3 * e.vFaces.size();
    m.m_vPositions.reserve(nMost);
    m.m_vNormals.reserve(nMost);
    m.m_vColors.reserve(nMost);
    m.m_vTriangles.reserve(m.m_vTriangles.size() + 3 * e.vFaces.size());
    const bool bPlaced = !c.mat.IsIdentity();
    for (const QelDxfEntity::SFace& f : e.vFaces)
    {
        int nCorners = 0;
        QelDxfVec p[4];
        bool bGood = true;
        for (int k = 0; k < 4 && bGood; ++k)
        {
            const int64_t n = f.n[k] < 0 ? -int64_t(f.n[k]) : f.n[k];
            if (n == 0)
                break;
            if (n > nVertices)
            {
                m_log.Warn(f.nLine, "face refers to vertex " + std::to_string(n) + " of " + std::to_string(nVertices) +
                                        "; the face is skipped");
                bGood = false;
                break;
            }
            const QelDxfVec& v = e.vVertices[size_t(n - 1)];
            p[nCorners++] = bPlaced ? c.mat.Apply(v) : v;
        }
        if (!bGood)
            continue;
        if (nCorners < 3)
        {
            m_log.Warn(f.nLine, "face of fewer than three vertices is skipped");
            continue;
        }
        const bool bOwn = f.nColor != 256 || (f.nTrueColor & QelDxfEntity::kTrueColorGiven);
        Face(m, p, nCorners, bOwn ? Resolve(f.nColor, f.nTrueColor, 0, c) : nColor);
    }
}

void QelDxfBuilder::PolygonMesh(QelModelMesh& m, const QelDxfEntity& e, const SContext& c, uint32_t nColor)
{
    const int64_t nM = e.nIndices[0], nN = e.nIndices[1], nHave = int64_t(e.vVertices.size());
    if (nM < 2 || nN < 2 || nM * nN > nHave)
    {
        m_log.Warn(e.nLine, "polygon mesh of " + std::to_string(nM) + " x " + std::to_string(nN) + " vertices has " +
                                std::to_string(nHave) + "; it is skipped");
        return;
    }
    const bool bClosedM = e.nFlags & 1, bClosedN = e.nFlags & 32;
    auto at = [&](int64_t i, int64_t j) { return c.mat.Apply(e.vVertices[size_t((i % nM) * nN + (j % nN))]); };
    for (int64_t i = 0; i < (bClosedM ? nM : nM - 1); ++i)
        for (int64_t j = 0; j < (bClosedN ? nN : nN - 1); ++j)
        {
            QelDxfVec p[4] = {at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)};
            Face(m, p, 4, nColor);
        }
}

void QelDxfBuilder::Insert(const QelDxfEntity& e, const SContext& c, int nLayer, uint32_t nColor)
{
    auto it = m_mapBlocks.find(UpperKey(e.strBlock.data(), e.strBlock.size()));
    if (it == m_mapBlocks.end())
        return m_log.Warn(e.nLine, "block [" + e.strBlock + "] is not defined; the insert is skipped");
    for (int nActive : m_vActive)
        if (nActive == it->second)
            return m_log.Warn(e.nLine, "block [" + e.strBlock + "] is inserted into itself; the insert is skipped");
    if (c.nDepth >= kMaxDepth)
        return m_log.Warn(e.nLine, "blocks nest deeper than " + std::to_string(kMaxDepth) + "; the insert is skipped");
    const SBlock& block = m_vBlocks[size_t(it->second)];
    const double fRot = e.fRotation * kDegrees;
    QelDxfMatrix turn, scale;
    turn.m[0][0] = turn.m[1][1] = std::cos(fRot);
    turn.m[0][1] = -std::sin(fRot);
    turn.m[1][0] = std::sin(fRot);
    scale.m[0][0] = e.vecScale.x;
    scale.m[1][1] = e.vecScale.y;
    scale.m[2][2] = e.vecScale.z;
    SContext inner;
    inner.nLayer = nLayer;
    inner.nBlockColor = nColor;
    inner.nDepth = c.nDepth + 1;
    const QelDxfMatrix place =
        c.mat * QelDxfMatrix::FromExtrusion(e.vecExtrusion) * Translation(e.p[0].x, e.p[0].y, e.p[0].z) * turn;
    const QelDxfMatrix fromBase = scale * Translation(-block.vecBase.x, -block.vecBase.y, -block.vecBase.z);
    // An insert may repeat the block in columns and rows, spaced along its turned axes; each copy
    // counts against the budget, so that a huge array of an empty block still ends.
    const int nColumns = std::max(1, e.nFlags), nRows = std::max(1, int(e.nIndices[0]));
    m_vActive.push_back(it->second);
    for (int nRow = 0; nRow < nRows && !m_bBudgetSpent; ++nRow)
        for (int nColumn = 0; nColumn < nColumns && !m_bBudgetSpent; ++nColumn)
        {
            inner.mat = place * Translation(nColumn * e.fSpacing[0], nRow * e.fSpacing[1], 0.0) * fromBase;
            m_nInserted += nRows > 1 || nColumns > 1;
            for (const QelDxfEntity& child : block.vEntities)
            {
                if (m_bBudgetSpent)
                    break;
                Emit(child, inner);
                SpendBudget();
            }
            SpendBudget();
        }
    m_vActive.pop_back();
}

void QelDxfBuilder::SpendBudget()
{
    if (m_nInserted > m_nInsertLimit && !m_bBudgetSpent)
    {
        m_bBudgetSpent = true;
        m_log.Error("inserted blocks make more than " + std::to_string(m_nInsertLimit) +
                    " vertices; the remaining inserts are skipped");
    }
}

void QelDxfBuilder::Emit(const QelDxfEntity& e, const SContext& c)
{
    const int nLayer = e.nLayer == 0 && c.nLayer >= 0 ? c.nLayer : e.nLayer;
    const uint32_t nColor = Resolve(e.nColor, e.nTrueColor, nLayer, c);
    if (e.eType == QelDxfEntity::eInsert)
        return Insert(e, c, nLayer, nColor);
    QelModelMesh& m = MeshOf(nLayer);
    switch (e.eType)
    {
    case QelDxfEntity::eFace3D:
    {
        QelDxfVec p[4];
        for (int i = 0; i < 4; ++i)
            p[i] = c.mat.Apply(e.p[(e.nPointsGiven >> i & 1) ? i : 2]);
        return Face(m, p, 4, nColor);
    }
    case QelDxfEntity::eSolid:
    {
        // The corners run 1 2 4 3 around the quad; an absent fourth repeats the third.
        const QelDxfMatrix mat = c.mat * QelDxfMatrix::FromExtrusion(e.vecExtrusion);
        QelDxfVec p[4] = {mat.Apply(e.p[0]), mat.Apply(e.p[1]), mat.Apply(e.p[(e.nPointsGiven & 8) ? 3 : 2]),
                          mat.Apply(e.p[2])};
        return Face(m, p, 4, nColor);
    }
    case QelDxfEntity::eLine:
        m_vScratch.assign({c.mat.Apply(e.p[0]), c.mat.Apply(e.p[1])});
        return Polyline(m, m_vScratch, false, nColor);
    case QelDxfEntity::ePoint:
        m.m_vPoints.push_back(AddVertex(m, c.mat.Apply(e.p[0]), QelVec3(0.0f, 0.0f, 1.0f), nColor));
        ++m_nElements;
        return;
    case QelDxfEntity::eCircle:
    case QelDxfEntity::eArc:
        return Arc(m, e, c, nColor);
    case QelDxfEntity::eLwPolyline:
    case QelDxfEntity::ePolyline:
        return PolylineEntity(m, e, c, nColor);
    default:
        return;
    }
}

size_t QelDxfBuilder::Finish(double fUnitScale, const std::string& strRootName)
{
    for (const QelDxfEntity& e : m_vInserts)
        Emit(e, SContext());
    m_vInserts.clear();
    // Layers that drew nothing leave no empty meshes behind.
    for (size_t i = m_data.m_vMeshes.size(); i-- > 0;)
        if (m_data.m_vMeshes[i].m_vPositions.empty())
        {
            m_data.m_vMeshes.erase(m_data.m_vMeshes.begin() + long(i));
            m_data.m_vMaterials.erase(m_data.m_vMaterials.begin() + long(i));
            for (size_t k = i; k < m_data.m_vMeshes.size(); ++k)
                m_data.m_vMeshes[k].m_nMaterial = int(k);
        }
    QelModelNode root;
    root.m_strName = strRootName;
    root.m_matLocal.Scale(float(fUnitScale), float(fUnitScale), float(fUnitScale));
    for (size_t i = 0; i < m_data.m_vMeshes.size(); ++i)
        root.m_vMeshes.push_back(int(i));
    m_data.m_vNodes.push_back(root);
    return m_nElements;
}
