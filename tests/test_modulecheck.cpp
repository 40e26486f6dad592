#include "program.h"
#include "table.h"

namespace {

constexpr int limitMs = 200000; // of all life cycles together

struct Result
{
    int exitStatus;
    QString output;
    QString errors;
};

/// Runs modulecheck with \a arguments. If they name the broken module, that module has \a fault.
Result check(const QString &arguments, const char *fault = "")
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("MODULE_FAULT", fault);
    Program program(MODULECHECK_PATH, arguments, {}, environment);
    const int status = program.status(limitMs);
    return {status, QString::fromLocal8Bit(program.readAllStandardOutput()),
            QString::fromLocal8Bit(program.readAllStandardError())};
}

/// Returns the first failed step in \a output with the faults below it.
QString failedStep(const QString &output)
{
    const int begin = output.indexOf(QLatin1String("  FAILED  "));
    if (begin < 0)
        return {};
    const int next = output.indexOf(QRegularExpression(QLatin1String("\n {0,2}[^ ]")), begin);
    return output.mid(begin, next - begin);
}

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
    const Result result = check(PLUGIN_PATH);
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
    QVERIFY(failedStep(result.output).isEmpty());
    // Fewer steps would mean that life cycles were left out.
    QVERIFY2(result.output.count(QLatin1String("\n  ok  ")) > 80, qPrintable(result.output));
}

void TestModulecheck::faultOfABrokenModuleIsFound_data()
{
    // The name of each row is also the value of MODULE_FAULT that gives the broken module this fault.
    const Table<QString, QString> row("cycle", "expected");
    row("stays registered", "life", "Call prepareShutdown()");
    row("calls after shut-down", "life", "came after prepareShutdown() had returned");
    row("calls on a thread", "life", "came on a thread other than the GUI thread");
    row("leaves a thread", "life", "No thread of the module runs afterwards");
    row("stays in memory", "life", "It is no longer in memory");
    row("crashes", "life", "crashed or was aborted");
    row("requires CommandManager first", "parameters", "in any of the 24 orders");
    row("ignores ObserverMode", "observer", "moduleActions() returns an empty list");
    row("makes new entries", "actions-twice", "it returns the same entry");
    row("ignores the version", "old-controller", "is unknown to this version");
    row("writes at shut-down", "open-message-box", "nothing is written");
}

void TestModulecheck::faultOfABrokenModuleIsFound()
{
    QFETCH(const QString, cycle);
    QFETCH(const QString, expected);
    const QString arguments = QLatin1String(BROKENMODULE_PATH " ") + cycle;
    const Result sound = check(arguments);
    QVERIFY2(sound.exitStatus == 0, qPrintable(sound.output + sound.errors));

    const Result broken = check(arguments, QTest::currentDataTag());
    QCOMPARE(broken.exitStatus, 1);
    QVERIFY2(failedStep(broken.output).contains(expected), qPrintable(broken.output + broken.errors));
}

void TestModulecheck::invalidArgumentsAreRefused_data()
{
    const Table<QString, QString> row("arguments", "expected");
    const QString usage = "modulecheck [--in-process] PLUGIN";
    row("no arguments", "", usage);
    row("unknown option", "--fast " PLUGIN_PATH, usage);
    row("unknown life cycle", PLUGIN_PATH " life lief", "modulecheck: lief: no such life cycle");
    row("no such file", "/nonexistent/plugin.so", "no such file");
    row("no library", QFINDTESTDATA("test_modulecheck.cpp"), "no module with the interface");
    row("another kind of plug-in", OTHER_PLUGIN_PATH, "no module with the interface");
}

void TestModulecheck::invalidArgumentsAreRefused()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, expected);
    const Result result = check(arguments);
    QCOMPARE(result.exitStatus, 2);
    QVERIFY2(result.errors.contains(expected), qPrintable(result.errors));
    QVERIFY(result.output.isEmpty());
}

QTEST_GUILESS_MAIN(TestModulecheck)
#include "test_modulecheck.moc"
