// Drives the cursor with the input: each operation byte picks a write, a move, a lock, a copy or a
// removal, and the bytes after it give the names and values (so names and text may hold anything).
// At the end the document must save and load back in every storage form.
#include "fuzz/support/QelFuzzXML.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{
/// Takes length-prefixed pieces of the input.
class Reader
{
public:
    Reader(const uint8_t* p, size_t n) : m_p(p), m_n(n) {}
    bool More() const { return m_n > 0; }
    uint8_t Byte()
    {
        if (!m_n)
            return 0;
        --m_n;
        return *m_p++;
    }
    std::string Text()
    {
        size_t nLength = Byte() % 24;
        nLength = nLength < m_n ? nLength : m_n;
        std::string s(reinterpret_cast<const char*>(m_p), nLength);
        m_p += nLength;
        m_n -= nLength;
        return s;
    }

private:
    const uint8_t* m_p;
    size_t m_n;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    Reader in(pData, nSize);
    QelMasterXMLInterface x, other;
    x.NewData(in.Text(), in.Text());
    other.NewData("other", "");
    other.AddAndMoveToChildNode("kept");
    other.WriteString("v", "1");
    volatile size_t nSink = 0;
    int nOps = 0;
    bool bDeep = false;
    while (in.More() && nOps++ < 200)
    {
        const uint8_t nOp = in.Byte();
        switch (nOp % 26)
        {
        case 0: x.AddChildNode(in.Text()); break;
        case 1: x.AddAndMoveToChildNode(in.Text()); break;
        case 2: x.WriteString(in.Text(), in.Text()); break;
        case 3: x.WriteStringAttribute(in.Text(), in.Text()); break;
        case 4: x.WriteInt(in.Text(), int(in.Byte()) - 128); break;
        case 5: x.WriteChar(in.Text(), char(in.Byte())); break;
        case 6: x.WriteFloat(in.Text(), float(in.Byte()) / 7.0f); break;
        case 7:
        {
            const std::string s = in.Text();
            x.WriteData(in.Text(), s.data(), static_cast<unsigned int>(s.size()));
            break;
        }
        case 8: x.MoveToParent(); break;
        case 9: x.MoveToFirstChildNode(); break;
        case 10: x.MoveToNextSibling(); break;
        case 11: x.MoveToPreviousSibling(); break;
        case 12: x.MoveToRootNode(); break;
        case 13: x.PushPosition(); break;
        case 14: x.PopPosition(); break;
        case 15: x.LockRoot(); break;
        case 16: x.UnlockRoot(); break;
        case 17: x.RemoveNode(); break;
        case 18: x.MoveNodeForward(); break;
        case 19: x.MoveNodeBackward(); break;
        case 20: x.CopyNode(&other); break;
        case 21: other.CopyNode(&x); break;
        case 22: x.MoveToChildNode(in.Text()); break;
        case 23: x.MoveToChildNode(unsigned(in.Byte() % 4)); break;
        case 24: nSink = nSink + x.ReadString(in.Text(), "").size() + x.ReadStringAttribute(in.Text(), "").size(); break;
        default:
            // One deep chain, to reach the nesting limit now and then.
            for (int i = bDeep || nSize % 8 ? 0 : in.Byte() * 17; i > 0; --i)
                x.AddAndMoveToChildNode("d");
            bDeep = true;
            break;
        }
    }
    x.UnlockRoot();
    // Files are slow: one input in sixteen goes through them too.
    const bool bFiles = nSize % 16 == 0;
    nSink = nSink + QelFuzzCheckRoundTrip(x, bFiles);
    if (nSize % 8 == 0)
        nSink = nSink + QelFuzzCheckRoundTrip(other, bFiles);
    return 0;
}
