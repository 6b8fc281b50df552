#include "qel/util/QelTextScanner.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace
{
/// A folder of its own per test process, removed at the end.
class TempDir
{
public:
    TempDir()
    {
        m_path = fs::temp_directory_path() / ("qel_scanner_" + std::to_string(getpid()));
        fs::create_directories(m_path);
    }
    ~TempDir()
    {
        std::error_code ec;
        fs::remove_all(m_path, ec);
    }
    std::string Write(const std::string& strName, const std::string& strContent) const
    {
        std::string strPath = (m_path / strName).string();
        FILE* f = std::fopen(strPath.c_str(), "wb");
        std::fwrite(strContent.data(), 1, strContent.size(), f);
        std::fclose(f);
        return strPath;
    }
    std::string Path() const { return m_path.string(); }

private:
    fs::path m_path;
};

const TempDir& Dir()
{
    static TempDir s_dir;
    return s_dir;
}

typedef std::vector<std::pair<std::string, int>> Words;

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

std::vector<std::string> Lines(QelTextScanner& s)
{
    std::vector<std::string> v;
    while (const char* p = s.NextLine())
        v.push_back(p);
    return v;
}

std::vector<std::string> LinesOfFile(const std::string& strContent)
{
    QelTextScanner s;
    EXPECT_TRUE(s.Open(Dir().Write("lines.txt", strContent).c_str()));
    return Lines(s);
}

/// Splits at semicolons only.
class SemicolonScanner : public QelTextScanner
{
public:
    bool IsDelimiter(char c) override { return c == ';' || c == '\0'; }
};
} // namespace

TEST(QelTextScanner, CommaFieldsGiveEmptyWordsForEmptyFields)
{
    EXPECT_EQ(ScanText("a,,b\n"), (Words{{"a", 6}, {"", 6}, {"b", 6}}));
    EXPECT_EQ(ScanText(",x\n"), (Words{{"", 6}, {"x", 6}}));
    EXPECT_EQ(ScanText("1, 2 ,3,\n"), (Words{{"1", 3}, {"2", 3}, {"3", 3}, {"", 6}}));
    // Without the comma delimiter the comma is part of the word; without blanks as delimiters so is the blank.
    EXPECT_EQ(ScanText("a,,b c\n", true, false), (Words{{"a,,b", 6}, {"c", 6}}));
    EXPECT_EQ(ScanText("a b,c\n", false, true), (Words{{"a b", 6}, {"c", 6}}));
}

TEST(QelTextScanner, WordsAreClassifiedByTheirText)
{
    EXPECT_EQ(ScanText("#FF8800 12 -12 1.5 abc - #ff8800cc #GG0000 #FF88 1e5 +5 _x\n"),
              (Words{{"#FF8800", 9},
                     {"12", 3},
                     {"-12", 3},
                     {"1.5", 4},
                     {"abc", 6},
                     {"-", 4},
                     {"#ff8800cc", 9},
                     {"#GG0000", 4},
                     {"#FF88", 4},
                     {"1e5", 4},
                     {"+5", 4},
                     {"_x", 4}}));

    QelTextScanner s;
    s.SetSpaceDelimiter(true);
    s.SetReadIntsAsFloats(true);
    std::string str = "12 x #000000\n";
    ASSERT_TRUE(s.OpenBuffer(str.data(), str.size()));
    EXPECT_EQ(AllWords(s), (Words{{"12", 4}, {"x", 6}, {"#000000", 9}}));

    EXPECT_FALSE(QelTextScanner::IsColor(nullptr, 7));
    EXPECT_FALSE(QelTextScanner::IsInt("", 0));
    EXPECT_FALSE(QelTextScanner::IsString("1a", 2));
    EXPECT_TRUE(QelTextScanner::IsInt("-0", 2));
}

TEST(QelTextScanner, WordsWithoutClassificationLeaveTheTypeAloneWithinALine)
{
    QelTextScanner s;
    s.SetSpaceDelimiter(true);
    std::string str = "a 12\n7 b\n";
    ASSERT_TRUE(s.OpenBuffer(str.data(), str.size()));
    QelDataType eType = eDataBoolean;
    EXPECT_STREQ(s.NextWord(eType, true, false), "a"); // first word of a line: always classified
    EXPECT_EQ(eType, eDataString);
    eType = eDataBoolean;
    EXPECT_STREQ(s.NextWord(eType, false, false), "12");
    EXPECT_EQ(eType, eDataBoolean);
    EXPECT_EQ(s.NextWord(false), nullptr); // the line is used up and may not be left
    EXPECT_STREQ(s.NextWord(true), "7");
    EXPECT_STREQ(s.NextWord(true), "b");
    EXPECT_EQ(s.NextWord(true), nullptr);
}

TEST(QelTextScanner, LongWordsAreCutAndContinued)
{
    QelCapture cap;
    std::string strLong(1030, 'x');
    Words v = ScanText(strLong + " y\n");
    ASSERT_EQ(v.size(), 3u);
    EXPECT_EQ(v[0].first, std::string(1024, 'x'));
    EXPECT_EQ(v[1].first, "xxxxxx");
    EXPECT_EQ(v[2].first, "y");
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<warning> Max word size of 1024 reached\n");

    // A word of exactly 1024 characters is whole; a quoted one is cut alike.
    QelCapture cap2;
    EXPECT_EQ(ScanText(std::string(1024, 'z') + "\n").size(), 1u);
    EXPECT_EQ(cap2.Warnings(), 0u);
    v = ScanText("\"" + std::string(2000, 'q') + "\"\n", true, true, true);
    ASSERT_GE(v.size(), 2u);
    EXPECT_EQ(v[0].first, std::string(1024, 'q'));
    EXPECT_EQ(cap2.Messages()[0], "<warning> Max word size of 1024 reached\n");
}

TEST(QelTextScanner, QuotedStringsAreOneWord)
{
    QelCapture cap;
    EXPECT_EQ(ScanText("\"hello, world\" 12 \"\"\n", true, true, true),
              (Words{{"hello, world", 6}, {"12", 3}, {"", 6}}));
    EXPECT_EQ(cap.Warnings(), 0u);
    // Without the switch the quote is an ordinary character.
    EXPECT_EQ(ScanText("\"a b\"\n"), (Words{{"\"a", 4}, {"b\"", 6}}));

    Words v = ScanText("x\n\"never closed\n", true, true, true);
    EXPECT_EQ(v, (Words{{"x", 6}, {"never closed", 6}}));
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<warning> string \"never closed\" on line 2 missing closing double quotes\n");
}

TEST(QelTextScanner, BlankLinesAndTheLastLineWithoutLineFeed)
{
    QelTextScanner s;
    s.SetSpaceDelimiter(true);
    std::string str = " \t \n\nword\nlast";
    ASSERT_TRUE(s.OpenBuffer(str.data(), str.size()));
    ASSERT_STREQ(s.NextLine(), " \t ");
    EXPECT_TRUE(s.LineIsBlank());
    QelDataType eType = eDataBoolean;
    EXPECT_STREQ(s.NextWord(eType, false, true), "");
    EXPECT_EQ(eType, eDataString);
    ASSERT_STREQ(s.NextLine(), "");
    EXPECT_TRUE(s.LineIsBlank());
    ASSERT_STREQ(s.NextLine(), "word");
    EXPECT_FALSE(s.LineIsBlank());
    ASSERT_STREQ(s.NextLine(), "last");
    EXPECT_STREQ(s.CurrentLine(), "last");
    EXPECT_EQ(s.LineNum(), 4);
    EXPECT_EQ(s.NextLine(), nullptr);
    EXPECT_EQ(s.NextLine(), nullptr);

    // Read across lines, blank lines give empty words, so null means the end of the file.
    EXPECT_EQ(ScanText("a\n\n  \nb"), (Words{{"a", 6}, {"", 6}, {"", 6}, {"b", 6}}));
    EXPECT_EQ(ScanText(""), Words{});
}

TEST(QelTextScanner, FilesReadAsAWindowsTextStreamDeliversThem)
{
    EXPECT_EQ(LinesOfFile("a\r\nb\r\n\r\nc"), (std::vector<std::string>{"a", "b", "", "c"}));
    // A lone carriage return still ends a line; one before another stays.
    EXPECT_EQ(LinesOfFile("a\rb\r\r\nc\n"), (std::vector<std::string>{"a", "b", "", "c"}));
    // Ctrl-Z ends the file.
    EXPECT_EQ(LinesOfFile("a\nb\x1A" "c\nd\n"), (std::vector<std::string>{"a", "b"}));

    // A pair split across the block boundary is still one line end; bytes read count what arrived.
    std::string str(4095, 'x');
    str += "\r\nnext\r\n";
    QelTextScanner s;
    ASSERT_TRUE(s.Open(Dir().Write("boundary.txt", str).c_str()));
    EXPECT_EQ(s.BytesRead(), 0);
    EXPECT_EQ(Lines(s), (std::vector<std::string>{std::string(4095, 'x'), "next"}));
    EXPECT_EQ(s.BytesRead(), int(str.size()) - 2);
    EXPECT_EQ(s.LineNum(), 2);
    EXPECT_TRUE(s.Close());
    EXPECT_FALSE(s.Close());
}

TEST(QelTextScanner, CountersFollowTheScan)
{
    QelTextScanner s;
    EXPECT_EQ(s.LineNum(), -1);
    EXPECT_EQ(s.BytesRead(), -1);
    EXPECT_EQ(s.CharsProcessed(), -1);
    EXPECT_EQ(s.NextLine(), nullptr);
    EXPECT_EQ(s.NextWord(true), nullptr);
    s.SetSpaceDelimiter(true);
    ASSERT_TRUE(s.Open(Dir().Write("count.txt", "  ab  cd\nef\n").c_str()));
    EXPECT_EQ(s.LineNum(), 0);
    EXPECT_EQ(s.CharsProcessed(), 0);
    EXPECT_STREQ(s.NextWord(true), "ab");
    EXPECT_EQ(s.CharsProcessed(), 6);
    EXPECT_STREQ(s.NextWord(true), "cd");
    EXPECT_EQ(s.CharsProcessed(), 8);
    EXPECT_STREQ(s.NextWord(true), "ef");
    EXPECT_EQ(s.LineNum(), 2);
    EXPECT_EQ(s.BytesRead(), 12);
}

TEST(QelTextScanner, BadFilesAreReportedAndSurvived)
{
    QelCapture cap;
    QelTextScanner s;
    EXPECT_FALSE(s.Open(nullptr));
    EXPECT_FALSE(s.Open(""));
    EXPECT_FALSE(s.Open((Dir().Path() + "/missing.txt").c_str()));
    EXPECT_FALSE(s.Open(Dir().Path().c_str()));
    EXPECT_EQ(s.NextLine(), nullptr);
    ASSERT_EQ(cap.Errors(), 4u);
    EXPECT_EQ(cap.Messages()[0], "<error> QelTextScanner::Open() - no file name given\n");
    EXPECT_NE(cap.Messages()[2].find("cannot open \"" + Dir().Path() + "/missing.txt\": No such file"),
              std::string::npos);
    EXPECT_NE(cap.Messages()[3].find("cannot read"), std::string::npos) << cap.Messages()[3];

    std::string strLocked = Dir().Write("locked.txt", "secret\n");
    fs::permissions(strLocked, fs::perms::none);
    if (access(strLocked.c_str(), R_OK) != 0) // root reads anything
    {
        EXPECT_FALSE(s.Open(strLocked.c_str()));
        EXPECT_NE(cap.Joined().find("Permission denied"), std::string::npos);
    }

    // NUL bytes end lines, with one warning per file.
    QelCapture cap2;
    std::string strNul("ab\0cd\0\0ef\n", 10);
    ASSERT_TRUE(s.Open(Dir().Write("nul.txt", strNul).c_str()));
    EXPECT_EQ(Lines(s), (std::vector<std::string>{"ab", "cd", "", "ef"}));
    ASSERT_EQ(cap2.Messages().size(), 1u);
    EXPECT_NE(cap2.Messages()[0].find("NUL byte on line 1"), std::string::npos);
}

TEST(QelTextScanner, AHundredMegabyteLineGrowsTheLineBuffer)
{
    const size_t nLine = 100u << 20;
    std::string strPath = Dir().Path() + "/huge.txt";
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
    EXPECT_EQ(std::char_traits<char>::length(p), nLine);
    EXPECT_FALSE(s.LineIsBlank());
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
    for (int i = 0; i < 20000; ++i)
    {
        n = n * 1103515245u + 12345u;
        str += aPick[(n >> 16) % sizeof(aPick)];
    }
    std::string strPath = Dir().Write("mixed.txt", str);
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
        Words va = AllWords(a), vb = AllWords(b);
        EXPECT_EQ(va, vb);
        EXPECT_GT(va.size(), 1000u);
        EXPECT_EQ(a.BytesRead(), b.BytesRead());
        EXPECT_EQ(a.LineNum(), b.LineNum());
        EXPECT_EQ(a.CharsProcessed(), b.CharsProcessed());
    }
}

TEST(QelTextScanner, ADerivedScannerChoosesItsDelimiters)
{
    SemicolonScanner s;
    std::string str = "a b;;c,d\n";
    ASSERT_TRUE(s.OpenBuffer(str.data(), str.size()));
    EXPECT_EQ(AllWords(s), (Words{{"a b", 6}, {"c", 6}, {"d", 6}}));
}

TEST(QelTextScanner, CopiesReadOnIndependently)
{
    std::string strPath = Dir().Write("copy.txt", "one two\nthree\nfour\n");
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

    // Opening another file closes the first; copies of a memory scan share the caller's bytes.
    std::string str = "x y";
    ASSERT_TRUE(assigned.OpenBuffer(str.data(), str.size()));
    QelTextScanner memCopy(assigned);
    EXPECT_STREQ(assigned.NextWord(true), "x");
    EXPECT_STREQ(memCopy.NextWord(true), "x");
    EXPECT_STREQ(memCopy.NextWord(true), "y");
}

TEST(QelTextScanner, ClassificationAgreesWithTheWordTests)
{
    // Words of every length up to past 16 characters from the characters that decide the type,
    // checked against IsColor, IsString and IsInt one by one.
    const char aPick[] = {'#', '-', '0', '7', '9', 'a', 'f', 'g', 'A', 'F', 'G', 'z', '.', '/', ':', '@', '`', '\x80'};
    unsigned n = 99;
    std::string strText;
    std::vector<std::string> vWords;
    for (int i = 0; i < 4000; ++i)
    {
        n = n * 1103515245u + 12345u;
        size_t nLength = 1 + (n >> 16) % 20;
        std::string strWord;
        for (size_t k = 0; k < nLength; ++k)
        {
            n = n * 1103515245u + 12345u;
            strWord += aPick[(n >> 16) % sizeof(aPick)];
        }
        if (i % 3 == 0) // colors and near misses
        {
            strWord = "#";
            for (size_t k = 0, nHex = 5 + (n >> 20) % 5; k < nHex; ++k)
                strWord += "0123456789abcdefABCDEFg"[(n >> (k + 3)) % 23];
        }
        else if (i % 3 == 1) // integers and near misses
        {
            strWord = (n >> 24) & 1 ? "-" : "";
            for (size_t k = 0, nDigits = (n >> 20) % 18; k < nDigits; ++k)
                strWord += "01234567899.e"[(n >> (k + 2)) % 13];
            if (strWord.empty())
                strWord = "5";
        }
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
            const std::string& w = vWords[i];
            int nLength = int(w.size());
            int nExpected = QelTextScanner::IsColor(w.c_str(), nLength)    ? 9
                            : QelTextScanner::IsString(w.c_str(), nLength) ? 6
                            : bFloats                                      ? 4
                            : QelTextScanner::IsInt(w.c_str(), nLength)    ? 3
                                                                           : 4;
            ASSERT_EQ(v[i].first, w);
            EXPECT_EQ(v[i].second, nExpected) << w;
        }
    }
}
