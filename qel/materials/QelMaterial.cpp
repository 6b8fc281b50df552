#include "qel/materials/QelMaterial.h"

#include "qel/framework/QelSysApp.h"
#include "qel/materials/QelMaterialInterface.h"
#include "qel/materials/detail/QelTextureUnitState.h"
#include "qel/xml/QelXMLInterface.h"

#include <GL/glew.h>

#include <algorithm>

namespace
{
QelVec4 Modulated(const QelVec4& c, const QelVec4& vecColor, float fFactor)
{
    return QelVec4(c.x * vecColor.x * fFactor, c.y * vecColor.y * fFactor, c.z * vecColor.z * fFactor, c.w * vecColor.w);
}

const char* const kColorNames[4] = {"Ambient", "Diffuse", "Specular", "Emissive"};
const char* const kChannels[4] = {"R", "G", "B", "A"};

/// What a document keeps of a texture's file: relative to the document when the host converts
/// paths, else only the name (the host's folders mean nothing to another machine).
std::string FilenameForDocument(const std::string& strFilename)
{
    if (strFilename.empty())
        return strFilename;
    if (QelSysApp::m_pQelSysApp)
    {
        std::string strRelative = QelSysApp::m_pQelSysApp->ConvertPathToRelative(strFilename);
        if (!strRelative.empty())
            return strRelative;
    }
    const size_t nSlash = strFilename.find_last_of("/\\");
    return nSlash == std::string::npos ? strFilename : strFilename.substr(nSlash + 1);
}

std::string FilenameFromDocument(const std::string& strFilename)
{
    if (strFilename.empty() || !QelSysApp::m_pQelSysApp)
        return strFilename;
    const std::string strAbsolute = QelSysApp::m_pQelSysApp->ConvertPathToAbsolute(strFilename);
    return strAbsolute.empty() ? strFilename : strAbsolute;
}

void SaveLayer(QelXMLInterface* pXml, const QelTextureLayer& c)
{
    pXml->WriteBool("Enable", c.m_bEnabled);
    pXml->WriteString("Filename", FilenameForDocument(c.m_strFilename));
    pXml->WriteInt("Type", c.m_nCoordinates);
    pXml->WriteInt("Tile", c.m_nTile);
    pXml->WriteInt("Function", c.m_nFunction);
    pXml->WriteFloat("TileU", c.m_fTileU);
    pXml->WriteFloat("TileV", c.m_fTileV);
    pXml->WriteFloat("OffsetU", c.m_fOffsetU);
    pXml->WriteFloat("OffsetV", c.m_fOffsetV);
    pXml->WriteFloat("Rotation", c.m_fRotation);
}

QelTextureLayer LoadLayer(QelXMLInterface* pXml)
{
    QelTextureLayer c;
    c.m_bEnabled = pXml->ReadBool("Enable", c.m_bEnabled);
    c.m_strFilename = FilenameFromDocument(pXml->ReadString("Filename", ""));
    c.m_nCoordinates = std::clamp(pXml->ReadInt("Type", c.m_nCoordinates), 0, QelTextureLayer::eCoordEnd - 1);
    c.m_nTile = std::clamp(pXml->ReadInt("Tile", c.m_nTile), 0, int(QelTextureLayer::eTileBoth));
    c.m_nFunction = std::clamp(pXml->ReadInt("Function", c.m_nFunction), 0, QelTextureLayer::eFunctionCount - 1);
    c.m_fTileU = pXml->ReadFloat("TileU", c.m_fTileU);
    c.m_fTileV = pXml->ReadFloat("TileV", c.m_fTileV);
    c.m_fOffsetU = pXml->ReadFloat("OffsetU", c.m_fOffsetU);
    c.m_fOffsetV = pXml->ReadFloat("OffsetV", c.m_fOffsetV);
    c.m_fRotation = pXml->ReadFloat("Rotation", c.m_fRotation);
    if (!c.m_strFilename.empty())
        c.m_cTexture.LoadFromFile(c.m_strFilename, true);
    return c;
}
} // namespace

QelMaterial::QelMaterial()
{
    Reset();
}

QelMaterial::QelMaterial(const QelMaterial& other) = default;
QelMaterial& QelMaterial::operator=(const QelMaterial& other) = default;
QelMaterial::~QelMaterial() = default;

void QelMaterial::Reset()
{
    m_strName = "Material";
    m_vecAmbient = QelVec4(0.2f, 0.2f, 0.2f, 1.0f);
    m_vecDiffuse = QelVec4(0.8f, 0.8f, 0.8f, 1.0f);
    m_vecSpecular = QelVec4(0.0f, 0.0f, 0.0f, 1.0f);
    m_vecEmissive = QelVec4(0.0f, 0.0f, 0.0f, 1.0f);
    m_fShininess = 0.0f;
    m_nRenderLayer = 0;
    m_vLayers.clear();
}

void QelMaterial::Set(const QelMaterialInterface& cInterface)
{
    if (cInterface.UsesStandardTextures())
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelMaterial - Can not copy QelMaterialInterfaces that use standard textures.\n");
        return;
    }
    *this = cInterface.GetMaterial();
}

void QelMaterial::Modulate(const QelVec4& vecColor, float fAmbient, float fDiffuse, float fSpecular, float fEmissive)
{
    m_vecAmbient = Modulated(m_vecAmbient, vecColor, fAmbient);
    m_vecDiffuse = Modulated(m_vecDiffuse, vecColor, fDiffuse);
    m_vecSpecular = Modulated(m_vecSpecular, vecColor, fSpecular);
    m_vecEmissive = Modulated(m_vecEmissive, vecColor, fEmissive);
}

void QelMaterial::Activate(const QelVec4& vecColor, float fAmbient, float fDiffuse, float fSpecular,
                           float fEmissive) const
{
    Activate(vecColor, fAmbient, fDiffuse, fSpecular, fEmissive, 1.0f, 1.0f, true);
}

void QelMaterial::Activate(const QelVec4& vecColor, float fAmbient, float fDiffuse, float fSpecular, float fEmissive,
                           float fUScale, float fVScale, bool bTextures) const
{
    const QelVec4 vecDiffuse = Modulated(m_vecDiffuse, vecColor, fDiffuse);
    glMaterialfv(GL_FRONT_AND_BACK, GL_AMBIENT, Modulated(m_vecAmbient, vecColor, fAmbient));
    glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, vecDiffuse);
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, Modulated(m_vecSpecular, vecColor, fSpecular));
    glMaterialfv(GL_FRONT_AND_BACK, GL_EMISSION, Modulated(m_vecEmissive, vecColor, fEmissive));
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, std::clamp(m_fShininess, 0.0f, 128.0f));
    // Unlit drawing shows the diffuse color, the one an artist reads as "the color" of a material.
    glColor4fv(vecDiffuse);

    m_nUnitsUsed = 0;
    if (!bTextures || m_vLayers.empty())
        return;
    GLboolean bOn = GL_FALSE;
    glGetBooleanv(GL_TEXTURE_2D, &bOn);
    m_bCallerTexturing = bOn == GL_TRUE;
    const int nUnits = QelTextureUnitCount();
    int nUnit = 0;
    for (const QelTextureLayer& c : m_vLayers)
    {
        if (nUnit >= nUnits)
            break;
        if (!c.m_bEnabled)
            continue;
        QelSelectTextureUnit(nUnit);
        // A unit the layer could not use stays free for the next layer.
        if (QelApplyTextureLayer(c, m_bCallerTexturing && nUnit == 0, fUScale, fVScale))
            m_nUnitsUsed = ++nUnit;
    }
    QelSelectTextureUnit(0);
}

void QelMaterial::Deactivate() const
{
    for (int nUnit = m_nUnitsUsed - 1; nUnit >= 0; --nUnit)
    {
        QelSelectTextureUnit(nUnit);
        QelResetTextureUnit();
    }
    if (m_nUnitsUsed > 0 && m_bCallerTexturing)
        glEnable(GL_TEXTURE_2D);
    m_nUnitsUsed = 0;
}

void QelMaterial::Save(QelXMLInterface* pXml, bool bTextures)
{
    if (!pXml)
        return;
    pXml->WriteString("Name", m_strName);
    const QelVec4* aColors[4] = {&m_vecAmbient, &m_vecDiffuse, &m_vecSpecular, &m_vecEmissive};
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 4; ++k)
            pXml->WriteFloat(std::string(kColorNames[i]) + kChannels[k], (*aColors[i])[k]);
    pXml->WriteFloat("Shininess", m_fShininess);
    pXml->WriteInt("RenderLayer", m_nRenderLayer);
    if (!bTextures || !pXml->AddAndMoveToChildNode("Textures"))
        return;
    for (const QelTextureLayer& c : m_vLayers)
        if (pXml->AddAndMoveToChildNode("Texture"))
        {
            SaveLayer(pXml, c);
            pXml->MoveToParent();
        }
    pXml->MoveToParent();
}

void QelMaterial::Load(QelXMLInterface* pXml)
{
    if (!pXml || !pXml->IsValid())
        return;
    m_strName = pXml->ReadString("Name", m_strName);
    QelVec4* aColors[4] = {&m_vecAmbient, &m_vecDiffuse, &m_vecSpecular, &m_vecEmissive};
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 4; ++k)
            (*aColors[i])[k] = pXml->ReadFloat(std::string(kColorNames[i]) + kChannels[k], (*aColors[i])[k]);
    m_fShininess = pXml->ReadFloat("Shininess", m_fShininess);
    m_nRenderLayer = pXml->ReadInt("RenderLayer", m_nRenderLayer);
    if (!pXml->PushPosition())
        return;
    if (pXml->MoveToChildNode("Textures"))
    {
        m_vLayers.clear();
        for (bool bAt = pXml->MoveToFirstChildNode(); bAt; bAt = pXml->MoveToNextSibling())
            if (pXml->GetNodeName() == "Texture")
                m_vLayers.push_back(LoadLayer(pXml));
    }
    pXml->PopPosition();
}
