#pragma once

#include <cstddef>

// libxml2's own tags, declared here so that this header needs no libxml2 include path.
struct _xmlNode;
struct _xmlDoc;

/// The most bytes that entity references may add to one value read from a document. Text written
/// in the document itself is read whole; only expansion is capped, so that reading any value costs
/// time and memory linear in the size of the document.
constexpr size_t kQelXMLMaxEntityExpansion = size_t(1) << 20;

/// The text of a list of sibling nodes (text, CDATA and entity references, as libxml2's
/// xmlNodeListGetString gathers it with substitution), built in one pass. Entity references past
/// kQelXMLMaxEntityExpansion bytes, or nested deeper than a few dozen levels, are left out with a
/// message naming the element. The caller frees the result with xmlFree; null when the list holds
/// no text at all (as libxml2 answers) or memory runs out.
unsigned char* QelXMLTakeText(_xmlDoc* pDoc, const _xmlNode* pFirst);
