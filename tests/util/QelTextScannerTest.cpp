#include "qel/util/QelTextScanner.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace
{
typedef std::vector<std::pair<std::string, int>> Words;
typedef std::vector<std::string> Texts;

/// A folder of this test process's own, removed at exit.
struct TempDir
{
    fs::path m_path = fs::temp_directory_path() / ("qel_scanner_" + std::to_string(getpid()));
    TempDir() { fs::create_directories(m_path); }
    ~TempDir() { fs::remove_all(m_path, m_ec); }
    std::error_code m_ec;
};

std::string TempPath(const std::string& strName)
{
    static TempDir s_dir;
    return (s_dir.m_path / strName).string();
}

std::string WriteFile(const std::string& strName, const std::string& strContent)
{
    std::string strPath = TempPath(strName);
    FILE* f = std::fopen(strPath.c_str(), "wb");
    std::fwrite(strContent.data(), 1, strContent.size(), f);
    std::fclose(f);
    return strPath;
}

/// Every word of an open scanner, across lines, with its type.
Words AllWords(QelTextScanner& s)
{
    Words v;
    QelDataType eType;
    while (const char* p = s.NextWord(eType, true, true))
        v.emplace_back(p, int(eType));
    return v;
}

Words ScanText(const std::string& strText, bool bSpace = true, bool bComma = true, bool bQuotes = false)
{
    QelTextScanner s;
    s.SetSpaceDelimiter(bSpace);
    s.SetCommaDelimiter(bComma);
    s.SetQuotesDelimitStrings(bQuotes);
    EXPECT_TRUE(s.OpenBuffer(strText.data(), strText.size()));
    return AllWords(s);
}

Texts Lines(QelTextScanner& s)
{
    Texts v;
    while (const char* p = s.NextLine())
        v.push_back(p);
    return v;
}

Texts LinesOfFile(const std::string& strContent)
{
    QelTextScanner s;
    EXPECT_TRUE(s.Open(WriteFile("lines.txt", strContent).c_str()));
    return Lines(s);
}

/// Splits at semicolons only.
class SemicolonScanner : public QelTextScanner
{
public:
    bool IsDelimiter(char c) override { return c == ';' || c == '\0'; }
};
} // namespace

TEST(QelTextScanner, CommaFieldsAndDelimiters)
{
    EXPECT_EQ(ScanText("a,,b\n"), (Words{{"a", 6}, {"", 6}, {"b", 6}}));
    EXPECT_EQ(ScanText(",x\n"), (Words{{"", 6}, {"x", 6}}));
    EXPECT_EQ(ScanText("1, 2 ,3,\n"), (Words{{"1", 3}, {"2", 3}, {"3", 3}, {"", 6}}));
    // Without the comma delimiter the comma is part of the word; without blanks as delimiters so is the blank.
    EXPECT_EQ(ScanText("a,,b c\n", true, false), (Words{{"a,,b", 6}, {"c", 6}}));
    EXPECT_EQ(ScanText("a b,c\n", false, true), (Words{{"a b", 6}, {"c", 6}}));

    SemicolonScanner s; // a derived scanner chooses its own delimiters; the comma rule stays
    std::string str = "a b;;c,d\n";
    ASSERT_TRUE(s.OpenBuffer(str.data(), str.size()));
    EXPECT_EQ(AllWords(s), (Words{{"a b", 6}, {"c", 6}, {"d", 6}}));
}

TEST(QelTextScanner, WordsAreClassifiedByTheirText)
{
    EXPECT_EQ(ScanText("#FF8800 12 -12 1.5 abc - #ff8800cc #GG0000 #FF88 1e5 +5 _x\n"),
              (Words{{"#FF8800", 9}, {"12", 3}, {"-12", 3}, {"1.5", 4}, {"abc", 6}, {"-", 4}, {"#ff8800cc", 9},
                     {"#GG0000", 4}, {"#FF88", 4}, {"1e5", 4}, {"+5", 4}, {"_x", 4}}));
    QelTextScanner s;
    s.SetSpaceDelimiter(true);
    s.SetReadIntsAsFloats(true);
    std::string str = "12 x #000000\n";
    ASSERT_TRUE(s.OpenBuffer(str.data(), str.size()));
    EXPECT_EQ(AllWords(s), (Words{{"12", 4}, {"x", 6}, {"#000000", 9}}));
    EXPECT_FALSE(QelTextScanner::IsColor(nullptr, 7));
    EXPECT_FALSE(QelTextScanner::IsInt("", 0));
    EXPECT_TRUE(QelTextScanner::IsInt("-0", 2));

    // Without classification the type is left alone, except for the first word of a new line.
    str = "a 12\n7 b\n";
    ASSERT_TRUE(s.OpenBuffer(str.data(), str.size()));
    QelDataType eType = eDataBoolean;
    EXPECT_STREQ(s.NextWord(eType, true, false), "a");
    EXPECT_EQ(eType, eDataString);
    eType = eDataBoolean;
    EXPECT_STREQ(s.NextWord(eType, false, false), "12");
    EXPECT_EQ(eType, eDataBoolean);
    EXPECT_EQ(s.NextWord(false), nullptr); // the line is used up and may not be left
    EXPECT_STREQ(s.NextWord(true), "7");
}

TEST(QelTextScanner, ClassificationAgreesWithTheWordTests)
{
    // Words of 1 to 20 characters (the fast path takes up to 16) from the characters that decide the
    // type, with colors, integers and their near misses, checked against IsColor, IsString and IsInt.
    const char* aAlphabets[] = {"#-079afgAFGz./:@`\x80", "0123456789abcdefABCDEFg", "-01234567899.e"};
    unsigned n = 99;
    auto Next = [&n](size_t nMod) {
        n = n * 1103515245u + 12345u;
        return (n >> 16) % nMod;
    };
    std::string strText;
    Texts vWords;
    for (int i = 0; i < 4000; ++i)
    {
        const char* pAlphabet = aAlphabets[i % 3];
        std::string strWord = i % 3 == 1 ? "#" : (i % 3 == 2 && Next(2)) ? "-" : "";
        for (size_t k = 0, nLength = i % 3 == 1 ? 4 + Next(6) : 1 + Next(20); k < nLength; ++k)
            strWord += pAlphabet[Next(std::strlen(pAlphabet))];
        vWords.push_back(strWord);
        strText += strWord + (i % 7 ? " " : "\n");
    }
    for (bool bFloats : {false, true})
    {
        QelTextScanner s;
        s.SetSpaceDelimiter(true);
        s.SetReadIntsAsFloats(bFloats);
        ASSERT_TRUE(s.OpenBuffer(strText.data(), strText.size()));
        Words v = AllWords(s);
        ASSERT_EQ(v.size(), vWords.size());
        for (size_t i = 0; i < v.size(); ++i)
        {
            const char* p = vWords[i].c_str();
            int nLength = int(vWords[i].size());
            int nExpected = QelTextScanner::IsColor(p, nLength)    ? 9
                            : QelTextScanner::IsString(p, nLength) ? 6
                            : !bFloats && QelTextScanner::IsInt(p, nLength) ? 3 : 4;
            ASSERT_EQ(v[i].first, vWords[i]);
            EXPECT_EQ(v[i].second, nExpected) << p;
        }
    }
}

TEST(QelTextScanner, TheDefaultDelimitersScanAsThroughTheVirtualTest)
{
    // The default set is searched many bytes at a time; an override with the same set is asked
    // byte by byte. Words, types and counters must agree for runs of every length around the
    // 16 bytes looked at at once, commas among delimiters, and line ends of every kind.
    class SameDelimiters : public QelTextScanner
    {
    public:
        bool IsDelimiter(char c) override { return QelTextScanner::IsDelimiter(c); }
    };
    unsigned n = 7;
    auto Next = [&n](size_t nMod) {
        n = n * 1103515245u + 12345u;
        return (n >> 16) % nMod;
    };
    const char* aRuns[] = {"0123456789", "abcdefxyzABCDEF#-.", " \t", ",", " ,\t", "\n", "\r\n", "\r"};
    std::string str;
    while (str.size() < 60000)
    {
        const char* pRun = aRuns[Next(8)];
        size_t nLength = Next(5) ? Next(20) : Next(1100);
        if (std::strchr("\r\n", pRun[0]))
            nLength = 1;
        for (size_t k = 0; k < nLength; ++k)
            str += pRun[Next(std::strlen(pRun))];
    }
    QelCapture cap;
    for (int nMode = 0; nMode < 8; ++nMode)
    {
        QelTextScanner a;
        SameDelimiters b;
        for (QelTextScanner* p : {static_cast<QelTextScanner*>(&a), static_cast<QelTextScanner*>(&b)})
        {
            p->SetSpaceDelimiter(nMode & 1);
            p->SetCommaDelimiter(nMode & 2);
            p->SetReadIntsAsFloats(nMode & 4);
            ASSERT_TRUE(p->OpenBuffer(str.data(), str.size()));
        }
        QelDataType eA = eDataBoolean, eB = eDataBoolean;
        size_t nWords = 0;
        for (bool bClassify = true;; bClassify = !bClassify, ++nWords)
        {
            const char* pA = a.NextWord(eA, true, bClassify);
            const char* pB = b.NextWord(eB, true, bClassify);
            ASSERT_EQ(pA == nullptr, pB == nullptr) << nWords;
            if (!pA)
                break;
            ASSERT_STREQ(pA, pB) << nWords;
            ASSERT_EQ(eA, eB) << pA;
            ASSERT_EQ(a.CharsProcessed(), b.CharsProcessed()) << pA;
            ASSERT_EQ(a.LineNum(), b.LineNum()) << pA;
        }
        EXPECT_GT(nWords, 2000u);
        EXPECT_EQ(a.BytesRead(), b.BytesRead());
    }
    EXPECT_GT(cap.Warnings(), 0u); // the long words were cut alike
}

TEST(QelTextScanner, LongWordsAreCutAndContinued)
{
    QelCapture cap;
    EXPECT_EQ(ScanText(std::string(1030, 'x') + " y\n"), (Words{{std::string(1024, 'x'), 6}, {"xxxxxx", 6}, {"y", 6}}));
    EXPECT_EQ(cap.Messages(), (Texts{"<warning> Max word size of 1024 reached\n"}));

    // A word of exactly 1024 characters is whole; a quoted one is cut alike.
    QelCapture cap2;
    EXPECT_EQ(ScanText(std::string(1024, 'z') + "\n").size(), 1u);
    EXPECT_EQ(cap2.Warnings(), 0u);
    Words v = ScanText("\"" + std::string(2000, 'q') + "\"\n", true, true, true);
    ASSERT_GE(v.size(), 2u);
    EXPECT_EQ(v[0].first, std::string(1024, 'q'));
    EXPECT_EQ(cap2.Messages()[0], "<warning> Max word size of 1024 reached\n");
}

TEST(QelTextScanner, ARepeatedWarningIsWrittenOncePerSourceWithACountAndInputIsQuotedShort)
{
    QelCapture cap;
    // 5,000 words that are each too long, on one 10 MB line: one warning, and one count at the end.
    std::string strLine;
    for (int i = 0; i < 5000; ++i)
        strLine += std::string(2000, 'w') + ' ';
    strLine += '\n';
    QelTextScanner s;
    s.SetSpaceDelimiter(true);
    ASSERT_TRUE(s.OpenBuffer(strLine.data(), strLine.size()));
    size_t nWords = 0;
    while (s.NextWord(true))
        ++nWords;
    EXPECT_EQ(nWords, 10000u);
    EXPECT_EQ(cap.Messages(), (Texts{"<warning> Max word size of 1024 reached\n"}));
    s.Close();
    EXPECT_EQ(cap.Messages(), (Texts{"<warning> Max word size of 1024 reached\n",
                                     "<warning> Max word size of 1024 reached 5000 times in \"<memory>\"\n"}));
    // A single cut needs no count; a closed scanner reports nothing twice.
    QelCapture cap2;
    ScanText(std::string(1030, 'x') + "\n");
    s.Close();
    EXPECT_EQ(cap2.Messages(), (Texts{"<warning> Max word size of 1024 reached\n"}));

    // A path of 10,000 characters is quoted by its start and its length.
    QelCapture cap3;
    const std::string strPath = "/nonexistent/" + std::string(9987, 'p');
    EXPECT_FALSE(s.Open(strPath.c_str()));
    ASSERT_EQ(cap3.Messages().size(), 1u);
    const std::string strStart =
        "<error> QelTextScanner::Open() - cannot open \"" + strPath.substr(0, 256) + "... (10000 bytes)\": ";
    EXPECT_EQ(cap3.Messages()[0].substr(0, strStart.size()), strStart);
}

TEST(QelTextScanner, QuotedStringsAreOneWord)
{
    QelCapture cap;
    EXPECT_EQ(ScanText("\"hello, world\" 12 \"\"\n", true, true, true), (Words{{"hello, world", 6}, {"12", 3}, {"", 6}}));
    EXPECT_EQ(ScanText("\"a b\"\n"), (Words{{"\"a", 4}, {"b\"", 6}})); // without the switch: ordinary characters
    EXPECT_EQ(cap.Warnings(), 0u);
    EXPECT_EQ(ScanText("x\n\"never closed\n", true, true, true), (Words{{"x", 6}, {"never closed", 6}}));
    EXPECT_EQ(cap.Messages(), (Texts{"<warning> string \"never closed\" on line 2 missing closing double quotes\n"}));
}

TEST(QelTextScanner, BlankLinesCountersAndTheLastLineWithoutLineFeed)
{
    QelTextScanner s;
    EXPECT_EQ(s.NextLine(), nullptr); // nothing open
    EXPECT_EQ(s.NextWord(true), nullptr);
    s.SetSpaceDelimiter(true);
    ASSERT_TRUE(s.Open(WriteFile("blank.txt", " \t \n\n  ab  cd\nlast").c_str()));
    EXPECT_EQ(s.LineNum() + s.BytesRead() + s.CharsProcessed(), 0);
    ASSERT_STREQ(s.NextLine(), " \t ");
    EXPECT_TRUE(s.LineIsBlank());
    QelDataType eType = eDataBoolean;
    EXPECT_STREQ(s.NextWord(eType, false, true), "");
    EXPECT_EQ(eType, eDataString);
    ASSERT_STREQ(s.NextLine(), "");
    EXPECT_TRUE(s.LineIsBlank());
    int nBefore = s.CharsProcessed();
    EXPECT_STREQ(s.NextWord(true), "ab");
    EXPECT_FALSE(s.LineIsBlank());
    EXPECT_EQ(s.CharsProcessed() - nBefore, 6);
    EXPECT_STREQ(s.NextWord(true), "cd");
    EXPECT_EQ(s.CharsProcessed() - nBefore, 8);
    ASSERT_STREQ(s.NextLine(), "last");
    EXPECT_STREQ(s.CurrentLine(), "last");
    EXPECT_EQ(s.LineNum(), 4);
    EXPECT_EQ(s.BytesRead(), 18);
    EXPECT_EQ(s.NextLine(), nullptr);
    EXPECT_EQ(s.NextLine(), nullptr);

    // Read across lines, blank lines give empty words, so null means the end of the file.
    EXPECT_EQ(ScanText("a\n\n  \nb"), (Words{{"a", 6}, {"", 6}, {"", 6}, {"b", 6}}));
    EXPECT_EQ(ScanText(""), Words{});
}

TEST(QelTextScanner, FilesReadAsAWindowsTextStreamDeliversThem)
{
    EXPECT_EQ(LinesOfFile("a\r\nb\r\n\r\nc"), (Texts{"a", "b", "", "c"}));
    // A lone carriage return still ends a line; one before another stays.
    EXPECT_EQ(LinesOfFile("a\rb\r\r\nc\n"), (Texts{"a", "b", "", "c"}));
    EXPECT_EQ(LinesOfFile("a\nb\x1A" "c\nd\n"), (Texts{"a", "b"})); // Ctrl-Z ends the file

    // A pair split across the block boundary is still one line end; bytes read count what arrived.
    std::string str = std::string(4095, 'x') + "\r\nnext\r\n";
    QelTextScanner s;
    ASSERT_TRUE(s.Open(WriteFile("boundary.txt", str).c_str()));
    EXPECT_EQ(Lines(s), (Texts{std::string(4095, 'x'), "next"}));
    EXPECT_EQ(s.BytesRead(), int(str.size()) - 2);
    EXPECT_TRUE(s.Close());
    EXPECT_FALSE(s.Close()); // the stream is forgotten, never closed twice
}

TEST(QelTextScanner, BadFilesAreReportedAndSurvived)
{
    QelCapture cap;
    QelTextScanner s;
    EXPECT_FALSE(s.Open(nullptr));
    EXPECT_FALSE(s.Open(""));
    EXPECT_FALSE(s.Open(TempPath("missing.txt").c_str()));
    EXPECT_FALSE(s.Open(TempPath("").c_str())); // a directory
    EXPECT_EQ(s.NextLine(), nullptr);
    ASSERT_EQ(cap.Errors(), 4u);
    EXPECT_EQ(cap.Messages()[0], "<error> QelTextScanner::Open() - no file name given\n");
    EXPECT_EQ(cap.Messages()[2],
              "<error> QelTextScanner::Open() - cannot open \"" + TempPath("missing.txt") + "\": No such file or directory\n");
    EXPECT_NE(cap.Messages()[3].find("cannot read"), std::string::npos) << cap.Messages()[3];

    std::string strLocked = WriteFile("locked.txt", "secret\n");
    fs::permissions(strLocked, fs::perms::none);
    if (access(strLocked.c_str(), R_OK) != 0) // root reads anything
    {
        EXPECT_FALSE(s.Open(strLocked.c_str()));
        EXPECT_NE(cap.Joined().find("Permission denied"), std::string::npos);
    }

    // NUL bytes end lines, with one warning per file.
    QelCapture cap2;
    ASSERT_TRUE(s.Open(WriteFile("nul.txt", std::string("ab\0cd\0\0ef\n", 10)).c_str()));
    EXPECT_EQ(Lines(s), (Texts{"ab", "cd", "", "ef"}));
    EXPECT_EQ(cap2.Messages(),
              (Texts{"<warning> QelTextScanner - NUL byte on line 1 of \"" + TempPath("nul.txt") + "\" ends the line\n"}));
}

TEST(QelTextScanner, AHundredMegabyteLineGrowsTheLineBuffer)
{
    const size_t nLine = 100u << 20;
    std::string strPath = TempPath("huge.txt");
    {
        std::string strChunk(1 << 20, 'a');
        strChunk[12345] = ' ';
        FILE* f = std::fopen(strPath.c_str(), "wb");
        ASSERT_NE(f, nullptr);
        for (size_t i = 0; i < nLine / strChunk.size(); ++i)
            std::fwrite(strChunk.data(), 1, strChunk.size(), f);
        std::fputs("\r\nend", f);
        std::fclose(f);
    }
    QelCapture cap;
    QelTextScanner s;
    s.SetSpaceDelimiter(true);
    ASSERT_TRUE(s.Open(strPath.c_str()));
    const char* p = s.NextLine();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(std::strlen(p), nLine);
    EXPECT_EQ(std::string(s.NextWord(false)), std::string(1024, 'a'));
    EXPECT_EQ(cap.Warnings(), 1u);
    EXPECT_STREQ(s.NextLine(), "end");
    EXPECT_EQ(s.NextLine(), nullptr);
    s.Close();
    fs::remove(strPath);
}

TEST(QelTextScanner, MemoryAndFileScanAlike)
{
    // Arbitrary bytes, delimiters and line ends of every kind, longer than several blocks.
    std::string str;
    unsigned n = 12345;
    const char aPick[] = {'a', '1', '-', '.', '#', 'F', ',', ' ', '\t', '\r', '\n', '"', '\0', 'e'};
    for (int i = 0; i < 20000; ++i, n = n * 1103515245u + 12345u)
        str += aPick[(n >> 16) % sizeof(aPick)];
    std::string strPath = WriteFile("mixed.txt", str);
    QelCapture cap;
    for (int nMode = 0; nMode < 4; ++nMode)
    {
        QelTextScanner a, b;
        for (QelTextScanner* p : {&a, &b})
        {
            p->SetSpaceDelimiter(nMode & 1);
            p->SetQuotesDelimitStrings(nMode & 2);
        }
        ASSERT_TRUE(a.Open(strPath.c_str()));
        ASSERT_TRUE(b.OpenBuffer(str.data(), str.size()));
        Words va = AllWords(a);
        EXPECT_EQ(va, AllWords(b));
        EXPECT_GT(va.size(), 1000u);
        EXPECT_EQ(a.BytesRead(), b.BytesRead());
        EXPECT_EQ(a.LineNum(), b.LineNum());
        EXPECT_EQ(a.CharsProcessed(), b.CharsProcessed());
    }
}

TEST(QelTextScanner, CopiesReadOnIndependently)
{
    std::string strPath = WriteFile("copy.txt", "one two\nthree\nfour\n");
    QelTextScanner* pSource = new QelTextScanner;
    pSource->SetSpaceDelimiter(true);
    ASSERT_TRUE(pSource->Open(strPath.c_str()));
    EXPECT_STREQ(pSource->NextWord(true), "one");
    QelTextScanner copy(*pSource);
    EXPECT_STREQ(pSource->NextWord(true), "two");
    EXPECT_STREQ(pSource->NextWord(true), "three");
    delete pSource; // closes its own stream only
    EXPECT_STREQ(copy.NextWord(true), "two");
    EXPECT_STREQ(copy.NextWord(true), "three");

    QelTextScanner assigned;
    assigned = copy;
    EXPECT_TRUE(copy.Close());
    EXPECT_STREQ(assigned.NextWord(true), "four");
    EXPECT_EQ(assigned.NextWord(true), nullptr);
    EXPECT_EQ(assigned.LineNum(), 3);

    // Opening another source closes the first; copies of a memory scan share the caller's bytes.
    std::string str = "x y";
    ASSERT_TRUE(assigned.OpenBuffer(str.data(), str.size()));
    QelTextScanner memCopy(assigned);
    EXPECT_STREQ(assigned.NextWord(true), "x");
    EXPECT_STREQ(memCopy.NextWord(true), "x");
    EXPECT_STREQ(memCopy.NextWord(true), "y");
}
