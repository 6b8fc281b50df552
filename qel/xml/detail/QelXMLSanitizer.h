#pragma once

#include <cstddef>
#include <string>

// libxml2's own tags, declared here so that this header needs no libxml2 include path.
struct _xmlNode;
struct _xmlDoc;

/// The deepest nesting of elements the library saves and loads. Far above any real document; the
/// saver refuses deeper trees and the loaders refuse deeper documents, each with a message, so
/// that what is written is always read back whole.
constexpr unsigned int kQelXMLMaxDepth = 4096;

/// True when the sub-tree of pTop nests more than nLimit elements (pTop counts as the first);
/// walks without recursion.
bool QelXMLIsDeeperThan(const _xmlNode* pTop, unsigned int nLimit);

/// Corrects what XML 1.0 cannot carry in the sub-tree below pTop (the whole document when pTop is
/// null), so that the saved text parses again: names get "_" for bad characters, text, attribute
/// values and comments get U+FFFD for bad characters, "--" in comments is split. The first
/// correction is reported naming its element, the others are counted in one more message.
void QelXMLMakeWritable(_xmlDoc* pDoc, _xmlNode* pTop);

/// Name with every character that an XML name cannot hold replaced by "_" (one colon between two
/// non-empty parts is kept); an empty name becomes "_". True when it changed.
bool QelXMLFixName(const char* pName, std::string& strOut);
/// Text with every byte sequence that is not a character XML 1.0 can carry replaced by U+FFFD.
/// True when it changed.
bool QelXMLFixText(const char* pText, std::string& strOut);
