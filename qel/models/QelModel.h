#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/models/QelModelData.h"
#include "qel/platform/QelExport.h"

#include <memory>
#include <string>

class QelModelDrawDef;
class QelModelMaterialPropertiesDef;
class QelModelPickDef;
class QelProperty;
class QelXMLInterface;

/// A display object showing a model file: it loads the file named by its "Filename" property through
/// the loader registered for the file's extension, keeps its own copy of the model data (two models of
/// one file share nothing), and takes its extents and cull radius from the model's bounds. The file
/// name is saved with the object and the file is loaded again when the object is loaded.
///
/// Each material of the file is shown as properties "Material:<name>:Ambient", ":Diffuse",
/// ":Specular", ":Emissive", ":Shininess" and ":Transparency"; editing one changes the drawing. The
/// file's values are the defaults: only edited values are saved, and they are put back by name
/// once the file is loaded again.
///
/// Drawing uploads the meshes into geometry buffers and loads the materials' textures at the first
/// draw, in the OpenGL context current then; the model must be deleted (or reloaded) while that
/// context exists.
class QEL_EXPORT QelModel : public QelDisplayObject
{
public:
    QelModel();
    QelModel(const QelModel&) = delete;
    QelModel& operator=(const QelModel&) = delete;
    ~QelModel() override;

    /// Sets the "Filename" property and loads the file. An unknown extension is reported
    /// ("No loader found") and leaves the object empty; so does a file its loader cannot read.
    bool LoadFile(const std::string& strFile);
    /// The "Filename" property as it stands (it may name a file that failed to load); empty when none.
    std::string GetFilename() const;
    /// The model as loaded (empty when nothing is loaded).
    const QelModelData& GetModelData() const { return m_cData; }

    /// The file dialog's filter: the common formats, then each registered type, then all files.
    static std::string GetFilenameFilters();

    /// Draws the meshes material by material, opaque materials first and translucent ones after
    /// (blended, without depth writes), each group in ascending render layer, every mesh under its
    /// nodes' matrices. The OpenGL state it changes is restored.
    void Draw() override;
    /// The model's triangles under their nodes' matrices; null while nothing is loaded.
    QelPickMesh* GetPickMesh() override;

    /// Loads again when the "Filename" property was edited to another file; takes edited material
    /// properties into the model data and the drawing.
    void Calculate() override;
    /// Writes the icon position, "Filename" (relative to the document when the host converts paths)
    /// and the edited material values.
    bool Save(QelXMLInterface* pXML) override;
    /// Reads what Save writes, loads the file and applies the saved material edits; edits of a
    /// material the file no longer has are reported and kept for the next Save.
    bool Load(QelXMLInterface* pXML) override;
    std::string GetPropertyDescription(const QelProperty* pProperty) override;
    std::string GetPropertyFilenameFilter(QelProperty* pProperty) override;

private:
    bool LoadNamedFile(const std::string& strFile);
    bool ReadNamedFile(const std::string& strFile);

    QelProperty* m_pFilename = nullptr;
    std::string m_strLoaded;
    QelModelData m_cData;
    /// Made at the first draw and at the first pick, dropped with the data they were made from.
    std::unique_ptr<QelModelDrawDef> m_pDraw;
    std::unique_ptr<QelModelPickDef> m_pPick;
    std::unique_ptr<QelModelMaterialPropertiesDef> m_pMaterials;
};
