#include "qel/models/detail/Qel3dsScene.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/platform/QelString.h"
#include "qel/util/QelPath.h"

#include <lib3ds/file.h>
#include <lib3ds/material.h>
#include <lib3ds/mesh.h>
#include <lib3ds/node.h>

#include <algorithm>
#include <cstring>
#include <map>

namespace
{
const uint32_t kNone = 0xFFFFFFFFu;

/// The reader's fixed-size names are terminated by it, but never trusted to be.
std::string Name(const char* p)
{
    return std::string(p, strnlen(p, 64));
}

float Unit(float f)
{
    return f > 0.0f ? (f < 1.0f ? f : 1.0f) : 0.0f;
}

QelVec4 Color(const float* p)
{
    return QelVec4(p[0], p[1], p[2], 1.0f);
}

void AddTexture(const Lib3dsTextureMap& m, QelModelTextureMap::EChannel eChannel, const std::string& strFolder,
                QelLoadLog& log, QelModelMaterial& mat)
{
    std::string strName = Name(m.name);
    if (strName.empty())
        return;
    QelModelTextureMap map;
    map.m_eChannel = eChannel;
    // 3DS names textures in 8.3 capitals; the files on disk are often in lower case.
    map.m_strFilename = QelPath::FindFile(strName, strFolder);
    if (map.m_strFilename.empty())
    {
        log.Note(QelFormat("texture [%s] not found; the material is drawn without it", strName.c_str()));
        return;
    }
    // An unset scale reads as 0 and means the map's own size.
    map.m_vecScale = QelVec3(m.scale[0] != 0.0f ? m.scale[0] : 1.0f, m.scale[1] != 0.0f ? m.scale[1] : 1.0f, 1.0f);
    map.m_vecOffset = QelVec3(m.offset[0], m.offset[1], 0.0f);
    map.m_fRotation = m.rotation;
    map.m_bClamp = (m.flags & LIB3DS_NO_TILE) != 0;
    mat.m_vTextures.push_back(map);
}

QelModelMaterial Material(const Lib3dsMaterial& m, const std::string& strFolder, QelLoadLog& log)
{
    QelModelMaterial mat;
    mat.m_strName = Name(m.name);
    mat.m_vecAmbient = Color(m.ambient);
    mat.m_vecDiffuse = Color(m.diffuse);
    mat.m_vecSpecular = Color(m.specular);
    mat.m_fShininess = Unit(m.shininess) * 128.0f;
    mat.m_fOpacity = 1.0f - Unit(m.transparency);
    mat.m_vecDiffuse.w = mat.m_fOpacity;
    mat.m_bTwoSided = m.two_sided != 0;
    const std::pair<const Lib3dsTextureMap*, QelModelTextureMap::EChannel> maps[] = {
        {&m.texture1_map, QelModelTextureMap::eChannelDiffuse},
        {&m.opacity_map, QelModelTextureMap::eChannelOpacity},
        {&m.bump_map, QelModelTextureMap::eChannelBump},
        {&m.specular_map, QelModelTextureMap::eChannelSpecular},
        {&m.shininess_map, QelModelTextureMap::eChannelShininess},
        {&m.self_illum_map, QelModelTextureMap::eChannelEmissive},
        {&m.reflection_map, QelModelTextureMap::eChannelReflection}};
    for (const auto& entry : maps)
        AddTexture(*entry.first, entry.second, strFolder, log, mat);
    return mat;
}

/// One object of the file as meshes of the model, and where its vertices were taken from.
struct SObject
{
    std::vector<int> vMeshes;
    QelMatrix4 matMesh;
    bool bPlaced = false;
};

class CMeshBuilder
{
public:
    CMeshBuilder(const Lib3dsMesh& mesh, std::map<std::string, int>& mapMaterials, QelLoadLog& log,
                 QelModelData& data)
        : m_mesh(mesh), m_mapMaterials(mapMaterials), m_log(log), m_data(data)
    {
    }

    SObject Build();

private:
    int MaterialOf(const Lib3dsFace& face);
    int Find(const Lib3dsFace& face);
    /// The vertex of a point already made for the same mesh and smoothing groups, or kNone.
    uint32_t Smoothed(int nMesh, uint32_t nPoint, uint32_t nSmoothing) const;
    uint32_t Vertex(int nMesh, uint32_t nPoint, const QelVec3& vNormal, uint32_t nSmoothing);

    const Lib3dsMesh& m_mesh;
    std::map<std::string, int>& m_mapMaterials;
    QelLoadLog& m_log;
    QelModelData& m_data;
    std::string m_strName;
    std::vector<QelVec3> m_vPositions;
    bool m_bTexCoords = false;
    std::map<int, int> m_mapSubMeshes;
    const char* m_pLastMaterial = nullptr;
    int m_nLastMaterial = -1;
    /// Vertices made from each point, as a list through vNext.
    std::vector<uint32_t> m_vHead;
    struct SVertex
    {
        int nMesh;
        QelVec3 vNormal;
        /// The groups whose corners gave the normal; 0 for a hard corner.
        uint32_t nSmoothing;
        uint32_t nIndex;
        uint32_t nNext;
    };
    std::vector<SVertex> m_vVertices;
};

int CMeshBuilder::MaterialOf(const Lib3dsFace& face)
{
    // Neighbouring faces mostly share their material.
    if (m_pLastMaterial && std::strncmp(m_pLastMaterial, face.material, sizeof(face.material)) == 0)
        return m_nLastMaterial;
    m_pLastMaterial = face.material;
    m_nLastMaterial = Find(face);
    return m_nLastMaterial;
}

int CMeshBuilder::Find(const Lib3dsFace& face)
{
    std::string strName = Name(face.material);
    if (strName.empty())
        return -1;
    auto it = m_mapMaterials.find(strName);
    if (it != m_mapMaterials.end())
        return it->second;
    m_log.Note(QelFormat("object [%s] uses the unknown material [%s]", m_strName.c_str(), strName.c_str()));
    // Reported once: later faces find it mapped to the default material.
    m_mapMaterials.emplace(strName, -1);
    return -1;
}

uint32_t CMeshBuilder::Smoothed(int nMesh, uint32_t nPoint, uint32_t nSmoothing) const
{
    for (uint32_t v = m_vHead[nPoint]; v != kNone; v = m_vVertices[v].nNext)
        if (m_vVertices[v].nMesh == nMesh && m_vVertices[v].nSmoothing == nSmoothing)
            return m_vVertices[v].nIndex;
    return kNone;
}

uint32_t CMeshBuilder::Vertex(int nMesh, uint32_t nPoint, const QelVec3& vNormal, uint32_t nSmoothing)
{
    for (uint32_t v = m_vHead[nPoint]; v != kNone; v = m_vVertices[v].nNext)
        if (m_vVertices[v].nMesh == nMesh && std::memcmp(&m_vVertices[v].vNormal, &vNormal, sizeof(QelVec3)) == 0)
            return m_vVertices[v].nIndex;
    QelModelMesh& mesh = m_data.m_vMeshes[size_t(nMesh)];
    uint32_t nIndex = uint32_t(mesh.m_vPositions.size());
    mesh.m_vPositions.push_back(m_vPositions[nPoint]);
    mesh.m_vNormals.push_back(vNormal);
    if (m_bTexCoords)
        mesh.m_vTexCoords[0].push_back(QelVec2(m_mesh.texelL[nPoint][0], m_mesh.texelL[nPoint][1]));
    m_vVertices.push_back(SVertex{nMesh, vNormal, nSmoothing, nIndex, m_vHead[nPoint]});
    m_vHead[nPoint] = uint32_t(m_vVertices.size() - 1);
    return nIndex;
}

SObject CMeshBuilder::Build()
{
    SObject obj;
    m_strName = Name(m_mesh.name);
    const uint32_t nPoints = m_mesh.points;
    obj.matMesh = QelMatrix4(&m_mesh.matrix[0][0]);
    QelMatrix4 matInverse = obj.matMesh;
    if (!matInverse.Invert())
    {
        m_log.Note(QelFormat("object [%s] has a singular matrix; its vertices are used as stored", m_strName.c_str()));
        obj.matMesh = matInverse = QelMatrix4();
    }
    // The file stores vertices in world space; the nodes place the object's own space.
    m_vPositions.resize(nPoints);
    for (uint32_t i = 0; i < nPoints; ++i)
        m_vPositions[i] = matInverse * QelVec3(m_mesh.pointL[i].pos[0], m_mesh.pointL[i].pos[1], m_mesh.pointL[i].pos[2]);
    m_bTexCoords = m_mesh.texels == nPoints && nPoints > 0 && m_mesh.texelL;
    if (m_mesh.texels && !m_bTexCoords)
        m_log.Note(QelFormat("object [%s] has %u texture coordinates for %u vertices; they are ignored",
                             m_strName.c_str(), unsigned(m_mesh.texels), unsigned(nPoints)));

    // Faces past the vertices were made degenerate before the reader saw them (and reported); faces
    // that repeat a corner cover nothing and are dropped with them.
    std::vector<uint32_t> vFaces;
    vFaces.reserve(m_mesh.faces);
    for (uint32_t f = 0; f < m_mesh.faces; ++f)
    {
        const Lib3dsWord* p = m_mesh.faceL[f].points;
        if (p[0] < nPoints && p[1] < nPoints && p[2] < nPoints && p[0] != p[1] && p[1] != p[2] && p[0] != p[2])
            vFaces.push_back(f);
    }

    // Face normals weighted by area, and the faces around each point. The smoothing groups are
    // copied out of the reader's large face records, which the corner loop would otherwise visit.
    std::vector<uint32_t> vSmoothing(m_mesh.faces);
    for (uint32_t f = 0; f < m_mesh.faces; ++f)
        vSmoothing[f] = m_mesh.faceL[f].smoothing;
    std::vector<QelVec3> vFaceNormals(m_mesh.faces);
    std::vector<uint32_t> vFirst(size_t(nPoints) + 1, 0), vAround(vFaces.size() * 3);
    for (uint32_t f : vFaces)
    {
        const Lib3dsWord* p = m_mesh.faceL[f].points;
        const QelVec3 &a = m_vPositions[p[0]], &b = m_vPositions[p[1]], &c = m_vPositions[p[2]];
        vFaceNormals[f] = (b - a).Cross(c - a);
        for (int k = 0; k < 3; ++k)
            ++vFirst[p[k] + 1];
    }
    for (uint32_t i = 0; i < nPoints; ++i)
        vFirst[i + 1] += vFirst[i];
    std::vector<uint32_t> vFill(vFirst.begin(), vFirst.end() - 1);
    for (uint32_t f : vFaces)
        for (int k = 0; k < 3; ++k)
            vAround[vFill[m_mesh.faceL[f].points[k]]++] = f;

    m_vHead.assign(nPoints, kNone);
    int nLastMaterial = -2;
    auto it = m_mapSubMeshes.end();
    for (uint32_t f : vFaces)
    {
        const Lib3dsFace& face = m_mesh.faceL[f];
        int nMaterial = MaterialOf(face);
        if (nMaterial != nLastMaterial)
            it = m_mapSubMeshes.find(nMaterial);
        nLastMaterial = nMaterial;
        if (it == m_mapSubMeshes.end())
        {
            QelModelMesh mesh;
            mesh.m_strName = m_strName;
            mesh.m_nMaterial = nMaterial;
            if (m_bTexCoords)
                mesh.m_vTexCoords.resize(1);
            // Most objects have one material: room for all of the object in its first mesh.
            if (m_mapSubMeshes.empty())
            {
                mesh.m_vPositions.reserve(nPoints);
                mesh.m_vNormals.reserve(nPoints);
                if (m_bTexCoords)
                    mesh.m_vTexCoords[0].reserve(nPoints);
                mesh.m_vTriangles.reserve(3 * vFaces.size());
            }
            m_data.m_vMeshes.push_back(std::move(mesh));
            it = m_mapSubMeshes.emplace(nMaterial, int(m_data.m_vMeshes.size() - 1)).first;
            obj.vMeshes.push_back(it->second);
        }
        std::vector<uint32_t>& vTriangles = m_data.m_vMeshes[size_t(it->second)].m_vTriangles;
        const uint32_t nGroups = vSmoothing[f];
        for (int k = 0; k < 3; ++k)
        {
            uint32_t nPoint = face.points[k];
            // The same groups at the same point give the same normal: it is summed once.
            uint32_t nIndex = nGroups ? Smoothed(it->second, nPoint, nGroups) : kNone;
            if (nIndex == kNone)
            {
                // Group 0 shares no normal: its edges stay hard.
                QelVec3 vNormal = vFaceNormals[f];
                if (nGroups)
                {
                    vNormal = QelVec3(0.0f, 0.0f, 0.0f);
                    for (uint32_t j = vFirst[nPoint]; j < vFirst[nPoint + 1]; ++j)
                        if (vSmoothing[vAround[j]] & nGroups)
                            vNormal += vFaceNormals[vAround[j]];
                }
                vNormal.Normalize();
                nIndex = Vertex(it->second, nPoint, vNormal, nGroups);
            }
            vTriangles.push_back(nIndex);
        }
    }
    return obj;
}

class CNodeBuilder
{
public:
    CNodeBuilder(std::map<std::string, SObject>& mapObjects, QelModelData& data) : m_mapObjects(mapObjects), m_data(data) {}
    void Add(const Lib3dsNode* pNode, int nParent, const QelMatrix4& matParentInverse, unsigned nDepth);

private:
    std::map<std::string, SObject>& m_mapObjects;
    QelModelData& m_data;
};

void CNodeBuilder::Add(const Lib3dsNode* pNode, int nParent, const QelMatrix4& matParentInverse, unsigned nDepth)
{
    // The file check bounds the depth; this keeps the recursion bounded on its own.
    for (; pNode && nDepth < 1024; pNode = pNode->next)
    {
        if (pNode->type != LIB3DS_OBJECT_NODE)
            continue;
        const Lib3dsObjectData& d = pNode->data.object;
        QelMatrix4 matWorld(&pNode->matrix[0][0]);
        matWorld.Translate(-d.pivot[0], -d.pivot[1], -d.pivot[2]);
        QelModelNode node;
        std::string strName = Name(pNode->name);
        std::string strInstance = Name(d.instance);
        node.m_strName = strInstance.empty() ? strName : strName + "." + strInstance;
        node.m_nParent = nParent;
        node.m_matLocal = matParentInverse * matWorld;
        auto it = m_mapObjects.find(strName);
        if (it != m_mapObjects.end())
        {
            node.m_vMeshes = it->second.vMeshes;
            it->second.bPlaced = true;
        }
        int nIndex = int(m_data.m_vNodes.size());
        m_data.m_vNodes.push_back(std::move(node));
        QelMatrix4 matInverse = matWorld;
        if (!matInverse.Invert())
            matInverse = QelMatrix4();
        Add(pNode->childs, nIndex, matInverse, nDepth + 1);
    }
}
} // namespace

void Qel3dsToModel(Lib3dsFile& file, const std::string& strFolder, const std::string& strRootName, QelLoadLog& log,
                   QelModelData& data)
{
    std::map<std::string, int> mapMaterials;
    for (const Lib3dsMaterial* p = file.materials; p; p = p->next)
    {
        data.m_vMaterials.push_back(Material(*p, strFolder, log));
        mapMaterials.emplace(data.m_vMaterials.back().m_strName, int(data.m_vMaterials.size() - 1));
    }
    // Objects by name for the nodes; a second object of a name is placed where the file stored it.
    std::map<std::string, SObject> mapObjects;
    std::vector<std::pair<std::string, SObject>> vUnnamed;
    std::vector<std::string> vOrder;
    for (const Lib3dsMesh* p = file.meshes; p; p = p->next)
    {
        SObject obj = CMeshBuilder(*p, mapMaterials, log, data).Build();
        if (mapObjects.emplace(Name(p->name), obj).second)
            vOrder.push_back(Name(p->name));
        else
            vUnnamed.emplace_back(Name(p->name), obj);
    }
    QelModelNode root;
    root.m_strName = strRootName;
    data.m_vNodes.push_back(root);
    lib3ds_file_eval(&file, 0.0f);
    CNodeBuilder(mapObjects, data).Add(file.nodes, 0, QelMatrix4(), 0);
    for (const std::string& strName : vOrder)
        vUnnamed.emplace_back(strName, mapObjects[strName]);
    // Objects no keyframe node places stand where the file stored them.
    for (const auto& entry : vUnnamed)
    {
        if (entry.second.bPlaced || entry.second.vMeshes.empty())
            continue;
        QelModelNode node;
        node.m_strName = entry.first;
        node.m_nParent = 0;
        node.m_matLocal = entry.second.matMesh;
        node.m_vMeshes = entry.second.vMeshes;
        data.m_vNodes.push_back(std::move(node));
    }
}
