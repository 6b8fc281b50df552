#include "qel/models/detail/QelColladaRuns.h"

#include "qel/platform/detail/QelSimd.h"

#include <chrono>
#include <cstdio>
#include <cstring>

#if QEL_SSE2
#  include <emmintrin.h>
#endif

const char* const QelColladaRuns::kTarget = "qel-run";

namespace
{
uint64_t Mix(uint64_t x)
{
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

/// The marker's data: the run's number and the parse's token.
int FormatData(char* pOut, size_t nRoom, uint64_t nId, uint64_t nToken)
{
    return std::snprintf(pOut, nRoom, "%llu %016llx", static_cast<unsigned long long>(nId),
                         static_cast<unsigned long long>(nToken));
}
} // namespace

QelColladaRuns::QelColladaRuns(size_t nMinRun)
    : m_nMinRun(nMinRun ? nMinRun : 1),
      m_nToken(Mix(uint64_t(std::chrono::steady_clock::now().time_since_epoch().count()) ^
                   uint64_t(reinterpret_cast<uintptr_t>(this))))
{
}

const char* QelColladaRuns::RunEnd(const char* p, size_t nLeft, size_t& nLines) const
{
    if (nLeft < m_nMinRun)
        return nullptr;
    const char* pEnd = Scan(p, p + nLeft, nLines);
    if (pEnd == p + nLeft || *pEnd != '<' || size_t(pEnd - p) < m_nMinRun)
        return nullptr;
    return pEnd;
}

size_t QelColladaRuns::Cut(const char* pBegin, const char* pEnd, size_t nLines, const void* pTarget, char* pBuffer,
                           size_t nRoom)
{
    char aData[48];
    FormatData(aData, sizeof aData, m_nNextId, m_nToken);
    char aMarker[80];
    const int n = std::snprintf(aMarker, sizeof aMarker, "<?%s %s?>", kTarget, aData);
    if (n <= 0 || size_t(n) > nRoom)
        return 0;
    std::memcpy(pBuffer, aMarker, size_t(n));
    m_qRuns.push_back({pBegin, pEnd, nLines, pTarget, m_nNextId++});
    return size_t(n);
}

bool QelColladaRuns::Take(const char* pData, const void* pTarget, const char*& pBegin, const char*& pEnd, size_t& nLines)
{
    if (m_qRuns.empty() || !pData)
        return false;
    const SRun& r = m_qRuns.front();
    char aData[48];
    FormatData(aData, sizeof aData, r.nId, m_nToken);
    if (std::strcmp(aData, pData) != 0 || r.pTarget != pTarget)
        return false;
    pBegin = r.pBegin;
    pEnd = r.pEnd;
    nLines = r.nLines;
    m_qRuns.pop_front();
    return true;
}

const char* QelColladaRuns::ScanPlain(const char* p, const char* e, size_t& nLines)
{
    size_t n = 0;
    for (; p < e && *p != '<' && *p != '&'; ++p)
        n += *p == '\n';
    nLines = n;
    return p;
}

const char* QelColladaRuns::Scan(const char* p, const char* e, size_t& nLines)
{
    size_t n = 0;
#if QEL_SSE2
    const __m128i kLt = _mm_set1_epi8('<'), kAmp = _mm_set1_epi8('&'), kLf = _mm_set1_epi8('\n');
    auto stops = [&](__m128i x) { return _mm_or_si128(_mm_cmpeq_epi8(x, kLt), _mm_cmpeq_epi8(x, kAmp)); };
    bool bStop = false;
    while (!bStop && e - p >= 64)
    {
        // Line feeds are counted in byte lanes, each taking at most 4 a round: summed before
        // they can overflow.
        __m128i nCounts = _mm_setzero_si128();
        for (int k = 0; k < 63 && e - p >= 64; ++k, p += 64)
        {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
            const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 32));
            const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 48));
            if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(stops(a), stops(b)), _mm_or_si128(stops(c), stops(d)))))
            {
                bStop = true; // the plain loop finds the stop and counts the lines before it
                break;
            }
            nCounts = _mm_sub_epi8(nCounts, _mm_add_epi8(_mm_add_epi8(_mm_cmpeq_epi8(a, kLf), _mm_cmpeq_epi8(b, kLf)),
                                                         _mm_add_epi8(_mm_cmpeq_epi8(c, kLf), _mm_cmpeq_epi8(d, kLf))));
        }
        const __m128i nSums = _mm_sad_epu8(nCounts, _mm_setzero_si128());
        n += size_t(_mm_cvtsi128_si32(nSums)) + size_t(_mm_cvtsi128_si32(_mm_srli_si128(nSums, 8)));
    }
#endif
    size_t nRest = 0;
    p = ScanPlain(p, e, nRest);
    nLines = n + nRest;
    return p;
}
