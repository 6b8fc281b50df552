#include "qel/xml/detail/QelXMLInterfaceDef.h"

#include "qel/xml/detail/QelBase64.h"
#include "qel/xml/detail/QelXMLText.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cstring>

namespace
{
/// Live implementation objects; the parser's global state is cleaned up when the last one goes.
unsigned int g_nLiveXMLInterfaceDefs = 0;

/// True when pNode is pAncestor or lies below it.
bool IsInSubtree(const xmlNode* pNode, const xmlNode* pAncestor)
{
    for (; pNode; pNode = pNode->parent)
        if (pNode == pAncestor)
            return true;
    return false;
}

/// A null prefix (the default namespace) matches only an empty one.
bool PrefixMatches(const xmlNs* pNs, const std::string& strPrefix)
{
    if (!pNs)
        return false;
    if (!pNs->prefix)
        return strPrefix.empty();
    return strPrefix == reinterpret_cast<const char*>(pNs->prefix);
}

bool NameIs(const xmlChar* pName, const char* pWanted)
{
    return pName && std::strcmp(reinterpret_cast<const char*>(pName), pWanted) == 0;
}

} // namespace

QelXMLInterfaceDef::QelXMLInterfaceDef(QelXMLInterface* pOwner) : m_pOwner(pOwner)
{
    ++g_nLiveXMLInterfaceDefs;
}

QelXMLInterfaceDef::~QelXMLInterfaceDef()
{
    m_pOwner = nullptr;
    CloseData();
    if (g_nLiveXMLInterfaceDefs > 0 && --g_nLiveXMLInterfaceDefs == 0)
        xmlCleanupParser();
    m_vecPositionStack.clear();
    m_vecPositionStack.shrink_to_fit();
}

void QelXMLInterfaceDef::CloseData()
{
    if (m_pDocument)
    {
        xmlFreeDoc(m_pDocument);
        // A lock or a stacked position into the freed document could only dangle.
        m_pLockedRoot = nullptr;
    }
    m_pDocument = nullptr;
    m_pRootElement = nullptr;
    m_pCurrentNode = nullptr;
    m_vecPositionStack.clear();
}

bool QelXMLInterfaceDef::AdoptDocument(xmlDoc* pDoc)
{
    xmlNode* pRoot = xmlDocGetRootElement(pDoc);
    if (!pRoot)
        return false;
    m_pDocument = pDoc;
    m_pRootElement = pRoot;
    m_pCurrentNode = pRoot;
    return true;
}

void QelXMLInterfaceDef::ForgetSubtree(xmlNode* pNode)
{
    if (m_pLockedRoot && IsInSubtree(m_pLockedRoot, pNode))
        m_pLockedRoot = nullptr;
    m_vecPositionStack.erase(std::remove_if(m_vecPositionStack.begin(), m_vecPositionStack.end(),
                                            [pNode](xmlNode* p) { return IsInSubtree(p, pNode); }),
                             m_vecPositionStack.end());
}

xmlNode* QelXMLInterfaceDef::FindChild(const std::string& strName) const
{
    if (!IsValid() || !m_pCurrentNode->children)
        return nullptr;
    size_t nColon = strName.rfind(':');
    if (nColon != std::string::npos)
    {
        std::string strPrefix = strName.substr(0, nColon);
        std::string strLocal = strName.substr(nColon + 1);
        for (xmlNode* p = m_pCurrentNode->children; p; p = p->next)
            if (p->type == XML_ELEMENT_NODE && NameIs(p->name, strLocal.c_str()) && PrefixMatches(p->ns, strPrefix))
                return p;
    }
    for (xmlNode* p = m_pCurrentNode->children; p; p = p->next)
        if (p->type == XML_ELEMENT_NODE && NameIs(p->name, strName.c_str()))
            return p;
    return nullptr;
}

xmlChar* QelXMLInterfaceDef::TakeChildText(const std::string& strName) const
{
    xmlNode* pChild = FindChild(strName);
    if (!pChild || !pChild->children)
        return nullptr;
    return QelXMLTakeText(m_pDocument, pChild->children);
}

xmlChar* QelXMLInterfaceDef::TakeAttribute(const std::string& strName) const
{
    if (!IsValid())
        return nullptr;
    size_t nColon = strName.rfind(':');
    if (nColon == std::string::npos)
    {
        // As xmlGetProp finds it (any namespace, or a default of the DTD), gathered in linear time.
        xmlAttr* pFound = xmlHasProp(m_pCurrentNode, reinterpret_cast<const xmlChar*>(strName.c_str()));
        if (!pFound)
            return nullptr;
        if (pFound->type == XML_ATTRIBUTE_DECL)
            return xmlStrdup(reinterpret_cast<xmlAttribute*>(pFound)->defaultValue);
        xmlChar* pValue = QelXMLTakeText(m_pDocument, pFound->children);
        return pValue ? pValue : xmlStrdup(reinterpret_cast<const xmlChar*>(""));
    }
    if (m_pCurrentNode->type != XML_ELEMENT_NODE)
        return nullptr;
    std::string strPrefix = strName.substr(0, nColon);
    std::string strLocal = strName.substr(nColon + 1);
    for (xmlAttr* pAttr = m_pCurrentNode->properties; pAttr; pAttr = pAttr->next)
    {
        if (NameIs(pAttr->name, strLocal.c_str()) && PrefixMatches(pAttr->ns, strPrefix))
        {
            // An attribute without children holds the empty value.
            // An attribute without children holds the empty value.
            xmlChar* pValue = QelXMLTakeText(m_pDocument, pAttr->children);
            return pValue ? pValue : xmlStrdup(reinterpret_cast<const xmlChar*>(""));
        }
    }
    return nullptr;
}

bool QelXMLInterfaceDef::WriteChildText(const std::string& strName, const char* pText, bool bEscape)
{
    if (!IsValid())
        return false;
    const xmlChar* pName = reinterpret_cast<const xmlChar*>(strName.c_str());
    const xmlChar* pContent = reinterpret_cast<const xmlChar*>(pText);
    xmlNode* pNode = bEscape ? xmlNewTextChild(m_pCurrentNode, nullptr, pName, pContent)
                             : xmlNewChild(m_pCurrentNode, nullptr, pName, pContent);
    return pNode != nullptr;
}

bool QelXMLInterfaceDef::WriteAttribute(const std::string& strName, const char* pValue)
{
    if (!IsValid())
        return false;
    return xmlSetProp(m_pCurrentNode, reinterpret_cast<const xmlChar*>(strName.c_str()),
                      reinterpret_cast<const xmlChar*>(pValue)) != nullptr;
}

std::string QelXMLEncodeBase64(const unsigned char* pData, size_t nSize)
{
    std::string strOut(QelBase64::EncodedLength(nSize), '\0');
    if (nSize > 0)
        QelBase64::Encode(pData, nSize, &strOut[0]);
    return strOut;
}

size_t QelXMLDecodeBase64(const char* pText, size_t nLength, unsigned char* pOut)
{
    const void* pZero = std::memchr(pText, '\0', nLength);
    if (pZero)
        nLength = size_t(static_cast<const char*>(pZero) - pText);
    QelBase64::Decoder decoder;
    const size_t nOut = decoder.Feed(pText, nLength, pOut);
    return nOut + decoder.Finish(pOut + nOut);
}
