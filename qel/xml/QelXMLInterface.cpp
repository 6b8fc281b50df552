#include "qel/xml/QelXMLInterface.h"

#include "qel/framework/QelSysApp.h"
#include "qel/xml/detail/QelXMLInterfaceDef.h"
#include "qel/xml/detail/QelXMLSanitizer.h"
#include "qel/xml/detail/QelXMLText.h"

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace
{
/// libxml2 copies sub-trees recursively; deeper ones than the documents the library saves are refused.
const unsigned int kMaxCopyDepth = kQelXMLMaxDepth;

/// Encoded blocks must stay addressable by an int: a size whose fourfold reaches this is refused.
const unsigned long long kMaxEncodedLength = 2147483647ull;

bool IsElement(const xmlNode* p)
{
    return p && p->type == XML_ELEMENT_NODE;
}

/// Owns a libxml2 string for the length of a read.
class XmlText
{
public:
    explicit XmlText(xmlChar* p) : m_p(p) {}
    ~XmlText()
    {
        if (m_p)
            xmlFree(m_p);
    }
    XmlText(const XmlText&) = delete;
    XmlText& operator=(const XmlText&) = delete;
    explicit operator bool() const { return m_p != nullptr; }
    const char* c_str() const { return reinterpret_cast<const char*>(m_p); }

private:
    xmlChar* m_p;
};

bool EqualsTrue(const char* p)
{
    return xmlStrcasecmp(reinterpret_cast<const xmlChar*>(p), reinterpret_cast<const xmlChar*>("true")) == 0;
}

std::string NodeName(const xmlNode* p)
{
    return p && p->name ? std::string(reinterpret_cast<const char*>(p->name)) : std::string();
}
} // namespace

QelXMLInterface::QelXMLInterface() : m_pDef(new (std::nothrow) QelXMLInterfaceDef(this))
{
    xmlThrDefIndentTreeOutput(1);
    xmlLineNumbersDefault(1);
}

QelXMLInterface::~QelXMLInterface()
{
    delete m_pDef;
    m_pDef = nullptr;
}

bool QelXMLInterface::IsValid() const
{
    return m_pDef && m_pDef->IsValid();
}

bool QelXMLInterface::MoveToRootNode()
{
    if (!IsValid())
        return false;
    m_pDef->m_pCurrentNode = m_pDef->m_pLockedRoot ? m_pDef->m_pLockedRoot : m_pDef->m_pRootElement;
    return true;
}

bool QelXMLInterface::MoveToNextSibling()
{
    if (!IsValid())
        return false;
    for (xmlNode* p = m_pDef->m_pCurrentNode->next; p; p = p->next)
        if (IsElement(p))
        {
            m_pDef->m_pCurrentNode = p;
            return true;
        }
    return false;
}

bool QelXMLInterface::MoveToPreviousSibling()
{
    if (!IsValid())
        return false;
    for (xmlNode* p = m_pDef->m_pCurrentNode->prev; p; p = p->prev)
        if (IsElement(p))
        {
            m_pDef->m_pCurrentNode = p;
            return true;
        }
    return false;
}

bool QelXMLInterface::MoveToParent()
{
    if (!IsValid())
        return false;
    xmlNode* pCurrent = m_pDef->m_pCurrentNode;
    // Deliberately not stopped by a locked root: the lock only redirects MoveToRootNode.
    bool bClimb = (m_pDef->m_pLockedRoot && pCurrent != m_pDef->m_pLockedRoot) || pCurrent != m_pDef->m_pRootElement;
    // Above the root element lies the document node, which is no place for the cursor.
    if (!bClimb || !IsElement(pCurrent->parent))
        return false;
    m_pDef->m_pCurrentNode = pCurrent->parent;
    return true;
}

unsigned int QelXMLInterface::GetNumChildNodes() const
{
    if (!IsValid())
        return 0;
    unsigned int n = 0;
    for (xmlNode* p = m_pDef->m_pCurrentNode->children; p; p = p->next)
        if (IsElement(p))
            ++n;
    return n;
}

bool QelXMLInterface::MoveToFirstChildNode()
{
    if (!IsValid())
        return false;
    for (xmlNode* p = m_pDef->m_pCurrentNode->children; p; p = p->next)
        if (IsElement(p))
        {
            m_pDef->m_pCurrentNode = p;
            return true;
        }
    return false;
}

bool QelXMLInterface::MoveToLastChildNode()
{
    if (!IsValid())
        return false;
    for (xmlNode* p = m_pDef->m_pCurrentNode->last; p; p = p->prev)
        if (IsElement(p))
        {
            m_pDef->m_pCurrentNode = p;
            return true;
        }
    return false;
}

bool QelXMLInterface::MoveToChildNode(unsigned int nIndex)
{
    if (!IsValid())
        return false;
    unsigned int n = 0;
    for (xmlNode* p = m_pDef->m_pCurrentNode->children; p; p = p->next)
        if (IsElement(p) && n++ == nIndex)
        {
            m_pDef->m_pCurrentNode = p;
            return true;
        }
    return false;
}

bool QelXMLInterface::MoveToChildNode(const std::string& strName)
{
    if (!m_pDef)
        return false;
    xmlNode* p = m_pDef->FindChild(strName);
    if (!p)
        return false;
    m_pDef->m_pCurrentNode = p;
    return true;
}

bool QelXMLInterface::AddChildNode(const std::string& strName)
{
    if (!IsValid())
        return false;
    return xmlNewChild(m_pDef->m_pCurrentNode, nullptr, reinterpret_cast<const xmlChar*>(strName.c_str()),
                       nullptr) != nullptr;
}

bool QelXMLInterface::AddAndMoveToChildNode(const std::string& strName)
{
    if (!IsValid())
        return false;
    xmlNode* p =
        xmlNewChild(m_pDef->m_pCurrentNode, nullptr, reinterpret_cast<const xmlChar*>(strName.c_str()), nullptr);
    if (!p)
        return false;
    m_pDef->m_pCurrentNode = p;
    return true;
}

bool QelXMLInterface::RemoveNode()
{
    if (!m_pDef)
        return false;
    xmlNode* pRemoved = m_pDef->m_pCurrentNode;
    // Where the cursor cannot climb (the root element, no document) nothing is freed: the cursor
    // would be left on freed memory.
    if (!MoveToParent())
        return false;
    m_pDef->ForgetSubtree(pRemoved);
    xmlUnlinkNode(pRemoved);
    xmlFreeNode(pRemoved);
    return true;
}

unsigned int QelXMLInterface::GetLineNumber() const
{
    if (!IsValid())
        return 0;
    return static_cast<unsigned int>(xmlGetLineNo(m_pDef->m_pCurrentNode));
}

bool QelXMLInterface::PushPosition()
{
    if (!IsValid())
        return false;
    m_pDef->m_vecPositionStack.push_back(m_pDef->m_pCurrentNode);
    return true;
}

bool QelXMLInterface::PopPosition()
{
    if (!IsValid() || m_pDef->m_vecPositionStack.empty())
        return false;
    m_pDef->m_pCurrentNode = m_pDef->m_vecPositionStack.back();
    m_pDef->m_vecPositionStack.pop_back();
    return true;
}

bool QelXMLInterface::MoveNodeForward()
{
    if (!m_pDef || !m_pDef->m_pCurrentNode)
        return false;
    xmlNode* pCurrent = m_pDef->m_pCurrentNode;
    xmlNode* pNext = pCurrent->next;
    if (!pNext)
        return false;
    return xmlAddNextSibling(pNext, pCurrent) == pCurrent;
}

bool QelXMLInterface::MoveNodeBackward()
{
    if (!m_pDef || !m_pDef->m_pCurrentNode)
        return false;
    xmlNode* pCurrent = m_pDef->m_pCurrentNode;
    xmlNode* pPrev = pCurrent->prev;
    if (!pPrev)
        return false;
    return xmlAddPrevSibling(pPrev, pCurrent) == pCurrent;
}

bool QelXMLInterface::CopyNode(QelXMLInterface* pSource)
{
    if (!m_pDef || !m_pDef->m_pCurrentNode || !pSource || !pSource->m_pDef || !pSource->m_pDef->m_pCurrentNode)
        return false;
    if (QelXMLIsDeeperThan(pSource->m_pDef->m_pCurrentNode, kMaxCopyDepth))
    {
        QelSysApp::App().PrintToConsole("<error> QelXMLInterface - a node nested deeper than %u levels is not copied\n",
                                        kMaxCopyDepth);
        return false;
    }
    xmlNode* pCopy = xmlDocCopyNode(pSource->m_pDef->m_pCurrentNode, m_pDef->m_pDocument, 1);
    if (!pCopy)
        return false;
    if (!xmlAddChild(m_pDef->m_pCurrentNode, pCopy))
    {
        xmlFreeNode(pCopy);
        return false;
    }
    return true;
}

std::string QelXMLInterface::GetRootNodeName() const
{
    if (!m_pDef)
        return std::string();
    if (m_pDef->m_pLockedRoot)
        return NodeName(m_pDef->m_pLockedRoot);
    return NodeName(m_pDef->m_pRootElement);
}

std::string QelXMLInterface::GetNodeName() const
{
    if (!IsValid())
        return std::string();
    return NodeName(m_pDef->m_pCurrentNode);
}

std::string QelXMLInterface::GetNodeContent() const
{
    if (!IsValid() || !m_pDef->m_pCurrentNode->children)
        return std::string();
    xmlChar* pText = QelXMLTakeText(m_pDef->m_pDocument, m_pDef->m_pCurrentNode->children);
    if (!pText)
        return std::string();
    std::string str(reinterpret_cast<const char*>(pText));
    xmlFree(pText);
    return str;
}

bool QelXMLInterface::ReadBool(const std::string& strName, bool bDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeChildText(strName) : nullptr);
    return text ? EqualsTrue(text.c_str()) : bDefault;
}

int QelXMLInterface::ReadInt(const std::string& strName, int nDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeChildText(strName) : nullptr);
    return text ? std::atoi(text.c_str()) : nDefault;
}

char QelXMLInterface::ReadChar(const std::string& strName, char cDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeChildText(strName) : nullptr);
    return text ? text.c_str()[0] : cDefault;
}

float QelXMLInterface::ReadFloat(const std::string& strName, float fDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeChildText(strName) : nullptr);
    return text ? static_cast<float>(std::atof(text.c_str())) : fDefault;
}

double QelXMLInterface::ReadDouble(const std::string& strName, double fDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeChildText(strName) : nullptr);
    return text ? std::atof(text.c_str()) : fDefault;
}

std::string QelXMLInterface::ReadString(const std::string& strName, const std::string& strDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeChildText(strName) : nullptr);
    return text ? std::string(text.c_str()) : strDefault;
}

bool QelXMLInterface::ReadData(const std::string& strName, char* pBuffer, unsigned int nSize) const
{
    XmlText text(m_pDef ? m_pDef->TakeChildText(strName) : nullptr);
    if (!text)
        return false;
    size_t nLength = std::strlen(text.c_str());
    // Deliberately compared with the length of the encoded text, not of the decoded data: a size
    // between the two succeeds with zeros at the end, and callers rely on it.
    if (nLength < nSize)
        return false;
    if (nSize == 0)
        return true;
    if (!pBuffer)
        return false;
    std::unique_ptr<unsigned char[]> pScratch(new (std::nothrow) unsigned char[nLength]());
    if (!pScratch)
        return false;
    QelXMLDecodeBase64(text.c_str(), nLength, pScratch.get());
    std::memcpy(pBuffer, pScratch.get(), nSize);
    return true;
}

bool QelXMLInterface::ReadData(const std::string& strName, std::vector<char>& vecOut) const
{
    XmlText text(m_pDef ? m_pDef->TakeChildText(strName) : nullptr);
    if (!text)
        return false;
    size_t nLength = std::strlen(text.c_str());
    // Deliberately left as long as the encoded text; callers know the real length of their data.
    try
    {
        vecOut.resize(nLength, 0);
    }
    catch (const std::exception&)
    {
        return false;
    }
    if (nLength > 0)
        QelXMLDecodeBase64(text.c_str(), nLength, reinterpret_cast<unsigned char*>(vecOut.data()));
    return true;
}

std::string QelXMLInterface::ReadStringAttribute(const std::string& strName, const std::string& strDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeAttribute(strName) : nullptr);
    return text ? std::string(text.c_str()) : strDefault;
}

float QelXMLInterface::ReadFloatAttribute(const std::string& strName, const float& fDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeAttribute(strName) : nullptr);
    return text ? static_cast<float>(std::atof(text.c_str())) : fDefault;
}

int QelXMLInterface::ReadIntAttribute(const std::string& strName, const int& nDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeAttribute(strName) : nullptr);
    return text ? std::atoi(text.c_str()) : nDefault;
}

bool QelXMLInterface::ReadBoolAttribute(const std::string& strName, const bool& bDefault) const
{
    XmlText text(m_pDef ? m_pDef->TakeAttribute(strName) : nullptr);
    return text ? EqualsTrue(text.c_str()) : bDefault;
}

bool QelXMLInterface::WriteBool(const std::string& strName, bool bValue)
{
    return m_pDef && m_pDef->WriteChildText(strName, bValue ? "true" : "false", true);
}

bool QelXMLInterface::WriteInt(const std::string& strName, int nValue)
{
    char sz[32];
    std::snprintf(sz, sizeof(sz), "%d", nValue);
    return m_pDef && m_pDef->WriteChildText(strName, sz, true);
}

bool QelXMLInterface::WriteChar(const std::string& strName, char cValue)
{
    char sz[2] = {cValue, '\0'};
    return m_pDef && m_pDef->WriteChildText(strName, sz, true);
}

bool QelXMLInterface::WriteFloat(const std::string& strName, float fValue)
{
    char sz[64];
    std::snprintf(sz, sizeof(sz), "%g", static_cast<double>(fValue));
    return m_pDef && m_pDef->WriteChildText(strName, sz, true);
}

bool QelXMLInterface::WriteDouble(const std::string& strName, double fValue)
{
    char sz[64];
    // Deliberately six significant digits, as documents written so far hold them.
    std::snprintf(sz, sizeof(sz), "%lg", fValue);
    return m_pDef && m_pDef->WriteChildText(strName, sz, true);
}

bool QelXMLInterface::WriteString(const std::string& strName, const std::string& strValue)
{
    return m_pDef && m_pDef->WriteChildText(strName, strValue.c_str(), true);
}

bool QelXMLInterface::WriteData(const std::string& strName, const char* pData, unsigned int nSize)
{
    if (!IsValid())
        return false;
    if (4ull * nSize >= kMaxEncodedLength)
    {
        QelSysApp::App().PrintToConsole("<error> QelXMLInterface - data block of %u bytes is too large to write\n",
                                        nSize);
        return false;
    }
    if (nSize > 0 && !pData)
        return false;
    std::string strText;
    try
    {
        strText = QelXMLEncodeBase64(reinterpret_cast<const unsigned char*>(pData), nSize);
    }
    catch (const std::bad_alloc&)
    {
        QelSysApp::App().PrintToConsole("<error> QelXMLInterface - out of memory encoding %u bytes\n", nSize);
        return false;
    }
    // The alphabet needs no escaping; an empty block makes an empty element.
    return m_pDef->WriteChildText(strName, strText.empty() ? nullptr : strText.c_str(), false);
}

bool QelXMLInterface::WriteStringAttribute(const std::string& strName, std::string strValue)
{
    return m_pDef && m_pDef->WriteAttribute(strName, strValue.c_str());
}

bool QelXMLInterface::WriteFloatAttribute(const std::string& strName, float fValue)
{
    char sz[32];
    int n = std::snprintf(sz, sizeof(sz), "%f", static_cast<double>(fValue));
    if (n < 0 || n >= static_cast<int>(sizeof(sz)))
        return false;
    return m_pDef && m_pDef->WriteAttribute(strName, sz);
}

bool QelXMLInterface::WriteIntAttribute(const std::string& strName, int nValue)
{
    char sz[32];
    int n = std::snprintf(sz, sizeof(sz), "%i", nValue);
    if (n < 0 || n >= static_cast<int>(sizeof(sz)))
        return false;
    return m_pDef && m_pDef->WriteAttribute(strName, sz);
}

bool QelXMLInterface::WriteBoolAttribute(const std::string& strName, bool bValue)
{
    return m_pDef && m_pDef->WriteAttribute(strName, bValue ? "true" : "false");
}
