#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/models/QelModelData.h"
#include "qel/platform/QelExport.h"

#include <string>

class QelProperty;
class QelXMLInterface;

/// A display object showing a model file: it loads the file named by its "Filename" property through
/// the loader registered for the file's extension, keeps its own copy of the model data (two models of
/// one file share nothing), and takes its extents and cull radius from the model's bounds. The file
/// name is saved with the object and the file is loaded again when the object is loaded.
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
    std::string GetFilename() const;
    /// The model as loaded (empty when nothing is loaded).
    const QelModelData& GetModelData() const { return m_cData; }

    /// The file dialog's filter: the common formats, then each registered type, then all files.
    static std::string GetFilenameFilters();

    /// Loads again when the "Filename" property was edited to another file.
    void Calculate() override;
    /// Writes the icon position and "Filename" (relative to the document when the host converts paths).
    bool Save(QelXMLInterface* pXML) override;
    /// Reads what Save writes and loads the file.
    bool Load(QelXMLInterface* pXML) override;
    std::string GetPropertyDescription(const QelProperty* pProperty) override;
    std::string GetPropertyFilenameFilter(QelProperty* pProperty) override;

private:
    bool LoadNamedFile(const std::string& strFile);

    QelProperty* m_pFilename = nullptr;
    std::string m_strLoaded;
    QelModelData m_cData;
};
