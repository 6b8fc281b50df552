#pragma once

#include <cstddef>
#include <cstdint>

/// Base64 without padding or line breaks, as documents store binary data.
namespace QelBase64
{
/// Characters that nBytes bytes encode to.
inline size_t EncodedLength(size_t nBytes)
{
    return nBytes / 3 * 4 + (nBytes % 3 ? nBytes % 3 + 1 : 0);
}
/// Encodes the bytes into pOut, which holds EncodedLength(nBytes) characters; returns that length.
size_t Encode(const unsigned char* pData, size_t nBytes, char* pOut);

/// Decodes text that may arrive in pieces (a parser hands text over as it reads it). Characters
/// outside the alphabet are skipped; white space is harmless, anything else is counted as damage.
class Decoder
{
public:
    /// Bytes that nChars more characters can give at most, with the spare bytes Feed needs.
    static size_t MaxBytes(size_t nChars) { return nChars / 4 * 3 + 6; }

    /// Decodes the piece into pOut (room for MaxBytes(nChars) bytes); returns the bytes written.
    size_t Feed(const char* pText, size_t nChars, unsigned char* pOut);
    /// Writes the bytes of a short last group (at most two); a single character left over, which
    /// no byte gives, counts as damage.
    size_t Finish(unsigned char* pOut);
    /// Characters that were neither base64 nor white space, and single characters left over.
    size_t Damage() const { return m_nDamage; }

private:
    uint32_t m_nGroup = 0;
    int m_nHave = 0;
    size_t m_nDamage = 0;
};
} // namespace QelBase64
