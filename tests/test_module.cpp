#include "pluginhost.h"
#include "process.h"
#include "table.h"

#include <QAction>
#include <QDialog>

namespace {

/// A host with three channels in router mode.
struct Host : PluginHost
{
    Host()
    {
        controller.change([](ControllerState &state) {
            state.viaRouter = true;
            const Destination discard{Destination::Kind::Udp, "127.0.0.1", 9};
            for (size_t i = 0; i < 3; ++i)
                state.channels[i] = {discard, true, 1, {"fr", "6d"}};
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
    void shutdownWithinConstructionLeavesNothing_data();
    void shutdownWithinConstructionLeavesNothing();
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
    QCOMPARE(host.module->moduleVersion(), QString("v" PROJECT_VERSION));
    QVERIFY(host.loader.unload());
}

void TestModule::actionIsCreatedOnceAndOutlivesTheDialog()
{
    Host host;
    // The module accepts its parent widget also as a pointer to QObject.
    host.module->setParameter("ModuleParent", QVariant::fromValue<QObject *>(&host.window));
    const QList<ModuleAction *> actions = host.module->moduleActions();
    QCOMPARE(actions.size(), 1);
    const ModuleAction &record = *actions.first();
    QCOMPARE(host.window.findChildren<QDialog *>().size(), 1);
    QCOMPARE(record.menuNumber, 300);
    QCOMPARE(record.actionNumber, 170);
    const QPointer<QAction> first = record.action;
    QCOMPARE(host.module->moduleActions(), actions);
    QCOMPARE(record.action, first.data());

    host.shutDown();
    QVERIFY(host.window.findChildren<QDialog *>().isEmpty());
    QVERIFY(first);
    QVERIFY(host.loader.unload());
    QVERIFY(!first);
}

void TestModule::moduleActionsWithinConstructionMakesNoSecondDialog()
{
    Host host;
    int nestedCalls = 0;
    QObject scope;
    connect(&host.controller, &SimulatedController::exchanged, &scope, [&] {
        ++nestedCalls;
        QVERIFY(host.module->moduleActions().isEmpty());
    });
    QCOMPARE(host.module->moduleActions().size(), 1);
    QVERIFY(nestedCalls > 10); // one for each query during the construction
    QCOMPARE(host.window.findChildren<QDialog *>().size(), 1);
    host.shutDown();
    QVERIFY(host.loader.unload());
}

void TestModule::shutdownWithinConstructionLeavesNothing_data()
{
    const Table<bool> row("release");
    row("prepareShutdown", false);
    row("prepareShutdown and releaseResources", true);
}

void TestModule::shutdownWithinConstructionLeavesNothing()
{
    QFETCH(bool, release);
    const int threads = threadCount();
    Host host;
    bool shutDown = false;
    QObject scope;
    connect(&host.controller, &SimulatedController::exchanged, &scope, [&](const Exchange &exchange) {
        QVERIFY2(!shutDown, exchange.text);
        if (exchange.text != "output active ch02 6d")
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
    QTRY_COMPARE(threadCount(), threads);
}

QTEST_MAIN(TestModule)
#include "test_module.moc"
