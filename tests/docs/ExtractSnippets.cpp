// Turns a Markdown guide into a program and its expected output: the ```cpp blocks, in order, make
// the program (with #line directives, so compiler messages point into the guide); the
// ```text output block holds what the program must print.
//
// usage: qel_docs_extract GUIDE.md OUT.cpp OUT.expected

#include <cstdio>
#include <fstream>
#include <string>

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        std::fprintf(stderr, "usage: qel_docs_extract GUIDE.md OUT.cpp OUT.expected\n");
        return 2;
    }
    std::ifstream cGuide(argv[1]);
    if (!cGuide)
    {
        std::fprintf(stderr, "qel_docs_extract: cannot read %s\n", argv[1]);
        return 1;
    }
    std::string strCode, strExpected, strLine;
    enum EBlock
    {
        eNone,
        eCode,
        eOutput,
        eOther
    } eBlock = eNone;
    int nLine = 0, nCodeBlocks = 0, nOutputBlocks = 0;
    while (std::getline(cGuide, strLine))
    {
        ++nLine;
        if (strLine.rfind("```", 0) == 0)
        {
            if (eBlock != eNone)
                eBlock = eNone;
            else if (strLine == "```cpp")
            {
                eBlock = eCode;
                ++nCodeBlocks;
                strCode += "#line " + std::to_string(nLine + 1) + " \"" + argv[1] + "\"\n";
            }
            else if (strLine == "```text output")
                eBlock = eOutput, ++nOutputBlocks;
            else
                eBlock = eOther;
            continue;
        }
        if (eBlock == eCode)
            strCode += strLine + "\n";
        else if (eBlock == eOutput)
            strExpected += strLine + "\n";
    }
    if (eBlock != eNone || nCodeBlocks == 0 || nOutputBlocks != 1)
    {
        std::fprintf(stderr, "qel_docs_extract: %s needs closed blocks, some ```cpp and one ```text output\n", argv[1]);
        return 1;
    }
    std::ofstream(argv[2]) << strCode;
    std::ofstream(argv[3]) << strExpected;
    return 0;
}
