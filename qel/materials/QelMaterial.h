#pragma once

#include "qel/materials/QelTextureLayer.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

class QelMaterialInterface;
class QelXMLInterface;

/// A fixed-function OpenGL material: four colors, a shininess, a render layer and texture layers.
/// Saved to and loaded from XML; applied with Activate and undone with Deactivate.
class QEL_EXPORT QelMaterial
{
public:
    /// The defaults of Reset.
    QelMaterial();
    /// Copies every field; texture layers share their OpenGL textures with the source.
    ///@{
    QelMaterial(const QelMaterial& other);
    QelMaterial& operator=(const QelMaterial& other);
    ///@}
    ~QelMaterial();

    /// OpenGL's own material defaults (ambient 0.2, diffuse 0.8, specular and emission black,
    /// shininess 0), the name "Material", render layer 0, no texture layers.
    void Reset();
    /// Copies the interface's material; refused (with an error) when it uses standard textures.
    void Set(const QelMaterialInterface& cInterface);

    /// Sets the modulated colors (see Modulate) for both faces, the diffuse one as the current
    /// color too, then each enabled texture layer on its own texture unit.
    void Activate(const QelVec4& vecColor, float fAmbient, float fDiffuse, float fSpecular, float fEmissive) const;
    /// As Activate, with the tiling of every layer scaled, and texture layers only when bTextures.
    void Activate(const QelVec4& vecColor, float fAmbient, float fDiffuse, float fSpecular, float fEmissive,
                  float fUScale, float fVScale, bool bTextures) const;
    /// Undoes what Activate did to the texture units: targets disabled (cube maps included),
    /// coordinate generation off, texture matrices reset, unit 0 active again.
    void Deactivate() const;
    /// Multiplies each color: R, G, B by the color's R, G, B times the color's own factor, A by the
    /// color's A alone.
    void Modulate(const QelVec4& vecColor, float fAmbient, float fDiffuse, float fSpecular, float fEmissive);

    /// Writes the fields under the current node, and the texture layers when bTextures.
    void Save(QelXMLInterface* pXml, bool bTextures);
    /// Reads what Save wrote; missing values keep theirs, layers are replaced when the document
    /// has a "Textures" element, and their textures are loaded.
    void Load(QelXMLInterface* pXml);

    /// Shown to the user and saved; not used for drawing.
    std::string m_strName;
    /// The colors as RGBA components in 0..1, passed to glMaterial for both faces.
    ///@{
    QelVec4 m_vecAmbient;
    QelVec4 m_vecDiffuse;
    QelVec4 m_vecSpecular;
    QelVec4 m_vecEmissive;
    ///@}
    /// The specular exponent; Activate limits it to OpenGL's 0 to 128.
    float m_fShininess = 0.0f;
    /// The drawing pass of translucent geometry: models draw layer by layer.
    int m_nRenderLayer = 0;
    /// The texture layers; Activate gives the enabled ones consecutive texture units, as many as
    /// the hardware has.
    std::vector<QelTextureLayer> m_vLayers;

private:
    /// What the last Activate changed, for Deactivate.
    mutable int m_nUnitsUsed = 0;
    mutable bool m_bCallerTexturing = false;
};
