#include "qel/xml/detail/QelXMLRead.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <zlib.h>

#include <cstring>

namespace
{
const char kBaseURL[] = "QelXML.xml";

/// What the parser's read callback draws from.
struct Source
{
    const char* pText = nullptr; // text in memory, or
    gzFile pFile = nullptr;      // a file, inflated as it is read
    unsigned long long nPos = 0;
    unsigned long long nLength = 0;
    unsigned long long nLimit = 0;
    bool bTooLarge = false;
};

int ReadSource(void* pContext, char* pBuffer, int nLength)
{
    Source& s = *static_cast<Source*>(pContext);
    if (nLength <= 0)
        return 0;
    if (!s.pFile)
    {
        unsigned long long nLeft = s.nLength - s.nPos;
        int n = nLeft < static_cast<unsigned long long>(nLength) ? static_cast<int>(nLeft) : nLength;
        std::memcpy(pBuffer, s.pText + s.nPos, static_cast<size_t>(n));
        s.nPos += static_cast<unsigned long long>(n);
        return n;
    }
    int n = gzread(s.pFile, pBuffer, static_cast<unsigned int>(nLength));
    if (n < 0)
        return -1;
    s.nPos += static_cast<unsigned long long>(n);
    if (s.nPos > s.nLimit)
    {
        s.bTooLarge = true;
        return -1;
    }
    return n;
}

int CloseSource(void*)
{
    return 0;
}

QelXMLReadResult Parse(Source& s, const char* pURL, int nOptions)
{
    QelXMLReadResult r;
    xmlResetLastError();
    r.pDoc = xmlReadIO(ReadSource, CloseSource, &s, pURL, nullptr, nOptions);
    xmlErrorPtr pError = xmlGetLastError();
    r.nError = pError ? pError->code : 0;
    r.bTooLarge = s.bTooLarge;
    if (r.bTooLarge && r.pDoc)
    {
        xmlFreeDoc(r.pDoc);
        r.pDoc = nullptr;
    }
    return r;
}
} // namespace

QelXMLReadResult QelXMLReadText(const char* pText, size_t nLength, bool bRecover)
{
    // As xmlReadMemory: no text is no document, and no error either.
    if (nLength == 0)
        return QelXMLReadResult();
    Source s;
    s.pText = pText;
    s.nLength = nLength;
    int nOptions = XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    if (bRecover)
        nOptions |= XML_PARSE_RECOVER;
    return Parse(s, kBaseURL, nOptions);
}

QelXMLReadResult QelXMLReadFile(const std::string& strPath, unsigned long long nLimit)
{
    Source s;
    s.nLimit = nLimit;
    s.pFile = gzopen(strPath.c_str(), "rb");
    if (!s.pFile)
    {
        QelXMLReadResult r;
        r.bUnreadable = true;
        return r;
    }
    gzbuffer(s.pFile, 64 * 1024);
    QelXMLReadResult r = Parse(s, strPath.c_str(), XML_PARSE_HUGE | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    gzclose(s.pFile);
    return r;
}

std::string QelXMLNotWellFormed(_xmlParserCtxt* pCtxt)
{
    const xmlError* pErr = xmlCtxtGetLastError(pCtxt);
    std::string strMessage = pErr && pErr->message ? pErr->message : "no document";
    while (!strMessage.empty() && std::strchr(" \t\r\n", strMessage.back()))
        strMessage.pop_back();
    return "is not well-formed XML (line " + std::to_string(pErr ? pErr->line : 0) + ": " + strMessage + ")";
}
