#include "program.h"
#include "table.h"

namespace {

constexpr int limitMs = 200000; // of all life cycles together

} // namespace

/// The program modulecheck must accept the module and find each fault of the broken module.
class TestModulecheck : public QObject
{
    Q_OBJECT

private slots:
    void everyLifeCycleOfTheModuleIsOk();
    void faultOfABrokenModuleIsFound_data();
    void faultOfABrokenModuleIsFound();
    void invalidArgumentsAreRefused_data();
    void invalidArgumentsAreRefused();
};

void TestModulecheck::everyLifeCycleOfTheModuleIsOk()
{
    Program program(MODULECHECK_PATH, PLUGIN_PATH);
    const int status = program.status(limitMs);
    const QByteArray output = program.readAllStandardOutput();
    QVERIFY2(status == 0 && !output.contains("FAILED"), output + program.readAllStandardError());
    // Fewer steps would mean that life cycles were left out.
    QVERIFY2(output.count("\n  ok  ") > 80, output);
}

void TestModulecheck::faultOfABrokenModuleIsFound_data()
{
    // The name of each row is also the value of MODULE_FAULT that gives the broken module this fault.
    const Table<QByteArray> row("finding");
    row("no fault", "Every step is ok.");
    row("stays registered", "FAILED  Call prepareShutdown()");
    row("calls after shut-down", "came after prepareShutdown() had returned");
    row("calls on a thread", "came on a thread other than the GUI thread");
    row("leaves a thread", "FAILED  Call releaseResources(). No thread of the module runs afterwards");
    row("crashes", "crashed or was aborted");
}

void TestModulecheck::faultOfABrokenModuleIsFound()
{
    QFETCH(const QByteArray, finding);
    const QByteArray fault = QTest::currentDataTag();
    qputenv("MODULE_FAULT", fault);
    Program program(MODULECHECK_PATH, QLatin1String(BROKENMODULE_PATH " life"));
    QCOMPARE(program.status(limitMs), fault == "no fault" ? 0 : 1);
    const QByteArray output = program.readAllStandardOutput();
    QVERIFY2(output.contains(finding), output);
}

void TestModulecheck::invalidArgumentsAreRefused_data()
{
    const Table<QString, QByteArray> row("arguments", "message");
    row("no arguments", "", "modulecheck [--in-process] PLUGIN");
    row("unknown life cycle", PLUGIN_PATH " life lief", "modulecheck: lief: no such life cycle");
    row("no such file", "/nonexistent/plugin.so", "no such file");
    row("another kind of plug-in", OTHER_PLUGIN_PATH, "no module with the interface");
}

void TestModulecheck::invalidArgumentsAreRefused()
{
    QFETCH(const QString, arguments);
    QFETCH(const QByteArray, message);
    Program program(MODULECHECK_PATH, arguments);
    QCOMPARE(program.status(), 2);
    const QByteArray errors = program.readAllStandardError();
    QVERIFY2(errors.contains(message), errors);
}

QTEST_GUILESS_MAIN(TestModulecheck)
#include "test_modulecheck.moc"
