#include "controllerlink.h"
#include "hostedmodule.h"
#include "moduleaction.h"
#include "remotecontroller.h"

#include <QAction>
#include <QDialog>
#include <QSpinBox>
#include <QTabWidget>
#include <QtTest>

using namespace simulation;

namespace {

constexpr int waitMs = 20000;

/// Types \a value into the divisor field of the first tab and leaves the dialog with Escape.
void editAndLeave(QDialog *dialog, int value)
{
    auto *field =
        dialog->findChild<QTabWidget *>()->widget(0)->findChild<QSpinBox *>("spinBox_sendDataDivisor");
    QVERIFY(field && field->isEnabled());
    field->setFocus();
    field->selectAll();
    QTest::keyClicks(field, QString::number(value));
    QTest::keyClick(dialog, Qt::Key_Escape);
}

} // namespace

/// Tests the dialog with a remote Controller. The environment variable CONTROLLER contains the Controller's
/// address and port, such as "10.0.0.1:5600". script/network runs this test over a slow, lossy link.
class TestRemoteDialog : public QObject
{
    Q_OBJECT

private slots:
    void editReachesTheController();
};

void TestRemoteDialog::editReachesTheController()
{
    const QStringList endpoint = QString::fromLocal8Bit(qgetenv("CONTROLLER")).split(':');
    QCOMPARE(endpoint.size(), 2);
    RemoteController client(endpoint.first(), endpoint.last().toUShort());
    client.start();
    QVERIFY2(client.waitForConnected(waitMs), qPrintable(client.problem()));
    BackendVersions versions = client.greeting().version;
    ControllerLink link(client);
    QWidget window;
    HostedModule module;
    QString problem;
    QVERIFY2(module.load(QLatin1String(PLUGIN_PATH), &problem), qPrintable(problem));
    const QList<ModuleAction *> actions = module.begin(&link, &window, &versions);
    QCOMPARE(actions.size(), 1);
    QDialog *dialog = actions.first()->dialog;

    QByteArray before;
    QCOMPARE(client.query("output net_divisor ch01", &before), 0);
    const int wanted = before.toInt() + 6;
    bool wasShown = false;
    QTimer poll;
    connect(&poll, &QTimer::timeout, this, [&] {
        if (wasShown || !dialog->isVisible())
            return;
        wasShown = true;
        editAndLeave(dialog, wanted);
    });
    poll.start(10);
    actions.first()->action->trigger();
    QVERIFY(wasShown && dialog->isHidden());

    QByteArray after;
    QCOMPARE(client.query("output net_divisor ch01", &after), 0);
    QCOMPARE(after, QByteArray::number(wanted));
    QVERIFY2(module.end(&problem), qPrintable(problem));
}

QTEST_MAIN(TestRemoteDialog)
#include "test_remotedialog.moc"
