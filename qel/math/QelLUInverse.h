#pragma once

// Internal to the library: the matrix inversion shared by QelMatrix3 and QelMatrix4.

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

#if defined(__SSE2__)
#include <emmintrin.h>

namespace QelLUDetail
{
typedef __m128 V;

template <int L>
inline V Bc(V v)
{
    // The integer shuffle leaves its source intact, so no register copy goes with it.
    return _mm_castsi128_ps(_mm_shuffle_epi32(_mm_castps_si128(v), _MM_SHUFFLE(L, L, L, L)));
}
/// m ? b : a, lane by lane (m all ones or all zeros per lane).
inline V Pick(V a, V b, V m)
{
    return _mm_xor_ps(a, _mm_and_ps(_mm_xor_ps(a, b), m));
}
/// Lanes where a > b, for non-negative floats compared through their bit patterns: a single-cycle
/// integer compare, and a total order, so exactly one candidate wins each pivot search.
inline V Greater(V a, V b)
{
    return _mm_castsi128_ps(_mm_cmpgt_epi32(_mm_castps_si128(a), _mm_castps_si128(b)));
}

/// The 4 x 4 rows in registers: r the rows of A still being reduced, q the matching rows of the
/// right-hand side (the permuted identity, forward-substituted as the elimination goes), vv the
/// row scales, row i in lane i; u and b keep each step's pivot row and right-hand side, both
/// already multiplied by the pivot's reciprocal for the back substitution.
struct Rows
{
    V r[4], q[4], vv;
    V u[4], b[4];
};

/// 1 / v, where an exact zero (of either sign) counts as 1e-20. The division does not wait for the
/// test: a zero's infinite quotient is replaced afterwards by 1 / 1e-20, rounded as at run time.
inline V Reciprocal(V v)
{
    const float kHuge = 1.0f / 1e-20f;
    const V z = _mm_cmpeq_ps(v, _mm_setzero_ps());
    return _mm_or_ps(_mm_andnot_ps(z, _mm_div_ps(_mm_set1_ps(1.0f), v)), _mm_and_ps(z, _mm_set1_ps(kHuge)));
}

/// Lane i of v in all four lanes; i is a constant once the steps are unrolled.
inline V Lane(V v, int i)
{
    switch (i)
    {
    case 0:
        return Bc<0>(v);
    case 1:
        return Bc<1>(v);
    case 2:
        return Bc<2>(v);
    default:
        return Bc<3>(v);
    }
}

/// Elimination step J. col holds the candidates' column-J values, row i in lane i (other lanes
/// are ignored). Every candidate is handled by masks: the pivot row is selected and swapped into
/// place without branches, because real pivots are unpredictable.
template <int J>
inline void Step(Rows& s, V col)
{
    const V kAbs = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    // All candidates' reciprocals at once, so that the division overlaps the search.
    const V rcol = Reciprocal(col);
    const V scol = _mm_mul_ps(_mm_and_ps(col, kAbs), s.vv);
    V sc[4], rc[4], w[4];
    for (int i = J; i < 4; ++i)
    {
        sc[i] = Lane(scol, i);
        rc[i] = Lane(rcol, i);
    }
    // Row i wins when its scaled value beats every later row strictly and no earlier row beats it:
    // the last of equal candidates is taken, as the sequential ">=" search takes it. Each mask is
    // an AND of at most three pairwise tests, combined as a tree.
    V g[4][4]; // g[i][k], i < k: row i beats row k
    for (int i = J; i < 4; ++i)
        for (int k = i + 1; k < 4; ++k)
            g[i][k] = Greater(sc[i], sc[k]);
    if constexpr (J == 0)
    {
        w[0] = _mm_and_ps(_mm_and_ps(g[0][1], g[0][2]), g[0][3]);
        w[1] = _mm_andnot_ps(g[0][1], _mm_and_ps(g[1][2], g[1][3]));
        w[2] = _mm_andnot_ps(_mm_or_ps(g[0][2], g[1][2]), g[2][3]);
        w[3] = _mm_andnot_ps(_mm_or_ps(_mm_or_ps(g[0][3], g[1][3]), g[2][3]), _mm_castsi128_ps(_mm_set1_epi32(-1)));
    }
    else if constexpr (J == 1)
    {
        w[1] = _mm_and_ps(g[1][2], g[1][3]);
        w[2] = _mm_andnot_ps(g[1][2], g[2][3]);
        w[3] = _mm_andnot_ps(_mm_or_ps(g[1][3], g[2][3]), _mm_castsi128_ps(_mm_set1_epi32(-1)));
    }
    else
    {
        w[2] = g[2][3];
        w[3] = _mm_andnot_ps(g[2][3], _mm_castsi128_ps(_mm_set1_epi32(-1)));
    }
    // The winner as a lane mask (lanes below J are don't-care): the displaced row's scale moves
    // to the winner's lane.
    V m;
    if constexpr (J == 0)
        m = _mm_movelh_ps(_mm_unpacklo_ps(w[0], w[1]), _mm_unpacklo_ps(w[2], w[3]));
    else if constexpr (J == 1)
        m = _mm_shuffle_ps(w[1], _mm_unpacklo_ps(w[2], w[3]), _MM_SHUFFLE(3, 2, 1, 0));
    else
        m = _mm_unpacklo_ps(w[2], w[3]);
    V u = _mm_and_ps(w[J], s.r[J]), r = _mm_and_ps(w[J], rc[J]);
    // Before the first step the right-hand sides are the unit rows: the winner's is its lane mask.
    V b = J == 0 ? _mm_and_ps(m, _mm_set1_ps(1.0f)) : _mm_and_ps(w[J], s.q[J]);
    for (int i = J + 1; i < 4; ++i)
    {
        u = _mm_or_ps(u, _mm_and_ps(w[i], s.r[i]));
        if (J != 0)
            b = _mm_or_ps(b, _mm_and_ps(w[i], s.q[i]));
        r = _mm_or_ps(r, _mm_and_ps(w[i], rc[i]));
    }
    s.vv = Pick(s.vv, Bc<J>(s.vv), m);
    // The row displaced by the pivot takes the pivot's old place. Its multiplier and its swapped
    // form come from differences taken before the search ends, so neither waits for the pivot row.
    const V cJ = Bc<J>(s.r[J]);
    for (int i = J + 1; i < 4; ++i)
    {
        const V ci = Bc<J>(s.r[i]);
        const V f = _mm_mul_ps(Pick(ci, cJ, w[i]), r);
        const V ri = Pick(s.r[i], s.r[J], w[i]);
        s.r[i] = _mm_sub_ps(ri, _mm_mul_ps(u, f));
        s.q[i] = _mm_sub_ps(Pick(s.q[i], s.q[J], w[i]), _mm_mul_ps(b, f));
    }
    s.u[J] = _mm_mul_ps(u, r);
    s.b[J] = _mm_mul_ps(b, r);
}
} // namespace QelLUDetail

/// QelLUInvert<4> written as packed row operations; same pivots, refusal, 1e-20 replacement and
/// rounding as the generic routine, but with no branch on the data apart from the refusal. A NaN
/// among the scaled candidates is ranked by its bits where the generic search skips it, so the
/// two can differ only for NaN input or a row whose scale overflows to infinity.
inline bool QelLUInvert4(float* pfM)
{
    using namespace QelLUDetail;
    const V kAbs = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    const V c0 = _mm_loadu_ps(pfM), c1 = _mm_loadu_ps(pfM + 4), c2 = _mm_loadu_ps(pfM + 8),
            c3 = _mm_loadu_ps(pfM + 12);
    // Largest magnitude of each row (lanes are rows); the zero start keeps NaNs out as "t > big" does.
    const V kZero = _mm_setzero_ps();
    const V m01 = _mm_max_ps(_mm_and_ps(c1, kAbs), _mm_max_ps(_mm_and_ps(c0, kAbs), kZero));
    const V m23 = _mm_max_ps(_mm_and_ps(c3, kAbs), _mm_max_ps(_mm_and_ps(c2, kAbs), kZero));
    const V big = _mm_max_ps(m01, m23);
    if (_mm_movemask_ps(_mm_cmpeq_ps(big, kZero)) != 0)
        return false;
    const V vv = _mm_div_ps(_mm_set1_ps(1.0f), big);

    Rows s;
    const V t0 = _mm_unpacklo_ps(c0, c1), t1 = _mm_unpacklo_ps(c2, c3);
    const V t2 = _mm_unpackhi_ps(c0, c1), t3 = _mm_unpackhi_ps(c2, c3);
    s.r[0] = _mm_movelh_ps(t0, t1);
    s.r[1] = _mm_movehl_ps(t1, t0);
    s.r[2] = _mm_movelh_ps(t2, t3);
    s.r[3] = _mm_movehl_ps(t3, t2);
    s.q[0] = _mm_setr_ps(1.0f, 0.0f, 0.0f, 0.0f);
    s.q[1] = _mm_setr_ps(0.0f, 1.0f, 0.0f, 0.0f);
    s.q[2] = _mm_setr_ps(0.0f, 0.0f, 1.0f, 0.0f);
    s.q[3] = _mm_setr_ps(0.0f, 0.0f, 0.0f, 1.0f);
    s.vv = vv;
    Step<0>(s, c0);
    // Column 1 of rows 1-3 into lanes 1-3, then column 2 of rows 2-3 into lanes 2-3.
    Step<1>(s, _mm_shuffle_ps(s.r[1], _mm_unpacklo_ps(s.r[2], s.r[3]), _MM_SHUFFLE(3, 2, 1, 1)));
    const V t23 = _mm_unpackhi_ps(s.r[2], s.r[3]);
    Step<2>(s, _mm_movelh_ps(t23, t23));
    const V rc3 = Reciprocal(Bc<3>(s.r[3]));

    // Back substitution as in the generic routine: A and B first, then x = A - B * x3.
    const V kA2 = s.b[2], kB2 = Bc<3>(s.u[2]);
    const V u12 = Bc<2>(s.u[1]);
    const V kA1 = _mm_sub_ps(s.b[1], _mm_mul_ps(u12, kA2));
    const V kB1 = _mm_sub_ps(Bc<3>(s.u[1]), _mm_mul_ps(u12, kB2));
    const V u02 = Bc<2>(s.u[0]), u01 = Bc<1>(s.u[0]);
    const V kA0 = _mm_sub_ps(_mm_sub_ps(s.b[0], _mm_mul_ps(u02, kA2)), _mm_mul_ps(u01, kA1));
    const V kB0 = _mm_sub_ps(_mm_sub_ps(Bc<3>(s.u[0]), _mm_mul_ps(u02, kB2)), _mm_mul_ps(u01, kB1));
    const V x3 = _mm_mul_ps(s.q[3], rc3);
    const V x2 = _mm_sub_ps(kA2, _mm_mul_ps(kB2, x3));
    const V x1 = _mm_sub_ps(kA1, _mm_mul_ps(kB1, x3));
    const V x0 = _mm_sub_ps(kA0, _mm_mul_ps(kB0, x3));

    const V v0 = _mm_unpacklo_ps(x0, x1), v1 = _mm_unpacklo_ps(x2, x3);
    const V v2 = _mm_unpackhi_ps(x0, x1), v3 = _mm_unpackhi_ps(x2, x3);
    _mm_storeu_ps(pfM, _mm_movelh_ps(v0, v1));
    _mm_storeu_ps(pfM + 4, _mm_movehl_ps(v1, v0));
    _mm_storeu_ps(pfM + 8, _mm_movelh_ps(v2, v3));
    _mm_storeu_ps(pfM + 12, _mm_movehl_ps(v3, v2));
    return true;
}
#endif
