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

void TestModulecheck::invalidArgumentsAreRefused()
{
    for (const char *file : {"/nonexistent/plugin.so", OTHER_PLUGIN_PATH})
        QVERIFY2(Program(MODULECHECK_PATH, file).hasRefusedArguments("modulecheck"), file);
    Program program(MODULECHECK_PATH, QLatin1String(PLUGIN_PATH " life lief"));
    QCOMPARE(program.status(), 2);
    QVERIFY(program.readAllStandardError().contains("modulecheck: lief: "));
}

QTEST_GUILESS_MAIN(TestModulecheck)
#include "test_modulecheck.moc"
