#include <QProcess>
#include <QtTest>

namespace {

constexpr int limitMilliseconds = 200000;

struct Result
{
    int exitStatus;
    QString output;
    QString errors;
};

Result check(const QStringList &arguments, const QString &fault = QString())
{
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String("MODULE_FAULT"), fault);
    program.setProcessEnvironment(environment);
    program.start(QLatin1String(MODULECHECK_PATH), arguments);
    const bool ended = program.waitForFinished(limitMilliseconds);
    return {ended ? program.exitCode() : -1, QString::fromLocal8Bit(program.readAllStandardOutput()),
            QString::fromLocal8Bit(program.readAllStandardError())};
}

/// The first failed step of the output with the faults beneath it.
QString failedStep(const QString &output)
{
    const int begin = output.indexOf(QLatin1String("  FAILED  "));
    if (begin < 0)
        return {};
    const int next = output.indexOf(QRegularExpression(QLatin1String("\n  ?[^ ]")), begin);
    return output.mid(begin, next - begin);
}

} // namespace

/// The program modulecheck: it passes a sound module, and finds each fault of a broken one.
class TestModulecheck : public QObject
{
    Q_OBJECT

private slots:
    void everyLifeCycleOfTheModuleIsOk();
    void findsTheFault_data();
    void findsTheFault();
    void reportsWhatCannotBeChecked_data();
    void reportsWhatCannotBeChecked();
};

void TestModulecheck::everyLifeCycleOfTheModuleIsOk()
{
    const Result result = check({QLatin1String(PLUGIN_PATH)});
    QVERIFY2(result.exitStatus == 0, qPrintable(result.output + result.errors));
    QVERIFY(failedStep(result.output).isEmpty());
    // Far fewer steps would mean that life cycles were left out.
    QVERIFY2(result.output.count(QLatin1String("\n  ok  ")) > 80, qPrintable(result.output));
}

void TestModulecheck::findsTheFault_data()
{
    QTest::addColumn<QString>("cycle");
    QTest::addColumn<QString>("expected");

    QTest::newRow("stays registered") << "life"
                                      << "Call prepareShutdown()";
    QTest::newRow("calls after shut-down") << "life"
                                           << "came after prepareShutdown() had returned";
    QTest::newRow("calls on a thread") << "life"
                                       << "came on another thread than the GUI thread";
    QTest::newRow("leaves a thread") << "life"
                                     << "No thread of the module runs afterwards";
    QTest::newRow("stays in memory") << "life"
                                     << "It leaves the memory";
    QTest::newRow("crashes") << "life"
                             << "ended with a crash";
    QTest::newRow("needs an order") << "parameters"
                                    << "in any of the 24 orders";
    QTest::newRow("ignores ObserverMode") << "observer"
                                          << "moduleActions() is empty";
    QTest::newRow("makes new entries") << "actions-twice"
                                       << "it returns the same entry";
    QTest::newRow("asks whatever the version") << "old-controller"
                                               << "is unknown to this version";
    QTest::newRow("writes at shut-down") << "open-message-box"
                                         << "nothing is written";
}

void TestModulecheck::findsTheFault()
{
    QFETCH(const QString, cycle);
    QFETCH(const QString, expected);
    const QString plugin = QLatin1String(BROKENMODULE_PATH);
    const Result sound = check({plugin, cycle});
    QVERIFY2(sound.exitStatus == 0, qPrintable(sound.output + sound.errors));

    const Result broken = check({plugin, cycle}, QLatin1String(QTest::currentDataTag()));
    QCOMPARE(broken.exitStatus, 1);
    QVERIFY2(failedStep(broken.output).contains(expected), qPrintable(broken.output + broken.errors));
}

void TestModulecheck::reportsWhatCannotBeChecked_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const QString plugin = QLatin1String(PLUGIN_PATH);
    const QString otherPlugin = QLatin1String(OTHER_PLUGIN_PATH);
    QTest::newRow("no arguments") << QStringList() << "modulecheck [--in-process] PLUGIN";
    QTest::newRow("unknown option") << QStringList{"--fast", plugin} << "modulecheck [--in-process] PLUGIN";
    QTest::newRow("unknown life cycle") << QStringList{plugin, "lief"} << "modulecheck [--in-process] PLUGIN";
    QTest::newRow("no such file") << QStringList{"/nonexistent/plugin.so"} << "no such file";
    QTest::newRow("no library") << QStringList{QFINDTESTDATA("test_modulecheck.cpp")}
                                << "no module with the interface";
    QTest::newRow("a plug-in of another kind") << QStringList{otherPlugin} << "no module with the interface";
}

void TestModulecheck::reportsWhatCannotBeChecked()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);
    const Result result = check(arguments);
    QCOMPARE(result.exitStatus, 2);
    QVERIFY2(result.errors.contains(expected), qPrintable(result.errors));
    QVERIFY(result.output.isEmpty());
}

QTEST_GUILESS_MAIN(TestModulecheck)
#include "test_modulecheck.moc"
