// Tests the frames of the simulation: recordings, the record of what was sent, and the checker of what
// arrives.

#include "framechecker.h"
#include "frameledger.h"
#include "process.h"
#include "replayedframes.h"
#include "table.h"

#include <QTemporaryFile>

using namespace simulation;

namespace {

/// Opens \a text as a recording with the types "fr" and "6d".
bool open(ReplayedFrames &recording, const QByteArray &text)
{
    QTemporaryFile file;
    QString problem;
    return file.open() && file.write(text) == text.size() && file.flush() &&
           recording.open(file.fileName(), {"fr", "6d"}, &problem);
}

} // namespace

class TestFrames : public QObject
{
    Q_OBJECT

private slots:
    void recordingIsSplitIntoFrames();
    void recordingNeedsAboutItsSizeInMemory();
    void checkerCountsFramesAndErrors_data();
    void checkerCountsFramesAndErrors();
    void framesThatAreNotKeptAreCounted();
    void costOfAFrameDoesNotGrow();
};

void TestFrames::recordingIsSplitIntoFrames()
{
    ReplayedFrames recording;
    QVERIFY(open(recording, "old 1\n6d\r\nfr 1\n\nfr 2\n6d 1\nfr 3\n6d\r\n"));
    QCOMPARE(recording.skippedLines(), 2);
    QByteArray seen;
    for (Frame frame; recording.next(&frame); seen += '|') {
        for (const DataLine &line : qAsConst(frame))
            seen += line.type + '=' + line.text;
    }
    QCOMPARE(seen, QByteArray("6d=6d\r\nfr=fr 1\r\nfr=fr 2\r\n|6d=6d 1\r\nfr=fr 3\r\n|6d=6d\r\n|"));
}

void TestFrames::recordingNeedsAboutItsSizeInMemory()
{
    if (isSanitized)
        QSKIP("the memory of a sanitized program says nothing");
    // One frame: the first type does not come again.
    const QByteArray text = "fr 1\n" + QByteArray("6d\n").repeated(3000000);
    const qint64 before = allocatedBytes();
    ReplayedFrames recording;
    QVERIFY(open(recording, text));
    Frame frame;
    qint64 lines = 0;
    while (recording.next(&frame)) {
        lines += frame.size();
        QVERIFY(allocatedBytes() - before < qint64{10} * text.size());
    }
    QCOMPARE(lines, qint64(3000001));
}

/// The frames 1 to 4 and 6 to 9 have been sent, and two frames without a number. Only the types fr and 6d are
/// ticked. Datagrams are separated by bars and have LF in place of CR LF. The counts are frames, lost, out of
/// order, malformed, and lost at the end of the run.
void TestFrames::checkerCountsFramesAndErrors_data()
{
    const Table<bool, int, QByteArray, QByteArray> row("viaRouter", "divisor", "datagrams", "counts");
    row("the last five frames are outstanding", false, 1, "fr 1\n|fr 2\n6d 0\n|fr 3\n", "3 0 0 0 5");
    row("a gap of two selected frames", false, 2, "fr 2\n|fr 8\n", "2 2 0 0 2");
    row("the first three frames are lost", false, 1, "fr 4\n|fr 6\n", "2 3 0 0 6");
    row("a frame arrives twice", false, 1, "fr 1\n|fr 1\n", "2 0 1 0 7");
    row("a router joins the first two frames", true, 1, "fr 1\n6d 0\nfr 2\n|fr 3\n", "3 0 0 0 5");
    row("a router without the first frame", true, 1, "fr 2\n|fr 3\n", "2 0 0 0 5");
    row("a router with a divisor joins after a gap", true, 3, "fr 4\nfr 6\n", "2 1 0 0 2");
    row("a gap after the joined frames", true, 1, "fr 1\nfr 2\n|fr 6\n", "3 2 0 0 5");
    row("a frame that the divisor skips", false, 2, "fr 2\n|fr 3\n", "2 0 0 1 3");
    row("the last line has no end", false, 1, "fr 1\n6d 0", "1 0 0 1 7");
    row("a type that is not ticked", false, 1, "fr 1\n3d 0\n", "1 0 0 1 7");
    row("no frame number, and an empty datagram", false, 1, "6d 0\n|", "0 0 0 2 8");
}

void TestFrames::checkerCountsFramesAndErrors()
{
    QFETCH(const bool, viaRouter);
    QFETCH(const int, divisor);
    QFETCH(QByteArray, datagrams);
    QFETCH(const QByteArray, counts);
    FrameLedger ledger;
    FrameChecker checker(ledger);
    checker.expect({{"fr", "6d"}, divisor, true, viaRouter});
    checker.begin();
    for (const int number : {1, 2, 3, 4, 0, 0, 6, 7, 8, 9})
        ledger.note(number);
    const QList<QByteArray> all = datagrams.replace('\n', "\r\n").split('|');
    for (const QByteArray &datagram : all)
        checker.take(datagram);
    const ReceiverStatistics &seen = checker.statistics();
    const qint64 lost = checker.finalStatistics().lost;
    QByteArray found;
    for (const qint64 count : {seen.frames, seen.lost, seen.outOfOrder, seen.malformed})
        found += QByteArray::number(count) + ' ';
    QCOMPARE(found + QByteArray::number(lost), counts);
    QCOMPARE(checker.isComplete(), lost == seen.lost);
}

void TestFrames::framesThatAreNotKeptAreCounted()
{
    constexpr int last = 3 * FrameLedger::Kept;
    FrameLedger ledger;
    FrameChecker checker(ledger);
    checker.expect({{"fr"}, 1, true, false});
    checker.begin();
    for (int number = 1; number <= last; ++number)
        ledger.note(number);
    QCOMPARE(checker.finalStatistics().lost, qint64(last));
    checker.take("fr " + QByteArray::number(last) + "\r\n");
    QCOMPARE(checker.finalStatistics().lost, qint64(last - 1));
}

void TestFrames::costOfAFrameDoesNotGrow()
{
    FrameLedger ledger;
    FrameChecker checker(ledger);
    checker.expect({{"fr"}, 1, true, false});
    int number = 0;
    // Sends frames whose numbers do not follow each other. Returns the time that they took.
    const auto send = [&](int frames) {
        QElapsedTimer time;
        time.start();
        for (int i = 0; i < frames; ++i) {
            number += 2;
            ledger.note(number);
            checker.take("fr " + QByteArray::number(number) + "\r\n");
        }
        return time.nsecsElapsed();
    };
    const qint64 first = send(10000);
    for (int i = 0; i < 500000; ++i)
        ledger.note(number += 2);
    checker.join();
    QVERIFY(send(10000) < 10 * first);
    QCOMPARE(checker.finalStatistics().lost, qint64(0));
}

QTEST_GUILESS_MAIN(TestFrames)
#include "test_frames.moc"
