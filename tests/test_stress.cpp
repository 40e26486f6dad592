#include "dialogfixture.h"
#include "loop.h"
#include "pluginhost.h"
#include "waiting.h"

#include <QAction>
#include <QDeadlineTimer>
#include <QPointer>
#include <QRandomGenerator>
#include <QTableView>
#include <QUdpSocket>

#include <vector>

namespace {

constexpr int openingsPerLoad = 5;
constexpr int allocatedSlack = 8 * 1024 * 1024; // bytes that repeated use may add

/// Reports a changed catalogue. Called on a thread other than the GUI thread. tsan.supp names this function.
void announceFromOutside(ControllerLink &link)
{
    link.sendMessage("OutputTypesChanged");
}

/// A host whose user opens the dialog.
struct Host : PluginHost
{
    /// Starts the module, which queries the Controller at once.
    void start()
    {
        handOver();
        const ModuleAction &record = *module->moduleActions().constFirst();
        action = record.action;
        dialog = record.dialog;
    }

    void shutDown()
    {
        module->prepareShutdown();
        direct.clear(); // these threads do not use the link; releaseResources() destroys their requester
        module->releaseResources();
    }

    QAction *action = nullptr;
    QPointer<QDialog> dialog;                  ///< null after shutDown()
    std::vector<std::unique_ptr<Loop>> direct; ///< data threads that call the requester without the link
};

/// Returns the function that a data thread repeats: it delivers one frame, and at every 50th call also a
/// reset.
template <typename Deliver, typename Reset>
std::function<void(int)> frames(Deliver deliver, Reset reset)
{
    return [deliver, reset](int number) {
        for (const char *type : {"fr", "6d", "3d", "7d"})
            deliver(type, QByteArray(type) + ' ' + QByteArray::number(number) + " [1.000 -2.500 3.125]\r\n");
        if (number % 50 == 0)
            reset();
    };
}

} // namespace

/// Data threads deliver without a pause while a user, a Controller and a host perform random operations. The
/// program must not crash or block. At the end it must have as many threads and descriptors as after the
/// first use, and less than allocatedSlack additional bytes allocated. The environment variable
/// STRESS_SECONDS sets the duration, STRESS_SEED the seed of the random numbers.
class TestStress : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void nothingIsLeftAfterRandomUse();

private:
    int below(int bound) { return static_cast<int>(m_random.bounded(bound)); }
    void changeController(SimulatedController &controller);
    void useModuleOnce();
    void openSeveralTimes(Host &host);
    void openDialog(Host &host);
    void step(Host &host, int stepsLeft);
    void doRandomOperation(Host &host);
    void editPage(const Host &host);
    void setMissingDestinations(const QTabWidget &tabs) const;
    void leave(const Host &host);

    QRandomGenerator m_random;
    QUdpSocket m_receiver; // destination of the first channel
    int m_datagrams = 0;
};

void TestStress::initTestCase()
{
    bool isGiven = false;
    const quint32 given = qEnvironmentVariable("STRESS_SEED").toUInt(&isGiven);
    const quint32 seed = isGiven ? given : QRandomGenerator::global()->generate();
    qInfo("STRESS_SEED=%u", seed);
    m_random.seed(seed);
    QVERIFY(m_receiver.bind(QHostAddress::LocalHost));
}

/// Changes the number of channels, the output types, the lock and the router mode while the dialog is closed.
/// Router mode is on in four of five cases.
void TestStress::changeController(SimulatedController &controller)
{
    const int channels = 1 + below(outputChannelCount);
    const bool viaRouter = below(5) > 0;
    const bool locked = below(8) == 0;
    const bool moreTypes = below(2) == 0;
    controller.change([&](ControllerState &state) {
        withChannels(channels)(state);
        state.channels[0].destination.port = m_receiver.localPort();
        state.viaRouter = viaRouter;
        state.locked = locked;
        state.catalogue = defaultControllerState().catalogue;
        if (moreTypes)
            state.catalogue.append({"7d", "More", true});
    });
}

/// Opens the dialog several times and shuts the module down.
void TestStress::openSeveralTimes(Host &host)
{
    for (int opening = 0; opening < openingsPerLoad && host.dialog && !QTest::currentTestFailed();
         ++opening) {
        changeController(host.controller);
        host.link.sendMessage("OutputTypesChanged");
        QCoreApplication::processEvents();
        openDialog(host);
        while (m_receiver.hasPendingDatagrams()) {
            m_receiver.readDatagram(nullptr, 0);
            ++m_datagrams;
        }
    }
    if (host.dialog)
        host.shutDown();
}

void TestStress::openDialog(Host &host)
{
    MessageBoxes boxes;
    boxes.decide = [](const QMessageBox *box) {
        return box->standardButtons() & QMessageBox::Yes ? QMessageBox::Yes : QMessageBox::Cancel;
    };
    const int steps = 3 + below(10);
    QTimer::singleShot(0, &host.window, [&] { step(host, steps); });
    host.action->trigger();
}

/// Does one step and lets a timer do the next one, so that the work that the step has deferred to the event
/// loop is done first. At the end leaves the dialog or, in one of ten cases, shuts the module down.
void TestStress::step(Host &host, int stepsLeft)
{
    if (stepsLeft > 0) {
        doRandomOperation(host);
        QTimer::singleShot(0, &host.window, [=, &host] { step(host, stepsLeft - 1); });
    } else if (below(10) == 0) {
        host.shutDown();
    } else {
        leave(host);
    }
}

void TestStress::doRandomOperation(Host &host)
{
    const std::vector<std::function<void()>> operations{
        [&] { QTest::keyClick(host.dialog, Qt::Key_T, Qt::ControlModifier); },
        [&] { QTest::keyClick(host.dialog, Qt::Key_W, Qt::ControlModifier); },
        [&] { host.dialog->findChild<QCheckBox *>("checkBox_actAsRouter")->click(); },
        [&] { host.link.sendMessage("OutputTypesChanged"); },
    };
    const auto choice = static_cast<std::size_t>(below(8));
    if (choice < operations.size())
        operations[choice]();
    else
        editPage(host);
}

void TestStress::editPage(const Host &host)
{
    const auto *tabs = host.dialog->findChild<QTabWidget *>();
    const int index = below(tabs->count());
    const QWidget *page = tabs->widget(index);
    auto *active = page->findChild<QCheckBox *>("checkBox_active_channel");
    if (!active || !page->isEnabled())
        return;
    QAbstractItemModel *types = page->findChild<QTableView *>("tableView")->model();
    const QModelIndex type = types->index(below(qMax(types->rowCount(), 1)), 0);
    switch (below(4)) {
    case 0:
        setMissingDestinations(*tabs);
        active->click();
        break;
    case 1:
        page->findChild<QSpinBox *>("spinBox_sendDataDivisor")->setValue(1 + below(3));
        break;
    default:
        types->setData(type, type.data(Qt::CheckStateRole) == Qt::Checked ? Qt::Unchecked : Qt::Checked,
                       Qt::CheckStateRole);
    }
}

/// Gives each channel without a destination a destination of its own. A new channel may be active without a
/// destination, because closing a tab resets only the destination on the Controller.
void TestStress::setMissingDestinations(const QTabWidget &tabs) const
{
    for (int index = 0; index < tabs.count(); ++index) {
        auto *host = tabs.widget(index)->findChild<QLineEdit *>("lineEdit_host");
        if (!host || !host->text().isEmpty())
            continue;
        host->setText(QLatin1String("127.0.0.1"));
        const int port = index == 0 ? m_receiver.localPort() : 5001 + index;
        tabs.widget(index)->findChild<QSpinBox *>("spinBox_port")->setValue(port);
    }
}

void TestStress::leave(const Host &host)
{
    setMissingDestinations(*host.dialog->findChild<QTabWidget *>());
    QTest::mouseClick(host.dialog->findChild<QPushButton *>("pushButton_ok"), Qt::LeftButton);
    if (!host.dialog->isVisible())
        return;
    host.dialog->done(QDialog::Rejected);
    QFAIL("the dialog did not close");
}

/// Loads, uses and unloads the plug-in file. Two data threads call the module without the link, because the
/// locks of the link would order their calls and so hide races. Another data thread delivers through the
/// link. A fourth thread reports a changed catalogue again and again.
void TestStress::useModuleOnce()
{
    Host host;
    QVERIFY2(host.module, qPrintable(host.loader.errorString()));
    changeController(host.controller);
    host.start();
    {
        const auto direct = frames(
            [requester = host.link.lastRequester](const char *type, const QByteArray &line) {
                requester->onOutputData(type, line.constData());
            },
            [requester = host.link.lastRequester] { requester->onOutputReset(); });
        host.direct.push_back(std::make_unique<Loop>(direct));
        host.direct.push_back(std::make_unique<Loop>(direct));
        const Loop data(
            frames([&host](const char *type, const QByteArray &line) { host.link.deliver(type, line); },
                   [&host] { host.link.deliverReset(); }));
        const Loop messages([&host](int) {
            announceFromOutside(host.link);
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        });
        openSeveralTimes(host);
    }
    QVERIFY(host.loader.unload());
    QVERIFY(isSanitized || !isPluginMapped());
}

/// The first use is not measured, because Qt and the C library keep some of its memory until the process
/// ends.
void TestStress::nothingIsLeftAfterRandomUse()
{
    useModuleOnce();
    const int threads = threadCount();
    const int descriptors = descriptorCount();
    const long long allocated = allocatedBytes();
    const int seconds = qEnvironmentVariableIntValue("STRESS_SECONDS");
    const QDeadlineTimer end(1000 * qint64{seconds > 0 ? seconds : 5});
    int uses = 0;
    for (; !end.hasExpired() && !QTest::currentTestFailed(); ++uses)
        useModuleOnce();
    QTRY_COMPARE(threadCount(), threads);
    QCOMPARE(descriptorCount(), descriptors);
    const long long grown = allocatedBytes() - allocated;
    qInfo("%d uses, %d datagrams, %lld KiB more than after the first use", uses, m_datagrams, grown / 1024);
    QVERIFY(isSanitized || grown < allocatedSlack);
    QVERIFY(m_datagrams > 0);
}

QTEST_MAIN(TestStress)
#include "test_stress.moc"
