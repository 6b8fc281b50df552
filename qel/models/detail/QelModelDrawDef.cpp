#include "qel/models/detail/QelModelDrawDef.h"

#include "qel/framework/QelSysApp.h"
#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelModelMaterialMap.h"

#include <GL/glew.h>

#include <algorithm>
#include <climits>
#include <cstring>

static_assert(sizeof(QelVec3) == 3 * sizeof(float), "positions and normals go up as arrays of floats");
static_assert(sizeof(QelVec2) == 2 * sizeof(float), "texture coordinates go up as arrays of floats");

namespace
{
const QelVec4 kWhite(1.0f, 1.0f, 1.0f, 1.0f);

bool IsIdentity(const QelMatrix4& m)
{
    static const QelMatrix4 kIdentity;
    return std::memcmp(static_cast<const float*>(m), static_cast<const float*>(kIdentity), 16 * sizeof(float)) == 0;
}
} // namespace

QelModelDrawDef::QelModelDrawDef(const QelModelData& data, const std::string& strModelFile)
{
    m_vMeshes.resize(data.m_vMeshes.size());
    for (size_t i = 0; i < data.m_vMeshes.size(); ++i)
        m_vMeshes[i].m_bUploaded = UploadMesh(data, i, m_vMeshes[i]);
    for (const QelModelMaterial& m : data.m_vMaterials)
    {
        m_vMaterials.push_back(QelMapModelMaterial(m, strModelFile));
        m_vTranslucent.push_back(m.IsTranslucent());
    }
    m_vMaterials.emplace_back();
    m_vTranslucent.push_back(false);
    CollectDraws(data);
}

bool QelModelDrawDef::UploadMesh(const QelModelData& data, size_t nMesh, SMesh& c)
{
    const QelModelMesh& m = data.m_vMeshes[nMesh];
    const size_t nIndices = m.m_vTriangles.size() + m.m_vLines.size() + m.m_vPoints.size();
    if (m.m_vPositions.empty() || nIndices == 0)
        return false;
    if (m.m_vPositions.size() > size_t(INT_MAX) || nIndices > size_t(INT_MAX))
    {
        QelSysApp::App().PrintToConsole("<error> QelModel - Mesh [%s] is too large to draw (%zu vertices, %zu indices)\n",
                                        m.m_strName.c_str(), m.m_vPositions.size(), nIndices);
        return false;
    }
    const int n = int(m.m_vPositions.size());
    c.m_cBuffer = QelTightlyPackedBuffer(n);
    c.m_cBuffer.AppendVertices(n, 3, &m.m_vPositions[0].x);
    if (m.m_vNormals.size() == m.m_vPositions.size())
        c.m_cBuffer.AppendNormals(n, &m.m_vNormals[0].x);
    const size_t nLayers = std::min<size_t>(m.m_vTexCoords.size(), 8);
    for (size_t l = 0; l < nLayers; ++l)
        if (m.m_vTexCoords[l].size() == m.m_vPositions.size())
            c.m_cBuffer.AppendTexCoords(n, unsigned(l), 2, &m.m_vTexCoords[l][0].x);
    if (m.m_vColors.size() == m.m_vPositions.size())
    {
        const std::vector<unsigned long> vColors(m.m_vColors.begin(), m.m_vColors.end());
        c.m_cBuffer.AppendColors(n, vColors.data());
        c.m_bColors = true;
    }
    c.m_cBuffer.FinishVertices();
    // Triangles, then lines, then points: one index array, drawn in three ranges.
    for (const std::vector<uint32_t>* pList : {&m.m_vTriangles, &m.m_vLines, &m.m_vPoints})
        if (!pList->empty())
            c.m_cBuffer.AddIndices(reinterpret_cast<const int*>(pList->data()), int(pList->size()));
    c.m_cBuffer.FinishIndices(QelGeometryBuffer::INDEX_32_BIT);
    c.m_nTriangleIndices = int(m.m_vTriangles.size() / 3 * 3);
    c.m_nLineIndices = int(m.m_vLines.size() / 2 * 2);
    c.m_nPointIndices = int(m.m_vPoints.size());
    return !c.m_cBuffer.Empty();
}

void QelModelDrawDef::CollectDraws(const QelModelData& data)
{
    const int nDefault = int(m_vMaterials.size()) - 1;
    auto fnMaterial = [&](int nMesh) {
        const int nMaterial = data.m_vMeshes[size_t(nMesh)].m_nMaterial;
        return nMaterial >= 0 && nMaterial < nDefault ? nMaterial : nDefault;
    };
    data.ForEachPlacement([&](size_t nMesh, const QelMatrix4* pWorld) {
        const bool bTransformed = pWorld && !IsIdentity(*pWorld);
        m_vDraws.push_back({fnMaterial(int(nMesh)), int(nMesh), bTransformed, bTransformed ? *pWorld : QelMatrix4()});
    });
    m_vDraws.erase(std::remove_if(m_vDraws.begin(), m_vDraws.end(),
                                  [&](const SDraw& d) { return !m_vMeshes[size_t(d.m_nMesh)].m_bUploaded; }),
                   m_vDraws.end());
    SortDraws();
}

void QelModelDrawDef::SortDraws()
{
    std::stable_sort(m_vDraws.begin(), m_vDraws.end(), [&](const SDraw& a, const SDraw& b) {
        const size_t na = size_t(a.m_nMaterial), nb = size_t(b.m_nMaterial);
        if (m_vTranslucent[na] != m_vTranslucent[nb])
            return !m_vTranslucent[na];
        if (m_vMaterials[na].m_nRenderLayer != m_vMaterials[nb].m_nRenderLayer)
            return m_vMaterials[na].m_nRenderLayer < m_vMaterials[nb].m_nRenderLayer;
        return na < nb;
    });
}

void QelModelDrawDef::UpdateMaterial(size_t nMaterial, const QelModelMaterial& cMaterial)
{
    // The last entry is the default material, which no model material names.
    if (nMaterial + 1 >= m_vMaterials.size())
        return;
    QelMapModelColors(cMaterial, m_vMaterials[nMaterial]);
    const bool bTranslucent = cMaterial.IsTranslucent();
    if (m_vTranslucent[nMaterial] == bTranslucent)
        return;
    m_vTranslucent[nMaterial] = bTranslucent;
    SortDraws();
}

void QelModelDrawDef::DrawMesh(const SMesh& c) const
{
    struct SRange
    {
        QelGeometryBuffer::EPrimitiveType m_eType;
        int m_nStart;
        int m_nCount;
    };
    const SRange aRanges[] = {{QelGeometryBuffer::TRIANGLES, 0, c.m_nTriangleIndices},
                              {QelGeometryBuffer::LINES, c.m_nTriangleIndices, c.m_nLineIndices},
                              {QelGeometryBuffer::POINTS, c.m_nTriangleIndices + c.m_nLineIndices, c.m_nPointIndices}};
    int nLast = -1;
    for (int i = 0; i < 3; ++i)
        if (aRanges[i].m_nCount > 0)
            nLast = i;
    bool bFirst = true;
    if (c.m_bColors)
        glEnable(GL_COLOR_MATERIAL);
    // One binding serves the three ranges.
    for (int i = 0; i <= nLast; ++i)
        if (aRanges[i].m_nCount > 0)
        {
            c.m_cBuffer.DrawIndexed(aRanges[i].m_eType, aRanges[i].m_nStart, aRanges[i].m_nCount, bFirst, i == nLast);
            bFirst = false;
        }
    if (c.m_bColors)
        glDisable(GL_COLOR_MATERIAL);
}

void QelModelDrawDef::Draw() const
{
    if (m_vDraws.empty())
        return;
    glPushAttrib(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_LIGHTING_BIT | GL_CURRENT_BIT);
    // Vertex colors, where a mesh has them, stand for the material's ambient and diffuse colors.
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    // The caller's matrix is kept and reloaded instead of pushed: a model deep in a hierarchy may
    // be drawn with the matrix stack already full.
    float aBase[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, aBase);
    const QelMatrix4 matBase(aBase);
    bool bMoved = false;
    int nActive = -1;
    bool bBlending = false;
    for (const SDraw& d : m_vDraws)
    {
        if (d.m_nMaterial != nActive)
        {
            if (nActive >= 0)
                m_vMaterials[size_t(nActive)].Deactivate();
            nActive = d.m_nMaterial;
            if (m_vTranslucent[size_t(nActive)] && !bBlending)
            {
                // Translucent surfaces blend over everything opaque and do not hide each other.
                bBlending = true;
                glEnable(GL_BLEND);
                glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
                glDepthMask(GL_FALSE);
            }
            m_vMaterials[size_t(nActive)].Activate(kWhite, 1.0f, 1.0f, 1.0f, 1.0f);
        }
        if (d.m_bTransformed || bMoved)
        {
            glLoadMatrixf(d.m_bTransformed ? static_cast<const float*>(matBase * d.m_matWorld) : aBase);
            bMoved = d.m_bTransformed;
        }
        DrawMesh(m_vMeshes[size_t(d.m_nMesh)]);
    }
    m_vMaterials[size_t(nActive)].Deactivate();
    if (bMoved)
        glLoadMatrixf(aBase);
    glPopAttrib();
}
