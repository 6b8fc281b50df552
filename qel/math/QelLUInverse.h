#pragma once

// Internal to the library: the matrix inversion shared by QelMatrix3 and QelMatrix4.

#include <cmath>

/// Inverts the column-major N x N matrix pfM in place by LU decomposition with partial pivoting and
/// implicit row scaling (Crout). Returns false, leaving pfM untouched, when a row is entirely zero.
/// A pivot that comes out exactly zero is replaced by 1e-20 so that nearly singular input still
/// yields a (huge) answer rather than a refusal, as callers of the picking code expect.
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
        if (j != N - 1)
        {
            const float fDum = 1.0f / a[j][j];
            for (int i = j + 1; i < N; ++i)
                a[i][j] *= fDum;
        }
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
    for (int i = N - 1; i >= 0; --i)
    {
        for (int j = i + 1; j < N; ++j)
            for (int c = 0; c < N; ++c)
                b[i][c] -= a[i][j] * b[j][c];
        for (int c = 0; c < N; ++c)
            b[i][c] /= a[i][i];
    }
    for (int c = 0; c < N; ++c)
        for (int r = 0; r < N; ++r)
            pfM[c * N + r] = b[r][c];
    return true;
}

#if defined(__GNUC__)
/// The same decomposition for 4 x 4, written as row operations on four-lane vectors so that the
/// elimination and the substitutions become packed SSE operations. The pivots, the singularity test
/// and the 1e-20 replacement are exactly those of the generic routine; only the order in which the
/// partial sums are rounded differs (right-looking rather than Crout's column order).
template <>
inline bool QelLUInvert<4>(float* pfM)
{
    typedef float V __attribute__((vector_size(16)));
    V u[4], l[4]; // u: rows of U (lanes left of the diagonal are don't-care); l: rows of L
    for (int i = 0; i < 4; ++i)
    {
        u[i] = V{pfM[i], pfM[4 + i], pfM[8 + i], pfM[12 + i]};
        l[i] = V{0.0f, 0.0f, 0.0f, 0.0f};
    }

    float vv[4];
    for (int i = 0; i < 4; ++i)
    {
        float fBig = 0.0f;
        for (int j = 0; j < 4; ++j)
        {
            const float t = std::fabs(u[i][j]);
            if (t > fBig)
                fBig = t;
        }
        if (fBig == 0.0f)
            return false;
        vv[i] = fBig;
    }
    for (int i = 0; i < 4; ++i)
        vv[i] = 1.0f / vv[i];

    int perm[4] = {0, 1, 2, 3};
    float fRecip[4]; // reciprocals of the pivots, reused by the back substitution
    for (int j = 0; j < 4; ++j)
    {
        // Selects and an unconditional swap: pivots of real data are unpredictable, and
        // mispredicted branches cost more than the whole elimination.
        float fBig = 0.0f;
        int nMax = j;
        for (int i = j; i < 4; ++i)
        {
            const float fDum = vv[i] * std::fabs(u[i][j]);
            const bool bTake = fDum >= fBig;
            fBig = bTake ? fDum : fBig;
            nMax = bTake ? i : nMax;
        }
        const V tu = u[nMax], tl = l[nMax];
        u[nMax] = u[j];
        l[nMax] = l[j];
        u[j] = tu;
        l[j] = tl;
        vv[nMax] = vv[j];
        const int t = perm[nMax];
        perm[nMax] = perm[j];
        perm[j] = t;
        if (u[j][j] == 0.0f)
            u[j][j] = 1e-20f;
        fRecip[j] = 1.0f / u[j][j];
        if (j != 3)
        {
            const float fDum = fRecip[j];
            for (int i = j + 1; i < 4; ++i)
            {
                const float f = u[i][j] * fDum;
                l[i][j] = f;
                u[i] -= u[j] * f;
            }
        }
    }

    V b[4];
    for (int i = 0; i < 4; ++i)
        b[i] = V{perm[i] == 0 ? 1.0f : 0.0f, perm[i] == 1 ? 1.0f : 0.0f, perm[i] == 2 ? 1.0f : 0.0f,
                 perm[i] == 3 ? 1.0f : 0.0f};
    for (int i = 1; i < 4; ++i)
        for (int k = 0; k < i; ++k)
            b[i] -= b[k] * l[i][k];
    for (int i = 3; i >= 0; --i)
    {
        for (int k = i + 1; k < 4; ++k)
            b[i] -= b[k] * u[i][k];
        b[i] *= fRecip[i];
    }
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            pfM[c * 4 + r] = b[r][c];
    return true;
}
#endif
