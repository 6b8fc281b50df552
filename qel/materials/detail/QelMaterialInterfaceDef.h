#pragma once

#include "qel/materials/QelMaterial.h"
#include "qel/materials/QelTexture.h"

#include <string>
#include <vector>

class QelProperty;
class QelPropertyContainer;

/// The properties of one texture layer (null where the switches left a group out).
struct QelLayerProperties
{
    QelProperty* m_pEnabled = nullptr;
    QelProperty* m_pTexture = nullptr;
    QelProperty* m_pFilename = nullptr;
    QelProperty* m_pFunction = nullptr;
    QelProperty* m_pCoordinates = nullptr;
    QelProperty* m_pTile = nullptr;
    QelProperty* m_pTileU = nullptr;
    QelProperty* m_pTileV = nullptr;
    QelProperty* m_pOffsetU = nullptr;
    QelProperty* m_pOffsetV = nullptr;
    QelProperty* m_pRotation = nullptr;
    /// Where the layer's texture came from at the last Calculate, so that it reloads only when
    /// the user changed it.
    int m_nLoadedState = -1;
    int m_nLoadedChoice = -1;
    std::string m_strLoadedFile;
};

/// The data of a QelMaterialInterface.
class QelMaterialInterfaceDef
{
public:
    /// The ":Enabled" choices of a layer.
    enum ELayerState
    {
        eLayerDisabled = 0,
        eLayerEnabled = 1,
        eLayerInherit = 2
    };
    static constexpr int kMaxLayers = 8;

    virtual ~QelMaterialInterfaceDef() = default;

    void CreateLayerProperties();
    void DestroyLastLayerProperties();
    void DestroyAll();
    /// Shows the material in the properties.
    void WriteProperties();
    /// Reads the properties into the material; true when it changed.
    bool ReadProperties();
    std::string Name(const char* pSuffix) const { return m_strPrefix + pSuffix; }

    QelMaterial m_cMaterial;
    QelPropertyContainer* m_pContainer = nullptr;
    std::string m_strPrefix;
    bool m_bTextures = false;
    bool m_bPlacement = false;
    QelProperty* m_pName = nullptr;
    QelProperty* m_apColors[4] = {nullptr, nullptr, nullptr, nullptr};
    QelProperty* m_pShininess = nullptr;
    QelProperty* m_pRenderLayer = nullptr;
    QelProperty* m_pTextures = nullptr;
    std::vector<QelLayerProperties> m_vLayers;
    std::vector<std::string> m_vStandardNames;
    std::vector<QelTexture> m_vStandardTextures;
    bool m_bChanged = false;
    bool m_bEnabled = true;
    float m_fUScale = 1.0f;
    float m_fVScale = 1.0f;
};
