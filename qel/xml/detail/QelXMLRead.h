#pragma once

#include <cstddef>
#include <string>

// libxml2's own tags, declared here so that this header needs no libxml2 include path.
struct _xmlDoc;
struct _xmlParserCtxt;

/// How a document's text came to the parser, and what became of it.
struct QelXMLReadResult
{
    _xmlDoc* pDoc = nullptr;
    int nError = 0;          ///< libxml2's last error code, 0 when there is none
    bool bTooLarge = false;  ///< the text grew past the size limit and parsing was stopped
    bool bUnreadable = false; ///< the file could not be opened
};

/// Parses text held in memory. The same options as files, so that a document loads from every
/// storage form or from none: no limit of libxml2's own on text or depth (the library states its
/// own), and the recovering mode where asked.
QelXMLReadResult QelXMLReadText(const char* pText, size_t nLength, bool bRecover);

/// Parses a plain or gzip-compressed file, inflating it while it is read: a file that would grow
/// past nLimit bytes is stopped there, before it takes the memory.
QelXMLReadResult QelXMLReadFile(const std::string& strPath, unsigned long long nLimit);

/// The loaders' message for a document the parser refused: "is not well-formed XML (line <n>:
/// <libxml2's message>)", from the context's last error.
std::string QelXMLNotWellFormed(_xmlParserCtxt* pCtxt);
