#include "qel/models/detail/QelColladaWords.h"

#include "qel/models/detail/QelFastNumber.h"
#include "qel/models/detail/QelSwarDigits.h"

#include <algorithm>
#include <charconv>
#include <cmath>

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

// Both readers take the common short numbers with their ending gap in one step, and leave
// anything else (long, odd or bad words, and the last words before e) to the slow readers.

bool QelColladaWords::ReadFloats(const char* s, const char* e, std::vector<float>& v)
{
    SBatch<float> batch(v);
    for (;;)
    {
        while (s < e && IsGap(*s))
            ++s;
        if (s >= e)
            return true;
        double d = 0.0;
        float f = 0.0f;
        const char* q = QelFastNumber::ShortDecimal(s, e, d);
        if (q && IsGap(*q) && QelFastNumber::ToFloat(d, f))
            s = q + 1;
        else if (!SlowFloat(s, e, f))
            return false;
        batch.Add(f);
    }
}

bool QelColladaWords::ReadIndices(const char* s, const char* e, std::vector<uint32_t>& v)
{
    SBatch<uint32_t> batch(v);
    for (;;)
    {
        while (s < e && IsGap(*s))
            ++s;
        if (s >= e)
            return true;
        uint32_t n = 0;
        const uint64_t x = e - s >= 8 ? QelSwarDigits::Load8(s) : 0;
        const unsigned nDigits = QelSwarDigits::LeadingDigits(x);
        if (nDigits - 1 < 7 && IsGap(s[nDigits]))
        {
            n = QelSwarDigits::Value(x, nDigits);
            s += nDigits + 1;
        }
        else if (!SlowIndex(s, e, n))
            return false;
        batch.Add(n);
    }
}
