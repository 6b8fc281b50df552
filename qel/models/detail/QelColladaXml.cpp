#include "qel/models/detail/QelColladaXml.h"

#include "qel/models/detail/QelFastNumber.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/xml/detail/QelXMLQuiet.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>

namespace
{
bool IsSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

} // namespace

xmlDocPtr QelColladaXml::Parse(const char* pData, size_t nSize, QelLoadLog& log)
{
    if (nSize > size_t(INT_MAX))
    {
        log.Error("is too large for the XML reader");
        return nullptr;
    }
    QelXMLQuiet quiet;
    xmlParserCtxtPtr pCtxt = xmlNewParserCtxt();
    if (!pCtxt)
    {
        log.Error("cannot be read (out of memory)");
        return nullptr;
    }
    // Large float arrays need the reader's large-text option; entities stay unexpanded and
    // nothing is fetched from the network.
    xmlDocPtr pDoc = xmlCtxtReadMemory(pCtxt, pData, int(nSize), "document.dae", nullptr,
                                       XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!pDoc || !pCtxt->wellFormed)
    {
        const xmlError* pErr = xmlCtxtGetLastError(pCtxt);
        std::string strMessage = pErr && pErr->message ? pErr->message : "no document";
        while (!strMessage.empty() && IsSpace(strMessage.back()))
            strMessage.pop_back();
        log.Error("is not well-formed XML (line " + std::to_string(pErr ? pErr->line : 0) + ": " + strMessage + ")");
        if (pDoc)
            xmlFreeDoc(pDoc);
        pDoc = nullptr;
    }
    xmlFreeParserCtxt(pCtxt);
    return pDoc;
}

bool QelColladaXml::Is(const xmlNode* p, const char* pName)
{
    return p && p->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char*>(p->name), pName) == 0;
}

const xmlNode* QelColladaXml::Child(const xmlNode* p, const char* pName)
{
    for (const xmlNode* c = p ? p->children : nullptr; c; c = c->next)
        if (Is(c, pName))
            return c;
    return nullptr;
}

const xmlNode* QelColladaXml::Next(const xmlNode* p, const char* pName)
{
    for (const xmlNode* c = p ? p->next : nullptr; c; c = c->next)
        if (Is(c, pName))
            return c;
    return nullptr;
}

std::vector<const xmlNode*> QelColladaXml::Children(const xmlNode* p, const char* pName)
{
    std::vector<const xmlNode*> v;
    for (const xmlNode* c = p ? p->children : nullptr; c; c = c->next)
        if (Is(c, pName))
            v.push_back(c);
    return v;
}

std::string QelColladaXml::Attr(const xmlNode* p, const char* pName)
{
    for (const xmlAttr* a = p ? p->properties : nullptr; a; a = a->next)
        if (std::strcmp(reinterpret_cast<const char*>(a->name), pName) == 0)
        {
            std::string s;
            for (const xmlNode* c = a->children; c; c = c->next)
                if (c->type == XML_TEXT_NODE && c->content)
                    s += reinterpret_cast<const char*>(c->content);
            return s;
        }
    return std::string();
}

std::string QelColladaXml::Text(const xmlNode* p)
{
    std::string s;
    for (const xmlNode* c = p ? p->children : nullptr; c; c = c->next)
        if ((c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE) && c->content)
            s += reinterpret_cast<const char*>(c->content);
    size_t b = 0, e = s.size();
    while (b < e && IsSpace(s[b]))
        ++b;
    while (e > b && IsSpace(s[e - 1]))
        --e;
    return s.substr(b, e - b);
}

unsigned QelColladaXml::Line(const xmlNode* p)
{
    long n = p ? xmlGetLineNo(p) : 0;
    return n > 0 ? unsigned(n) : 0;
}

bool QelColladaXml::Floats(const xmlNode* p, std::vector<float>& v, size_t nExpected)
{
    for (const xmlNode* c = p ? p->children : nullptr; c; c = c->next)
    {
        if ((c->type != XML_TEXT_NODE && c->type != XML_CDATA_SECTION_NODE) || !c->content)
            continue;
        const char* s = reinterpret_cast<const char*>(c->content);
        if (nExpected)
        {
            // The declared count is believed only as far as the text could hold it.
            const size_t nMost = std::strlen(s) / 2 + 1;
            v.reserve(v.size() + (nExpected < nMost ? nExpected : nMost));
            nExpected = 0;
        }
        for (;;)
        {
            while (IsSpace(*s))
                ++s;
            if (!*s)
                break;
            const char* w = s;
            while (*s && !IsSpace(*s))
                ++s;
            double d = 0.0;
            if (QelFastNumber::Decimal(w, s, d))
            {
                v.push_back(float(d));
                continue;
            }
            float f = 0.0f;
            auto r = std::from_chars(*w == '+' ? w + 1 : w, s, f);
            if (r.ec == std::errc::invalid_argument || r.ptr != s)
                return false;
            if (r.ec == std::errc::result_out_of_range || !std::isfinite(f))
                f = 0.0f; // beyond a float, or nan: no coordinate to draw with
            v.push_back(f);
        }
    }
    return true;
}

bool QelColladaXml::Indices(const xmlNode* p, std::vector<uint32_t>& v)
{
    for (const xmlNode* c = p ? p->children : nullptr; c; c = c->next)
    {
        if ((c->type != XML_TEXT_NODE && c->type != XML_CDATA_SECTION_NODE) || !c->content)
            continue;
        const char* s = reinterpret_cast<const char*>(c->content);
        // Index lists are the bulk of a document: read in one tight pass over the
        // zero-terminated text, with room made once for the most it can hold.
        const size_t nLength = std::strlen(s);
        v.reserve(v.size() + nLength / 2 + 1);
        for (;;)
        {
            while (IsSpace(*s))
                ++s;
            if (!*s)
                break;
            uint64_t n = 0;
            const char* w = s;
            unsigned d;
            while ((d = unsigned(*s - '0')) <= 9)
            {
                n = n * 10 + d;
                n = n > 0xFFFFFFFFull ? 0xFFFFFFFFull : n;
                ++s;
            }
            if (s == w || (*s && !IsSpace(*s)))
                return false;
            v.push_back(uint32_t(n));
        }
    }
    return true;
}

std::string QelColladaXml::Fragment(const std::string& strUrl)
{
    return !strUrl.empty() && strUrl[0] == '#' ? strUrl.substr(1) : strUrl;
}

void QelColladaXml::IndexIds(const xmlNode* pRoot, IdMap& map)
{
    const xmlNode* p = pRoot;
    while (p)
    {
        if (p->type == XML_ELEMENT_NODE)
        {
            for (const xmlAttr* a = p->properties; a; a = a->next)
                if (std::strcmp(reinterpret_cast<const char*>(a->name), "id") == 0)
                {
                    map.emplace(Attr(p, "id"), p); // the first of a repeated id wins
                    break;
                }
        }
        if (p->type == XML_ELEMENT_NODE && p->children)
        {
            p = p->children;
            continue;
        }
        while (p && p != pRoot && !p->next)
            p = p->parent;
        if (!p || p == pRoot)
            break;
        p = p->next;
    }
}
