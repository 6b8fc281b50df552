#include "qel/models/detail/QelZmfDocument.h"

#include "qel/models/detail/QelLoadLog.h"
#include "qel/platform/QelString.h"
#include "qel/xml/detail/QelBase64.h"
#include "qel/xml/detail/QelXMLInterfaceDef.h"
#include "qel/xml/detail/QelXMLQuiet.h"
#include "qel/xml/detail/QelXMLRead.h"
#include "qel/xml/detail/QelXMLSanitizer.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>

namespace
{
/// What the parser's read callback draws from: the text itself, or gzip members inflated as the
/// parser asks for more.
struct SSource
{
    const unsigned char* p = nullptr;
    size_t nLeft = 0;
    bool bGzip = false;
    z_stream z{};
    unsigned long long nOut = 0;
    unsigned long long nLimit = 0;
    bool bTooLarge = false;
    bool bDamaged = false;
};

bool IsGzip(const unsigned char* p, size_t n)
{
    return n >= 2 && p[0] == 0x1F && p[1] == 0x8B;
}

int ReadSource(void* pContext, char* pBuffer, int nLength)
{
    SSource& s = *static_cast<SSource*>(pContext);
    if (nLength <= 0)
        return 0;
    size_t nGot = 0;
    if (!s.bGzip)
    {
        nGot = s.nLeft < size_t(nLength) ? s.nLeft : size_t(nLength);
        std::memcpy(pBuffer, s.p, nGot);
        s.p += nGot;
        s.nLeft -= nGot;
    }
    else
    {
        s.z.next_out = reinterpret_cast<Bytef*>(pBuffer);
        s.z.avail_out = unsigned(nLength);
        while (s.z.avail_out > 0)
        {
            if (s.z.avail_in == 0 && s.nLeft > 0)
            {
                const size_t nTake = s.nLeft < (1u << 30) ? s.nLeft : (1u << 30);
                s.z.next_in = const_cast<Bytef*>(s.p);
                s.z.avail_in = unsigned(nTake);
                s.p += nTake;
                s.nLeft -= nTake;
            }
            const int nResult = inflate(&s.z, Z_NO_FLUSH);
            if (nResult == Z_STREAM_END)
            {
                // Another member may follow, as appending writers make; anything else ends the text.
                if (IsGzip(s.z.next_in, s.z.avail_in) || (s.z.avail_in == 0 && IsGzip(s.p, s.nLeft)))
                {
                    inflateReset(&s.z);
                    continue;
                }
                s.nLeft = 0;
                s.z.avail_in = 0;
                break;
            }
            if (nResult != Z_OK && !(nResult == Z_BUF_ERROR && s.z.avail_in > 0))
            {
                s.bDamaged = true;
                return -1;
            }
            if (s.z.avail_in == 0 && s.nLeft == 0 && s.z.avail_out > 0)
            {
                // The input is spent before the member's end: a file cut short.
                s.bDamaged = true;
                return -1;
            }
        }
        nGot = size_t(nLength) - s.z.avail_out;
    }
    s.nOut += nGot;
    if (s.nOut > s.nLimit)
    {
        s.bTooLarge = true;
        return -1;
    }
    return int(nGot);
}

int CloseSource(void*)
{
    return 0;
}
} // namespace

/// The parser's view of the document being read: which chunk takes the text now.
struct QelZmfDocument::SState
{
    std::vector<SChunk>* pChunks = nullptr;
    std::unordered_map<const _xmlNode*, size_t>* pMap = nullptr;
    xmlNode* pTaking = nullptr;
    QelBase64::Decoder cDecoder;
    bool bOutOfMemory = false;

    SChunk& Current() { return pChunks->back(); }

    /// Room for nMore bytes after the chunk's end; false when memory runs out.
    bool Reserve(size_t nMore)
    {
        SChunk& c = Current();
        if (c.nCapacity - c.nSize >= nMore)
            return true;
        size_t nNew = c.nCapacity * 2 > c.nSize + nMore ? c.nCapacity * 2 : c.nSize + nMore;
        void* p = std::realloc(c.pBytes.get(), nNew);
        if (!p)
        {
            bOutOfMemory = true;
            return false;
        }
        c.pBytes.release();
        c.pBytes.reset(static_cast<unsigned char*>(p));
        c.nCapacity = nNew;
        return true;
    }

    void Take(const xmlChar* pText, int nLength)
    {
        if (!Reserve(QelBase64::Decoder::MaxBytes(size_t(nLength))))
            return;
        SChunk& c = Current();
        c.nSize += cDecoder.Feed(reinterpret_cast<const char*>(pText), size_t(nLength), c.pBytes.get() + c.nSize);
    }

    void Finish()
    {
        if (Reserve(3))
        {
            SChunk& c = Current();
            c.nSize += cDecoder.Finish(c.pBytes.get() + c.nSize);
            c.nDamage = cDecoder.Damage();
        }
        cDecoder = QelBase64::Decoder();
        pTaking = nullptr;
    }
};

namespace
{
QelZmfDocument::SState& StateOf(void* pContext)
{
    return *static_cast<QelZmfDocument::SState*>(static_cast<xmlParserCtxtPtr>(pContext)->_private);
}

void StartElement(void* pContext, const xmlChar* pLocal, const xmlChar* pPrefix, const xmlChar* pUri, int nNs,
                  const xmlChar** pNs, int nAttributes, int nDefaulted, const xmlChar** pAttributes)
{
    xmlSAX2StartElementNs(pContext, pLocal, pPrefix, pUri, nNs, pNs, nAttributes, nDefaulted, pAttributes);
    QelZmfDocument::SState& s = StateOf(pContext);
    xmlNode* pNode = static_cast<xmlParserCtxtPtr>(pContext)->node;
    if (s.pTaking || !pNode || !pNode->parent || pNode->parent->type != XML_ELEMENT_NODE ||
        !xmlHasProp(pNode->parent, reinterpret_cast<const xmlChar*>("count")))
        return;
    s.pChunks->emplace_back();
    s.pMap->emplace(pNode, s.pChunks->size() - 1);
    s.pTaking = pNode;
}

void EndElement(void* pContext, const xmlChar* pLocal, const xmlChar* pPrefix, const xmlChar* pUri)
{
    QelZmfDocument::SState& s = StateOf(pContext);
    if (s.pTaking && static_cast<xmlParserCtxtPtr>(pContext)->node == s.pTaking)
        s.Finish();
    xmlSAX2EndElementNs(pContext, pLocal, pPrefix, pUri);
}

/// Text of the chunk being read is decoded; any other text goes into the document as usual.
template <void (*fnDefault)(void*, const xmlChar*, int)>
void Text(void* pContext, const xmlChar* pText, int nLength)
{
    QelZmfDocument::SState& s = StateOf(pContext);
    if (s.pTaking && static_cast<xmlParserCtxtPtr>(pContext)->node == s.pTaking)
        s.Take(pText, nLength);
    else
        fnDefault(pContext, pText, nLength);
}
} // namespace

bool QelZmfDocument::Parse(const char* pData, size_t nSize, QelLoadLog& log)
{
    CloseData();
    m_vChunks.clear();
    m_mapChunks.clear();
    if (!m_pDef)
        return false;
    SSource src;
    src.p = reinterpret_cast<const unsigned char*>(pData);
    src.nLeft = pData ? nSize : 0;
    src.nLimit = GetMaxDocumentSize();
    src.bGzip = IsGzip(src.p, src.nLeft);
    if (src.bGzip && inflateInit2(&src.z, 16 + MAX_WBITS) != Z_OK)
    {
        log.Error("cannot be read (out of memory)");
        return false;
    }
    SState state;
    state.pChunks = &m_vChunks;
    state.pMap = &m_mapChunks;
    QelXMLQuiet quiet;
    xmlParserCtxtPtr pCtxt = xmlCreateIOParserCtxt(nullptr, nullptr, ReadSource, CloseSource, &src, XML_CHAR_ENCODING_NONE);
    xmlDocPtr pDoc = nullptr;
    std::string strError;
    if (!pCtxt)
        strError = "cannot be read (out of memory)";
    else
    {
        xmlCtxtUseOptions(pCtxt, XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
        pCtxt->_private = &state;
        pCtxt->sax->startElementNs = StartElement;
        pCtxt->sax->endElementNs = EndElement;
        pCtxt->sax->characters = Text<xmlSAX2Characters>;
        pCtxt->sax->ignorableWhitespace = Text<xmlSAX2Characters>;
        pCtxt->sax->cdataBlock = Text<xmlSAX2CDataBlock>;
        xmlParseDocument(pCtxt);
        pDoc = pCtxt->myDoc;
        pCtxt->myDoc = nullptr;
        const bool bWellFormed = pCtxt->wellFormed != 0;
        if (src.bDamaged)
            strError = "is damaged: its compressed data is cut short or corrupt";
        else if (src.bTooLarge)
            strError = QelFormat("inflates to more than the limit of %llu bytes", src.nLimit);
        else if (state.bOutOfMemory)
            strError = "cannot be read (out of memory)";
        else if (!pDoc || !bWellFormed)
            strError = QelXMLNotWellFormed(pCtxt);
        else if (QelXMLIsDeeperThan(xmlDocGetRootElement(pDoc), kQelXMLMaxDepth))
            strError = QelFormat("nests deeper than %u levels", kQelXMLMaxDepth);
        pCtxt->_private = nullptr;
        xmlFreeParserCtxt(pCtxt);
    }
    if (src.bGzip)
        inflateEnd(&src.z);
    if (strError.empty() && !m_pDef->AdoptDocument(pDoc))
        strError = "holds no element";
    if (!strError.empty())
    {
        if (pDoc)
            xmlFreeDoc(pDoc);
        m_vChunks.clear();
        m_mapChunks.clear();
        log.Error(strError);
        return false;
    }
    return true;
}

void QelZmfDocument::SFree::operator()(unsigned char* p) const
{
    std::free(p);
}

const QelZmfDocument::SChunk* QelZmfDocument::CurrentChunk() const
{
    if (!m_pDef || !m_pDef->m_pCurrentNode)
        return nullptr;
    auto it = m_mapChunks.find(m_pDef->m_pCurrentNode);
    return it == m_mapChunks.end() ? nullptr : &m_vChunks[it->second];
}
