#include "qel/materials/QelMaterialInterface.h"

#include "qel/materials/detail/QelMaterialInterfaceDef.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"

#include <GL/glew.h>

namespace
{
struct Description
{
    const char* pSuffix;
    const char* pText;
};

// Longer endings first: ":Tile U" must not be taken for ":Tile".
const Description kDescriptions[] = {
    {":Name", "Name of this material"},
    {":Ambient", "Ambient color"},
    {":Diffuse", "Diffuse color"},
    {":Specular", "Specular color"},
    {":Emissive", "Emissive color"},
    {":Shininess", "Shininess of the material"},
    {":Render layer", "Render layer for this material, helps in drawing translucency correctly"},
    {":Textures", "Number of texture layers of this material"},
    {":Enabled", "Choose to enable, disable, or inherit texturing for this material"},
    {":Texture", "Choose a standard texture, or File to use the file named below"},
    {":Filename", "Filename of this texture"},
    {":Function", "Function used when applying this texture"},
    {":Coordinates", "Mapping of this texture onto the geometry"},
    {":Tile U", "Number of times this texture tiles in the U direction"},
    {":Tile V", "Number of times this texture tiles in the V direction"},
    {":Tile", "Choose directions for tiling"},
    {":Offset U", "Offset of this texture in the U direction"},
    {":Offset V", "Offset of this texture in the V direction"},
    {":Rotation", "Rotation of this texture"},
};

bool EndsWith(const std::string& s, const char* pSuffix)
{
    const size_t n = std::char_traits<char>::length(pSuffix);
    return s.size() >= n && s.compare(s.size() - n, n, pSuffix) == 0;
}
} // namespace

QelMaterialInterface::QelMaterialInterface() : m_pDef(new QelMaterialInterfaceDef) {}

QelMaterialInterface::~QelMaterialInterface()
{
    delete m_pDef;
}

void QelMaterialInterface::CreateProperties(QelPropertyContainer* pContainer, const std::string& strPrefix, bool bName,
                                            bool bColors, bool bShininess, bool bRenderLayer, bool bTextures,
                                            bool bTexturePlacement, bool bMultipleLayers)
{
    QelMaterialInterfaceDef& d = *m_pDef;
    if (d.m_pContainer)
        d.DestroyAll();
    if (!pContainer)
        return;
    d.m_pContainer = pContainer;
    d.m_strPrefix = strPrefix;
    d.m_bTextures = bTextures;
    d.m_bPlacement = bTexturePlacement;
    if (bName)
        d.m_pName = pContainer->CreateProperty(d.Name(":Name"), eDataString);
    if (bColors)
    {
        const char* aNames[4] = {":Ambient", ":Diffuse", ":Specular", ":Emissive"};
        for (int i = 0; i < 4; ++i)
            d.m_apColors[i] = pContainer->CreateProperty(d.Name(aNames[i]), eDataColor);
    }
    if (bShininess && (d.m_pShininess = pContainer->CreateProperty(d.Name(":Shininess"), eDataReal)))
        d.m_pShininess->SetClamp(0.0, 128.0);
    if (bRenderLayer)
        d.m_pRenderLayer = pContainer->CreateProperty(d.Name(":Render layer"), eDataInteger);
    if (bTextures && bMultipleLayers && (d.m_pTextures = pContainer->CreateProperty(d.Name(":Textures"), eDataInteger)))
        d.m_pTextures->SetClamp(0, QelMaterialInterfaceDef::kMaxLayers);
    d.WriteProperties();
}

void QelMaterialInterface::DestroyProperties(QelPropertyContainer* pContainer)
{
    if (pContainer && pContainer == m_pDef->m_pContainer)
        m_pDef->DestroyAll();
}

void QelMaterialInterface::SetStandardTextures(std::vector<std::string> vecNames,
                                               const std::vector<QelTexture>& vecTextures)
{
    vecNames.resize(vecTextures.size());
    m_pDef->m_vStandardNames = std::move(vecNames);
    m_pDef->m_vStandardTextures = vecTextures;
    std::vector<std::string> vChoices = {"File"};
    vChoices.insert(vChoices.end(), m_pDef->m_vStandardNames.begin(), m_pDef->m_vStandardNames.end());
    for (QelLayerProperties& p : m_pDef->m_vLayers)
        if (p.m_pTexture)
            p.m_pTexture->SetEnumerationNames(vChoices, {});
}

bool QelMaterialInterface::UsesStandardTextures() const
{
    return !m_pDef->m_vStandardTextures.empty();
}

void QelMaterialInterface::Set(const QelMaterial* pMaterial)
{
    m_pDef->m_cMaterial = pMaterial ? *pMaterial : QelMaterial();
    if (m_pDef->m_pContainer)
        m_pDef->WriteProperties();
    m_pDef->m_bChanged = true;
}

const QelMaterial& QelMaterialInterface::GetMaterial() const
{
    return m_pDef->m_cMaterial;
}

void QelMaterialInterface::Calculate()
{
    if (m_pDef->m_pContainer && m_pDef->ReadProperties())
        m_pDef->m_bChanged = true;
}

bool QelMaterialInterface::HasChanged()
{
    const bool bChanged = m_pDef->m_bChanged;
    m_pDef->m_bChanged = false;
    return bChanged;
}

void QelMaterialInterface::Activate(const QelVec4& vecColor, float fAmbient, float fDiffuse, float fSpecular,
                                    float fEmissive)
{
    m_pDef->m_cMaterial.Activate(vecColor, fAmbient, fDiffuse, fSpecular, fEmissive, m_pDef->m_fUScale,
                                 m_pDef->m_fVScale, m_pDef->m_bEnabled);
}

void QelMaterialInterface::Deactivate(bool bResetColor)
{
    m_pDef->m_cMaterial.Deactivate();
    if (bResetColor)
        glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
}

void QelMaterialInterface::Enable(bool bEnable)
{
    m_pDef->m_bEnabled = bEnable;
}

void QelMaterialInterface::SetUScaleFactor(float fScale)
{
    m_pDef->m_fUScale = fScale;
}

void QelMaterialInterface::SetVScaleFactor(float fScale)
{
    m_pDef->m_fVScale = fScale;
}

float QelMaterialInterface::GetUScaleFactor() const
{
    return m_pDef->m_fUScale;
}

float QelMaterialInterface::GetVScaleFactor() const
{
    return m_pDef->m_fVScale;
}

std::string QelMaterialInterface::GetPropertyDescription(const QelProperty* pProperty, bool bAnyPrefix)
{
    if (!pProperty)
        return std::string();
    const std::string strName = pProperty->GetName();
    if (!bAnyPrefix && strName.compare(0, m_pDef->m_strPrefix.size(), m_pDef->m_strPrefix) != 0)
        return std::string();
    for (const Description& c : kDescriptions)
        if (EndsWith(strName, c.pSuffix))
            return c.pText;
    return std::string();
}
