#pragma once

#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelExport.h"

#include <string>

class QelXMLInterface;
class QelMasterXMLInterface;

/// The library's own model format: a versioned XML document of the library's persistence, stored
/// gzip-compressed, whose arrays are binary data. It holds everything model data holds, so any loaded
/// model can be written and read back bit for bit; texture files are stored relative to the model file.
class QEL_EXPORT CZmfLoader : public QelModelFormat
{
public:
    /// The version this build writes; documents of later versions are refused.
    static const int kVersion = 1;

    /// Registers "zmf".
    CZmfLoader();

    /// "ZUB Model Files".
    std::string GetLabel() const override;
    bool Load(const std::string& strFile, QelModelData& data) override;
    bool CanSave() const override;
    bool Save(const std::string& strFile, const QelModelData& data) override;

    /// Writes the model as a new document into xml; texture names are made relative to strFile.
    static bool WriteDocument(QelMasterXMLInterface& xml, const QelModelData& data, const std::string& strFile);
    /// Reads a model from the document xml stands in (at its root); strFile names it in messages and
    /// anchors relative texture names.
    static bool ReadDocument(QelXMLInterface& xml, QelModelData& data, const std::string& strFile);
    /// Reads a model from document text held in memory (uncompressed XML).
    static bool LoadFromMemory(const char* pData, size_t nSize, const std::string& strName, QelModelData& data);
};
