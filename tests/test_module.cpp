#include "backendversions.h"
#include "controllerlink.h"
#include "moduleaction.h"
#include "moduleinterface.h"
#include "simulatedcontroller.h"

#include <QAction>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QPluginLoader>
#include <QtTest>

#include <atomic>
#include <memory>
#include <thread>

namespace {

int entryCount(const char *folder)
{
    return QDir(QLatin1String(folder))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

bool isPluginMapped()
{
    QFile maps(QLatin1String("/proc/self/maps"));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("NetworkSettings2GModule");
}

/// A host around the plug-in file.
class Host
{
public:
    explicit Host(bool observer = false)
    {
        controller.change([](ControllerState &state) {
            state.viaRouter = true;
            for (size_t i = 0; i < 3; ++i) {
                state.channels[i].destination = {Destination::Kind::Udp, "127.0.0.1", 9 /* discard */};
                state.channels[i].active = true;
                state.channels[i].types = {"fr", "6d"};
            }
        });
        versions = controller.state().version;
        // By default Qt keeps a plug-in mapped after unload(), which would hide what these tests are after.
        loader.setLoadHints(QLibrary::ResolveAllSymbolsHint);
        module = qobject_cast<ModuleInterface *>(loader.instance());
        if (!module)
            return;
        module->setParameter(QLatin1String("ObserverMode"), observer);
        module->setParameter(QLatin1String("ModuleParent"), QVariant::fromValue(&window));
        module->setParameter(QLatin1String("CommandManager"), QVariant::fromValue<IOManager *>(&link));
        module->setParameter(QLatin1String("BackendVersions"), QVariant::fromValue(&versions));
        module->setParameter(QLatin1String("Unheard"), 1);
    }

    SimulatedController controller;
    ControllerLink link{controller};
    BackendVersions versions{};
    QWidget window;
    QPluginLoader loader{QLatin1String(PLUGIN_PATH)};
    ModuleInterface *module = nullptr;
};

} // namespace

/// The plug-in file as a host sees it.
class TestModule : public QObject
{
    Q_OBJECT

private slots:
    void metadata();
    void casts();
    void lifeOfAction();
    void observerDoesNothing();
    void wrongParametersLeaveTheOthersAlone();
    void unloadRightAfterRelease();
};

void TestModule::metadata()
{
    QPluginLoader loader(QLatin1String(PLUGIN_PATH));
    const QJsonObject metadata = loader.metaData();
    QCOMPARE(metadata.value(QLatin1String("IID")).toString(),
             QLatin1String("io.kelmora-sys.Orvane2.NetworkSettigns2gModule"));
    QCOMPARE(metadata.value(QLatin1String("className")).toString(), QLatin1String("NetworkSettings2GModule"));
    QVERIFY(metadata.value(QLatin1String("MetaData")).toObject().isEmpty());
}

void TestModule::casts()
{
    Host host;
    QVERIFY2(host.module, qPrintable(host.loader.errorString()));
    QObject *object = host.loader.instance();
    QCOMPARE(object->qt_metacast("NetworkSettings2GModule"), static_cast<void *>(object));
    QCOMPARE(object->qt_metacast("ModuleInterface"), static_cast<void *>(host.module));
    QCOMPARE(object->qt_metacast("io.kelmora-sys.orvane2.gui.Module/0.2.0"),
             static_cast<void *>(host.module));
    QVERIFY(!object->qt_metacast("io.kelmora-sys.Orvane2.NetworkSettigns2gModule"));
    QCOMPARE(host.module->moduleName(), QLatin1String("GUI Output Settings"));
    QCOMPARE(host.module->moduleVersion(), QLatin1String("v2.2.5"));
    QVERIFY(host.loader.unload());
}

void TestModule::lifeOfAction()
{
    Host host;
    // Before there is a dialog both are empty operations.
    host.module->prepareShutdown();
    host.module->releaseResources();
    QVERIFY(host.controller.record().isEmpty());

    const QList<ModuleAction *> actions = host.module->moduleActions();
    QCOMPARE(actions.size(), 1);
    const ModuleAction &record = *actions.first();
    QCOMPARE(record.action->text(), QLatin1String("&Output"));
    QCOMPARE(record.action->shortcut(), QKeySequence(Qt::Key_F9));
    QCOMPARE(record.menuTitle, QLatin1String("&Tracking"));
    QCOMPARE(record.menuNumber, 300);
    QCOMPARE(record.actionNumber, 170);
    QCOMPARE(record.lastNumber, 0);
    QCOMPARE(record.dialog->parent(), &host.window);

    const QPointer<QDialog> first = record.dialog;
    const QPointer<QAction> firstAction = record.action;
    host.module->setParameter(QLatin1String("ObserverMode"), true);
    QCOMPARE(host.module->moduleActions(), actions);
    QCOMPARE(record.dialog, first.data());

    host.module->setParameter(QLatin1String("ObserverMode"), false);
    host.module->prepareShutdown();
    host.module->releaseResources();
    QVERIFY(first.isNull());
    QVERIFY(!firstAction.isNull());
    QCOMPARE(host.link.registeredCount(), 0);

    QCOMPARE(host.module->moduleActions().size(), 1);
    QVERIFY(host.module->moduleActions().first()->action != firstAction.data());
    host.module->prepareShutdown();
    host.module->releaseResources();
    QVERIFY(host.loader.unload());
    QVERIFY(firstAction.isNull());
}

void TestModule::observerDoesNothing()
{
    Host host(true);
    QVERIFY(host.module->moduleActions().isEmpty());
    host.module->prepareShutdown();
    host.module->releaseResources();
    QVERIFY(host.controller.record().isEmpty());
    QCOMPARE(host.link.registeredCount(), 0);
    QVERIFY(host.window.findChildren<QDialog *>().isEmpty());
    QVERIFY(host.loader.unload());
}

void TestModule::wrongParametersLeaveTheOthersAlone()
{
    Host host;
    // Any object that is a widget is taken for the parent, whatever pointer type it comes as.
    host.module->setParameter(QLatin1String("ModuleParent"), QVariant::fromValue<QObject *>(&host.window));
    host.module->setParameter(QLatin1String("ObserverMode"), QLatin1String("false"));
    const QList<ModuleAction *> actions = host.module->moduleActions();
    QCOMPARE(actions.size(), 1);
    QCOMPARE(actions.first()->dialog->parent(), &host.window);
    host.module->prepareShutdown();
    host.module->releaseResources();
    QVERIFY(host.loader.unload());
}

void TestModule::unloadRightAfterRelease()
{
    const int threadsBefore = entryCount("/proc/self/task");
    int descriptors = 0;
    for (int round = 0; round < 20; ++round) {
        {
            Host host;
            QCOMPARE(host.module->moduleActions().size(), 1);
            std::atomic<bool> stop{false};
            std::thread data([&] {
                for (int number = 1; !stop; ++number) {
                    host.link.deliver("fr", "fr " + QByteArray::number(number));
                    host.link.deliver("6d", "6d 0\r\n");
                }
            });
            QTest::qWait(5);
            host.module->prepareShutdown();
            host.module->releaseResources();
            QVERIFY(host.loader.unload());
            QVERIFY(!isPluginMapped());
            stop = true;
            data.join();
        }
        if (round == 0)
            descriptors = entryCount("/proc/self/fd");
    }
    QCOMPARE(entryCount("/proc/self/fd"), descriptors);
    QCOMPARE(entryCount("/proc/self/task"), threadsBefore);
}

QTEST_MAIN(TestModule)
#include "test_module.moc"
