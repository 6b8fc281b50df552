#include "qel/models/detail/QelColladaWords.h"

#include "qel/models/detail/QelFastNumber.h"

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

/// The number any word [w, e) spells in the general form (exponents, long digit strings, inf);
/// false when it spells none.
bool GeneralFloat(const char* w, const char* e, float& f)
{
    auto r = std::from_chars(*w == '+' ? w + 1 : w, e, f);
    if (r.ec == std::errc::invalid_argument || r.ptr != e)
        return false;
    if (r.ec == std::errc::result_out_of_range || !std::isfinite(f))
        f = 0.0f; // beyond a float, or nan: no coordinate to draw with
    return true;
}
} // namespace

bool QelColladaWords::ReadFloats(const char* s, const char* e, std::vector<float>& v)
{
    SBatch<float> batch(v);
    for (;;)
    {
        while (s < e && IsGap(*s))
            ++s;
        if (s >= e)
            return true;
        // Plain decimals are read in the same pass that finds their end; other forms, and
        // decimals whose double falls on a float midpoint, go to the general reader.
        double d = 0.0;
        float f = 0.0f;
        const char* q = QelFastNumber::TerminatedDecimal(s, d);
        if (q && (q == e || IsGap(*q)) && QelFastNumber::ToFloat(d, f))
        {
            batch.Add(f);
            s = q;
            continue;
        }
        const char* w = s;
        while (s < e && !IsGap(*s))
            ++s;
        if (!GeneralFloat(w, s, f))
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
        const char* w = s;
        uint64_t n = 0;
        unsigned d;
        while ((d = unsigned(*s - '0')) <= 9)
        {
            n = n * 10 + d;
            ++s;
        }
        if (s == w || (s != e && !IsGap(*s)))
            return false;
        if (s - w > 19)
        {
            // The sum may have wrapped: read again, held at the cap (leading zeros stay harmless).
            n = 0;
            for (const char* q = w; q < s; ++q)
                n = std::min<uint64_t>(n * 10 + unsigned(*q - '0'), 0xFFFFFFFFull);
        }
        batch.Add(n > 0xFFFFFFFFull ? 0xFFFFFFFFu : uint32_t(n));
    }
}
