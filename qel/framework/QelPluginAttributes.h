#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelGuid.h"

#include <string>

/// What describes a registered kind of plug-in: class identifier, type, categories, creator,
/// information, keywords and flags. A plain record, copied by value.
class QEL_EXPORT QelPluginAttributes
{
public:
    /// All empty: zero class identifier, empty strings, flags 0.
    QelPluginAttributes();
    /// The seven values in field order.
    QelPluginAttributes(const GUID& guidClassId, const std::string& strType, const std::string& strCategories,
                        const std::string& strCreator, const std::string& strInfo, const std::string& strKeywords,
                        int nFlags);
    /// A plain copy of every field.
    ///@{
    QelPluginAttributes(const QelPluginAttributes& other) = default;
    QelPluginAttributes& operator=(const QelPluginAttributes& other) = default;
    ///@}

    /// The all-zero class identifier.
    static const GUID kZeroGUID;

    /// Identifies the kind (not the instance); the host instantiates plug-ins by it.
    GUID m_guidClassId;
    /// The kind's name, the key of QelSysApp::InstantiateNewPlugin.
    std::string m_strType;
    /// Where the host lists the kind (menus, palettes), in the host's own notation.
    std::string m_strCategories;
    /// Who made the kind.
    std::string m_strCreator;
    /// One line of description, shown as the icon's tooltip.
    std::string m_strInfo;
    /// Words the host's search matches.
    std::string m_strKeywords;
    /// Bits the host defines for the kind; the library does not read them.
    int m_nFlags;
};
