#include "qel/models/detail/QelColladaXml.h"

#include "qel/models/detail/QelColladaWords.h"

#include <cstdint>
#include <cstring>

using QelColladaWords::IsGap;

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
    while (b < e && IsGap(s[b]))
        ++b;
    while (e > b && IsGap(s[e - 1]))
        --e;
    return s.substr(b, e - b);
}

unsigned QelColladaXml::Line(const xmlNode* p)
{
    long n = p ? xmlGetLineNo(p) : 0;
    return n > 0 ? unsigned(n) : 0;
}

namespace
{
/// The words of an element's text and CDATA children read into v, for elements whose numbers were
/// not taken while the document was parsed. fnReserve is told each child's length.
template <class T, class FnReserve>
bool ReadTextWords(const xmlNode* p, std::vector<T>& v, FnReserve fnReserve)
{
    QelColladaWords::QelColladaWordReader words;
    for (const xmlNode* c = p ? p->children : nullptr; c && !words.Bad(); c = c->next)
    {
        if ((c->type != XML_TEXT_NODE && c->type != XML_CDATA_SECTION_NODE) || !c->content)
            continue;
        const char* s = reinterpret_cast<const char*>(c->content);
        const size_t nLength = std::strlen(s);
        fnReserve(nLength);
        words.Feed(s, s + nLength, v);
    }
    words.Finish(v);
    return !words.Bad();
}
} // namespace

bool QelColladaXml::Floats(const xmlNode* p, std::vector<float>& v, size_t nExpected)
{
    if (const SNumbers* pNumbers = NumbersOf(p))
    {
        v.insert(v.end(), pNumbers->vFloats.begin(), pNumbers->vFloats.end());
        return !pNumbers->bBad;
    }
    auto reserve = [&v, &nExpected](size_t nLength) {
        if (nExpected)
        {
            // The declared count is believed only as far as the text could hold it.
            const size_t nMost = nLength / 2 + 1;
            v.reserve(v.size() + (nExpected < nMost ? nExpected : nMost));
            nExpected = 0;
        }
    };
    return ReadTextWords(p, v, reserve);
}

bool QelColladaXml::Indices(const xmlNode* p, std::vector<uint32_t>& v)
{
    if (const SNumbers* pNumbers = NumbersOf(p))
    {
        v.insert(v.end(), pNumbers->vIndices.begin(), pNumbers->vIndices.end());
        return !pNumbers->bBad;
    }
    // Index lists are the bulk of a document: room is made once for the most the text can hold.
    return ReadTextWords(p, v, [&v](size_t nLength) { v.reserve(v.size() + nLength / 2 + 1); });
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
