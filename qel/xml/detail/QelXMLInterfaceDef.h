#pragma once

#include <string>
#include <vector>

// libxml2's own tags, declared here so that this header needs no libxml2 include path.
struct _xmlNode;
struct _xmlDoc;

class QelXMLInterface;

/// Implementation of QelXMLInterface and QelMasterXMLInterface (not exported): the document,
/// the position within it and the position stack.
class QelXMLInterfaceDef
{
public:
    explicit QelXMLInterfaceDef(QelXMLInterface* pOwner);
    virtual ~QelXMLInterfaceDef();

    QelXMLInterfaceDef(const QelXMLInterfaceDef&) = delete;
    QelXMLInterfaceDef& operator=(const QelXMLInterfaceDef&) = delete;

    bool IsValid() const { return m_pDocument && m_pRootElement && m_pCurrentNode; }

    /// Frees the document. The lock and the stack can only point into it, so they go with it.
    void CloseData();
    /// Takes a freshly parsed document; false (and the document freed) when it has no root element.
    bool AdoptDocument(_xmlDoc* pDoc);
    /// Drops the lock and the stack entries that lie in the sub-tree of pNode, before it is freed.
    void ForgetSubtree(_xmlNode* pNode);
    /// The element child named strName, qualified match first; null when there is none.
    _xmlNode* FindChild(const std::string& strName) const;
    /// Text of the named child element, entities substituted, as a libxml2 string the caller frees
    /// with xmlFree; null when the child or its text is missing.
    unsigned char* TakeChildText(const std::string& strName) const;
    /// Value of the named attribute of the current node, freed by the caller with xmlFree; null when
    /// there is none.
    unsigned char* TakeAttribute(const std::string& strName) const;
    /// Appends a child element holding strText (escaped when bEscape is set).
    bool WriteChildText(const std::string& strName, const char* pText, bool bEscape);
    bool WriteAttribute(const std::string& strName, const char* pValue);

    _xmlNode* m_pCurrentNode = nullptr;
    QelXMLInterface* m_pOwner = nullptr;
    _xmlDoc* m_pDocument = nullptr;
    _xmlNode* m_pRootElement = nullptr;
    _xmlNode* m_pLockedRoot = nullptr;
    std::vector<_xmlNode*> m_vecPositionStack;
};

/// Base64 of the bytes, without padding or line breaks.
std::string QelXMLEncodeBase64(const unsigned char* pData, size_t nSize);
/// Decodes base64 text into pOut, skipping characters outside the alphabet; stops at a zero byte.
/// pOut must hold at least floor(6 * length / 8) bytes. Returns the number of bytes written.
size_t QelXMLDecodeBase64(const char* pText, size_t nLength, unsigned char* pOut);
