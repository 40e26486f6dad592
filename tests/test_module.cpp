#include "pluginhost.h"

#include <QAction>
#include <QDialog>
#include <QDir>
#include <QtTest>

#include <atomic>
#include <thread>

namespace {

/// A host with three channels in router mode.
struct Host : PluginHost
{
    Host()
    {
        controller.change([](ControllerState &state) {
            state.viaRouter = true;
            for (size_t i = 0; i < 3; ++i) {
                state.channels[i].destination = {Destination::Kind::Udp, "127.0.0.1", 9 /* discard */};
                state.channels[i].active = true;
                state.channels[i].types = {"fr", "6d"};
            }
        });
        if (module)
            handOver();
    }
};

} // namespace

/// The plug-in file as a host sees it.
class TestModule : public QObject
{
    Q_OBJECT

private slots:
    void pluginIdentityIsFixed();
    void actionIsCreatedOnceAndOutlivesTheDialog();
    void moduleActionsWithinConstructionMakesNoSecondDialog();
    void shutdownWithinConstruction_data();
    void shutdownWithinConstruction();
    void libraryUnloadsRightAfterRelease();
};

void TestModule::pluginIdentityIsFixed()
{
    Host host;
    QVERIFY2(host.module, qPrintable(host.loader.errorString()));
    const QJsonObject metadata = host.loader.metaData();
    QCOMPARE(metadata.value("IID").toString(), QString("io.kelmora-sys.Orvane2.NetworkSettigns2gModule"));
    QObject *object = host.loader.instance();
    for (const char *name : {"ModuleInterface", "io.kelmora-sys.orvane2.gui.Module/0.2.0"})
        QCOMPARE(object->qt_metacast(name), static_cast<void *>(host.module));
    QCOMPARE(host.module->moduleName(), QString("GUI Output Settings"));
    QCOMPARE(host.module->moduleVersion(), QString("v2.2.5"));
    QVERIFY(host.loader.unload());
}

void TestModule::actionIsCreatedOnceAndOutlivesTheDialog()
{
    Host host;
    host.module->setParameter("ObserverMode", true);
    QVERIFY(host.module->moduleActions().isEmpty());
    host.module->prepareShutdown();
    host.module->releaseResources();
    QVERIFY(host.controller.record().isEmpty());

    host.module->setParameter("ObserverMode", false);
    // A widget is accepted as the parent also if it comes as a QObject pointer.
    host.module->setParameter("ModuleParent", QVariant::fromValue<QObject *>(&host.window));
    const QList<ModuleAction *> actions = host.module->moduleActions();
    QCOMPARE(actions.size(), 1);
    const ModuleAction &record = *actions.first();
    QCOMPARE(record.action->text(), QString("&Output"));
    QCOMPARE(record.action->shortcut(), QKeySequence(Qt::Key_F9));
    QCOMPARE(record.menuTitle + QString(" %1 %2").arg(record.menuNumber).arg(record.actionNumber),
             QString("&Tracking 300 170"));
    const QPointer<QAction> first = record.action;
    QCOMPARE(host.module->moduleActions(), actions);
    QCOMPARE(record.action, first.data());

    host.module->prepareShutdown();
    QCOMPARE(host.link.registeredCount(), 0);
    host.module->releaseResources();
    QVERIFY(host.window.findChildren<QDialog *>().isEmpty());
    QVERIFY(first);

    // A dialog that its parent has destroyed is not deleted again.
    auto *parent = new QWidget;
    host.module->setParameter("ModuleParent", QVariant::fromValue(parent));
    QCOMPARE(host.module->moduleActions().size(), 1);
    host.module->prepareShutdown();
    delete parent;
    host.module->releaseResources();
    QVERIFY(host.loader.unload());
    QVERIFY(!first);
}

void TestModule::moduleActionsWithinConstructionMakesNoSecondDialog()
{
    Host host;
    int nested = 0;
    QObject scope;
    connect(&host.controller, &SimulatedController::exchanged, &scope, [&] {
        ++nested;
        QVERIFY(host.module->moduleActions().isEmpty());
    });
    QCOMPARE(host.module->moduleActions().size(), 1);
    QVERIFY(nested > 10);
    QCOMPARE(host.window.findChildren<QDialog *>().size(), 1);
    host.module->prepareShutdown();
    host.module->releaseResources();
    QVERIFY(host.loader.unload());
}

void TestModule::shutdownWithinConstruction_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<bool>("release");
    for (const char *command : {"output net ch01", "output net_via_router", "output active ch02 6d"}) {
        QTest::addRow("%s, prepareShutdown", command) << QByteArray(command) << false;
        QTest::addRow("%s, releaseResources", command) << QByteArray(command) << true;
    }
}

void TestModule::shutdownWithinConstruction()
{
    QFETCH(QByteArray, command);
    QFETCH(bool, release);
    const uint threads = QDir("/proc/self/task").count();
    Host host;
    bool shutDown = false;
    QObject scope;
    connect(&host.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
        QVERIFY2(!shutDown, exchange.text);
        if (exchange.text != command)
            return;
        shutDown = true;
        host.module->prepareShutdown();
        if (release)
            host.module->releaseResources();
    });
    const QList<ModuleAction *> actions = host.module->moduleActions();
    QVERIFY(shutDown);
    QCOMPARE(actions.size(), release ? 0 : 1);
    QCOMPARE(host.link.registeredCount(), 0);
    host.module->releaseResources();
    QVERIFY(host.window.findChildren<QDialog *>().isEmpty());
    QVERIFY(host.loader.unload());
    QVERIFY(!isPluginMapped());
    QTRY_COMPARE(QDir("/proc/self/task").count(), threads);
}

void TestModule::libraryUnloadsRightAfterRelease()
{
    for (int round = 0; round < 20; ++round) {
        const uint threads = QDir("/proc/self/task").count();
        Host host;
        QCOMPARE(host.module->moduleActions().size(), 1);
        std::atomic<int> frames{0};
        std::atomic<bool> stop{false};
        std::thread data([&] {
            for (; !stop; ++frames) {
                host.link.deliver("fr", "fr " + QByteArray::number(frames));
                host.link.deliver("6d", "6d 0\r\n");
            }
        });
        QTRY_VERIFY(frames > 100);
        host.module->prepareShutdown();
        host.module->releaseResources();
        QVERIFY(host.loader.unload());
        QVERIFY(!isPluginMapped());
        stop = true;
        data.join();
        QTRY_COMPARE(QDir("/proc/self/task").count(), threads);
    }
}

QTEST_MAIN(TestModule)
#include "test_module.moc"
