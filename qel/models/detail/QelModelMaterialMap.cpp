#include "qel/models/detail/QelModelMaterialMap.h"

#include "qel/framework/QelSysApp.h"
#include "qel/util/QelPath.h"

#include <algorithm>

namespace
{
/// The one channel fixed-function drawing can show; the others stay in the data for saving.
bool AddDiffuseMap(const QelModelMaterial& cModel, const std::string& strModelFile, QelMaterial& cOut)
{
    const QelModelTextureMap* pMap = cModel.FindTexture(QelModelTextureMap::eChannelDiffuse);
    if (!pMap || pMap->m_strFilename.empty())
        return false;
    const std::string strFile = QelPath::FindFile(pMap->m_strFilename, QelPath::Folder(strModelFile));
    if (strFile.empty())
    {
        QelSysApp::App().PrintToConsole("<warning> QelModel - Texture [%s] of material [%s] not found; drawn without it\n",
                                        pMap->m_strFilename.c_str(), cModel.m_strName.c_str());
        return false;
    }
    QelTextureLayer cLayer;
    cLayer.m_strFilename = strFile;
    // The texture reports its own failure to read the image.
    if (!cLayer.m_cTexture.LoadFromFile(strFile, true))
        return false;
    cLayer.m_nFunction = QelTextureLayer::eFunctionModulate;
    cLayer.m_nCoordinates =
        QelTextureLayer::eCoordTexCoord0 + std::clamp(pMap->m_nTexCoordLayer, 0, QelTextureLayer::kTexCoordSets - 1);
    cLayer.m_nTile = pMap->m_bClamp ? QelTextureLayer::eTileNone : QelTextureLayer::eTileBoth;
    cLayer.m_fTileU = pMap->m_vecScale.x;
    cLayer.m_fTileV = pMap->m_vecScale.y;
    cLayer.m_fOffsetU = pMap->m_vecOffset.x;
    cLayer.m_fOffsetV = pMap->m_vecOffset.y;
    cOut.m_vLayers.push_back(cLayer);
    return true;
}
} // namespace

void QelMapModelColors(const QelModelMaterial& cModel, QelMaterial& cOut)
{
    cOut.m_strName = cModel.m_strName;
    cOut.m_vecAmbient = cModel.m_vecAmbient;
    cOut.m_vecDiffuse = cModel.m_vecDiffuse;
    // A value that is not a number is drawn opaque, as the translucency test below reads it.
    cOut.m_vecDiffuse.w =
        cModel.m_fOpacity >= 0.0f ? std::min(cModel.m_fOpacity, 1.0f) : cModel.m_fOpacity < 0.0f ? 0.0f : 1.0f;
    cOut.m_vecSpecular = cModel.m_vecSpecular;
    cOut.m_vecEmissive = cModel.m_vecEmissive;
    cOut.m_fShininess = cModel.m_fShininess > 0.0f ? std::min(cModel.m_fShininess, 128.0f) : 0.0f;
    cOut.m_nRenderLayer = cModel.IsTranslucent() ? 1 : 0;
}

QelMaterial QelMapModelMaterial(const QelModelMaterial& cModel, const std::string& strModelFile)
{
    QelMaterial c;
    QelMapModelColors(cModel, c);
    AddDiffuseMap(cModel, strModelFile, c);
    return c;
}
