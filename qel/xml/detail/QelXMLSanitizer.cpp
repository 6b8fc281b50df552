#include "qel/xml/detail/QelXMLSanitizer.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/xml/detail/QelXMLRead.h"
#include "qel/xml/detail/QelXMLText.h"

#include <libxml/encoding.h>
#include <libxml/entities.h>
#include <libxml/tree.h>

#include <cstring>
#include <set>

namespace
{
const char kReplacement[] = "\xEF\xBF\xBD"; // U+FFFD

/// Decodes one UTF-8 character at p (strictly: no overlong forms, no surrogates, at most U+10FFFF).
/// Returns its length, or 0 when the bytes there are no valid character.
size_t DecodeUtf8(const unsigned char* p, unsigned int& nCode)
{
    const unsigned char c = p[0];
    if (c < 0x80)
    {
        nCode = c;
        return 1;
    }
    size_t n;
    unsigned int nMin;
    if ((c & 0xE0) == 0xC0)
        n = 2, nCode = c & 0x1F, nMin = 0x80;
    else if ((c & 0xF0) == 0xE0)
        n = 3, nCode = c & 0x0F, nMin = 0x800;
    else if ((c & 0xF8) == 0xF0)
        n = 4, nCode = c & 0x07, nMin = 0x10000;
    else
        return 0;
    for (size_t i = 1; i < n; ++i)
    {
        if ((p[i] & 0xC0) != 0x80) // also stops at the terminating zero
            return 0;
        nCode = (nCode << 6) | (p[i] & 0x3F);
    }
    if (nCode < nMin || nCode > 0x10FFFF || (nCode >= 0xD800 && nCode <= 0xDFFF))
        return 0;
    return n;
}

bool IsXmlChar(unsigned int c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           c >= 0x10000;
}

bool IsNameStartChar(unsigned int c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (c >= 0xC0 && c <= 0xD6) ||
           (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) || (c >= 0x370 && c <= 0x37D) ||
           (c >= 0x37F && c <= 0x1FFF) || (c >= 0x200C && c <= 0x200D) || (c >= 0x2070 && c <= 0x218F) ||
           (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) || (c >= 0xF900 && c <= 0xFDCF) ||
           (c >= 0xFDF0 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0xEFFFF);
}

bool IsNameChar(unsigned int c)
{
    return IsNameStartChar(c) || c == '-' || c == '.' || (c >= '0' && c <= '9') || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

/// Counts the corrections of one save: the first is reported naming its element, the rest once.
class Reporter
{
public:
    ~Reporter()
    {
        if (m_nCount > 1)
            QelSysApp::App().PrintToConsole(
                "<warning> QelXMLInterface - %zu more corrections were needed to save the document\n", m_nCount - 1);
    }
    Reporter() = default;
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    void Report(const char* pWhat, const _xmlNode* pElement, const std::string& strBefore)
    {
        if (m_nCount++ > 0)
            return;
        const char* pName = pElement && pElement->name ? reinterpret_cast<const char*>(pElement->name) : "";
        QelSysApp::App().PrintToConsole("<warning> QelXMLInterface - %s of element [%s] corrected to save it: [%s]\n",
                                        pWhat, QelQuoteInput(pName, std::strlen(pName)).c_str(),
                                        QelQuoteInput(strBefore).c_str());
    }

private:
    size_t m_nCount = 0;
};

const char* Text(const xmlChar* p)
{
    return p ? reinterpret_cast<const char*>(p) : "";
}

void FixNodeName(xmlNode* pNode, const xmlNode* pElement, const char* pWhat, Reporter& report)
{
    std::string strFixed;
    if (!QelXMLFixName(Text(pNode->name), strFixed))
        return;
    report.Report(pWhat, pElement, Text(pNode->name));
    xmlNodeSetName(pNode, reinterpret_cast<const xmlChar*>(strFixed.c_str()));
}

/// Text, CDATA, comment and processing-instruction content.
void FixContent(xmlNode* pNode, const xmlNode* pElement, Reporter& report)
{
    std::string strFixed;
    bool bChanged = QelXMLFixText(Text(pNode->content), strFixed);
    const char* pWhat = "text";
    if (pNode->type == XML_COMMENT_NODE)
    {
        pWhat = "comment";
        // "--" may not appear in a comment, nor "-" at its end.
        std::string strComment;
        for (size_t i = 0; i < strFixed.size(); ++i)
        {
            strComment += strFixed[i];
            if (strFixed[i] == '-' && (i + 1 == strFixed.size() || strFixed[i + 1] == '-'))
                strComment += ' ';
        }
        bChanged |= strComment.size() != strFixed.size();
        strFixed.swap(strComment);
    }
    else if (pNode->type == XML_PI_NODE || pNode->type == XML_CDATA_SECTION_NODE)
    {
        // "?>" ends an instruction and "]]>" a CDATA section early.
        const char* pEnd = pNode->type == XML_PI_NODE ? "?>" : "]]>";
        pWhat = pNode->type == XML_PI_NODE ? "processing instruction" : "CDATA section";
        for (size_t nAt = strFixed.find(pEnd); nAt != std::string::npos; nAt = strFixed.find(pEnd, nAt + 2))
        {
            strFixed.insert(nAt + std::strlen(pEnd) - 1, " ");
            bChanged = true;
        }
    }
    if (!bChanged)
        return;
    report.Report(pWhat, pElement, Text(pNode->content));
    xmlNodeSetContentLen(pNode, reinterpret_cast<const xmlChar*>(strFixed.data()), static_cast<int>(strFixed.size()));
}

/// The reference replaced by its expansion (or by its own text when the entity is unknown).
xmlNode* WriteOut(xmlDoc* pDoc, xmlNode* pNode)
{
    xmlEntity* pEntity = xmlGetDocEntity(pDoc, pNode->name);
    xmlChar* pExpanded = pEntity ? QelXMLTakeText(pDoc, pEntity->children) : nullptr;
    std::string strText = pEntity ? Text(pExpanded) : std::string("&") + Text(pNode->name) + ";";
    xmlFree(pExpanded);
    xmlNode* pText = xmlNewDocText(pDoc, reinterpret_cast<const xmlChar*>(strText.c_str()));
    if (!pText)
        return pNode;
    xmlReplaceNode(pNode, pText);
    xmlFreeNode(pNode);
    return pText;
}

/// An entity reference that the document does not declare cannot be read back: it becomes its own
/// text. Returns the node that now stands in its place.
xmlNode* FixEntityReference(xmlDoc* pDoc, xmlNode* pNode, const xmlNode* pElement, Reporter& report)
{
    if (xmlGetDocEntity(pDoc, pNode->name))
        return pNode;
    report.Report("undeclared entity reference", pElement, Text(pNode->name));
    return WriteOut(pDoc, pNode);
}

/// The attribute's name as it is written: with the prefix of its namespace.
std::string WrittenName(const xmlAttr* pAttr)
{
    std::string str = pAttr->ns && pAttr->ns->prefix ? Text(pAttr->ns->prefix) + std::string(":") : std::string();
    return str + Text(pAttr->name);
}

void FixAttributes(xmlDoc* pDoc, xmlNode* pElement, Reporter& report)
{
    // Names must be unique as written, namespace declarations included; a recovered document or a
    // correction may have made two alike, and a number keeps them apart.
    std::set<std::string> setWritten;
    for (xmlNs* pNs = pElement->nsDef; pNs; pNs = pNs->next)
        setWritten.insert(pNs->prefix ? "xmlns:" + std::string(Text(pNs->prefix)) : std::string("xmlns"));
    for (xmlAttr* pAttr = pElement->properties; pAttr; pAttr = pAttr->next)
    {
        std::string strFixed;
        if (QelXMLFixName(Text(pAttr->name), strFixed))
        {
            report.Report("attribute name", pElement, Text(pAttr->name));
            xmlNodeSetName(reinterpret_cast<xmlNode*>(pAttr), reinterpret_cast<const xmlChar*>(strFixed.c_str()));
        }
        if (!setWritten.insert(WrittenName(pAttr)).second)
        {
            report.Report("attribute name", pElement, WrittenName(pAttr));
            const std::string strBase = Text(pAttr->name);
            for (int n = 2; !setWritten.insert(WrittenName(pAttr)).second; ++n)
                xmlNodeSetName(reinterpret_cast<xmlNode*>(pAttr),
                               reinterpret_cast<const xmlChar*>((strBase + "_" + std::to_string(n)).c_str()));
        }
        for (xmlNode* pValue = pAttr->children; pValue; pValue = pValue->next)
            if (pValue->type == XML_TEXT_NODE)
                FixContent(pValue, pElement, report);
            else if (pValue->type == XML_ENTITY_REF_NODE)
                pValue = FixEntityReference(pDoc, pValue, pElement, report);
    }
    for (xmlNs* pNs = pElement->nsDef; pNs; pNs = pNs->next)
    {
        std::string strFixed;
        if (pNs->prefix && QelXMLFixName(Text(pNs->prefix), strFixed))
        {
            report.Report("namespace prefix", pElement, Text(pNs->prefix));
            for (char& c : strFixed)
                if (c == ':')
                    c = '_';
            xmlFree(const_cast<xmlChar*>(pNs->prefix));
            pNs->prefix = xmlStrdup(reinterpret_cast<const xmlChar*>(strFixed.c_str()));
        }
        // libxml2 writes a namespace name between quotes without escaping it, so a '&' or '<' in
        // it (an entity reference kept from a document with a DTD, say) would not parse again.
        bool bFixed = pNs->href && QelXMLFixText(Text(pNs->href), strFixed);
        if (pNs->href && !bFixed)
            strFixed = Text(pNs->href);
        for (char& c : strFixed)
            if (c == '&' || c == '<')
                c = '_', bFixed = true;
        if (pNs->href && bFixed)
        {
            report.Report("namespace name", pElement, Text(pNs->href));
            xmlFree(const_cast<xmlChar*>(pNs->href));
            pNs->href = xmlStrdup(reinterpret_cast<const xmlChar*>(strFixed.c_str()));
        }
    }
}

void FixNode(xmlDoc* pDoc, xmlNode*& pNode, Reporter& report)
{
    // What stands outside the root element is reported under the root element's name.
    const xmlNode* pElement = pNode->type == XML_ELEMENT_NODE ? pNode : pNode->parent;
    if (!pElement || pElement->type != XML_ELEMENT_NODE)
        pElement = xmlDocGetRootElement(pDoc);
    switch (pNode->type)
    {
    case XML_ELEMENT_NODE:
        FixNodeName(pNode, pNode, "name", report);
        FixAttributes(pDoc, pNode, report);
        break;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
        FixContent(pNode, pElement, report);
        break;
    case XML_PI_NODE:
        FixNodeName(pNode, pElement, "processing instruction target", report);
        // "xml" in any case is reserved for the declaration at the very start.
        if (xmlStrcasecmp(pNode->name, reinterpret_cast<const xmlChar*>("xml")) == 0)
        {
            report.Report("processing instruction target", pElement, Text(pNode->name));
            xmlNodeSetName(pNode, reinterpret_cast<const xmlChar*>("_xml"));
        }
        FixContent(pNode, pElement, report);
        break;
    case XML_ENTITY_REF_NODE:
        pNode = FixEntityReference(pDoc, pNode, pElement, report);
        break;
    default:
        break;
    }
}
/// Depth first without recursion, over the sub-tree of pTop or over every child of the document.
void FixTree(xmlDoc* pDoc, xmlNode* pTop, Reporter& report)
{
    xmlNode* pStop = pTop ? pTop : reinterpret_cast<xmlNode*>(pDoc);
    xmlNode* p = pTop ? pTop : pDoc->children;
    while (p)
    {
        FixNode(pDoc, p, report);
        if (p->children && p->type == XML_ELEMENT_NODE)
        {
            p = p->children;
            continue;
        }
        while (p != pStop && !p->next)
            p = p->parent;
        if (p == pStop || p == pTop)
            break;
        p = p->next;
    }
}

/// True when the whole document, as libxml2 writes it, parses again without recovering.
bool ParsesAgain(xmlDoc* pDoc)
{
    xmlChar* pText = nullptr;
    int nLength = 0;
    xmlDocDumpMemory(pDoc, &pText, &nLength);
    if (!pText)
        return false;
    QelXMLReadResult r = QelXMLReadText(reinterpret_cast<const char*>(pText), static_cast<size_t>(nLength), false);
    xmlFree(pText);
    if (!r.pDoc)
        return false;
    xmlFreeDoc(r.pDoc);
    return true;
}

/// Replaces every entity reference by its text and drops the document type declaration: what a
/// broken declaration held is kept, as text.
void WriteOutEntities(xmlDoc* pDoc)
{
    xmlNode* p = xmlDocGetRootElement(pDoc);
    xmlNode* pTop = p;
    while (p)
    {
        if (p->type == XML_ELEMENT_NODE)
            for (xmlAttr* pAttr = p->properties; pAttr; pAttr = pAttr->next)
                for (xmlNode* pValue = pAttr->children; pValue; pValue = pValue->next)
                    if (pValue->type == XML_ENTITY_REF_NODE)
                        pValue = WriteOut(pDoc, pValue);
        if (p->type == XML_ENTITY_REF_NODE)
            p = WriteOut(pDoc, p);
        if (p->children && p->type == XML_ELEMENT_NODE)
        {
            p = p->children;
            continue;
        }
        while (p != pTop && !p->next)
            p = p->parent;
        if (p == pTop)
            break;
        p = p->next;
    }
    if (xmlDtd* pDtd = pDoc->intSubset)
    {
        xmlUnlinkNode(reinterpret_cast<xmlNode*>(pDtd));
        xmlFreeDtd(pDtd);
    }
}
} // namespace

bool QelXMLIsDeeperThan(const xmlNode* pTop, unsigned int nLimit)
{
    // nDepth counts the elements from pTop down to p, p included.
    unsigned int nDepth = 1;
    const xmlNode* p = pTop;
    while (p)
    {
        if (p->type == XML_ELEMENT_NODE && nDepth > nLimit)
            return true;
        if (p->children && p->type == XML_ELEMENT_NODE)
        {
            p = p->children;
            ++nDepth;
            continue;
        }
        while (p != pTop && !p->next)
        {
            p = p->parent;
            --nDepth;
        }
        if (p == pTop)
            break;
        p = p->next;
    }
    return false;
}

bool QelXMLFixName(const char* pName, std::string& strOut)
{
    strOut.clear();
    const unsigned char* p = reinterpret_cast<const unsigned char*>(pName ? pName : "");
    const size_t nLength = std::strlen(reinterpret_cast<const char*>(p));
    // A colon is kept only as the one separator of a prefix and a local name.
    const char* pFirstColon = std::strchr(reinterpret_cast<const char*>(p), ':');
    const bool bQualified = pFirstColon && pFirstColon == std::strrchr(reinterpret_cast<const char*>(p), ':') &&
                            pFirstColon != reinterpret_cast<const char*>(p) && p[nLength - 1] != ':';
    bool bChanged = false;
    bool bStart = true;
    while (*p)
    {
        unsigned int c = 0;
        size_t n = DecodeUtf8(p, c);
        if (c == ':' && bQualified && !bStart)
        {
            strOut += ':';
            bStart = true;
            ++p;
            continue;
        }
        if (n == 0 || !(bStart ? IsNameStartChar(c) : IsNameChar(c)))
        {
            strOut += '_';
            bChanged = true;
            p += n ? n : 1;
        }
        else
        {
            strOut.append(reinterpret_cast<const char*>(p), n);
            p += n;
        }
        bStart = false;
    }
    if (strOut.empty())
    {
        strOut = "_";
        bChanged = true;
    }
    return bChanged;
}

bool QelXMLFixText(const char* pText, std::string& strOut)
{
    strOut.clear();
    const unsigned char* p = reinterpret_cast<const unsigned char*>(pText ? pText : "");
    bool bChanged = false;
    while (*p)
    {
        unsigned int c = 0;
        size_t n = DecodeUtf8(p, c);
        if (n == 0 || !IsXmlChar(c))
        {
            strOut += kReplacement;
            bChanged = true;
            p += n ? n : 1;
            continue;
        }
        strOut.append(reinterpret_cast<const char*>(p), n);
        p += n;
    }
    return bChanged;
}

void QelXMLMakeWritable(xmlDoc* pDoc, xmlNode* pTop)
{
    Reporter report;
    // A recovered declaration may name a version or an encoding nothing reads: 1.0 in UTF-8 it is.
    if (!pTop && pDoc->version && xmlStrcmp(pDoc->version, reinterpret_cast<const xmlChar*>("1.0")) != 0)
    {
        report.Report("XML version", xmlDocGetRootElement(pDoc), Text(pDoc->version));
        xmlFree(const_cast<xmlChar*>(pDoc->version));
        pDoc->version = xmlStrdup(reinterpret_cast<const xmlChar*>("1.0"));
    }
    if (!pTop && pDoc->encoding)
    {
        xmlCharEncodingHandler* pHandler = xmlFindCharEncodingHandler(Text(pDoc->encoding));
        if (!pHandler)
        {
            report.Report("encoding", xmlDocGetRootElement(pDoc), Text(pDoc->encoding));
            xmlFree(const_cast<xmlChar*>(pDoc->encoding));
            pDoc->encoding = nullptr;
        }
        else
            xmlCharEncCloseFunc(pHandler);
    }
    FixTree(pDoc, pTop, report);
    // A declaration read in recovering mode may hold anything; it is checked by parsing, and
    // written out into the text when it would not load.
    if (!pTop && pDoc->intSubset && !ParsesAgain(pDoc))
    {
        report.Report("document type declaration", xmlDocGetRootElement(pDoc), Text(pDoc->intSubset->name));
        WriteOutEntities(pDoc);
        FixTree(pDoc, nullptr, report);
    }
}
