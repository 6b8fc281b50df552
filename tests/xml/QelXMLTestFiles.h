#pragma once

#include <zlib.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <unistd.h>

/// A scratch folder of this test process, removed at the end.
struct QelXMLTempDir
{
    std::filesystem::path m_path =
        std::filesystem::temp_directory_path() / ("qel_xml_test_" + std::to_string(::getpid()));
    std::error_code m_ec;
    QelXMLTempDir() { std::filesystem::create_directories(m_path); }
    ~QelXMLTempDir() { std::filesystem::remove_all(m_path, m_ec); }
    std::string File(const std::string& strName) const { return (m_path / strName).string(); }
};

/// A compressed memory block of the text with the given stored length.
inline std::string QelXMLCompressedBlock(const std::string& strText, uint32_t nStored)
{
    uLongf n = compressBound(strText.size());
    std::string strOut(5 + n, '\0');
    compress2(reinterpret_cast<Bytef*>(&strOut[5]), &n, reinterpret_cast<const Bytef*>(strText.data()),
              strText.size(), 9);
    strOut.resize(5 + n);
    strOut[0] = 1;
    for (int i = 0; i < 4; ++i)
        strOut[1 + i] = static_cast<char>(nStored >> (8 * i));
    return strOut;
}
