// Scans a generated 50 MB file of mixed tokens with the text scanner (classification on) beside
// fscanf("%s"), a bare loop that reads the file and splits it into words at the same delimiters
// without classifying (the limit), a loop that only counts those words, and reading the file into
// memory.
#include "qel/framework/QelSysApp.h"
#include "qel/util/QelTextScanner.h"
#include "tests/support/QelSilentApp.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
using SilentApp = QelSilentApp;
SilentApp s_app;

/// The test file, written to /tmp on first use and removed at exit.
class TestFile
{
public:
    TestFile()
    {
        m_strPath = "/tmp/qel_bench_text_scanner_" + std::to_string(getpid()) + ".txt";
        FILE* f = std::fopen(m_strPath.c_str(), "wb");
        if (!f)
            std::abort();
        unsigned n = 1;
        auto next = [&n]() { return (n = n * 1103515245u + 12345u) >> 8; };
        static const char* const s_apWords[] = {"vertex", "normal", "face", "material", "alpha", "Group_7",
                                                "texture", "v", "vn", "usemtl"};
        std::string strLine;
        while (m_nSize < (50u << 20))
        {
            strLine.clear();
            char sz[64];
            strLine += s_apWords[next() % 10];
            for (int i = 0; i < 6; ++i)
            {
                switch (next() % 5)
                {
                case 0: std::snprintf(sz, sizeof(sz), " %d", int(next() % 200000) - 100000); break;
                case 1: std::snprintf(sz, sizeof(sz), " %.6e", (double(next() % 2000000) - 1e6) / 997.0); break;
                case 2: std::snprintf(sz, sizeof(sz), " %s", s_apWords[next() % 10]); break;
                case 3: std::snprintf(sz, sizeof(sz), " #%06X", next() & 0xFFFFFF); break;
                default:
                    std::snprintf(sz, sizeof(sz), " %u,%s,%.3f", next() % 1000, s_apWords[next() % 10],
                                  double(next() % 100000) / 1000.0);
                    break;
                }
                strLine += sz;
            }
            strLine += '\n';
            std::fwrite(strLine.data(), 1, strLine.size(), f);
            m_nSize += strLine.size();
        }
        std::fclose(f);
    }
    ~TestFile() { std::remove(m_strPath.c_str()); }
    const char* Path() const { return m_strPath.c_str(); }
    size_t Size() const { return m_nSize; }

private:
    std::string m_strPath;
    size_t m_nSize = 0;
};

const TestFile& File()
{
    static TestFile s_file;
    return s_file;
}

void BM_QelTextScanner(benchmark::State& state)
{
    const TestFile& file = File();
    size_t nWords = 0;
    for (auto _ : state)
    {
        QelTextScanner scanner;
        scanner.SetSpaceDelimiter(true);
        scanner.Open(file.Path());
        QelDataType eType;
        nWords = 0;
        int nTypes = 0;
        while (scanner.NextWord(eType, true, true))
        {
            ++nWords;
            nTypes += eType;
        }
        benchmark::DoNotOptimize(nTypes);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.Size()));
    state.counters["words"] = double(nWords);
}

/// The same without classification: what the type tests cost.
void BM_QelTextScannerUnclassified(benchmark::State& state)
{
    const TestFile& file = File();
    size_t nWords = 0;
    for (auto _ : state)
    {
        QelTextScanner scanner;
        scanner.SetSpaceDelimiter(true);
        scanner.Open(file.Path());
        nWords = 0;
        while (scanner.NextWord(true))
            ++nWords;
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.Size()));
    state.counters["words"] = double(nWords);
}

void BM_Fscanf(benchmark::State& state)
{
    const TestFile& file = File();
    size_t nWords = 0;
    char szWord[1025];
    for (auto _ : state)
    {
        FILE* f = std::fopen(file.Path(), "r");
        nWords = 0;
        while (std::fscanf(f, "%1024s", szWord) == 1)
            ++nWords;
        std::fclose(f);
        benchmark::DoNotOptimize(szWord[0]);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.Size()));
    state.counters["words"] = double(nWords);
}

/// The limit: read in blocks and hand out each word between blank, tab, line feed, carriage return
/// and comma as a terminated copy, classifying nothing.
void BM_BareSplit(benchmark::State& state)
{
    const TestFile& file = File();
    bool aDelimiter[256] = {};
    aDelimiter[unsigned(' ')] = aDelimiter[unsigned('\t')] = aDelimiter[unsigned('\n')] = true;
    aDelimiter[unsigned('\r')] = aDelimiter[unsigned(',')] = true;
    std::vector<char> vBlock(65536);
    char szWord[1025];
    size_t nWords = 0;
    for (auto _ : state)
    {
        FILE* f = std::fopen(file.Path(), "rb");
        nWords = 0;
        size_t nWordLength = 0, nSum = 0, n;
        while ((n = std::fread(vBlock.data(), 1, vBlock.size(), f)) > 0)
        {
            const char* p = vBlock.data();
            const char* pEnd = p + n;
            while (p < pEnd)
            {
                if (aDelimiter[static_cast<unsigned char>(*p)])
                {
                    if (nWordLength)
                    {
                        szWord[nWordLength] = '\0';
                        nSum += static_cast<unsigned char>(szWord[0]);
                        ++nWords;
                        nWordLength = 0;
                    }
                    ++p;
                    continue;
                }
                const char* pWord = p;
                while (p < pEnd && !aDelimiter[static_cast<unsigned char>(*p)])
                    ++p;
                size_t nTake = size_t(p - pWord);
                if (nWordLength + nTake > 1024)
                    nTake = 1024 - nWordLength;
                std::memcpy(szWord + nWordLength, pWord, nTake);
                nWordLength += nTake;
            }
        }
        std::fclose(f);
        benchmark::DoNotOptimize(nSum);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.Size()));
    state.counters["words"] = double(nWords);
}

/// Only counts the words, without handing them out: no real reader can do less.
void BM_BareCount(benchmark::State& state)
{
    const TestFile& file = File();
    bool aDelimiter[256] = {};
    aDelimiter[unsigned(' ')] = aDelimiter[unsigned('\t')] = aDelimiter[unsigned('\n')] = true;
    aDelimiter[unsigned('\r')] = aDelimiter[unsigned(',')] = true;
    std::vector<unsigned char> vBlock(65536);
    size_t nWords = 0;
    for (auto _ : state)
    {
        FILE* f = std::fopen(file.Path(), "rb");
        nWords = 0;
        bool bInWord = false;
        size_t n;
        while ((n = std::fread(vBlock.data(), 1, vBlock.size(), f)) > 0)
        {
            for (size_t i = 0; i < n; ++i)
            {
                bool bDelimiter = aDelimiter[vBlock[i]];
                nWords += !bDelimiter && !bInWord;
                bInWord = !bDelimiter;
            }
        }
        std::fclose(f);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.Size()));
    state.counters["words"] = double(nWords);
}

void BM_ReadIntoMemory(benchmark::State& state)
{
    const TestFile& file = File();
    std::vector<char> vData;
    for (auto _ : state)
    {
        FILE* f = std::fopen(file.Path(), "rb");
        vData.resize(file.Size());
        size_t n = std::fread(vData.data(), 1, vData.size(), f);
        std::fclose(f);
        benchmark::DoNotOptimize(n);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.Size()));
}
} // namespace

BENCHMARK(BM_QelTextScanner)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_QelTextScannerUnclassified)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Fscanf)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_BareSplit)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_BareCount)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ReadIntoMemory)->Unit(benchmark::kMillisecond)->MinTime(2.0);

BENCHMARK_MAIN();
