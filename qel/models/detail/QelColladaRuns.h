#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

/// Long stretches of an array's text that the XML parser is never handed. Scanning megabytes of
/// digits as character data costs the parser more than reading them costs us, so the stretch is
/// cut out of what the parser reads and a processing instruction (the marker) takes its place.
/// The numbers are read from the document's own bytes when the parser reaches the marker, after
/// any text it had read ahead. A marker that does not arrive where it was put (swallowed by a
/// comment, a CDATA section or an attribute) shows up as an anomaly, and the reader then parses
/// the document again without cutting: cutting only ever changes the speed.
class QelColladaRuns
{
public:
    /// The target of every marker; the marker's data names the run and this parse.
    static const char* const kTarget;

    /// Stretches shorter than nMinRun bytes stay with the parser.
    explicit QelColladaRuns(size_t nMinRun);

    /// Where a run starting at p (nLeft bytes of document after it) would end: at the next '<',
    /// when that is at least the minimum away and no '&' comes first; null otherwise. nLines
    /// gets the line feeds in the run.
    const char* RunEnd(const char* p, size_t nLeft, size_t& nLines) const;
    /// Queues [pBegin, pEnd) (nLines line feeds) for the element whose numbers pTarget holds and
    /// writes its marker into pBuffer; the marker's length, or 0 (nothing queued) when it does
    /// not fit in nRoom.
    size_t Cut(const char* pBegin, const char* pEnd, size_t nLines, const void* pTarget, char* pBuffer, size_t nRoom);
    /// The run of the marker whose data is pData, taken off the queue; false when it is not the
    /// next one queued, or was queued for another element.
    bool Take(const char* pData, const void* pTarget, const char*& pBegin, const char*& pEnd, size_t& nLines);
    /// Whether any run was cut.
    bool Cuts() const { return m_nNextId != 0; }
    /// Runs queued whose markers have not arrived.
    bool Pending() const { return !m_qRuns.empty(); }
    /// The first '<' or '&' in [p, e) (e when there is none), and in nLines the line feeds
    /// before it: the end of a run and the lines the parser would have counted in it.
    static const char* ScanPlain(const char* p, const char* e, size_t& nLines);
    /// As ScanPlain, 16 bytes at a time where the processor compares them at once.
    static const char* Scan(const char* p, const char* e, size_t& nLines);

private:
    struct SRun
    {
        const char* pBegin;
        const char* pEnd;
        size_t nLines;
        const void* pTarget;
        uint64_t nId;
    };
    size_t m_nMinRun;
    /// Told apart from any processing instruction a document could hold with the same target.
    uint64_t m_nToken;
    uint64_t m_nNextId = 0;
    std::deque<SRun> m_qRuns;
};
