#include "qel/framework/QelPluginAttributes.h"

const GUID QelPluginAttributes::kZeroGUID = ::kZeroGUID;

QelPluginAttributes::QelPluginAttributes() : m_guidClassId(::kZeroGUID), m_nFlags(0) {}

QelPluginAttributes::QelPluginAttributes(const GUID& guidClassId, const std::string& strType,
                                         const std::string& strCategories, const std::string& strCreator,
                                         const std::string& strInfo, const std::string& strKeywords, int nFlags)
    : m_guidClassId(guidClassId), m_strType(strType), m_strCategories(strCategories), m_strCreator(strCreator),
      m_strInfo(strInfo), m_strKeywords(strKeywords), m_nFlags(nFlags)
{
}
