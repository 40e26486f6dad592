#include "options.h"

#include "controllerstate.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRegularExpression>

namespace simulation {

namespace {

constexpr int defaultHeadlessSeconds = 5;
constexpr int maximumSeconds = 7 * 24 * 3600;

QString text(const char *source)
{
    return QCoreApplication::translate("Options", source);
}

void addOptions(QCommandLineParser &parser)
{
    parser.addOption({{"h", "help"}, QString()});
    for (const char *name : {"headless", "dark", "locked", "router"})
        parser.addOption(QCommandLineOption(QLatin1String(name)));
    for (const char *name : {"seconds", "rate", "channels", "controller-version", "replay", "plugin"})
        parser.addOption({QLatin1String(name), QString(), QLatin1String("value")});
}

class Reader
{
public:
    Reader(const QCommandLineParser &parser, QString *problem)
        : m_parser(parser)
        , m_problem(problem)
    {
    }

    bool number(const QString &name, int least, int most, int *value)
    {
        if (!m_parser.isSet(name))
            return true;
        bool isNumber = false;
        const int given = m_parser.value(name).toInt(&isNumber);
        if (!isNumber || given < least || given > most) {
            *m_problem = text("--%1 takes a number from %2 to %3, not '%4'")
                             .arg(name)
                             .arg(least)
                             .arg(most)
                             .arg(m_parser.value(name));
            return false;
        }
        *value = given;
        return true;
    }

    bool version(const QString &name, BackendVersions *value)
    {
        if (!m_parser.isSet(name))
            return true;
        static const QRegularExpression form(
            QLatin1String("^([0-9]{1,6})\\.([0-9]{1,6})(?:\\.(-?[0-9]{1,6}))?$"));
        const QRegularExpressionMatch match = form.match(m_parser.value(name));
        if (!match.hasMatch()) {
            *m_problem =
                text("--%1 takes a version such as 1.9 or 1.9.0, not '%2'").arg(name, m_parser.value(name));
            return false;
        }
        *value = {{0, 0, 0}, match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt()};
        return true;
    }

    bool file(const QString &name, QString *value)
    {
        if (!m_parser.isSet(name))
            return true;
        *value = m_parser.value(name);
        if (value->isEmpty())
            *m_problem = text("--%1 needs the name of a file").arg(name);
        return !value->isEmpty();
    }

private:
    const QCommandLineParser &m_parser;
    QString *m_problem;
};

} // namespace

bool parseOptions(const QStringList &arguments, Options *options, QString *problem)
{
    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(arguments)) {
        *problem = parser.errorText();
        return false;
    }
    if (!parser.positionalArguments().isEmpty()) {
        *problem = text("unexpected argument '%1'").arg(parser.positionalArguments().constFirst());
        return false;
    }
    options->help = parser.isSet("help");
    options->headless = parser.isSet("headless");
    options->dark = parser.isSet("dark");
    options->locked = parser.isSet("locked");
    options->router = parser.isSet("router");
    options->seconds = options->headless ? defaultHeadlessSeconds : 0;
    Reader reader(parser, problem);
    return reader.number("seconds", 0, maximumSeconds, &options->seconds) &&
           reader.number("rate", 1, maximumRate, &options->rate) &&
           reader.number("channels", 1, outputChannelCount, &options->channels) &&
           reader.version("controller-version", &options->version) &&
           reader.file("replay", &options->replay) && reader.file("plugin", &options->plugin);
}

} // namespace simulation
