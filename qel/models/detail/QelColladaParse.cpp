#include "qel/models/detail/QelColladaXml.h"

#include "qel/models/detail/QelColladaRuns.h"
#include "qel/models/detail/QelColladaWords.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/xml/detail/QelXMLQuiet.h"
#include "qel/xml/detail/QelXMLRead.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstring>
#include <utility>

// The document is parsed into a tree, but the numbers of float arrays and index lists are taken
// as the parser meets them and never become text nodes.

namespace
{

/// The parser's view of the document being read: the large element whose text is being read.
struct SCapture
{
    /// The document's bytes not yet handed to the parser.
    const char* pNext = nullptr;
    size_t nLeft = 0;
    xmlParserCtxtPtr pCtxt = nullptr;
    QelColladaXml::Captured* pCaptured = nullptr;
    xmlNode* pNode = nullptr;
    QelColladaXml::SNumbers* pNumbers = nullptr;
    bool bFloats = false;
    QelColladaWords::QelColladaWordReader cWords;
    /// Numbers that room may still be made for ahead of reading them: all reservations together
    /// stay within what the whole document could hold, however many elements declare counts.
    size_t nRoom = 0;
    /// Null when the parser is handed every byte.
    QelColladaRuns* pRuns = nullptr;
    /// Part of the element's text was read past the parser.
    bool bCut = false;
    /// A cut run did not come back where it was cut: this parse is abandoned.
    bool bAnomaly = false;
    /// The parser may hold a '<' it has not read yet. Its buffer is looked at only in the SAX
    /// callbacks: while it asks for more text, the buffer may be moving.
    bool bMarkupAhead = true;
    /// Where such a '<' was last seen (null: none), while the buffer has not grown since.
    const xmlChar* pMarkupSeen = nullptr;
    bool bSeenValid = false;

    /// Room for nWanted more numbers, held at what the rest of the text and the budget allow.
    size_t Room(size_t nWanted, const xmlParserCtxt& ctxt)
    {
        const size_t nMost = (nLeft + size_t(ctxt.input ? ctxt.input->end - ctxt.input->cur : 0)) / 2 + 1;
        const size_t n = std::min(std::min(nWanted, nMost), nRoom);
        nRoom -= n;
        return n;
    }

    void Take(const char* s, const char* e)
    {
        if (bFloats)
            cWords.Feed(s, e, pNumbers->vFloats);
        else
            cWords.Feed(s, e, pNumbers->vIndices);
    }
    /// Ends the element's reading; false when a word that was not a number stopped it.
    bool Finish()
    {
        if (bFloats)
            cWords.Finish(pNumbers->vFloats);
        else
            cWords.Finish(pNumbers->vIndices);
        const bool bGood = !cWords.Bad();
        pNumbers->bBad = !bGood;
        cWords = QelColladaWords::QelColladaWordReader();
        pNode = nullptr;
        pNumbers = nullptr;
        return bGood;
    }
    void Abandon()
    {
        bAnomaly = true;
        xmlStopParser(pCtxt);
    }
    /// Updates bMarkupAhead from the parser's buffer, in a SAX callback. Each stretch of the
    /// buffer is searched once: a '<' seen stays ahead until the parser passes it.
    void LookAhead()
    {
        if (!pRuns || !bMarkupAhead)
            return; // only text handed over makes markup ahead again
        const xmlParserInput* pIn = pCtxt->input;
        if (!pIn || !pIn->cur || pIn->end < pIn->cur)
            return;
        if (bSeenValid && pMarkupSeen && pMarkupSeen >= pIn->cur)
            return;
        pMarkupSeen = static_cast<const xmlChar*>(std::memchr(pIn->cur, '<', size_t(pIn->end - pIn->cur)));
        bSeenValid = true;
        bMarkupAhead = pMarkupSeen != nullptr;
    }
    /// Where the text the parser has not been handed yet can be cut, up to the next '<'; null
    /// unless the parser, reading straight inside the captured element, holds no markup ahead
    /// that could end the element before the cut.
    const char* CutEnd(size_t& nLines) const
    {
        if (!pRuns || bAnomaly || bMarkupAhead || !pNode || pCtxt->node != pNode || pCtxt->inputNr != 1)
            return nullptr;
        const xmlParserInput* pIn = pCtxt->input;
        if (!pIn || !pIn->buf || pIn->buf->encoder)
            return nullptr;
        return pRuns->RunEnd(pNext, nLeft, nLines);
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
    c.LookAhead();
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
    if (c.pNode && c.pCtxt->node == c.pNode)
    {
        const bool bCut = std::exchange(c.bCut, false);
        // Text read past the parser must have been plain numbers, and every run cut out of the
        // element must have come back inside it; otherwise the parser's own verdict is needed.
        if (!c.Finish() && bCut)
            c.Abandon();
        else if (c.pRuns && c.pRuns->Pending())
            c.Abandon();
    }
    xmlSAX2EndElementNs(pContext, pLocal, pPrefix, pUri);
}

/// A marker in place of a run: the run's numbers are read now, in their place in the text.
void ProcessingInstruction(void* pContext, const xmlChar* pTarget, const xmlChar* pData)
{
    SCapture& c = CaptureOf(pContext);
    if (!c.pRuns || std::strcmp(reinterpret_cast<const char*>(pTarget), QelColladaRuns::kTarget) != 0)
    {
        xmlSAX2ProcessingInstruction(pContext, pTarget, pData);
        return;
    }
    const char* pBegin = nullptr;
    const char* pEnd = nullptr;
    size_t nLines = 0;
    if (!c.pNode || c.pCtxt->node != c.pNode ||
        !c.pRuns->Take(reinterpret_cast<const char*>(pData), c.pNumbers, pBegin, pEnd, nLines))
    {
        c.Abandon();
        return;
    }
    c.bCut = true;
    c.LookAhead();
    c.Take(pBegin, pEnd);
    // Later elements keep the lines they have in the file.
    c.pCtxt->input->line += int(nLines);
    if (c.cWords.Bad())
        c.Abandon();
}

/// Hands the parser the document a piece at a time, so that it reads from a small buffer of its
/// own instead of copying the whole document first. Long number text inside a captured element
/// is cut out and read past the parser.
int ReadPiece(void* pContext, char* pBuffer, int nLength)
{
    SCapture& c = *static_cast<SCapture*>(pContext);
    const size_t nRoom = nLength > 0 ? size_t(nLength) : 0;
    size_t nMarker = 0, nLines = 0;
    if (const char* pEnd = c.CutEnd(nLines))
        if ((nMarker = c.pRuns->Cut(c.pNext, pEnd, nLines, c.pNumbers, pBuffer, nRoom)) != 0)
        {
            c.nLeft -= size_t(pEnd - c.pNext);
            c.pNext = pEnd;
        }
    const size_t n = std::min(nRoom - nMarker, c.nLeft);
    std::memcpy(pBuffer + nMarker, c.pNext, n);
    c.bSeenValid = false;
    if (nMarker || std::memchr(pBuffer + nMarker, '<', n))
        c.bMarkupAhead = true;
    c.pNext += n;
    c.nLeft -= n;
    return int(nMarker + n);
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
    if (c.pNode && c.pCtxt->node == c.pNode)
    {
        c.LookAhead();
        c.Take(reinterpret_cast<const char*>(pText), reinterpret_cast<const char*>(pText) + nLength);
    }
    else
        fnDefault(pContext, pText, nLength);
}

/// One parse of the whole document, cutting runs when pRuns is given. Null with strError set when
/// the document is not well-formed; null with bRetry set when runs were cut and the parse must be
/// done again without.
xmlDocPtr ParseOnce(const char* pData, size_t nSize, QelColladaXml::Captured& captured, QelColladaRuns* pRuns,
                    bool& bRetry, std::string& strError)
{
    bRetry = false;
    xmlParserCtxtPtr pCtxt = xmlNewParserCtxt();
    if (!pCtxt)
    {
        strError = "cannot be read (out of memory)";
        return nullptr;
    }
    // Float arrays and index lists are read into numbers as the parser meets their text, which
    // then never becomes a node of its own to be copied and read again.
    SCapture capture;
    capture.pCtxt = pCtxt;
    capture.pCaptured = &captured;
    capture.nRoom = nSize / 2 + 1;
    capture.pRuns = pRuns;
    pCtxt->_private = &capture;
    pCtxt->sax->startElementNs = StartElement;
    pCtxt->sax->endElementNs = EndElement;
    pCtxt->sax->characters = SaxText<xmlSAX2Characters>;
    pCtxt->sax->ignorableWhitespace = SaxText<xmlSAX2Characters>;
    pCtxt->sax->cdataBlock = SaxText<xmlSAX2CDataBlock>;
    pCtxt->sax->processingInstruction = ProcessingInstruction;
    // Other large text needs the reader's large-text option; entities stay unexpanded and
    // nothing is fetched from the network.
    capture.pNext = pData;
    capture.nLeft = nSize;
    xmlDocPtr pDoc = xmlCtxtReadIO(pCtxt, ReadPiece, ClosePieces, &capture, "document.dae", nullptr,
                                   XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    const bool bGood = pDoc && pCtxt->wellFormed;
    if (capture.bAnomaly || (pRuns && pRuns->Cuts() && (pRuns->Pending() || !bGood)))
        bRetry = true;
    else if (!bGood)
        strError = QelXMLNotWellFormed(pCtxt);
    if (pDoc && (bRetry || !bGood))
    {
        xmlFreeDoc(pDoc);
        pDoc = nullptr;
    }
    pCtxt->_private = nullptr;
    xmlFreeParserCtxt(pCtxt);
    return pDoc;
}

} // namespace

xmlDocPtr QelColladaXml::Parse(const char* pData, size_t nSize, QelLoadLog& log, Captured& captured, size_t nMinRun)
{
    if (nSize > size_t(INT_MAX))
    {
        log.Error("is too large for the XML reader");
        return nullptr;
    }
    QelXMLQuiet quiet;
    bool bRetry = false;
    std::string strError;
    xmlDocPtr pDoc = nullptr;
    if (nMinRun != kNoCuts)
    {
        QelColladaRuns runs(nMinRun);
        pDoc = ParseOnce(pData, nSize, captured, &runs, bRetry, strError);
    }
    if (nMinRun == kNoCuts || bRetry)
    {
        captured.clear();
        pDoc = ParseOnce(pData, nSize, captured, nullptr, bRetry, strError);
    }
    if (!pDoc)
        log.Error(strError);
    return pDoc;
}

