#pragma once

#include <libxml/xmlerror.h>

/// libxml2 writes its own diagnostics to stderr whatever the parser's options; while the library
/// calls it they are silenced (the last error is still recorded) and the host's handlers are put
/// back afterwards.
class QelXMLQuiet
{
public:
    QelXMLQuiet();
    ~QelXMLQuiet();
    QelXMLQuiet(const QelXMLQuiet&) = delete;
    QelXMLQuiet& operator=(const QelXMLQuiet&) = delete;

private:
    xmlGenericErrorFunc m_pGeneric;
    void* m_pGenericContext;
    xmlStructuredErrorFunc m_pStructured;
    void* m_pStructuredContext;
};
