#include "qel/models/detail/QelColladaXml.h"

#include "qel/models/detail/QelColladaWords.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/xml/detail/QelXMLQuiet.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstring>

using QelColladaWords::IsGap;

namespace
{

/// The parser's view of the document being read: the large element whose text is being read.
struct SCapture
{
    /// The document's bytes not yet handed to the parser.
    const char* pNext = nullptr;
    size_t nLeft = 0;
    QelColladaXml::Captured* pCaptured = nullptr;
    xmlNode* pNode = nullptr;
    QelColladaXml::SNumbers* pNumbers = nullptr;
    bool bFloats = false;
    QelColladaWords::QelColladaWordReader cWords;
    /// Numbers that room may still be made for ahead of reading them: all reservations together
    /// stay within what the whole document could hold, however many elements declare counts.
    size_t nRoom = 0;

    /// Room for nWanted more numbers, held at what the rest of the text and the budget allow.
    size_t Room(size_t nWanted, const xmlParserCtxt& ctxt)
    {
        const size_t nMost = (nLeft + size_t(ctxt.input ? ctxt.input->end - ctxt.input->cur : 0)) / 2 + 1;
        const size_t n = std::min(std::min(nWanted, nMost), nRoom);
        nRoom -= n;
        return n;
    }

    void Take(const char* s, int nLength)
    {
        if (bFloats)
            cWords.Feed(s, s + nLength, pNumbers->vFloats);
        else
            cWords.Feed(s, s + nLength, pNumbers->vIndices);
    }
    void Finish()
    {
        if (bFloats)
            cWords.Finish(pNumbers->vFloats);
        else
            cWords.Finish(pNumbers->vIndices);
        pNumbers->bBad = cWords.Bad();
        cWords = QelColladaWords::QelColladaWordReader();
        pNode = nullptr;
        pNumbers = nullptr;
    }
};

/// How many indices the <p> of a triangles, lines or polylist element should hold, from its
/// parent's count (or the corners its vcount lists) and its inputs' offsets; 0 when unknown.
size_t ExpectedIndices(const xmlNode* pP)
{
    using namespace QelColladaXml;
    const size_t kCap = size_t(1) << 40; // beyond any document; keeps the product from wrapping
    const xmlNode* pPrim = pP->parent;
    size_t nStride = 0;
    for (const xmlNode* c = pPrim ? pPrim->children : nullptr; c; c = c->next)
        if (Is(c, "input"))
            nStride = std::max<size_t>(nStride, std::min(std::strtoull(Attr(c, "offset").c_str(), nullptr, 10), 255ull) + 1);
    size_t nCorners = 0;
    const bool bTriangles = Is(pPrim, "triangles");
    if (bTriangles || Is(pPrim, "lines"))
        nCorners = std::min<size_t>(std::strtoull(Attr(pPrim, "count").c_str(), nullptr, 10), kCap) * (bTriangles ? 3 : 2);
    else if (const SNumbers* pCounts = Is(pPrim, "polylist") ? NumbersOf(Child(pPrim, "vcount")) : nullptr)
        for (uint32_t n : pCounts->vIndices)
            nCorners = std::min<size_t>(nCorners + n, kCap);
    return nCorners * nStride;
}

SCapture& CaptureOf(void* pContext)
{
    return *static_cast<SCapture*>(static_cast<xmlParserCtxtPtr>(pContext)->_private);
}

void StartElement(void* pContext, const xmlChar* pLocal, const xmlChar* pPrefix, const xmlChar* pUri, int nNs,
                  const xmlChar** pNs, int nAttributes, int nDefaulted, const xmlChar** pAttributes)
{
    xmlSAX2StartElementNs(pContext, pLocal, pPrefix, pUri, nNs, pNs, nAttributes, nDefaulted, pAttributes);
    SCapture& c = CaptureOf(pContext);
    xmlParserCtxtPtr pCtxt = static_cast<xmlParserCtxtPtr>(pContext);
    const char* pName = reinterpret_cast<const char*>(pLocal);
    const bool bFloats = std::strcmp(pName, "float_array") == 0;
    if (c.pNode || !pCtxt->node || (!bFloats && std::strcmp(pName, "p") != 0 && std::strcmp(pName, "vcount") != 0))
        return;
    c.pCaptured->push_back(std::unique_ptr<QelColladaXml::SNumbers>(new QelColladaXml::SNumbers));
    c.pNumbers = c.pCaptured->back().get();
    c.pNode = pCtxt->node;
    c.pNode->_private = c.pNumbers;
    c.bFloats = bFloats;
    // Room is made at once from the counts the document declares, believed only as far as the
    // text could hold them.
    if (!bFloats)
    {
        if (pName[0] == 'p')
            c.pNumbers->vIndices.reserve(c.Room(ExpectedIndices(c.pNode), *pCtxt));
        return;
    }
    for (int i = 0; i < nAttributes; ++i)
        if (std::strcmp(reinterpret_cast<const char*>(pAttributes[5 * i]), "count") == 0)
        {
            const char* pValue = reinterpret_cast<const char*>(pAttributes[5 * i + 3]);
            const char* pEnd = reinterpret_cast<const char*>(pAttributes[5 * i + 4]);
            unsigned long long n = 0;
            std::from_chars(pValue, pEnd, n);
            c.pNumbers->vFloats.reserve(c.Room(size_t(std::min<unsigned long long>(n, SIZE_MAX)), *pCtxt));
        }
}

void EndElement(void* pContext, const xmlChar* pLocal, const xmlChar* pPrefix, const xmlChar* pUri)
{
    SCapture& c = CaptureOf(pContext);
    if (c.pNode && static_cast<xmlParserCtxtPtr>(pContext)->node == c.pNode)
        c.Finish();
    xmlSAX2EndElementNs(pContext, pLocal, pPrefix, pUri);
}

/// Hands the parser the document a piece at a time, so that it reads from a small buffer of its
/// own instead of copying the whole document first.
int ReadPiece(void* pContext, char* pBuffer, int nLength)
{
    SCapture& c = *static_cast<SCapture*>(pContext);
    const size_t n = nLength > 0 && size_t(nLength) < c.nLeft ? size_t(nLength) : nLength > 0 ? c.nLeft : 0;
    std::memcpy(pBuffer, c.pNext, n);
    c.pNext += n;
    c.nLeft -= n;
    return int(n);
}

int ClosePieces(void*)
{
    return 0;
}

/// Text of the element being captured becomes numbers; any other text goes into the document.
template <void (*fnDefault)(void*, const xmlChar*, int)>
void SaxText(void* pContext, const xmlChar* pText, int nLength)
{
    SCapture& c = CaptureOf(pContext);
    if (c.pNode && static_cast<xmlParserCtxtPtr>(pContext)->node == c.pNode)
        c.Take(reinterpret_cast<const char*>(pText), nLength);
    else
        fnDefault(pContext, pText, nLength);
}

} // namespace

xmlDocPtr QelColladaXml::Parse(const char* pData, size_t nSize, QelLoadLog& log, Captured& captured)
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
    // Float arrays and index lists are read into numbers as the parser meets their text, which
    // then never becomes a node of its own to be copied and read again.
    SCapture capture;
    capture.pCaptured = &captured;
    capture.nRoom = nSize / 2 + 1;
    pCtxt->_private = &capture;
    pCtxt->sax->startElementNs = StartElement;
    pCtxt->sax->endElementNs = EndElement;
    pCtxt->sax->characters = SaxText<xmlSAX2Characters>;
    pCtxt->sax->ignorableWhitespace = SaxText<xmlSAX2Characters>;
    pCtxt->sax->cdataBlock = SaxText<xmlSAX2CDataBlock>;
    // Other large text needs the reader's large-text option; entities stay unexpanded and
    // nothing is fetched from the network.
    capture.pNext = pData;
    capture.nLeft = nSize;
    xmlDocPtr pDoc = xmlCtxtReadIO(pCtxt, ReadPiece, ClosePieces, &capture, "document.dae", nullptr,
                                   XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!pDoc || !pCtxt->wellFormed)
    {
        const xmlError* pErr = xmlCtxtGetLastError(pCtxt);
        std::string strMessage = pErr && pErr->message ? pErr->message : "no document";
        while (!strMessage.empty() && IsGap(strMessage.back()))
            strMessage.pop_back();
        log.Error("is not well-formed XML (line " + std::to_string(pErr ? pErr->line : 0) + ": " + strMessage + ")");
        if (pDoc)
            xmlFreeDoc(pDoc);
        pDoc = nullptr;
    }
    pCtxt->_private = nullptr;
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
