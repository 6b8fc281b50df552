// Replay driver for compilers without libFuzzer: feeds every file of the given corpus folders, then
// a bounded batch of pseudo-random inputs (mutations of the corpus and plain noise) to the target.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize);

/// With QEL_FUZZ_LAST_INPUT set to a path, every input is written there before it runs, so that
/// the one that failed can be replayed.
static void Run(const std::vector<uint8_t>& v)
{
    if (const char* pPath = std::getenv("QEL_FUZZ_LAST_INPUT"))
        if (FILE* f = std::fopen(pPath, "wb"))
        {
            std::fwrite(v.data(), 1, v.size(), f);
            std::fclose(f);
        }
    LLVMFuzzerTestOneInput(v.data(), v.size());
}

static std::vector<uint8_t> ReadFile(const std::string& strPath)
{
    std::vector<uint8_t> v;
    FILE* f = std::fopen(strPath.c_str(), "rb");
    if (!f)
        return v;
    uint8_t buf[4096];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof(buf), f)) > 0)
        v.insert(v.end(), buf, buf + n);
    std::fclose(f);
    return v;
}

int main(int argc, char** argv)
{
    long nRuns = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1000;
    std::vector<std::vector<uint8_t>> corpus;
    for (int i = 2; i < argc; ++i)
    {
        DIR* d = opendir(argv[i]);
        if (!d)
            continue;
        while (dirent* e = readdir(d))
        {
            if (e->d_name[0] == '.')
                continue;
            corpus.push_back(ReadFile(std::string(argv[i]) + "/" + e->d_name));
        }
        closedir(d);
    }
    for (const auto& v : corpus)
        Run(v);

    uint64_t state = 0x9E3779B97F4A7C15ull;
    auto next = [&state]() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    };
    std::vector<uint8_t> input;
    for (long r = 0; r < nRuns; ++r)
    {
        if (!corpus.empty() && (next() & 1))
        {
            input = corpus[next() % corpus.size()];
            size_t nMutations = 1 + next() % 8;
            for (size_t m = 0; m < nMutations && !input.empty(); ++m)
            {
                size_t at = next() % input.size();
                switch (next() % 4)
                {
                case 0: input[at] = uint8_t(next()); break;
                case 1: input.erase(input.begin() + long(at)); break;
                case 2: input.insert(input.begin() + long(at), uint8_t(next())); break;
                default: input.resize(at); break;
                }
            }
        }
        else
        {
            input.resize(next() % 512);
            for (auto& b : input)
                b = uint8_t(next());
        }
        Run(input);
    }
    std::printf("replayed %zu corpus inputs and %ld generated inputs\n", corpus.size(), nRuns);
    return 0;
}
