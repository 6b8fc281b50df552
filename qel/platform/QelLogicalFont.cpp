#include "qel/platform/QelLogicalFont.h"

#include <tuple>

QelLogicalFont::QelLogicalFont(const std::string& strFaceName, int nHeight, int nWeight, bool bItalic)
    : m_strFaceName(strFaceName), m_nHeight(nHeight), m_nWeight(nWeight), m_bItalic(bItalic)
{
}

bool QelLogicalFont::operator==(const QelLogicalFont& other) const
{
    return m_strFaceName == other.m_strFaceName && m_nHeight == other.m_nHeight && m_nWeight == other.m_nWeight &&
           m_bItalic == other.m_bItalic;
}

bool QelLogicalFont::operator<(const QelLogicalFont& other) const
{
    return std::tie(m_strFaceName, m_nHeight, m_nWeight, m_bItalic) <
           std::tie(other.m_strFaceName, other.m_nHeight, other.m_nWeight, other.m_bItalic);
}
