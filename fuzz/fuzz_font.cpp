// Feeds arbitrary bytes to the text objects as a font file given by path. The first byte picks the
// pixel height and the kind of text (hinted bitmap metrics or unhinted outline metrics); the rest is
// the file. Each input is measured with accents, a glyph most fonts lack and a line break.
#include "qel/framework/QelSysApp.h"
#include "qel/text/QelBitmapText.h"
#include "qel/text/QelFontCache.h"
#include "qel/text/QelTextureText.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
QelSilentApp s_app;

/// One scratch file per process, in memory, rewritten for every input and opened by its path.
int ScratchFd()
{
    static int s_nFd = memfd_create("qel_fuzz_font", 0);
    return s_nFd;
}

std::string ScratchPath()
{
    return "/proc/self/fd/" + std::to_string(ScratchFd());
}

volatile float s_fSink;

void Measure(QelTextObject& cText, int nHeight)
{
    cText.SetFontFile(ScratchPath());
    cText.SetFont(QelLogicalFont("", nHeight));
    cText.SetText("Hg \xC3\xA9\xE4\xB8\xAD\n\xCE\xA9");
    QelVec2 vSize;
    QelBox2 cInk;
    if (cText.GetTextSize(vSize))
        s_fSink = vSize.x + vSize.y;
    if (cText.GetInkBox(cInk))
        s_fSink = cInk.m_vecMax.x;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    if (nSize < 1)
        return 0;
    const int fd = ScratchFd();
    if (fd < 0 || ftruncate(fd, 0) != 0 || pwrite(fd, pData + 1, nSize - 1, 0) != ssize_t(nSize - 1))
        return 0;
    // The cache keys fonts by path: forget the previous input's font.
    QelFontCache::Clear();
    const int nHeight = 1 + (pData[0] & 0x3F);
    if (pData[0] & 0x40)
    {
        QelTextureText cText; // measured with unhinted outlines; nothing is drawn, so no GL is needed
        Measure(cText, nHeight);
    }
    else
    {
        QelBitmapText cText;
        Measure(cText, nHeight);
    }
    return 0;
}
