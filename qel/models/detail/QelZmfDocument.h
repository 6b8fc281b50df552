#pragma once

#include "qel/xml/QelMasterXMLInterface.h"

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

class QelLoadLog;
struct _xmlNode;

/// An own-format document read for loading. Every child of an element with a "count" attribute
/// (the chunks of an array) has its base64 text decoded while the parser reads it, into a buffer of
/// its own, and gets no text node: arrays of hundreds of megabytes are neither held as text nor
/// copied on their way to the model. Everything else is an ordinary document under the cursor.
class QelZmfDocument : public QelMasterXMLInterface
{
public:
    /// The decoded bytes of one chunk; damage counts characters that were not base64.
    struct SFree
    {
        void operator()(unsigned char* p) const;
    };
    struct SChunk
    {
        std::unique_ptr<unsigned char, SFree> pBytes;
        size_t nSize = 0;
        size_t nCapacity = 0;
        size_t nDamage = 0;
    };

    /// Parses document text, plain or gzip-compressed as files hold it. False, with the reason in
    /// the log (damaged compression, text past the size limit, XML that is not well-formed, no root
    /// element, nesting too deep), when there is no document.
    bool Parse(const char* pData, size_t nSize, QelLoadLog& log);

    /// The chunk the cursor stands on, when its text was taken by the parser; null otherwise.
    const SChunk* CurrentChunk() const;

    /// Used by the parser's callbacks only.
    struct SState;

private:
    std::vector<SChunk> m_vChunks;
    std::unordered_map<const _xmlNode*, size_t> m_mapChunks;
};
