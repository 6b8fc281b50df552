#include "qel/xml/QelMasterXMLInterface.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/xml/detail/QelXMLInterfaceDef.h"
#include "qel/xml/detail/QelXMLQuiet.h"
#include "qel/xml/detail/QelXMLRead.h"
#include "qel/xml/detail/QelXMLSanitizer.h"

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlmemory.h>
#include <zlib.h>

#include <climits>
#include <cstring>
#include <memory>
#include <new>

namespace
{
/// The largest document text the loaders accept, inflated; a host may raise it.
unsigned long long g_nMaxDocumentSize = 1ull << 30;

/// Deflate never expands more than 1032 to 1; a stored length beyond that cannot be genuine.
const unsigned long long kMaxInflateRatio = 1032;

bool ReportTooLarge(unsigned long long nLength)
{
    if (nLength <= g_nMaxDocumentSize)
        return false;
    QelSysApp::App().PrintToConsole(
        "<error> QelXMLInterface - a document of %llu bytes is larger than the limit of %llu bytes\n", nLength,
        g_nMaxDocumentSize);
    return true;
}

/// A document nested deeper than the saver writes is refused, whatever the storage form.
bool ReportTooDeep(xmlDoc* pDoc)
{
    if (!QelXMLIsDeeperThan(xmlDocGetRootElement(pDoc), kQelXMLMaxDepth))
        return false;
    QelSysApp::App().PrintToConsole("<error> QelXMLInterface - the document nests deeper than %u levels\n",
                                    kQelXMLMaxDepth);
    xmlFreeDoc(pDoc);
    return true;
}

/// Before a save: a tree deeper than the loaders read is refused, the rest made well-formed.
bool PrepareSave(xmlDoc* pDoc, xmlNode* pTop)
{
    if (QelXMLIsDeeperThan(pTop ? pTop : xmlDocGetRootElement(pDoc), kQelXMLMaxDepth))
    {
        QelSysApp::App().PrintToConsole(
            "<error> QelXMLInterface - the document nests deeper than %u levels and is not saved\n", kQelXMLMaxDepth);
        return false;
    }
    QelXMLMakeWritable(pDoc, pTop);
    return true;
}
} // namespace

void QelMasterXMLInterface::SetMaxDocumentSize(unsigned long long nBytes)
{
    g_nMaxDocumentSize = nBytes;
}

unsigned long long QelMasterXMLInterface::GetMaxDocumentSize()
{
    return g_nMaxDocumentSize;
}

unsigned int QelMasterXMLInterface::GetMaxDocumentDepth()
{
    return kQelXMLMaxDepth;
}

QelMasterXMLInterface::QelMasterXMLInterface() = default;

QelMasterXMLInterface::~QelMasterXMLInterface() = default;

void QelMasterXMLInterface::NewData(const std::string& strRootName, const std::string& strComment)
{
    if (!m_pDef)
        return;
    // The stack is deliberately kept across NewData; its entries pointed into the freed document,
    // though, so only those that could dangle go (all of them).
    m_pDef->CloseData();
    xmlDoc* pDoc = xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"));
    if (!pDoc)
        return;
    if (!strComment.empty())
    {
        xmlNode* pComment = xmlNewDocComment(pDoc, reinterpret_cast<const xmlChar*>(strComment.c_str()));
        if (pComment)
            xmlAddChild(reinterpret_cast<xmlNode*>(pDoc), pComment);
    }
    xmlNode* pRoot = xmlNewDocNode(pDoc, nullptr, reinterpret_cast<const xmlChar*>(strRootName.c_str()), nullptr);
    if (!pRoot)
    {
        xmlFreeDoc(pDoc);
        return;
    }
    xmlDocSetRootElement(pDoc, pRoot);
    m_pDef->AdoptDocument(pDoc);
}

bool QelMasterXMLInterface::LoadDataFromFile(const std::string& strPath)
{
    if (!m_pDef)
        return false;
    m_pDef->CloseData();
    QelXMLReadResult r;
    {
        QelXMLQuiet quiet;
        r = QelXMLReadFile(strPath, g_nMaxDocumentSize);
    }
    xmlDoc* pDoc = r.pDoc;
    const std::string strQuoted = QelQuoteInput(strPath);
    if (r.bTooLarge)
        QelSysApp::App().PrintToConsole(
            "<error> QelXMLInterface - file [%s] inflates to more than the limit of %llu bytes\n", strQuoted.c_str(),
            g_nMaxDocumentSize);
    if (!pDoc)
    {
        QelSysApp::App().PrintToConsole("Failed to parse file [%s]\n", strQuoted.c_str());
        return false;
    }
    if (ReportTooDeep(pDoc))
        return false;
    if (!m_pDef->AdoptDocument(pDoc))
    {
        QelSysApp::App().PrintToConsole("File [%s] is empty\n", strQuoted.c_str());
        xmlFreeDoc(pDoc);
        return false;
    }
    return true;
}

bool QelMasterXMLInterface::SaveDataToFile(const std::string& strPath, bool bCompress)
{
    if (!IsValid())
        return false;
    if (!PrepareSave(m_pDef->m_pDocument, nullptr))
        return false;
    QelXMLQuiet quiet;
    xmlSetDocCompressMode(m_pDef->m_pDocument, bCompress ? 9 : 0);
    return xmlSaveFormatFileEnc(strPath.c_str(), m_pDef->m_pDocument, "UTF-8", 1) > 0;
}

bool QelMasterXMLInterface::LoadDataFromString(const std::string& strText)
{
    if (!m_pDef)
        return false;
    m_pDef->CloseData();
    if (ReportTooLarge(strText.size()))
        return false;
    QelXMLReadResult r;
    {
        QelXMLQuiet quiet;
        r = QelXMLReadText(strText.data(), strText.size(), true);
    }
    xmlDoc* pDoc = r.pDoc;
    // Input is quoted, never copied whole: a 100 MB string must not become a 100 MB log line.
    if (!pDoc)
    {
        QelSysApp::App().PrintToConsole("Failed to parse string [%s][error:0x%0x]\n", QelQuoteInput(strText).c_str(),
                                        r.nError);
        return false;
    }
    if (ReportTooDeep(pDoc))
        return false;
    if (!m_pDef->AdoptDocument(pDoc))
    {
        QelSysApp::App().PrintToConsole("String [%s] is empty\n", QelQuoteInput(strText).c_str());
        xmlFreeDoc(pDoc);
        return false;
    }
    return true;
}

std::string QelMasterXMLInterface::SaveDataToString()
{
    if (!IsValid())
        return std::string();
    if (!PrepareSave(m_pDef->m_pDocument, m_pDef->m_pCurrentNode))
        return std::string();
    xmlBuffer* pBuffer = xmlBufferCreate();
    if (!pBuffer)
        return std::string();
    std::string str;
    {
        QelXMLQuiet quiet;
        if (xmlNodeDump(pBuffer, m_pDef->m_pDocument, m_pDef->m_pCurrentNode, 1, 1) >= 0)
        {
            const xmlChar* pContent = xmlBufferContent(pBuffer);
            if (pContent)
                str.assign(reinterpret_cast<const char*>(pContent), static_cast<size_t>(xmlBufferLength(pBuffer)));
        }
    }
    xmlBufferFree(pBuffer);
    return str;
}

bool QelMasterXMLInterface::LoadDataFromMemory(char* pData, unsigned int nSize)
{
    if (!m_pDef)
        return false;
    m_pDef->CloseData();
    QelSysApp& app = QelSysApp::App();
    if (!pData || nSize == 0)
    {
        app.PrintToConsole("<error> QelXMLInterface - memory block is empty\n");
        return false;
    }

    const char* pText = pData + 1;
    unsigned long long nLength = nSize - 1ull;
    std::unique_ptr<char[]> pInflated;
    if (pData[0] != 0)
    {
        if (nSize < 5)
        {
            app.PrintToConsole("<error> QelXMLInterface - compressed block of %u bytes is shorter than its header\n",
                               nSize);
            return false;
        }
        const unsigned char* pHeader = reinterpret_cast<const unsigned char*>(pData + 1);
        unsigned long nStored = static_cast<unsigned long>(pHeader[0]) | static_cast<unsigned long>(pHeader[1]) << 8 |
                                static_cast<unsigned long>(pHeader[2]) << 16 |
                                static_cast<unsigned long>(pHeader[3]) << 24;
        unsigned long long nCompressed = nSize - 5ull;
        // Checked before anything is allocated: the stored length is what would be.
        if (ReportTooLarge(nStored))
            return false;
        if (nStored > nCompressed * kMaxInflateRatio)
        {
            app.PrintToConsole("<error> QelXMLInterface - stored length %lu is impossible for %llu compressed bytes\n",
                               nStored, nCompressed);
            return false;
        }
        // One spare byte keeps the buffer non-empty and shows a stored length that is too short.
        pInflated.reset(new (std::nothrow) char[nStored + 1]);
        if (!pInflated)
        {
            app.PrintToConsole("<error> QelXMLInterface - out of memory inflating %lu bytes\n", nStored);
            return false;
        }
        uLongf nInflated = nStored + 1;
        int nResult = uncompress(reinterpret_cast<Bytef*>(pInflated.get()), &nInflated,
                                 reinterpret_cast<const Bytef*>(pData + 5), static_cast<uLong>(nCompressed));
        if (nResult != Z_OK && nResult != Z_BUF_ERROR)
        {
            app.PrintToConsole("<error> QelXMLInterface - compressed data does not inflate [zlib:%d]\n", nResult);
            return false;
        }
        if (nResult == Z_BUF_ERROR || nInflated != nStored)
        {
            app.PrintToConsole("<error> QelXMLInterface - stored length %lu does not match the compressed data\n",
                               nStored);
            return false;
        }
        pText = pInflated.get();
        nLength = nStored;
    }
    else if (ReportTooLarge(nLength))
        return false;

    QelXMLReadResult r;
    {
        QelXMLQuiet quiet;
        r = QelXMLReadText(pText, static_cast<size_t>(nLength), true);
    }
    xmlDoc* pDoc = r.pDoc;
    if (!pDoc)
        app.PrintToConsole("<error> QelXMLInterface - Failed to parse data [error:0x%0x]\n", r.nError);
    else if (ReportTooDeep(pDoc))
        return false;
    else if (!m_pDef->AdoptDocument(pDoc))
    {
        app.PrintToConsole("<error> QelXMLInterface - data is empty\n");
        xmlFreeDoc(pDoc);
        m_pDef->CloseData();
    }
    // Deliberately false even on success: callers test IsValid().
    return false;
}

char* QelMasterXMLInterface::SaveDataToMemory(unsigned int& nSize, bool bCompress)
{
    nSize = 0;
    if (!m_pDef || !m_pDef->m_pDocument)
        return nullptr;
    if (!PrepareSave(m_pDef->m_pDocument, nullptr))
        return nullptr;
    xmlChar* pText = nullptr;
    int nLength = 0;
    {
        QelXMLQuiet quiet;
        xmlDocDumpMemory(m_pDef->m_pDocument, &pText, &nLength);
    }
    if (!pText || nLength < 0)
    {
        xmlFree(pText);
        return nullptr;
    }
    unsigned long n = static_cast<unsigned long>(nLength);
    char* pBlock = nullptr;
    if (!bCompress)
    {
        pBlock = new (std::nothrow) char[n + 1];
        if (pBlock)
        {
            pBlock[0] = 0;
            std::memcpy(pBlock + 1, pText, n);
            nSize = static_cast<unsigned int>(n + 1);
        }
    }
    else
    {
        uLongf nCapacity = static_cast<uLongf>(static_cast<float>(n + 12) * 1.1f);
        std::unique_ptr<Bytef[]> pScratch(new (std::nothrow) Bytef[nCapacity]);
        if (pScratch &&
            compress2(pScratch.get(), &nCapacity, reinterpret_cast<const Bytef*>(pText), n, 9) == Z_OK)
        {
            pBlock = new (std::nothrow) char[nCapacity + 5];
            if (pBlock)
            {
                pBlock[0] = 1;
                for (int i = 0; i < 4; ++i)
                    pBlock[1 + i] = static_cast<char>((n >> (8 * i)) & 0xFF);
                std::memcpy(pBlock + 5, pScratch.get(), nCapacity);
                nSize = static_cast<unsigned int>(nCapacity + 5);
            }
        }
    }
    xmlFree(pText);
    return pBlock;
}

void QelMasterXMLInterface::CloseData()
{
    if (m_pDef)
        m_pDef->CloseData();
}

void QelMasterXMLInterface::LockRoot()
{
    if (IsValid() && !m_pDef->m_pLockedRoot)
        m_pDef->m_pLockedRoot = m_pDef->m_pCurrentNode;
}

void QelMasterXMLInterface::UnlockRoot()
{
    if (IsValid() && m_pDef->m_pLockedRoot)
    {
        m_pDef->m_pCurrentNode = m_pDef->m_pLockedRoot;
        m_pDef->m_pLockedRoot = nullptr;
    }
}

int QelMasterXMLInterface::GetMemoryUsed()
{
    return xmlMemUsed();
}
