#include "qel/models/detail/QelColladaWords.h"

#include "qel/models/detail/QelFastNumber.h"
#include "qel/models/detail/QelGapMask.h"
#include "qel/models/detail/QelSwarDigits.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace
{
/// Numbers gathered on the stack and appended to the vector a batch at a time, which keeps the
/// vector's growth out of the loop over the words. What was gathered is appended on every way out.
template <class T>
class SBatch
{
public:
    explicit SBatch(std::vector<T>& v) : m_v(v) {}
    ~SBatch() { m_v.insert(m_v.end(), m_a, m_a + m_n); }
    SBatch(const SBatch&) = delete;
    SBatch& operator=(const SBatch&) = delete;

    void Add(T x)
    {
        m_a[m_n++] = x;
        if (m_n == kSize)
        {
            m_v.insert(m_v.end(), m_a, m_a + m_n);
            m_n = 0;
        }
    }

private:
    static constexpr size_t kSize = 256;
    std::vector<T>& m_v;
    T m_a[kSize];
    size_t m_n = 0;
};

/// The float of the word from s on in any form the general reader knows; s goes to its end. False
/// when it spells none.
bool SlowFloat(const char*& s, const char* e, float& f)
{
    double d = 0.0;
    const char* q = QelFastNumber::TerminatedDecimal(s, d);
    if (q && (q == e || QelColladaWords::IsGap(*q)) && QelFastNumber::ToFloat(d, f))
    {
        s = q;
        return true;
    }
    const char* w = s;
    while (s < e && !QelColladaWords::IsGap(*s))
        ++s;
    auto r = std::from_chars(*w == '+' ? w + 1 : w, s, f);
    if (r.ec == std::errc::invalid_argument || r.ptr != s)
        return false;
    if (r.ec == std::errc::result_out_of_range || !std::isfinite(f))
        f = 0.0f; // beyond a float, or nan: no coordinate to draw with
    return true;
}

/// The index of the word from s on, held at 0xFFFFFFFF; s goes to its end. False when the word
/// holds anything but digits.
bool SlowIndex(const char*& s, const char* e, uint32_t& n)
{
    const char* w = s;
    uint64_t x = 0;
    unsigned d;
    while ((d = unsigned(*s - '0')) <= 9)
    {
        // Held at the cap as it goes, so that no length of digits can wrap it.
        x = std::min<uint64_t>(x * 10 + d, 0xFFFFFFFFull);
        ++s;
    }
    n = uint32_t(x);
    return s != w && (s == e || QelColladaWords::IsGap(*s));
}

constexpr std::array<bool, 256> MakeGaps()
{
    std::array<bool, 256> a{};
    a[' '] = a['\t'] = a['\n'] = a['\r'] = true;
    return a;
}
} // namespace

const std::array<bool, 256> QelColladaWords::kGaps = MakeGaps();

namespace
{
/// What a block needs from its start: its 64 bytes, and behind its last word's start the 17
/// bytes the short-number readers look at.
constexpr std::ptrdiff_t kBlockRoom = 64 + 17;

/// What the index reader learns of a block at once: whether it holds only digits and gaps.
struct SIndexBlock
{
    bool bDigits;
    SIndexBlock(const char* p, uint64_t nGaps) : bDigits((nGaps | QelGapMask::DigitMask64(p)) == ~uint64_t(0)) {}
};

/// What the float reader learns of a block at once: where its points and minus signs are, and
/// whether it holds nothing else but digits and gaps.
struct SFloatBlock
{
    uint64_t nPoints, nMinus;
    bool bPlain;
    SFloatBlock(const char* p, uint64_t nGaps)
        : nPoints(QelGapMask::ByteMask64(p, '.')), nMinus(QelGapMask::ByteMask64(p, '-')),
          bPlain(QelFastNumber::kShortFloats && (nGaps | nPoints | nMinus | QelGapMask::DigitMask64(p)) == ~uint64_t(0))
    {
    }
};

/// Hands fnWord(pWord, nLength, nAt, block) each word of [s, e) in turn, 64 bytes at a time while
/// that many (and the readers' look-ahead) remain; nAt is the word's place in the block, and block
/// what Block learnt of it. A word running past a block starts the next one. s must be at a
/// word's start or a gap, and goes to where the blocks ended (a word's start or a gap). False
/// when fnWord refused a word.
template <class Block, class FnWord>
bool WordsByBlock(const char*& s, const char* e, FnWord fnWord)
{
    while (e - s >= kBlockRoom)
    {
        const uint64_t nGaps = QelGapMask::GapMask64(s);
        const Block block(s, nGaps);
        const uint64_t nWords = ~nGaps;
        uint64_t nStarts = nWords & ~(nWords << 1);
        const char* pNext = s + 64;
        if (nWords >> 63)
        {
            const unsigned nLast = QelGapMask::HighestBit(nStarts);
            if (nLast == 0)
                return true; // a word of 64 characters or more: read on its own
            nStarts &= (uint64_t(1) << nLast) - 1;
            pNext = s + nLast;
        }
        while (nStarts)
        {
            const unsigned i = QelSwarDigits::LowestBit(nStarts);
            nStarts &= nStarts - 1;
            if (!fnWord(s + i, QelSwarDigits::LowestBit(nGaps >> i), i, block))
                return false;
        }
        s = pNext;
    }
    return true;
}

/// The float of a word at nAt in a plain block: a minus sign or none, then at most 8 characters
/// of digits with at most one point among them. False for any other word.
inline bool PlainFloatWord(const char* w, unsigned n, unsigned nAt, const SFloatBlock& block, float& f)
{
    const uint64_t nWord = (uint64_t(1) << n) - 1; // words inside a block are shorter than 64
    const uint64_t nMinus = (block.nMinus >> nAt) & nWord, nPoint = (block.nPoints >> nAt) & nWord;
    if ((nMinus & ~uint64_t(1)) || (nPoint & (nPoint - 1)))
        return false; // a sign past the first character, or two points
    const unsigned m = n - unsigned(nMinus), nDigits = m - (nPoint ? 1 : 0);
    if (m > 8 || nDigits == 0)
        return false;
    uint64_t x = QelSwarDigits::Load8(w + nMinus);
    unsigned nFraction = 0;
    if (nPoint)
    {
        const unsigned k = QelSwarDigits::LowestBit(nPoint) - unsigned(nMinus);
        x = QelFastNumber::WithoutByte(x, k);
        nFraction = m - 1 - k;
    }
    const float g = QelFastNumber::ShortFloatOf(x, nDigits, nFraction);
    f = nMinus ? -g : g;
    return true;
}

/// The index spelled by the n characters from w (followed by a gap); false when one is no digit.
/// bDigits: they are known to be digits.
inline bool IndexWord(const char* w, unsigned n, bool bDigits, uint32_t& x)
{
    if (n <= 8)
    {
        const uint64_t nChars = QelSwarDigits::Load8(w);
        if (!bDigits && QelSwarDigits::LeadingDigits(nChars) < n)
            return false;
        x = QelSwarDigits::Value(nChars, n);
        return true;
    }
    const char* p = w;
    return SlowIndex(p, w + n, x);
}

/// The float spelled by the n characters from w (followed by a gap, with at least 17 bytes
/// readable from w before e); false when they spell none.
inline bool FloatWord(const char* w, unsigned n, const char* e, float& f)
{
    if (QelFastNumber::ShortFloat(w, n, f))
        return true;
    double d = 0.0;
    const char* q = QelFastNumber::ShortDecimal(w, e, d);
    if (q == w + n && QelFastNumber::ToFloat(d, f))
        return true;
    const char* p = w;
    return SlowFloat(p, w + n, f);
}

/// The numbers of [s, e) into v: whole blocks of words through fnBlockWord(pWord, nLength, nAt,
/// block, x), then the last words before e, and any word too long for a block, through
/// fnWord(s, e, x), which moves s to the word's end. False at the first word that is no number.
template <class Block, class T, class FnBlockWord, class FnWord>
bool ReadWords(const char* s, const char* e, std::vector<T>& v, FnBlockWord fnBlockWord, FnWord fnWord)
{
    SBatch<T> batch(v);
    T x{};
    const bool bBlocks = WordsByBlock<Block>(s, e, [&](const char* w, unsigned n, unsigned nAt, const Block& block) {
        if (!fnBlockWord(w, n, nAt, block, x))
            return false;
        batch.Add(x);
        return true;
    });
    if (!bBlocks)
        return false;
    for (;;)
    {
        while (s < e && QelColladaWords::IsGap(*s))
            ++s;
        if (s >= e)
            return true;
        if (!fnWord(s, e, x))
            return false;
        batch.Add(x);
    }
}
} // namespace

bool QelColladaWords::ReadFloats(const char* s, const char* e, std::vector<float>& v)
{
    auto blockWord = [e](const char* w, unsigned n, unsigned nAt, const SFloatBlock& block, float& f) {
        return (block.bPlain && PlainFloatWord(w, n, nAt, block, f)) || FloatWord(w, n, e, f);
    };
    return ReadWords<SFloatBlock>(s, e, v, blockWord, SlowFloat);
}

bool QelColladaWords::ReadIndices(const char* s, const char* e, std::vector<uint32_t>& v)
{
    auto blockWord = [](const char* w, unsigned n, unsigned, const SIndexBlock& block, uint32_t& x) {
        return IndexWord(w, n, block.bDigits, x);
    };
    return ReadWords<SIndexBlock>(s, e, v, blockWord, SlowIndex);
}
