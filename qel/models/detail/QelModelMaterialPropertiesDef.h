#pragma once

#include "qel/models/QelModelMaterial.h"

#include <string>
#include <vector>

class QelModelData;
class QelProperty;
class QelPropertyContainer;
class QelXMLInterface;

/// The materials of a model put in front of the user as properties of the model:
/// "Material:<name>:Ambient", ":Diffuse", ":Specular", ":Emissive" (colors), ":Shininess" (0 to 128)
/// and ":Transparency" (0 opaque to 1 invisible). The file's values are the defaults; a property
/// that differs from its file value is an edit, and only edits are saved, so that a model file
/// changed on disk still shows through wherever the user did not touch it.
///
/// The <name> part is the material's name with ':' and bytes outside printable ASCII turned into
/// '_' (a ':' would split the panel's group), "Unnamed" for an empty name, and " (2)", " (3)" after
/// a name met before, so that every material gets its own group.
class QelModelMaterialPropertiesDef
{
public:
    enum EField
    {
        eFieldAmbient = 0,
        eFieldDiffuse,
        eFieldSpecular,
        eFieldEmissive,
        eFieldShininess,
        eFieldTransparency,
        eFieldCount
    };

    /// Shows the data's materials with their file values, reusing the properties of a name shown
    /// before. Properties of names the data no longer has are only unlisted: a reload runs inside
    /// a property read, which may be a read of one of them, so DropOrphans deletes them later.
    void Build(QelPropertyContainer& cContainer, const QelModelData& data);
    /// Deletes the properties Build unlisted; call where no property of the model is being read.
    void DropOrphans(QelPropertyContainer& cContainer);

    /// Gives the data's materials the properties' values; the indices of those that changed are
    /// appended to vChanged.
    void Apply(QelModelData& data, std::vector<size_t>& vChanged);

    /// Writes a "Materials" child holding the edited values, and the saved edits of materials the
    /// file no longer has (kept so that saving again loses nothing). Nothing when there are none.
    bool Save(QelXMLInterface& cXml) const;
    /// Reads what Save writes and sets the properties through their clamping setters. Edits of a
    /// material the model does not have are kept for Save and reported with a warning naming
    /// strModel; an unreadable value is skipped with a warning.
    void Load(QelXMLInterface& cXml, const std::string& strModel);
    /// Forgets the saved edits of missing materials (a new file is loaded).
    void ClearPending() { m_vPending.clear(); }

    /// The description of one of these properties; empty for any other.
    std::string Description(const QelProperty* pProperty) const;

private:
    /// One material as shown: its key, its index in the data and its file values.
    struct SMaterial
    {
        std::string m_strKey;
        size_t m_nMaterial = 0;
        QelModelMaterial m_cFile;
        QelProperty* m_apFields[eFieldCount] = {};
    };
    /// Saved values of one material as text, empty where the field was not edited.
    struct SEdit
    {
        std::string m_strKey;
        std::string m_astrText[eFieldCount];
    };

    static std::vector<std::string> MakeKeys(const QelModelData& data);
    void Edits(std::vector<SEdit>& vOut) const;

    std::vector<SMaterial> m_vMaterials;
    std::vector<QelProperty*> m_vOrphans;
    std::vector<SEdit> m_vPending;
};
