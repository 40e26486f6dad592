#include "options.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRegularExpression>

namespace {

constexpr int defaultHeadlessSeconds = 5;
constexpr int maxSeconds = 7 * 24 * 3600;

QString text(const char *source)
{
    return QCoreApplication::translate("Options", source);
}

void addOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
        text("Stands in for the frontend of a tracking system and for its Controller, loads the module\n"
             "for the output settings and shows what the receivers of its channels get."));
    parser.addOptions({
        {{"h", "help"}, text("Shows this help.")},
        {"headless", text("Runs without a window. The exit status is 0 only if every channel got its frames "
                          "in order and none was lost.")},
        {"seconds",
         text("Ends after <n> seconds; 0: when it is closed or interrupted. Default: 5 headless, "
              "0 with a window."),
         "n"},
        {"rate", text("Makes <hz> frames a second, 1 to 2000. Default: 60."), "hz"},
        {"channels", text("Starts with <n> channels set up, 1 to 10. Default: 3."), "n"},
        {"controller-version", text("Version of the Controller, <major.minor[.third]>. Default: 1.9.0."),
         "version"},
        {"locked", text("The Controller refuses changes of its configuration.")},
        {"router", text("The Controller is in router mode from the start.")},
        {"replay",
         text("Plays the recorded lines of <file> (\"-\": standard input) instead of made-up frames."),
         "file"},
        {"plugin",
         text("Loads the module from <file>. Default: "
              "../plugins/NetworkSettings2GModule.so beside this program."),
         "file"},
    });
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
            *m_problem = text("--%1 takes the name of a file").arg(name);
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
        *problem = text("'%1' is no option").arg(parser.positionalArguments().constFirst());
        return false;
    }
    options->help = parser.isSet("help");
    options->headless = parser.isSet("headless");
    options->locked = parser.isSet("locked");
    options->router = parser.isSet("router");
    options->seconds = options->headless ? defaultHeadlessSeconds : 0;
    Reader reader(parser, problem);
    return reader.number("seconds", 0, maxSeconds, &options->seconds) &&
           reader.number("rate", 1, 2000, &options->rate) &&
           reader.number("channels", 1, 10, &options->channels) &&
           reader.version("controller-version", &options->version) &&
           reader.file("replay", &options->replay) && reader.file("plugin", &options->plugin);
}

QString helpText()
{
    QCommandLineParser parser;
    addOptions(parser);
    return parser.helpText();
}
