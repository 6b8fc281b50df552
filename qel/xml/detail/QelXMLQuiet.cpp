#include "qel/xml/detail/QelXMLQuiet.h"

#include <libxml/globals.h>

namespace
{
void SilentGenericError(void*, const char*, ...) {}
void SilentStructuredError(void*, xmlErrorPtr) {}
} // namespace

QelXMLQuiet::QelXMLQuiet()
    : m_pGeneric(xmlGenericError), m_pGenericContext(xmlGenericErrorContext), m_pStructured(xmlStructuredError),
      m_pStructuredContext(xmlStructuredErrorContext)
{
    xmlSetGenericErrorFunc(nullptr, SilentGenericError);
    xmlSetStructuredErrorFunc(nullptr, SilentStructuredError);
}

QelXMLQuiet::~QelXMLQuiet()
{
    xmlSetGenericErrorFunc(m_pGenericContext, m_pGeneric);
    xmlSetStructuredErrorFunc(m_pStructuredContext, m_pStructured);
}
