#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class QelLoadLog;

/// Small readers over a parsed COLLADA document. Names compare without namespace prefixes; text is
/// taken from text nodes only, so entity references are never expanded.
namespace QelColladaXml
{
/// The numbers of a large element (float_array, p, vcount), read while the document is parsed:
/// such an element gets no text node, and its _private field points at these.
struct SNumbers
{
    std::vector<float> vFloats;
    std::vector<uint32_t> vIndices;
    /// A word that was not a number ended the reading; the numbers before it stay.
    bool bBad = false;
};
/// The numbers of a document's large elements; they live as long as the document.
using Captured = std::vector<std::unique_ptr<SNumbers>>;

/// Parses the bytes (any encoding libxml2 detects, with or without a byte-order mark) without
/// network access or entity substitution; null, with the parser's message, when not well-formed.
/// The numbers of large elements go into captured. Number text of at least nMinRun bytes is read
/// past the parser (kNoCuts: never); the result is the same either way.
constexpr size_t kNoCuts = ~size_t(0);
xmlDocPtr Parse(const char* pData, size_t nSize, QelLoadLog& log, Captured& captured, size_t nMinRun = 4096);
/// The numbers read for the element while it was parsed, or null.
inline const SNumbers* NumbersOf(const xmlNode* p)
{
    return p ? static_cast<const SNumbers*>(p->_private) : nullptr;
}

bool Is(const xmlNode* p, const char* pName);
/// The first element child of that name, or null.
const xmlNode* Child(const xmlNode* p, const char* pName);
/// The next element sibling of that name after p, or null.
const xmlNode* Next(const xmlNode* p, const char* pName);
/// Every element child of that name.
std::vector<const xmlNode*> Children(const xmlNode* p, const char* pName);
std::string Attr(const xmlNode* p, const char* pName);
/// The text directly inside the element.
std::string Text(const xmlNode* p);
unsigned Line(const xmlNode* p);
/// The numbers of the element's text appended to v; false when a word is not a number (those read
/// before it stay). nExpected, when known, reserves room (as far as the text could hold it).
bool Floats(const xmlNode* p, std::vector<float>& v, size_t nExpected = 0);
/// Non-negative integers (indices); false at a word that is not one. Values too large for 32 bits
/// become 0xFFFFFFFF, which no source reaches.
bool Indices(const xmlNode* p, std::vector<uint32_t>& v);
/// "#id" to "id"; other URLs as they are.
std::string Fragment(const std::string& strUrl);
} // namespace QelColladaXml

#include <unordered_map>

namespace QelColladaXml
{
/// Elements by their id, over the whole document (walked without recursion).
using IdMap = std::unordered_map<std::string, const xmlNode*>;
void IndexIds(const xmlNode* pRoot, IdMap& map);
} // namespace QelColladaXml
