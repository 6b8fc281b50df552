#pragma once

#include "qel/materials/QelMaterial.h"
#include "qel/materials/QelTexture.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

class QelMaterialInterfaceDef;
class QelProperty;
class QelPropertyContainer;

/// A material shown as properties of a container, so that users edit it like any other value;
/// Calculate turns the edited properties back into the material.
///
/// The container's own Calculate() calls this interface's Calculate(); HasChanged() then tells
/// whether an edit changed the material since it was last asked.
class QEL_EXPORT QelMaterialInterface
{
public:
    QelMaterialInterface();
    virtual ~QelMaterialInterface();
    QelMaterialInterface(const QelMaterialInterface&) = delete;
    QelMaterialInterface& operator=(const QelMaterialInterface&) = delete;

    /// Makes the properties, each named prefix + ":Name" and so on. The switches choose groups:
    /// the name; the four colors; the shininess; the render layer; texture layers (enabled, file,
    /// function, coordinates); their placement (tile directions, tiles, offsets, rotation); and
    /// several layers (a ":Textures" count) instead of one. Properties from an earlier call are
    /// destroyed first. The material's current values are shown.
    void CreateProperties(QelPropertyContainer* pContainer, const std::string& strPrefix, bool bName, bool bColors,
                          bool bShininess, bool bRenderLayer, bool bTextures, bool bTexturePlacement,
                          bool bMultipleLayers);
    /// Removes every property this interface made from the container.
    void DestroyProperties(QelPropertyContainer* pContainer);
    /// Textures the host offers by name in each layer's ":Texture" choice, beside "File".
    void SetStandardTextures(std::vector<std::string> vecNames, const std::vector<QelTexture>& vecTextures);
    /// True once SetStandardTextures gave at least one texture.
    bool UsesStandardTextures() const;

    /// Takes the material and shows it in the properties (null resets to the defaults).
    void Set(const QelMaterial* pMaterial);
    /// The material as of the last Set or Calculate; it lives as long as the interface.
    const QelMaterial& GetMaterial() const;

    /// Reads the properties into the material; textures load when their file or choice changed.
    void Calculate();
    /// True once after each Calculate that changed the material.
    bool HasChanged();

    /// Activates the material with its tiling scaled by the U and V factors; textures only while
    /// enabled.
    void Activate(const QelVec4& vecColor, float fAmbient, float fDiffuse, float fSpecular, float fEmissive);
    /// Undoes the textures; with bResetColor the current color becomes opaque white again.
    void Deactivate(bool bResetColor);
    /// Turns texturing of this material on or off (colors still apply).
    void Enable(bool bEnable);

    /// Factors Activate multiplies every layer's tiling by, e.g. to match a model's size; 1 by default.
    ///@{
    void SetUScaleFactor(float fScale);
    void SetVScaleFactor(float fScale);
    float GetUScaleFactor() const;
    float GetVScaleFactor() const;
    ///@}

    /// The description of one of the material's properties, by the end of its name; empty for
    /// other properties. With bAnyPrefix the prefix is not checked.
    std::string GetPropertyDescription(const QelProperty* pProperty, bool bAnyPrefix);

private:
    QelMaterialInterfaceDef* m_pDef;
};
