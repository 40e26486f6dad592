#include "messageboxes.h"
#include "pluginhost.h"
#include "table.h"

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTabWidget>
#include <QTableView>
#include <QTranslator>

#include <functional>

namespace {

/// Returns the letter that pads the texts of \a context, so that a translated text shows its context, or '?'
/// if the context is none of the module's.
QChar padding(const QString &context)
{
    static const QHash<QString, char> letters{
        {"NetworkDialog", 'd'}, {"ChannelWidget", 'w'}, {"NetworkSettings2GModule", 'm'}, {"Channel", 'c'}};
    return QLatin1Char(letters.value(context, '?'));
}

/// Returns the pseudo-translation: the text with a padding of half its length, in brackets. A shortcut gets
/// the modifier Ctrl instead.
QString pseudo(const QString &context, const QString &text)
{
    if (text == QLatin1String("F9") || text.startsWith(QLatin1String("Alt+")))
        return QLatin1String("Ctrl+") + text;
    return QLatin1Char('[') + text + QString((text.size() + 1) / 2, padding(context)) + QLatin1Char(']');
}

/// Translates every text that Qt looks up, whatever its context, except the names of keys.
class PseudoTranslator : public QTranslator
{
public:
    PseudoTranslator() { QCoreApplication::installTranslator(this); }

    bool isEmpty() const override { return false; }

    QString translate(const char *context, const char *sourceText, const char * /*disambiguation*/,
                      int /*n*/) const override
    {
        // In this context Qt looks up the names of keys.
        if (qstrcmp(context, "QShortcut") == 0)
            return {};
        return pseudo(QString::fromLatin1(context), QString::fromUtf8(sourceText));
    }
};

/// A host that runs in another language, and a Controller with two channels.
struct TranslatedHost
{
    TranslatedHost()
    {
        host.controller.change([](ControllerState &state) {
            state.systemModel = 0;
            for (size_t i = 0; i < 2; ++i) {
                state.channels[i].destination = {Destination::Kind::Udp, "127.0.0.2", 5001 + int(i)};
                state.channels[i].active = true;
            }
        });
        host.handOver();
        record = host.module->moduleActions().value(0);
        dialog = host.window.findChild<QDialog *>();
        tabs = dialog->findChild<QTabWidget *>();
    }

    ~TranslatedHost() { host.shutDown(); }

    /// Opens the dialog and runs \a action while it is open. Then closes it without applying changes, unless
    /// \a action has closed it.
    void open(const std::function<void()> &action)
    {
        QTimer::singleShot(0, dialog, [&] {
            action();
            dialog->done(QDialog::Rejected);
        });
        record->action->trigger();
    }

    QWidget *page(int channel) const { return tabs->widget(channel); }

    const PseudoTranslator translator; // installed before the plug-in is loaded
    PluginHost host;
    ModuleAction *record = nullptr;
    QDialog *dialog = nullptr;
    QTabWidget *tabs = nullptr;
};

/// Returns the title of \a widget, its texts for help and for screen readers, and its text if it is a QLabel
/// or a button. The titles of tabs and columns are not included.
QStringList textsOf(const QWidget *widget)
{
    QStringList texts{widget->windowTitle(), widget->whatsThis(),      widget->toolTip(),
                      widget->statusTip(),   widget->accessibleName(), widget->accessibleDescription()};
    if (qobject_cast<const QLabel *>(widget) || qobject_cast<const QAbstractButton *>(widget))
        texts << widget->property("text").toString();
    texts.removeAll(QString());
    return texts;
}

/// Returns the name of the first label, button or column title that is not shown as a whole, or an empty
/// text.
QString firstCutOff(const QDialog *dialog)
{
    const QList<QWidget *> widgets = dialog->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const bool hasText = qobject_cast<const QLabel *>(widget) ||
                             (qobject_cast<const QAbstractButton *>(widget) && !textsOf(widget).isEmpty());
        if (!widget->isVisible() || !hasText)
            continue;
        const QSize needed = widget->sizeHint();
        if (widget->width() < needed.width() || widget->height() < needed.height() ||
            widget->visibleRegion().boundingRect() != widget->rect())
            return widget->objectName();
    }
    const QList<QTableView *> tables = dialog->findChildren<QTableView *>();
    for (const QTableView *table : tables) {
        for (int column = 0; table->isVisible() && column < table->model()->columnCount(); ++column) {
            if (table->columnWidth(column) < table->horizontalHeader()->sectionSizeHint(column))
                return QString::fromLatin1("title of column %1").arg(column);
        }
    }
    return {};
}

} // namespace

/// The plug-in file in a host that runs in another language.
class TestTranslation : public QObject
{
    Q_OBJECT

private slots:
    void textsAreTranslatedInTheirContexts();
    void messageOfThePageIsTranslated_data();
    void messageOfThePageIsTranslated();
    void onlyTextsThatTheDialogSetsInCodeAreNotTranslated();
    void longerTextsAreNotCutOff();
};

void TestTranslation::textsAreTranslatedInTheirContexts()
{
    const TranslatedHost translated;
    const auto module = [](const char *text) { return pseudo("NetworkSettings2GModule", text); };
    QCOMPARE(translated.host.module->moduleName(), module("GUI Output Settings"));
    QCOMPARE(translated.record->menuTitle, module("&Tracking"));
    const QAction *action = translated.record->action;
    QCOMPARE(action->text(), module("&Output"));
    QCOMPARE(action->shortcut(), QKeySequence(Qt::CTRL + Qt::Key_F9));
    const QString tip = module("Change network settings and output types for tracking data output");
    QCOMPARE(action->statusTip(), tip);
    QCOMPARE(action->whatsThis(), tip);

    QCOMPARE(translated.dialog->windowTitle(), pseudo("NetworkDialog", "Output Settings"));
    const auto *table = translated.page(0)->findChild<QTableView *>();
    QCOMPARE(table->model()->headerData(0, Qt::Horizontal).toString(), pseudo("Channel", "Identifier"));
    QCOMPARE(table->model()->headerData(1, Qt::Horizontal).toString(), pseudo("Channel", "Description"));
}

void TestTranslation::messageOfThePageIsTranslated_data()
{
    const Table<QString, bool> row("host", "multicast");
    row("empty host", "", false);
    row("localhost", "localhost", false);
    row("multicast, unresolved host", "0.0.0.0", true);
    row("unicast, unresolved host", "0.0.0.0", false);
    row("multicast, unicast address", "10.0.0.1", true);
    row("unicast, multicast address", "224.0.0.1", false);
}

void TestTranslation::messageOfThePageIsTranslated()
{
    QFETCH(QString, host);
    QFETCH(bool, multicast);
    TranslatedHost translated;
    MessageBoxes boxes({QMessageBox::Cancel});
    translated.open([&] {
        const QWidget *page = translated.page(0);
        page->findChild<QCheckBox *>("checkBox_multicast")->setChecked(multicast);
        page->findChild<QLineEdit *>("lineEdit_host")->setText(host);
        translated.dialog->findChild<QAbstractButton *>("pushButton_ok")->click();
    });
    QCOMPARE(boxes.titles, QStringList{pseudo("ChannelWidget", "Network Settings")});
    const QString text = boxes.texts.value(0);
    QVERIFY2(text.startsWith('[') && text.endsWith("w]"), qPrintable(text));
    QVERIFY2(text.contains(host) && text.contains("channel 1"), qPrintable(text));
}

void TestTranslation::onlyTextsThatTheDialogSetsInCodeAreNotTranslated()
{
    const TranslatedHost translated;
    QStringList untranslated;
    const QList<QWidget *> widgets = translated.dialog->findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const bool isOfPage = translated.page(0)->isAncestorOf(widget);
        const QStringList texts = textsOf(widget);
        for (const QString &text : texts) {
            if (!text.startsWith('['))
                untranslated << text;
            else if (isOfPage)
                QVERIFY2(text.endsWith("w]"), qPrintable(text)); // the context ChannelWidget
        }
    }
    untranslated.sort();
    QCOMPARE(untranslated,
             (QStringList{"Add a channel with Ctrl + T", "Add new tab: Ctrl + T\nClose tab:   Ctrl + W",
                          "Channels",
                          "Passes the tracking data on to receivers outside the Controller's network"}));
}

void TestTranslation::longerTextsAreNotCutOff()
{
    TranslatedHost translated;
    QStringList cutOff;
    translated.open([&] {
        for (int channel = 0; channel < 2; ++channel) {
            translated.tabs->setCurrentIndex(channel); // the last page also shows its close button
            cutOff << firstCutOff(translated.dialog);
        }
    });
    QCOMPARE(cutOff, (QStringList{"", ""}));
}

QTEST_MAIN(TestTranslation)
#include "test_translation.moc"
