#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelGuid.h"

#include <string>

/// What describes a registered kind of plug-in: class identifier, type, categories, creator,
/// information, keywords and flags. A plain record, copied by value.
class QEL_EXPORT QelPluginAttributes
{
public:
    QelPluginAttributes();
    QelPluginAttributes(const GUID& guidClassId, const std::string& strType, const std::string& strCategories,
                        const std::string& strCreator, const std::string& strInfo, const std::string& strKeywords,
                        int nFlags);
    QelPluginAttributes(const QelPluginAttributes& other) = default;
    QelPluginAttributes& operator=(const QelPluginAttributes& other) = default;

    /// The all-zero class identifier.
    static const GUID kZeroGUID;

    GUID m_guidClassId;
    std::string m_strType;
    std::string m_strCategories;
    std::string m_strCreator;
    std::string m_strInfo;
    std::string m_strKeywords;
    int m_nFlags;
};
