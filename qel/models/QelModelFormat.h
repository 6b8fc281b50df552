#pragma once

#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

class QelModelData;

/// Base of every model-file loader and, through its static members, the process-wide registry that
/// maps a file extension (compared without case) to the loader that reads it. A loader registers
/// its extensions in its constructor; the registry does not own the loaders.
class QEL_EXPORT QelModelFormat
{
public:
    /// One entry of the list of supported types.
    struct SFileType
    {
        /// Without the dot, as registered ("obj").
        std::string m_strExtension;
        /// The loader's label ("Wavefront Object Files").
        std::string m_strLabel;
        /// The loader itself.
        QelModelFormat* m_pFormat = nullptr;

        /// By label, then extension without case: the order of the file dialog's list.
        bool operator<(const SFileType& o) const;
    };

    QelModelFormat();
    virtual ~QelModelFormat();
    QelModelFormat(const QelModelFormat&) = delete;
    QelModelFormat& operator=(const QelModelFormat&) = delete;

    /// The loader for the text after the last '.' of the file name, or null.
    static QelModelFormat* GetFileHandlerForFilename(const std::string& strFile);
    /// One entry per registered extension, in the registry's order (extensions without case).
    static void GetSupportedFileTypes(std::vector<SFileType>& vTypes);
    /// Makes the built-in loaders (once per process) so that the registry knows them; the registry
    /// functions call it themselves.
    static void RegisterBuiltInFormats();

    /// The label shown in file dialogs; "" for a loader that does not override it.
    virtual std::string GetLabel() const;
    /// Reads the file into data (cleared first). False, with a message naming the file, when it
    /// cannot be read; a loader that overrides nothing reads nothing.
    virtual bool Load(const std::string& strFile, QelModelData& data);
    /// Whether Save is implemented.
    virtual bool CanSave() const;
    /// Writes the data in this format; false (with a message) when the format cannot be written.
    virtual bool Save(const std::string& strFile, const QelModelData& data);

protected:
    /// Registers this loader for an extension (without the dot). An extension taken already, in any
    /// case, is refused with an error and the first registration is kept.
    void Register(const std::string& strExtension);
};
