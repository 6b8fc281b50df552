#pragma once

#include "qel/framework/QelPluginAttributes.h"
#include "qel/framework/QelSandboxIcon.h"
#include "qel/platform/QelExport.h"
#include "qel/properties/QelDataType.h"

#include <string>
#include <vector>

class QelProperty;

/// An object as an instance of a registered kind of plug-in, described by its attributes, with the
/// hooks for per-frame work, persistence, data files and default connections.
class QEL_EXPORT QelPlugin : public QelSandboxIcon
{
public:
    /// A file type a plug-in opens: its extension without the dot ("obj") and a description.
    struct SFileExtension
    {
        /// The extension without the dot, as "obj".
        std::string m_strExtension;
        /// What the file dialog shows for it.
        std::string m_strDescription;
    };

    /// A plug-in of no registered kind: empty attributes, zero class identifier.
    QelPlugin();
    /// A plug-in of the kind the attributes describe; they are copied.
    explicit QelPlugin(const QelPluginAttributes& cAttributes);
    /// Copies the icon part and the attributes.
    ///@{
    QelPlugin(const QelPlugin& other) = default;
    QelPlugin& operator=(const QelPlugin& other) = default;
    ///@}
    ~QelPlugin() override;

    /// The attributes of the plug-in's kind, one by one or whole.
    ///@{
    const GUID& GetClassID() const { return m_cAttributes.m_guidClassId; }
    const std::string& GetType() const { return m_cAttributes.m_strType; }
    const std::string& GetCategories() const { return m_cAttributes.m_strCategories; }
    const std::string& GetCreator() const { return m_cAttributes.m_strCreator; }
    const std::string& GetInfo() const { return m_cAttributes.m_strInfo; }
    const std::string& GetKeywords() const { return m_cAttributes.m_strKeywords; }
    int GetFlags() const { return m_cAttributes.m_nFlags; }
    const QelPluginAttributes& GetPluginAttributes() const { return m_cAttributes; }
    ///@}

    /// The information text of the kind, else its type, else the object's name.
    std::string GetIconDescription() override;
    /// Empty: no help file in this class.
    virtual std::string GetHelpFilename();

    /// Per-frame work; false: nothing to advance.
    virtual bool Advance();
    /// Reads what QelSandboxIcon reads (the icon position).
    bool Load(QelXMLInterface* pXML) override;
    /// Writes the icon position as "XPos" and "YPos", so that Load finds it again.
    bool Save(QelXMLInterface* pXML) override;
    /// Opens a data file dropped on or assigned to the object; true when it was taken. False
    /// in this class.
    virtual bool OpenDataFile(const std::string& strFilename);
    /// Does what opening the object's data file means by default (reload, show); true when
    /// something was done. False in this class.
    virtual bool TakeDefaultDataFileAction();
    /// Appends the file types OpenDataFile accepts, for the host's dialogs. None in this class.
    virtual void GetSupportedFileExtensions(std::vector<SFileExtension>& vecExtensions);
    /// The value types this object accepts as connections from other objects' properties.
    /// Empty in this class.
    virtual const std::vector<QelDataType>& GetSupportedConnectionTypes() const;
    /// Connects a newly placed object to suitable properties among those given; true when any
    /// connection was made. False in this class.
    virtual bool MakeDefaultConnections(const std::vector<QelProperty*>& vecProperties);

private:
    QelPluginAttributes m_cAttributes;
};
