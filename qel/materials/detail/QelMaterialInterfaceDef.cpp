#include "qel/materials/detail/QelMaterialInterfaceDef.h"

#include "qel/math/QelVecColor.h"
#include "qel/platform/QelString.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"

#include <algorithm>

namespace
{
const std::vector<std::string> kStates = {"Disabled", "Enabled", "Inherit"};
const std::vector<std::string> kFunctions = {"Custom", "Modulate", "Decal", "Blend", "Replace"};
const std::vector<std::string> kTiles = {"None", "U", "V", "Both"};

std::vector<std::string> CoordinateNames()
{
    std::vector<std::string> v;
    for (int i = 0; i < QelTextureLayer::kTexCoordSets; ++i)
        v.push_back(QelFormat("TexCoord %d", i));
    for (const char* p : {"Cube Normal", "Cube Reflection", "Sphere Map", "Object Linear", "Eye Linear"})
        v.push_back(p);
    return v;
}

QelProperty* MakeEnum(QelPropertyContainer* pContainer, const std::string& strName,
                      const std::vector<std::string>& vNames)
{
    QelProperty* p = pContainer->CreateProperty(strName, eDataInteger);
    if (p)
        p->SetEnumerationNames(vNames, {});
    return p;
}

QelProperty* MakeReal(QelPropertyContainer* pContainer, const std::string& strName)
{
    return pContainer->CreateProperty(strName, eDataReal);
}

template <typename T, typename U>
void Update(T& rField, const U& value, bool& bChanged)
{
    if (!(rField == value))
    {
        rField = value;
        bChanged = true;
    }
}

void ReadInt(QelProperty* p, int& rField, bool& bChanged)
{
    if (p)
        Update(rField, p->GetAsInt(), bChanged);
}

void ReadFloat(QelProperty* p, float& rField, bool& bChanged)
{
    if (p)
        Update(rField, p->GetAsFloat(), bChanged);
}

void WriteInt(QelProperty* p, int n)
{
    if (p && p->GetAsVariantWithoutPull() != QelVariant(n))
        p->SetAsInt(n);
}

void WriteFloat(QelProperty* p, float f)
{
    if (p && p->GetAsVariantWithoutPull() != QelVariant(double(f)))
        p->SetAsFloat(f);
}

void Delete(QelPropertyContainer* pContainer, QelProperty*& p)
{
    if (pContainer && p)
        pContainer->DeleteProperty(p);
    p = nullptr;
}
} // namespace

void QelMaterialInterfaceDef::CreateLayerProperties()
{
    QelLayerProperties c;
    const int n = int(m_vLayers.size()) + 1;
    auto name = [&](const char* pFormat) { return m_strPrefix + QelFormat(pFormat, n); };
    c.m_pEnabled = MakeEnum(m_pContainer, name(":Texture %d:Enabled"), kStates);
    std::vector<std::string> vChoices = {"File"};
    vChoices.insert(vChoices.end(), m_vStandardNames.begin(), m_vStandardNames.end());
    c.m_pTexture = MakeEnum(m_pContainer, name(":Texture %d:Texture"), vChoices);
    c.m_pFilename = m_pContainer->CreateProperty(name(":Texture %d:Filename"), eDataFilename);
    c.m_pFunction = MakeEnum(m_pContainer, name(":Texture %d:Function"), kFunctions);
    c.m_pCoordinates = m_pContainer->CreateProperty(name(":Texture %d:Coordinates"), eDataInteger);
    if (c.m_pCoordinates)
    {
        std::vector<int> vValues;
        for (int i = 0; i < QelTextureLayer::eCoordEnd; ++i)
            vValues.push_back(i);
        c.m_pCoordinates->SetEnumerationNames(CoordinateNames(), vValues);
    }
    if (m_bPlacement)
    {
        c.m_pTile = MakeEnum(m_pContainer, name(":Texture %d:Tile"), kTiles);
        c.m_pTileU = MakeReal(m_pContainer, name(":Texture %d:Tile U"));
        c.m_pTileV = MakeReal(m_pContainer, name(":Texture %d:Tile V"));
        c.m_pOffsetU = MakeReal(m_pContainer, name(":Texture %d:Offset U"));
        c.m_pOffsetV = MakeReal(m_pContainer, name(":Texture %d:Offset V"));
        c.m_pRotation = MakeReal(m_pContainer, name(":Texture %d:Rotation"));
    }
    m_vLayers.push_back(c);
}

void QelMaterialInterfaceDef::DestroyLastLayerProperties()
{
    QelLayerProperties& c = m_vLayers.back();
    for (QelProperty** pp : {&c.m_pEnabled, &c.m_pTexture, &c.m_pFilename, &c.m_pFunction, &c.m_pCoordinates,
                             &c.m_pTile, &c.m_pTileU, &c.m_pTileV, &c.m_pOffsetU, &c.m_pOffsetV, &c.m_pRotation})
        Delete(m_pContainer, *pp);
    m_vLayers.pop_back();
}

void QelMaterialInterfaceDef::DestroyAll()
{
    while (!m_vLayers.empty())
        DestroyLastLayerProperties();
    for (QelProperty** pp : {&m_pName, &m_apColors[0], &m_apColors[1], &m_apColors[2], &m_apColors[3], &m_pShininess,
                             &m_pRenderLayer, &m_pTextures})
        Delete(m_pContainer, *pp);
    m_pContainer = nullptr;
}

void QelMaterialInterfaceDef::WriteProperties()
{
    QelMaterial& m = m_cMaterial;
    if (m_pName && m_pName->GetAsVariantWithoutPull() != QelVariant(m.m_strName))
        m_pName->SetAsString(m.m_strName);
    const QelVec4* aColors[4] = {&m.m_vecAmbient, &m.m_vecDiffuse, &m.m_vecSpecular, &m.m_vecEmissive};
    for (int i = 0; i < 4; ++i)
        if (m_apColors[i])
            m_apColors[i]->SetAsColor(ColorToDW(*aColors[i]));
    WriteFloat(m_pShininess, m.m_fShininess);
    WriteInt(m_pRenderLayer, m.m_nRenderLayer);
    if (!m_bTextures)
        return;
    const int nLayers = m_pTextures ? std::min(int(m.m_vLayers.size()), kMaxLayers) : 1;
    WriteInt(m_pTextures, nLayers);
    while (int(m_vLayers.size()) < nLayers)
        CreateLayerProperties();
    while (int(m_vLayers.size()) > nLayers)
        DestroyLastLayerProperties();
    if (m.m_vLayers.size() < m_vLayers.size())
        m.m_vLayers.resize(m_vLayers.size());
    for (size_t i = 0; i < m_vLayers.size(); ++i)
    {
        QelLayerProperties& p = m_vLayers[i];
        const QelTextureLayer& c = m.m_vLayers[i];
        int nChoice = 0;
        for (size_t k = 0; k < m_vStandardTextures.size() && c.m_cTexture.IsValid(); ++k)
            if (m_vStandardTextures[k] == c.m_cTexture)
                nChoice = int(k) + 1;
        // A layer without a texture inherits in the material anyway; "Inherit" is for the user who
        // wants the caller's texture in place of a named file.
        p.m_nLoadedState = c.m_bEnabled ? eLayerEnabled : eLayerDisabled;
        p.m_nLoadedChoice = nChoice;
        p.m_strLoadedFile = c.m_strFilename;
        WriteInt(p.m_pEnabled, p.m_nLoadedState);
        WriteInt(p.m_pTexture, nChoice);
        if (p.m_pFilename && p.m_pFilename->GetAsVariantWithoutPull() != QelVariant(c.m_strFilename))
            p.m_pFilename->SetAsString(c.m_strFilename);
        WriteInt(p.m_pFunction, c.m_nFunction);
        WriteInt(p.m_pCoordinates, c.m_nCoordinates);
        WriteInt(p.m_pTile, c.m_nTile);
        WriteFloat(p.m_pTileU, c.m_fTileU);
        WriteFloat(p.m_pTileV, c.m_fTileV);
        WriteFloat(p.m_pOffsetU, c.m_fOffsetU);
        WriteFloat(p.m_pOffsetV, c.m_fOffsetV);
        WriteFloat(p.m_pRotation, c.m_fRotation);
    }
}

bool QelMaterialInterfaceDef::ReadProperties()
{
    QelMaterial& m = m_cMaterial;
    bool bChanged = false;
    if (m_pName)
        Update(m.m_strName, m_pName->GetAsString(), bChanged);
    QelVec4* aColors[4] = {&m.m_vecAmbient, &m.m_vecDiffuse, &m.m_vecSpecular, &m.m_vecEmissive};
    for (int i = 0; i < 4; ++i)
    {
        // The properties hold 8-bit colors: only a different byte is an edit.
        const QelPackedColor nColor = m_apColors[i] ? m_apColors[i]->GetAsColor() : 0;
        if (m_apColors[i] && nColor != ColorToDW(*aColors[i]))
            Update(*aColors[i], QelVec4(nColor, true), bChanged);
    }
    ReadFloat(m_pShininess, m.m_fShininess, bChanged);
    ReadInt(m_pRenderLayer, m.m_nRenderLayer, bChanged);
    if (!m_bTextures)
        return bChanged;
    if (m_pTextures)
    {
        const int nLayers = std::clamp(m_pTextures->GetAsInt(), 0, kMaxLayers);
        while (int(m_vLayers.size()) < nLayers)
            CreateLayerProperties();
        while (int(m_vLayers.size()) > nLayers)
            DestroyLastLayerProperties();
        if (m.m_vLayers.size() != m_vLayers.size())
        {
            m.m_vLayers.resize(m_vLayers.size());
            bChanged = true;
        }
    }
    else if (m.m_vLayers.size() < m_vLayers.size())
    {
        m.m_vLayers.resize(m_vLayers.size());
        bChanged = true;
    }
    for (size_t i = 0; i < m_vLayers.size(); ++i)
    {
        QelLayerProperties& p = m_vLayers[i];
        QelTextureLayer& c = m.m_vLayers[i];
        const int nState = p.m_pEnabled ? p.m_pEnabled->GetAsInt() : int(eLayerEnabled);
        const int nChoice = p.m_pTexture ? p.m_pTexture->GetAsInt() : 0;
        const std::string strFile = p.m_pFilename ? p.m_pFilename->GetAsString() : c.m_strFilename;
        Update(c.m_bEnabled, nState != eLayerDisabled, bChanged);
        if (nState != p.m_nLoadedState || nChoice != p.m_nLoadedChoice || strFile != p.m_strLoadedFile)
        {
            p.m_nLoadedState = nState;
            p.m_nLoadedChoice = nChoice;
            p.m_strLoadedFile = strFile;
            bChanged = true;
            if (nState == eLayerInherit)
            {
                c.m_cTexture.Release();
                c.m_strFilename.clear();
            }
            else if (nChoice > 0 && size_t(nChoice) <= m_vStandardTextures.size())
            {
                c.m_cTexture = m_vStandardTextures[size_t(nChoice) - 1];
                c.m_strFilename.clear();
            }
            else
            {
                c.m_strFilename = strFile;
                if (strFile.empty())
                    c.m_cTexture.Release();
                else
                    c.m_cTexture.LoadFromFile(strFile, true);
            }
        }
        ReadInt(p.m_pFunction, c.m_nFunction, bChanged);
        ReadInt(p.m_pCoordinates, c.m_nCoordinates, bChanged);
        ReadInt(p.m_pTile, c.m_nTile, bChanged);
        ReadFloat(p.m_pTileU, c.m_fTileU, bChanged);
        ReadFloat(p.m_pTileV, c.m_fTileV, bChanged);
        ReadFloat(p.m_pOffsetU, c.m_fOffsetU, bChanged);
        ReadFloat(p.m_pOffsetV, c.m_fOffsetV, bChanged);
        ReadFloat(p.m_pRotation, c.m_fRotation, bChanged);
    }
    return bChanged;
}
