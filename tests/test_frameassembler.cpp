// Tests how FrameAssembler joins lines into frames.
//
// Streams and datagrams are written as words: "fr100" stands for the line "fr 100" of the type fr, "6d7" for
// the line "6d 7" of the type 6d, and a bare type for a line of that type without text; "gl*9" stands for
// nine such lines. In a stream, "restart" means that a new worker starts, "reset" that the frame is dropped,
// and "gap" that lines were lost.

#include "frameassembler.h"
#include "table.h"

using namespace networksettings2g;

namespace {

QByteArray wordsOf(QByteArray datagram)
{
    return datagram.replace(' ', "").replace("\r\n", " ").trimmed();
}

/// Uses a FrameAssembler as a worker does, with divisor 1.
class Assembly
{
public:
    bool addWord(const QByteArray &word)
    {
        const QByteArray type = word.left(2);
        const QByteArray text = (word.size() > 2 ? type + ' ' + word.mid(2) : QByteArray()) + "\r\n";
        return m_assembler.add({type.constData(), text.constData()});
    }

    void change(const QByteArray &event)
    {
        if (event == "gap")
            m_assembler.startAfterGap();
        else
            m_assembler.resetFrame();
        if (event == "restart")
            m_assembler.startRun();
    }

    /// Adds the lines of \a stream. Returns the datagrams that a worker would send, separated by bars.
    QByteArray sent(const QByteArray &stream)
    {
        QByteArrayList datagrams;
        for (const QByteArray &word : stream.split(' ')) {
            const int star = word.indexOf('*');
            if (word == "gap" || word == "reset" || word == "restart") {
                change(word);
            } else if (star > 0) {
                for (int times = word.mid(star + 1).toInt(); times > 0; --times)
                    addWord(word.left(star));
            } else if (addWord(word)) {
                if (m_assembler.isSendable(1))
                    datagrams << wordsOf(m_assembler.text());
                m_assembler.resetFrame();
            }
        }
        return datagrams.join(" | ");
    }

    FrameAssembler &assembler() { return m_assembler; }

private:
    FrameAssembler m_assembler;
};

} // namespace

class TestFrameAssembler : public QObject
{
    Q_OBJECT

private slots:
    void datagramsAreTheFramesOfTheStream_data();
    void datagramsAreTheFramesOfTheStream();
    void onlyFramesThatFitIntoADatagramAreSent_data();
    void onlyFramesThatFitIntoADatagramAreSent();
};

void TestFrameAssembler::datagramsAreTheFramesOfTheStream_data()
{
    const Table<QByteArray, QByteArray> row("stream", "datagrams");
    // Begins the stream with two regular frames, which are sent together.
    const auto steady = [&row](const char *name, const QByteArray &stream, const QByteArray &datagrams) {
        const QByteArray first = "fr1 6d1 3d1 fr2 6d2 3d2";
        row(name, first + ' ' + stream, first + " | " + datagrams);
    };

    row("frames of one line", "fr1 fr2 fr3", "fr1 fr2 | fr3");
    row("frames without the line fr have no number", "6d1 3d1 6d2 3d2 6d3 3d3", "");
    row("stream begins within a frame", "6d1 3d1 fr2 6d2 3d2 fr3 6d3 3d3 fr4",
        "6d1 3d1 fr2 6d2 3d2 fr3 | 6d3 3d3 fr4");
    steady("frame number 0", "fr0 6d0 3d0 fr4 6d4 3d4", "fr4 6d4 3d4");
    steady("negative frame number", "fr-3 6d3 3d3 fr4 6d4 3d4", "fr-3 6d3 3d3 | fr4 6d4 3d4");
    steady("frame number above 32 bits", "fr4294967299 6d3 3d3 fr4 6d4 3d4", "fr4 6d4 3d4");
    steady("frame with one line fewer", "fr3 6d3 fr4 6d4 3d4 fr5 6d5 3d5 fr6 6d6 3d6",
           "fr3 6d3 fr4 6d4 | 3d4 fr5 6d5 3d5 | fr6 6d6 3d6");
    steady("frame with one line more", "fr3 6d3 3d3 gl3 fr4 6d4 3d4 fr5 6d5 3d5 fr6 6d6 3d6",
           "fr3 6d3 3d3 | gl3 fr4 6d4 3d4 fr5 6d5 3d5 | fr6 6d6 3d6");
    steady("lines without text count", "fr3 6d 3d3 fr4 6d4 3d fr5 6d5 3d5",
           "fr3 3d3 | fr4 6d4 | fr5 6d5 3d5");
    steady("reset after the number", "fr3 6d3 reset 3d3 fr4 6d4 3d4", "fr4 6d4 3d4");
    row("reset before the number", "6d1 fr1 6d2 fr2 6d3 reset fr3 6d4 fr4",
        "6d1 fr1 6d2 fr2 | fr3 | 6d4 fr4");

    steady("restart within a frame", "fr3 restart fr5 6d5 3d5 fr6 6d6 3d6 fr7 6d7 3d7",
           "fr5 6d5 3d5 fr6 6d6 3d6 | fr7 6d7 3d7");

    steady("gap within a frame", "fr3 gap 3d4 fr5 6d5 3d5 fr6 6d6 3d6 fr7 6d7 3d7",
           "fr5 6d5 3d5 fr6 6d6 3d6 | fr7 6d7 3d7");
    row("gap in the first frame", "fr1 6d1 gap 3d4 fr5 6d5 3d5 fr6 6d6 3d6", "fr5 6d5 3d5 fr6 6d6 3d6");

    // The opening type 6d is switched off. The assembler counts the lines after the last one of this type, or
    // after a gap.
    static_assert(FrameAssembler::MaximumLinesWithoutStart == 1000, "the streams below depend on the limit");
    row("new opening type after 1000 lines", "6d1 fr1 6d2 fr2 gl*999 3d7 fr7 3d8 fr8 3d9 fr9",
        "6d1 fr1 6d2 fr2 | 3d7 fr7 3d8 fr8 | 3d9 fr9");
    row("no new opening type after 999 lines", "6d1 fr1 6d2 fr2 gl*998 3d7 fr7 3d8 fr8 3d9",
        "6d1 fr1 6d2 fr2 | fr7 3d8 fr8 3d9");
    row("new opening type after a gap", "6d1 fr1 6d2 fr2 gap gl*1000 3d7 fr7 3d8 fr8",
        "6d1 fr1 6d2 fr2 | 3d7 fr7 3d8 fr8");
    row("new opening type drops the incomplete frame", "6d1 fr1 6d2 fr2 6d3 gl3 gl*999 3d7 fr7 3d8 fr8",
        "6d1 fr1 6d2 fr2 | 3d7 fr7 3d8 fr8");
}

void TestFrameAssembler::datagramsAreTheFramesOfTheStream()
{
    QFETCH(const QByteArray, stream);
    QFETCH(const QByteArray, datagrams);

    Assembly assembly;
    QCOMPARE(assembly.sent(stream), datagrams);
}

void TestFrameAssembler::onlyFramesThatFitIntoADatagramAreSent_data()
{
    const Table<int, bool> row("bytes", "isSent");
    // The frame also has the CR LF of the long line and two lines of 6 bytes.
    constexpr int room = FrameAssembler::MaximumFrameBytes - 2 - 6 - 6;
    row("exactly fits", room, true);
    row("the following short line does not fit", room + 1, false);
    row("the long line does not fit", room + 7, false);
}

void TestFrameAssembler::onlyFramesThatFitIntoADatagramAreSent()
{
    QFETCH(const int, bytes);
    QFETCH(const bool, isSent);

    Assembly assembly;
    assembly.sent("fr1 6d1 3d1 fr2 6d2 3d2 fr3");
    QVERIFY(!assembly.assembler().add({"6d", std::string(static_cast<std::size_t>(bytes), 'x') + "\r\n"}));
    QVERIFY(assembly.addWord("3d3"));
    QCOMPARE(assembly.assembler().isSendable(1), isSent);
    if (isSent)
        QCOMPARE(assembly.assembler().text().size(), FrameAssembler::MaximumFrameBytes);
    assembly.change("reset");
    QCOMPARE(assembly.sent("fr4 6d4 3d4"), QByteArray("fr4 6d4 3d4"));
}

QTEST_APPLESS_MAIN(TestFrameAssembler)

#include "test_frameassembler.moc"
