#include "gestures.h"
#include "udpsocket.h"

#include <QRandomGenerator>

#include <atomic>
#include <thread>

namespace {

constexpr int rounds = 100;

quint32 chosenSeed()
{
    const QByteArray given = qgetenv("EDITING_SEED");
    return given.isEmpty() ? QRandomGenerator::global()->generate() : given.toUInt();
}

/// Delivers frames of every type for as long as it lives.
class DataFlow
{
public:
    explicit DataFlow(DialogFixture &fixture)
        : m_thread([this, &fixture] { run(fixture); })
    {
    }
    ~DataFlow()
    {
        m_stop = true;
        m_thread.join();
    }

private:
    void run(DialogFixture &fixture)
    {
        const QList<OutputType> catalogue = fixture.controller.catalogue();
        for (int number = 1; !m_stop; ++number) {
            for (const OutputType &type : catalogue)
                fixture.link.deliver(type.name, type.name + ' ' + QByteArray::number(number) + "\r\n");
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    }

    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

} // namespace

/// A person who tries everything: random edits through the widgets, with data flowing all the while. After
/// each way out the Controller holds what the pages show. EDITING_SEED repeats a run.
class TestEditing : public QObject
{
    Q_OBJECT

private slots:
    void controllerFollowsPages();

private:
    int below(int bound) { return static_cast<int>(m_random.bounded(bound)); }
    QByteArray randomHost();
    void editOnce(DialogFixture &fixture);
    void editPage(ChannelWidget *page);
    void leave(DialogFixture &fixture);
    void compare(const DialogFixture &fixture) const;

    QRandomGenerator m_random;
    bool m_multicastIsSafe = false;
};

void TestEditing::controllerFollowsPages()
{
    const quint32 seed = chosenSeed();
    qInfo("EDITING_SEED=%u", seed);
    m_random.seed(seed);
    m_multicastIsSafe = staysOnThisComputer(resolveAddress("239.255.42.1"));
    DialogFixture fixture(withChannels(3));
    fixture.create();
    const DataFlow flow(fixture);
    for (int round = 0; round < rounds && !QTest::currentTestFailed(); ++round) {
        fixture.open([&] {
            MessageBoxes boxes;
            boxes.decide = [](const QMessageBox *box) {
                return box->standardButtons() & QMessageBox::Yes ? QMessageBox::Yes : QMessageBox::Cancel;
            };
            for (int edits = below(8); edits >= 0; --edits)
                editOnce(fixture);
            leave(fixture);
        });
        compare(fixture);
    }
}

QByteArray TestEditing::randomHost()
{
    if (m_multicastIsSafe && below(4) == 0)
        return "239.255.42." + QByteArray::number(1 + below(250));
    return "127.0.0." + QByteArray::number(1 + below(250));
}

void TestEditing::editOnce(DialogFixture &fixture)
{
    switch (below(12)) {
    case 0:
        QTest::keyClick(fixture.dialog.get(), Qt::Key_T, Qt::ControlModifier);
        return;
    case 1:
        QTest::keyClick(fixture.dialog.get(), Qt::Key_W, Qt::ControlModifier);
        return;
    case 2:
        clickBox(fixture.dialog->checkBox_actAsRouter);
        return;
    case 3:
        QTest::keyClick(fixture.dialog.get(), Qt::Key_F9);
        return;
    default:
        break;
    }
    clickTab(fixture, below(fixture.tabs()->count()));
    editPage(fixture.page(fixture.tabs()->currentIndex()));
}

void TestEditing::editPage(ChannelWidget *page)
{
    const QStringList types{"fr", "ts2", "st", "6d", "3d", "6df2", "gl", "6dx"};
    switch (below(8)) {
    case 0:
    case 1:
        clickBox(page->checkBox_active_channel);
        break;
    case 2:
        typeInto(page->lineEdit_host, randomHost().constData());
        break;
    case 3:
        typeInto(page->spinBox_port, QByteArray::number(below(70000)).constData());
        break;
    case 4:
        typeInto(page->spinBox_sendDataDivisor, QByteArray::number(1 + below(20)).constData());
        break;
    case 5:
        clickBox(page->checkBox_my_ip);
        break;
    case 6:
        clickBox(page->checkBox_multicast);
        break;
    default:
        clickTick(page, types.at(below(types.size())).toLatin1().constData());
    }
}

/// Presses E&xit, and mends the page that a message brings to the front until the dialog lets go.
void TestEditing::leave(DialogFixture &fixture)
{
    for (int tries = 0; tries < 30 && fixture.dialog->isVisible(); ++tries) {
        QTest::mouseClick(fixture.dialog->pushButton_ok, Qt::LeftButton);
        if (!fixture.dialog->isVisible())
            return;
        ChannelWidget *page = fixture.page(fixture.tabs()->currentIndex());
        if (page->checkBox_my_ip->isChecked())
            clickBox(page->checkBox_my_ip);
        if (page->checkBox_multicast->isChecked())
            clickBox(page->checkBox_multicast);
        page->lineEdit_host->setEnabled(true);
        typeInto(page->lineEdit_host, ("127.0.1." + QByteArray::number(1 + below(250))).constData());
    }
    QVERIFY(!fixture.dialog->isVisible());
}

void TestEditing::compare(const DialogFixture &fixture) const
{
    const ControllerState state = fixture.controller.state();
    const int channels = fixture.dialog->findChildren<ChannelWidget *>().size();
    QCOMPARE(state.viaRouter, fixture.dialog->checkBox_actAsRouter->isChecked());
    for (int i = 0; i < OutputChannelCount; ++i) {
        const OutputChannel &held = state.channels[static_cast<size_t>(i)];
        const ChannelWidget *page = i < channels ? fixture.page(i) : nullptr;
        if (!page) {
            QCOMPARE(held.destination.kind, Destination::Kind::None);
            continue;
        }
        QCOMPARE(held.active, page->checkBox_active_channel->isChecked());
        if (!held.active)
            continue; // keeps its other edits back
        const bool multicast = page->checkBox_multicast->isChecked();
        QCOMPARE(held.destination.kind, multicast ? Destination::Kind::Multicast : Destination::Kind::Udp);
        const QString text = page->lineEdit_host->text();
        const bool thisComputer = !multicast && page->channel()->isMyIp(text);
        QCOMPARE(held.destination.host, thisComputer ? state.monitorAddress : text.toLatin1());
        QCOMPARE(held.destination.port, page->spinBox_port->value());
        QCOMPARE(held.divisor, page->spinBox_sendDataDivisor->value());
        for (const OutputType &type : state.catalogue)
            QCOMPARE(held.types.contains(type.name), page->channel()->isTypeActive(QLatin1String(type.name)));
    }
}

QTEST_MAIN(TestEditing)
#include "test_editing.moc"
