#include "qel/models/detail/QelColladaScene.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/util/QelPath.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

using namespace QelColladaXml;

namespace
{
/// Scenes that instance nodes inside one another multiply; past this many nodes the rest are skipped.
const size_t kMaxNodes = 1000000;
const float kCreaseDegrees = 60.0f;

/// The numbers of an element when it holds at least nNeeded of them.
bool Numbers(const xmlNode* p, size_t nNeeded, std::vector<float>& v)
{
    v.clear();
    return Floats(p, v) && v.size() >= nNeeded;
}

QelVec3 Normalized(const QelVec3& v)
{
    const float d = v.Magnitude();
    return d > 0.0f && std::isfinite(d) ? v * (1.0f / d) : QelVec3(0.0f, 0.0f, 0.0f);
}

/// A URI of an image as a path: "file://" dropped and %XX escapes decoded.
std::string UriToPath(std::string s)
{
    if (s.compare(0, 7, "file://") == 0)
        s = s.substr(7);
    if (s.size() > 2 && s[0] == '/' && s[2] == ':')
        s = s.substr(1); // file:///C:/textures/a.png
    std::string out;
    for (size_t i = 0; i < s.size(); ++i)
    {
        if (s[i] == '%' && i + 2 < s.size() && std::isxdigit(static_cast<unsigned char>(s[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(s[i + 2])))
        {
            out += char(std::strtol(s.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        }
        else
            out += s[i];
    }
    return out;
}

const xmlNode* ParamBySid(const xmlNode* pScope, const std::string& strSid)
{
    for (const xmlNode* p = Child(pScope, "newparam"); p; p = Next(p, "newparam"))
        if (Attr(p, "sid") == strSid)
            return p;
    return nullptr;
}
} // namespace

QelColladaScene::QelColladaScene(QelModelData& data, QelLoadLog& log, const std::string& strFolder)
    : m_data(data), m_log(log), m_strFolder(strFolder), m_cGeometry(m_ids, log)
{
}

bool QelColladaScene::Build(xmlDocPtr pDoc)
{
    const xmlNode* pRoot = xmlDocGetRootElement(pDoc);
    if (!Is(pRoot, "COLLADA"))
    {
        m_log.Error("is not a COLLADA document (its root element is [" +
                    std::string(pRoot ? reinterpret_cast<const char*>(pRoot->name) : "") + "])");
        return false;
    }
    IndexIds(pRoot, m_ids);

    const xmlNode* pAsset = Child(pRoot, "asset");
    float fMeter = 1.0f;
    if (const xmlNode* pUnit = Child(pAsset, "unit"))
    {
        const std::string str = Attr(pUnit, "meter");
        fMeter = str.empty() ? 1.0f : std::strtof(str.c_str(), nullptr);
        if (!(fMeter > 0.0f) || !std::isfinite(fMeter))
        {
            m_log.Warn(Line(pUnit), "unit of [" + str + "] meters is not a positive number; meters are used");
            fMeter = 1.0f;
        }
    }
    QelModelNode root;
    root.m_strName = QelPath::FileName(m_log.File());
    root.m_matLocal.Scale(fMeter, fMeter, fMeter);
    const std::string strUp = Text(Child(pAsset, "up_axis"));
    if (strUp == "Z_UP")
        root.m_matLocal.Rotate(QelVec3::kUnitX, -90.0f);
    else if (strUp == "X_UP")
        root.m_matLocal.Rotate(QelVec3::kUnitZ, 90.0f);
    m_data.m_vNodes.push_back(root);

    const xmlNode* pScene = nullptr;
    if (const xmlNode* pInstance = Child(Child(pRoot, "scene"), "instance_visual_scene"))
    {
        auto it = m_ids.find(Fragment(Attr(pInstance, "url")));
        pScene = it != m_ids.end() && Is(it->second, "visual_scene") ? it->second : nullptr;
    }
    if (!pScene)
        pScene = Child(Child(pRoot, "library_visual_scenes"), "visual_scene");
    if (!pScene)
    {
        m_log.Error("has no visual scene");
        return false;
    }
    m_vPath.push_back(pScene);
    for (const xmlNode* p = Child(pScene, "node"); p; p = Next(p, "node"))
        AddNode(p, 0, 1);
    m_vPath.pop_back();
    if (m_data.m_vMeshes.empty())
    {
        m_log.Error("draws no triangles or lines");
        return false;
    }
    m_data.ComputeMissingNormals(kCreaseDegrees);
    return true;
}

void QelColladaScene::AddNode(const xmlNode* pNode, int nParent, int nDepth)
{
    if (nDepth > kMaxDepth || m_data.m_vNodes.size() >= kMaxNodes)
    {
        if (!m_bDepthReported)
            m_log.Warn(Line(pNode), nDepth > kMaxDepth ? "nodes nest deeper than " + std::to_string(kMaxDepth) + "; the deeper ones are skipped"
                                                       : "the scene makes more than " + std::to_string(kMaxNodes) + " nodes; the rest are skipped");
        m_bDepthReported = true;
        return;
    }
    QelModelNode node;
    node.m_strName = Attr(pNode, "name");
    if (node.m_strName.empty())
        node.m_strName = Attr(pNode, "id");
    node.m_nParent = nParent;
    node.m_matLocal = LocalMatrix(pNode);
    m_data.m_vNodes.push_back(node);
    const int nIndex = int(m_data.m_vNodes.size() - 1);
    m_vPath.push_back(pNode);
    for (const xmlNode* c = pNode->children; c; c = c->next)
    {
        if (Is(c, "node"))
            AddNode(c, nIndex, nDepth + 1);
        else if (Is(c, "instance_geometry"))
            InstanceGeometry(c, nIndex);
        else if (Is(c, "instance_node"))
        {
            const std::string strId = Fragment(Attr(c, "url"));
            auto it = m_ids.find(strId);
            if (it == m_ids.end() || !Is(it->second, "node"))
                m_log.Warn(Line(c), "node [" + strId + "] is not defined; the instance is skipped");
            else if (std::find(m_vPath.begin(), m_vPath.end(), it->second) != m_vPath.end())
                m_log.Warn(Line(c), "node [" + strId + "] is instanced inside itself; the instance is skipped");
            else
                AddNode(it->second, nIndex, nDepth + 1);
        }
    }
    m_vPath.pop_back();
}

QelMatrix4 QelColladaScene::LocalMatrix(const xmlNode* pNode)
{
    QelMatrix4 mat;
    std::vector<float> v;
    for (const xmlNode* c = pNode->children; c; c = c->next)
    {
        if (c->type != XML_ELEMENT_NODE)
            continue;
        const std::string strName = reinterpret_cast<const char*>(c->name);
        size_t nNeeded = strName == "matrix" ? 16 : strName == "rotate" ? 4 : strName == "lookat" ? 9 : 3;
        if (strName != "matrix" && strName != "translate" && strName != "rotate" && strName != "scale" && strName != "lookat")
            continue;
        if (!Numbers(c, nNeeded, v))
        {
            m_log.Warn(Line(c), "<" + strName + "> needs " + std::to_string(nNeeded) + " numbers; it is skipped");
            continue;
        }
        if (strName == "matrix")
        {
            QelMatrix4 m(v.data());
            m.Transpose(); // written row by row
            mat = mat * m;
        }
        else if (strName == "translate")
            mat.Translate(v[0], v[1], v[2]);
        else if (strName == "scale")
            mat.Scale(v[0], v[1], v[2]);
        else if (strName == "rotate")
        {
            const QelVec3 vAxis = Normalized(QelVec3(v[0], v[1], v[2]));
            if (!(vAxis == QelVec3(0.0f, 0.0f, 0.0f)))
                mat.Rotate(vAxis, v[3]);
        }
        else
        {
            // The node sits at the eye, its -z toward the point of interest and its y up.
            const QelVec3 vEye(v[0], v[1], v[2]);
            const QelVec3 vForward = Normalized(QelVec3(v[3], v[4], v[5]) - vEye);
            const QelVec3 vSide = Normalized(vForward.Cross(QelVec3(v[6], v[7], v[8])));
            const QelVec3 vUp = vSide.Cross(vForward);
            const float f[16] = {vSide.x, vSide.y, vSide.z, 0, vUp.x, vUp.y, vUp.z, 0,
                                 -vForward.x, -vForward.y, -vForward.z, 0, vEye.x, vEye.y, vEye.z, 1};
            mat = mat * QelMatrix4(f);
        }
    }
    return mat;
}

void QelColladaScene::InstanceGeometry(const xmlNode* pInstance, int nNode)
{
    const std::string strId = Fragment(Attr(pInstance, "url"));
    auto itGeometry = m_ids.find(strId);
    if (itGeometry == m_ids.end() || !Is(itGeometry->second, "geometry"))
    {
        m_log.Warn(Line(pInstance), "geometry [" + strId + "] is not defined; the instance is skipped");
        return;
    }
    auto itCached = m_mapGeometries.find(strId);
    if (itCached == m_mapGeometries.end())
        itCached = m_mapGeometries.emplace(strId, m_cGeometry.Read(itGeometry->second)).first;
    std::map<std::string, std::string> mapBound;
    for (const xmlNode* p = Child(Child(Child(pInstance, "bind_material"), "technique_common"), "instance_material"); p;
         p = Next(p, "instance_material"))
        mapBound.emplace(Attr(p, "symbol"), Fragment(Attr(p, "target")));
    std::vector<QelColladaPrimitive>& vPrims = itCached->second;
    for (size_t i = 0; i < vPrims.size(); ++i)
    {
        auto itBound = mapBound.find(vPrims[i].strMaterial);
        // An unbound symbol that names a material itself is taken as that material; any other
        // unbound symbol draws with the default material.
        std::string strMaterial;
        if (itBound != mapBound.end())
            strMaterial = itBound->second;
        else if (m_ids.count(vPrims[i].strMaterial) && Is(m_ids.at(vPrims[i].strMaterial), "material"))
            strMaterial = vPrims[i].strMaterial;
        const int nMaterial = strMaterial.empty() ? -1 : Material(strMaterial, Line(pInstance));
        auto key = std::make_tuple(strId, i, nMaterial);
        auto itMesh = m_mapMeshes.find(key);
        if (itMesh == m_mapMeshes.end())
        {
            // The first use takes the primitive's geometry; uses with other materials copy it.
            auto itFirst = m_mapFirstMesh.find(std::make_pair(strId, i));
            if (itFirst == m_mapFirstMesh.end())
            {
                m_mapFirstMesh.emplace(std::make_pair(strId, i), int(m_data.m_vMeshes.size()));
                m_data.m_vMeshes.push_back(std::move(vPrims[i].cMesh));
            }
            else
                m_data.m_vMeshes.push_back(QelModelMesh(m_data.m_vMeshes[size_t(itFirst->second)]));
            m_data.m_vMeshes.back().m_nMaterial = nMaterial;
            itMesh = m_mapMeshes.emplace(key, int(m_data.m_vMeshes.size() - 1)).first;
        }
        m_data.m_vNodes[size_t(nNode)].m_vMeshes.push_back(itMesh->second);
    }
}

int QelColladaScene::Material(const std::string& strId, unsigned nLine)
{
    auto it = m_mapMaterials.find(strId);
    if (it != m_mapMaterials.end())
        return it->second;
    auto itNode = m_ids.find(strId);
    if (itNode == m_ids.end() || !Is(itNode->second, "material"))
    {
        m_log.Warn(nLine, "material [" + strId + "] is not defined; the default material is used");
        return m_mapMaterials[strId] = -1;
    }
    QelModelMaterial mat;
    mat.m_strName = Attr(itNode->second, "name").empty() ? strId : Attr(itNode->second, "name");
    const std::string strEffect = Fragment(Attr(Child(itNode->second, "instance_effect"), "url"));
    auto itEffect = m_ids.find(strEffect);
    if (itEffect != m_ids.end() && Is(itEffect->second, "effect"))
        ReadEffect(itEffect->second, mat);
    else
        m_log.Warn(Line(itNode->second), "effect [" + strEffect + "] of material [" + strId + "] is not defined");
    m_data.m_vMaterials.push_back(mat);
    return m_mapMaterials[strId] = int(m_data.m_vMaterials.size() - 1);
}

void QelColladaScene::ReadEffect(const xmlNode* pEffect, QelModelMaterial& mat)
{
    const xmlNode* pProfile = Child(pEffect, "profile_COMMON");
    const xmlNode* pTechnique = Child(pProfile, "technique");
    const xmlNode* pShading = nullptr;
    for (const char* pName : {"constant", "lambert", "phong", "blinn"})
        if (!pShading)
            pShading = Child(pTechnique, pName);
    if (!pShading)
    {
        m_log.Warn(Line(pEffect), "effect [" + Attr(pEffect, "id") + "] has no common-profile shading; default colors are used");
        return;
    }
    const struct
    {
        const char* pName;
        QelVec4* pColor;
        QelModelTextureMap::EChannel eChannel;
    } kColors[] = {{"emission", &mat.m_vecEmissive, QelModelTextureMap::eChannelEmissive},
                   {"ambient", &mat.m_vecAmbient, QelModelTextureMap::eChannelAmbient},
                   {"diffuse", &mat.m_vecDiffuse, QelModelTextureMap::eChannelDiffuse},
                   {"specular", &mat.m_vecSpecular, QelModelTextureMap::eChannelSpecular}};
    std::vector<float> v;
    for (const auto& k : kColors)
    {
        const xmlNode* pChannel = Child(pShading, k.pName);
        if (Numbers(Child(pChannel, "color"), 3, v))
            *k.pColor = QelVec4(v[0], v[1], v[2], v.size() > 3 ? v[3] : 1.0f);
        if (const xmlNode* pTexture = Child(pChannel, "texture"))
        {
            const std::string strName = ImageFile(Attr(pTexture, "texture"), pProfile);
            QelModelTextureMap map;
            map.m_eChannel = k.eChannel;
            map.m_strFilename = strName.empty() ? std::string() : QelPath::FindFile(strName, m_strFolder);
            if (map.m_strFilename.empty())
                m_log.Warn(Line(pTexture), "texture [" + (strName.empty() ? Attr(pTexture, "texture") : strName) +
                                               "] not found; the material is drawn without it");
            else
                mat.m_vTextures.push_back(map);
        }
    }
    if (Numbers(Child(Child(pShading, "shininess"), "float"), 1, v))
        mat.m_fShininess = std::min(std::max(v[0], 0.0f), 128.0f);
    const xmlNode* pTransparent = Child(pShading, "transparent");
    float fTransparency = 1.0f;
    if (Numbers(Child(Child(pShading, "transparency"), "float"), 1, v))
        fTransparency = v[0];
    if (pTransparent && Numbers(Child(pTransparent, "color"), 3, v))
    {
        const float fAlpha = v.size() > 3 ? v[3] : 1.0f;
        const float fOpacity = Attr(pTransparent, "opaque") == "RGB_ZERO"
                                   ? 1.0f - fTransparency * (v[0] * 0.212671f + v[1] * 0.71516f + v[2] * 0.072169f)
                                   : fAlpha * fTransparency;
        mat.m_fOpacity = std::min(std::max(fOpacity, 0.0f), 1.0f);
    }
}

std::string QelColladaScene::ImageFile(const std::string& strTexture, const xmlNode* pProfile)
{
    // texture -> sampler parameter -> surface parameter -> image; a name that is no parameter is
    // taken as the image's id, as several writers do.
    std::string strImage = strTexture;
    if (const xmlNode* pSampler = Child(ParamBySid(pProfile, strTexture), "sampler2D"))
    {
        if (const xmlNode* pInstance = Child(pSampler, "instance_image"))
            strImage = Fragment(Attr(pInstance, "url"));
        else
            strImage = Text(Child(Child(ParamBySid(pProfile, Text(Child(pSampler, "source"))), "surface"), "init_from"));
    }
    auto it = m_ids.find(strImage);
    if (it == m_ids.end() || !Is(it->second, "image"))
        return std::string();
    const xmlNode* pInit = Child(it->second, "init_from");
    const xmlNode* pRef = Child(pInit, "ref");
    return UriToPath(Text(pRef ? pRef : pInit));
}
