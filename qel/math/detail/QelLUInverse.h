#pragma once

// Internal to the library: the matrix inversion shared by QelMatrix3 and QelMatrix4.

#include "qel/platform/detail/QelSimd.h"

#include <cfloat>
#include <cmath>

/// Inverts the column-major N x N matrix pfM in place by LU decomposition with partial pivoting and
/// implicit row scaling (Crout). Returns false, leaving pfM untouched, when a row is entirely zero.
/// A pivot that comes out exactly zero is replaced by 1e-20 so that nearly singular input still
/// yields a (huge) answer rather than a refusal, as callers of the picking code expect.
/// The substitutions use the pivot reciprocals of the factorisation; the back substitution scales
/// each row of U by its reciprocal first and subtracts the known unknowns from the last one down,
/// the order that keeps the packed 4 x 4 routine below short. Both routines round alike, so they
/// give identical results.
template <int N>
bool QelLUInvert(float* pfM)
{
    float a[N][N]; // a[row][column]
    for (int c = 0; c < N; ++c)
        for (int r = 0; r < N; ++r)
            a[r][c] = pfM[c * N + r];

    float vv[N];
    for (int i = 0; i < N; ++i)
    {
        float fBig = 0.0f;
        for (int j = 0; j < N; ++j)
        {
            const float t = std::fabs(a[i][j]);
            if (t > fBig)
                fBig = t;
        }
        if (fBig == 0.0f)
            return false;
        vv[i] = 1.0f / fBig;
    }

    int perm[N];
    float fRecip[N];
    for (int i = 0; i < N; ++i)
        perm[i] = i;
    for (int j = 0; j < N; ++j)
    {
        for (int i = 0; i < j; ++i)
        {
            float fSum = a[i][j];
            for (int k = 0; k < i; ++k)
                fSum -= a[i][k] * a[k][j];
            a[i][j] = fSum;
        }
        float fBig = 0.0f;
        int nMax = j;
        for (int i = j; i < N; ++i)
        {
            float fSum = a[i][j];
            for (int k = 0; k < j; ++k)
                fSum -= a[i][k] * a[k][j];
            a[i][j] = fSum;
            const float fDum = vv[i] * std::fabs(fSum);
            if (fDum >= fBig)
            {
                fBig = fDum;
                nMax = i;
            }
        }
        if (nMax != j)
        {
            for (int k = 0; k < N; ++k)
            {
                const float t = a[nMax][k];
                a[nMax][k] = a[j][k];
                a[j][k] = t;
            }
            vv[nMax] = vv[j];
            const int t = perm[nMax];
            perm[nMax] = perm[j];
            perm[j] = t;
        }
        if (a[j][j] == 0.0f)
            a[j][j] = 1e-20f;
        fRecip[j] = 1.0f / a[j][j];
        for (int i = j + 1; i < N; ++i)
            a[i][j] *= fRecip[j];
    }

    // Forward and back substitution against all unit vectors at once: b[row][column].
    float b[N][N];
    for (int i = 0; i < N; ++i)
        for (int c = 0; c < N; ++c)
            b[i][c] = perm[i] == c ? 1.0f : 0.0f;
    for (int i = 1; i < N; ++i)
        for (int j = 0; j < i; ++j)
            for (int c = 0; c < N; ++c)
                b[i][c] -= a[i][j] * b[j][c];
    // Back substitution on the rows of U scaled by their pivot reciprocals. The last column of U
    // is carried along as one more right-hand side, so every other unknown comes out as
    // A - B * x[N-1] and none waits for its neighbour: x[i] = A[i] - B[i] * x[N-1].
    float fB[N];
    for (int i = N - 2; i >= 0; --i)
    {
        for (int c = 0; c < N; ++c)
            b[i][c] *= fRecip[i];
        fB[i] = a[i][N - 1] * fRecip[i];
        for (int j = N - 2; j > i; --j)
        {
            const float fU = a[i][j] * fRecip[i];
            for (int c = 0; c < N; ++c)
                b[i][c] -= fU * b[j][c];
            fB[i] -= fU * fB[j];
        }
    }
    for (int c = 0; c < N; ++c)
        b[N - 1][c] *= fRecip[N - 1];
    for (int i = 0; i < N - 1; ++i)
        for (int c = 0; c < N; ++c)
            b[i][c] -= fB[i] * b[N - 1][c];
    for (int c = 0; c < N; ++c)
        for (int r = 0; r < N; ++r)
            pfM[c * N + r] = b[r][c];
    return true;
}

#if QEL_SSE2
#include <emmintrin.h>
#include <stdint.h>

namespace QelLUDetail
{
typedef __m128 V;
typedef __m128i I;

/// Lanes of v rearranged. The integer shuffle leaves its source intact, so no register copy goes
/// with it.
template <int A, int B, int C, int D>
inline V Shuf(V v)
{
    return _mm_castsi128_ps(_mm_shuffle_epi32(_mm_castps_si128(v), _MM_SHUFFLE(D, C, B, A)));
}
/// The one lane of v that the one-hot mask m keeps, in all four lanes.
inline V Select(V m, V v)
{
    const V t = _mm_and_ps(m, v);
    const V u = _mm_or_ps(t, Shuf<2, 3, 0, 1>(t));
    return _mm_or_ps(u, Shuf<1, 0, 3, 2>(u));
}

/// Tie-breaks of the pivot searches. Rows never move here; the row-swapping routine would have
/// moved them, and among equal scaled values its ">=" search takes the row at the later place.
/// For each set of rows already used, ties[k] has lane i all ones when row i sits at a later
/// place than row i + k (cyclically), or when row i + k is used up.
struct Ties
{
    alignas(16) int32_t first[3][4];          // before any swap
    alignas(16) int32_t second[4][3][4];      // after step 0, by its pivot row
    alignas(16) int32_t third[4][4][3][4];    // after steps 0 and 1, by their pivot rows
};

/// Places after the swaps of the given pivots (-1: used up), as the row-swapping routine leaves them.
struct Places
{
    int n[4];
};
constexpr Places Swap(Places p, int nStep, int nPivot)
{
    int nAt = 0; // the row at place nStep
    for (int i = 0; i < 4; ++i)
        if (p.n[i] == nStep)
            nAt = i;
    p.n[nAt] = p.n[nPivot];
    p.n[nPivot] = -1;
    return p;
}
constexpr void Fill(int32_t (&t)[3][4], const Places& p)
{
    for (int k = 1; k < 4; ++k)
        for (int i = 0; i < 4; ++i)
            t[k - 1][i] = p.n[i] > p.n[(i + k) & 3] ? -1 : 0;
}
constexpr Ties MakeTies()
{
    Ties t{};
    const Places start{{0, 1, 2, 3}};
    Fill(t.first, start);
    for (int a = 0; a < 4; ++a)
    {
        const Places p = Swap(start, 0, a);
        Fill(t.second[a], p);
        for (int b = 0; b < 4; ++b)
            if (b != a)
                Fill(t.third[a][b], Swap(p, 1, b));
    }
    return t;
}
inline constexpr Ties kTies = MakeTies();

/// The elimination on the columns of A (lanes are rows).
struct Lu
{
    V c[4];    // the columns, reduced in place
    V abs;     // the absolute-value mask, cleared in the lanes of rows already used as pivots
    V vv;      // the row scales
    V rmax;    // largest |1 / pivot| so far: infinite when a pivot was zero
    V e[3];    // step J's pivot row as a one-hot lane mask
    V rcp[3];  // broadcast: 1 / pivot of step J
    V u[3][4]; // broadcast: element k of step J's pivot row, k > J
    V l[3];    // step J's multipliers, lane = row
};

/// Lanes where row i beats row i + K: a larger scaled value, or an equal one where ties says so.
/// The scaled values are compared as integers, which orders non-negative floats as the floats do
/// (a NaN above everything, so that it surfaces in the result); one less on the other side turns
/// ">" into ">=".
template <int K>
inline V Beats(V sc, const int32_t (&ties)[3][4])
{
    const I o = _mm_shuffle_epi32(_mm_castps_si128(sc), _MM_SHUFFLE((K + 3) & 3, (K + 2) & 3, (K + 1) & 3, K));
    const I t = _mm_load_si128(reinterpret_cast<const I*>(ties[K - 1]));
    return _mm_castsi128_ps(_mm_cmpgt_epi32(_mm_castps_si128(sc), _mm_add_epi32(o, t)));
}

/// The pivot row of step J: the one row that beats all others.
template <int J>
inline V Search(const Lu& s, const int32_t (&ties)[3][4])
{
    // Used rows scale to +0 and lose every tie.
    const V sc = _mm_mul_ps(_mm_and_ps(s.c[J], s.abs), s.vv);
    return _mm_and_ps(_mm_and_ps(Beats<1>(sc, ties), Beats<2>(sc, ties)), Beats<3>(sc, ties));
}

/// Elimination step J with pivot row e (a one-hot lane mask).
template <int J>
inline void Eliminate(Lu& s, V e)
{
    const V col = s.c[J];
    // All four reciprocals, so that the division need not wait for the search.
    const V rcol = _mm_div_ps(_mm_set1_ps(1.0f), col);
    const V r = Select(e, rcol);
    const V l = _mm_mul_ps(col, r);
    for (int k = J + 1; k < 4; ++k)
    {
        const V u = Select(e, s.c[k]);
        s.u[J][k] = u;
        s.c[k] = _mm_sub_ps(s.c[k], _mm_mul_ps(l, u));
    }
    s.e[J] = e;
    s.abs = _mm_andnot_ps(e, s.abs);
    s.rcp[J] = r;
    s.rmax = _mm_max_ps(s.rmax, _mm_and_ps(r, _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff))));
    s.l[J] = l;
}

/// The row of a one-hot lane mask from movemask.
inline int Index(int nMask)
{
    return __builtin_ctz(unsigned(nMask) | 8u);
}

/// QelLUInvert<4> written as packed column operations with the same pivots, refusals and rounding.
/// The rare cases it does not carry through (NaN or infinite input, a row scale out of range, a
/// zero or nearly zero pivot, a NaN arising on the way) are handed to the plain routine, so the
/// two give identical results for every input.
/// bAffine: the bottom row is 0, 0, 0, 1. Then the last search can only pick the upper row left
/// over and the last pivot is exactly 1, which leaves a shorter dependency chain: no third search
/// and no last division.
template <bool bAffine>
inline bool QelLUInvert4Packed(float* pfM)
{
    const V kAbs = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    const V kOne = _mm_set1_ps(1.0f);
    const V kAll = _mm_castsi128_ps(_mm_set1_epi32(-1));
    Lu s;
    s.c[0] = _mm_loadu_ps(pfM);
    s.c[1] = _mm_loadu_ps(pfM + 4);
    s.c[2] = _mm_loadu_ps(pfM + 8);
    s.c[3] = _mm_loadu_ps(pfM + 12);
    if constexpr (bAffine)
    {
        // The bottom row is lane 3 of each column.
        const V bottom = _mm_movehl_ps(_mm_unpackhi_ps(s.c[2], s.c[3]), _mm_unpackhi_ps(s.c[0], s.c[1]));
        if (_mm_movemask_ps(_mm_cmpeq_ps(bottom, _mm_set_ps(1.0f, 0.0f, 0.0f, 0.0f))) != 15)
            return QelLUInvert4Packed<false>(pfM);
    }
    // Largest magnitude of each row (lanes are rows).
    const V big = _mm_max_ps(_mm_max_ps(_mm_and_ps(s.c[0], kAbs), _mm_and_ps(s.c[1], kAbs)),
                             _mm_max_ps(_mm_and_ps(s.c[2], kAbs), _mm_and_ps(s.c[3], kAbs)));
    // A zero row (refused), NaN (whose elements the plain search skips) and scales that are
    // infinite or zero go to the plain routine.
    const V bad = _mm_or_ps(_mm_or_ps(_mm_cmpunord_ps(s.c[0], s.c[1]), _mm_cmpunord_ps(s.c[2], s.c[3])),
                            _mm_or_ps(_mm_cmplt_ps(big, _mm_set1_ps(FLT_MIN)), _mm_cmpeq_ps(big, _mm_set1_ps(HUGE_VALF))));
    if (_mm_movemask_ps(bad) != 0)
        return QelLUInvert<4>(pfM);
    s.vv = _mm_div_ps(kOne, big);
    s.abs = kAbs;
    s.rmax = _mm_setzero_ps();
    Eliminate<0>(s, Search<0>(s, kTies.first));
    const int i0 = Index(_mm_movemask_ps(s.e[0]));
    Eliminate<1>(s, Search<1>(s, kTies.second[i0]));
    V eLast, rc3, refuse = _mm_setzero_ps();
    if constexpr (bAffine)
    {
        // Row 3 scales by 1 and keeps +-0 in the first three columns. It wins a search only with a
        // zero pivot, and a NaN arising in it reaches the result; both cases go to the plain
        // routine below. So step 2 takes the upper row left over, as the search would, unless
        // that row's scaled value is 0 too (an underflow), which is handed over as well.
        const V e2 = _mm_andnot_ps(_mm_or_ps(s.e[0], s.e[1]), _mm_castsi128_ps(_mm_set_epi32(0, -1, -1, -1)));
        refuse = _mm_and_ps(e2, _mm_cmpngt_ps(_mm_mul_ps(_mm_and_ps(s.c[2], kAbs), s.vv), _mm_setzero_ps()));
        Eliminate<2>(s, e2);
        eLast = _mm_castsi128_ps(_mm_set_epi32(-1, 0, 0, 0));
        // The last pivot is 1 minus products with +-0: exactly 1 whenever the result is finite.
        rc3 = kOne;
    }
    else
    {
        const int i1 = Index(_mm_movemask_ps(s.e[1]));
        Eliminate<2>(s, Search<2>(s, kTies.third[i0][i1]));
        // The row left over gives the last pivot.
        eLast = _mm_andnot_ps(_mm_or_ps(_mm_or_ps(s.e[0], s.e[1]), s.e[2]), kAll);
        rc3 = Select(eLast, _mm_div_ps(kOne, s.c[3]));
    }
    // Element k of the last row, in all lanes.
    const auto last = [&](V v) { return bAffine ? Shuf<3, 3, 3, 3>(v) : Select(eLast, v); };

    // Forward substitution on the permuted unit vectors, rows in pivot order (lanes are columns).
    // The multipliers are picked out in registers: loading them by index from a stack copy made
    // the processor hold back a caller's next loads until this call finished.
    const V y0 = _mm_and_ps(s.e[0], kOne);
    const V y1 = _mm_sub_ps(_mm_and_ps(s.e[1], kOne), _mm_mul_ps(Select(s.e[1], s.l[0]), y0));
    const V y2 = _mm_sub_ps(_mm_sub_ps(_mm_and_ps(s.e[2], kOne), _mm_mul_ps(Select(s.e[2], s.l[0]), y0)),
                            _mm_mul_ps(Select(s.e[2], s.l[1]), y1));
    const V y3 = _mm_sub_ps(_mm_sub_ps(_mm_sub_ps(_mm_and_ps(eLast, kOne), _mm_mul_ps(last(s.l[0]), y0)),
                                       _mm_mul_ps(last(s.l[1]), y1)),
                            _mm_mul_ps(last(s.l[2]), y2));

    // Back substitution as in the generic routine: A and B first, then x = A - B * x3.
    const V kA2 = _mm_mul_ps(y2, s.rcp[2]), kB2 = _mm_mul_ps(s.u[2][3], s.rcp[2]);
    const V u12 = _mm_mul_ps(s.u[1][2], s.rcp[1]);
    const V kA1 = _mm_sub_ps(_mm_mul_ps(y1, s.rcp[1]), _mm_mul_ps(u12, kA2));
    const V kB1 = _mm_sub_ps(_mm_mul_ps(s.u[1][3], s.rcp[1]), _mm_mul_ps(u12, kB2));
    const V u02 = _mm_mul_ps(s.u[0][2], s.rcp[0]), u01 = _mm_mul_ps(s.u[0][1], s.rcp[0]);
    const V kA0 = _mm_sub_ps(_mm_sub_ps(_mm_mul_ps(y0, s.rcp[0]), _mm_mul_ps(u02, kA2)), _mm_mul_ps(u01, kA1));
    const V kB0 =
        _mm_sub_ps(_mm_sub_ps(_mm_mul_ps(s.u[0][3], s.rcp[0]), _mm_mul_ps(u02, kB2)), _mm_mul_ps(u01, kB1));
    const V x3 = _mm_mul_ps(y3, rc3);
    const V x2 = _mm_sub_ps(kA2, _mm_mul_ps(kB2, x3));
    const V x1 = _mm_sub_ps(kA1, _mm_mul_ps(kB1, x3));
    const V x0 = _mm_sub_ps(kA0, _mm_mul_ps(kB0, x3));

    // A zero pivot (which the plain routine replaces by 1e-20) shows as an infinite reciprocal (the
    // affine rc3 of 1 cannot be); a NaN among the candidates wins its search and leaves NaN in the
    // result.
    const V rmax = bAffine ? s.rmax : _mm_max_ps(s.rmax, _mm_and_ps(rc3, kAbs));
    const V fail = _mm_or_ps(_mm_or_ps(_mm_or_ps(_mm_cmpunord_ps(x0, x1), _mm_cmpunord_ps(x2, x3)),
                                       _mm_cmpeq_ps(rmax, _mm_set1_ps(HUGE_VALF))),
                             refuse);
    if (_mm_movemask_ps(fail) != 0)
        return QelLUInvert<4>(pfM);

    const V v0 = _mm_unpacklo_ps(x0, x1), v1 = _mm_unpacklo_ps(x2, x3);
    const V v2 = _mm_unpackhi_ps(x0, x1), v3 = _mm_unpackhi_ps(x2, x3);
    _mm_storeu_ps(pfM, _mm_movelh_ps(v0, v1));
    _mm_storeu_ps(pfM + 4, _mm_movehl_ps(v1, v0));
    _mm_storeu_ps(pfM + 8, _mm_movelh_ps(v2, v3));
    _mm_storeu_ps(pfM + 12, _mm_movehl_ps(v3, v2));
    return true;
}
} // namespace QelLUDetail

/// QelLUInvert<4> in packed form, with a shorter route for affine matrices (bottom row 0, 0, 0, 1),
/// the usual case in a 3D tool. Identical results to the plain routine for every input.
inline bool QelLUInvert4(float* pfM)
{
    return QelLUDetail::QelLUInvert4Packed<true>(pfM);
}
#endif
