// Tests the plug-in file in a host that does not link Qt's network library, with Qt's platform plug-in for
// Windows and in Windows' own style.

#include "backendversions.h"
#include "moduleaction.h"
#include "moduleinterface.h"
#include "tablemanager.h"

#include <QAction>
#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QMessageBox>
#include <QPluginLoader>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QVersionNumber>
#include <QtTest>

#include <vector>

#include <qt_windows.h>

namespace {

std::map<std::string, std::string> oneChannel()
{
    return {
        {"config is_changeable", "yes"},
        {"system model", "1"},
        {"output net_via_router", "no"},
        {"output net ch01", "udp 192.168.1.7 5000"},
        {"output net_active ch01", "yes"},
        {"output net_divisor ch01", "1"},
        {"output net chmon", "udp 127.0.0.1 5000"},
        {"output number_of_types", "2"},
        {"output type t01", "fr"},
        {"output type_desc fr", "frame counter"},
        {"output available fr", "yes"},
        {"output active ch01 fr", "yes"},
        {"output type t02", "6d"},
        {"output type_desc 6d", "standard bodies"},
        {"output available 6d", "yes"},
        {"output active ch01 6d", "yes"},
    };
}

bool isInMemory(const QString &file)
{
    const QString path = QDir::toNativeSeparators(file);
    return GetModuleHandleW(reinterpret_cast<const wchar_t *>(path.utf16())) != nullptr;
}

/// The version resource of a file, or empty texts if there is none.
struct FileVersion
{
    explicit FileVersion(const QString &file)
    {
        const QString path = QDir::toNativeSeparators(file);
        const auto *name = reinterpret_cast<const wchar_t *>(path.utf16());
        std::vector<char> data(GetFileVersionInfoSizeW(name, nullptr));
        if (!GetFileVersionInfoW(name, 0, DWORD(data.size()), data.data()))
            return;
        void *value = nullptr;
        UINT size = 0;
        if (VerQueryValueW(data.data(), L"\\", &value, &size)) {
            const auto *fixed = static_cast<const VS_FIXEDFILEINFO *>(value);
            number = QVersionNumber(HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS),
                                    HIWORD(fixed->dwFileVersionLS))
                         .toString();
        }
        if (VerQueryValueW(data.data(), L"\\StringFileInfo\\040904b0\\FileVersion", &value, &size))
            text = QString::fromWCharArray(static_cast<const wchar_t *>(value));
    }

    QString number; ///< the first three numbers, which installers compare
    QString text;   ///< what the properties of the file show
};

/// Calls \a visit with the modal window once it has the type \a Window and is on the screen.
template <typename Window, typename Visit>
void whenShown(QObject *context, Visit visit)
{
    QTimer::singleShot(10, context, [context, visit] {
        auto *window = qobject_cast<Window *>(QApplication::activeModalWidget());
        if (window && window->windowHandle() && window->windowHandle()->isExposed())
            visit(window);
        else
            whenShown<Window>(context, visit);
    });
}

} // namespace

class TestWindowsDialog : public QObject
{
    Q_OBJECT

private slots:
    void dialogRefusesAWrongHostAndThePluginUnloads();
    void fileHasTheVersionThatTheModuleReports();

private:
    void enterMulticastHost(QDialog *dialog);
};

/// Types a multicast address as a host and accepts, which opens the message box. Then types a valid address
/// and accepts again.
void TestWindowsDialog::enterMulticastHost(QDialog *dialog)
{
    auto *host = dialog->findChild<QLineEdit *>(QStringLiteral("lineEdit_host"));
    auto *ok = dialog->findChild<QPushButton *>(QStringLiteral("pushButton_ok"));
    QVERIFY(host && ok);
    host->selectAll();
    QTest::keyClicks(host, QStringLiteral("224.0.0.1"));
    QString message;
    whenShown<QMessageBox>(dialog, [&message](QMessageBox *box) {
        message = box->text();
        QTest::keyClick(box, Qt::Key_Escape);
    });
    QTest::mouseClick(ok, Qt::LeftButton);
    QVERIFY2(message.startsWith(QLatin1String("Invalid host '224.0.0.1' for channel 1")),
             qPrintable(message));
    QVERIFY(dialog->isVisible());
    host->selectAll();
    QTest::keyClicks(host, QStringLiteral("192.168.1.9"));
    QTest::mouseClick(ok, Qt::LeftButton);
    QVERIFY(!dialog->isVisible());
}

void TestWindowsDialog::dialogRefusesAWrongHostAndThePluginUnloads()
{
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("windows"));
    QCOMPARE(QApplication::style()->objectName(), QStringLiteral("windowsvista"));
    QWidget window;
    TableManager manager;
    manager.answers = oneChannel();
    BackendVersions versions{{0, 0, 0}, 1, 9, 0};
    QPluginLoader loader(QStringLiteral(PLUGIN_PATH));
    loader.setLoadHints({});
    auto *module = qobject_cast<ModuleInterface *>(loader.instance());
    QVERIFY2(module, qPrintable(loader.errorString()));
    module->setParameter(QStringLiteral("CommandManager"), QVariant::fromValue<IOManager *>(&manager));
    module->setParameter(QStringLiteral("ModuleParent"), QVariant::fromValue(&window));
    module->setParameter(QStringLiteral("BackendVersions"), QVariant::fromValue(&versions));

    int visits = 0;
    whenShown<QDialog>(&window, [this, &visits](QDialog *dialog) {
        ++visits;
        enterMulticastHost(dialog);
    });
    module->moduleActions().constFirst()->action->trigger();
    QCOMPARE(visits, 1);
    module->prepareShutdown();
    module->releaseResources();
    QVERIFY(loader.unload());
    QVERIFY(!isInMemory(loader.fileName()));
    // This program does not link the library, so only the plug-in can have kept it in memory.
    QVERIFY(isInMemory(QStringLiteral("Qt5Network.dll")));
}

void TestWindowsDialog::fileHasTheVersionThatTheModuleReports()
{
    QPluginLoader loader(QStringLiteral(PLUGIN_PATH));
    auto *module = qobject_cast<ModuleInterface *>(loader.instance());
    QVERIFY2(module, qPrintable(loader.errorString()));
    const FileVersion version(loader.fileName());
    QCOMPARE('v' + version.number, module->moduleVersion());
    QCOMPARE('v' + version.text, module->moduleVersion());
}

QTEST_MAIN(TestWindowsDialog)
#include "test_windowsdialog.moc"
