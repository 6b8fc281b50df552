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
