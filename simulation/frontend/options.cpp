#include "options.h"

#include "controlleroptions.h"
#include "controllerstate.h"

#include <QCommandLineParser>
#include <QCoreApplication>

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
    for (const char *name : {"version", "headless", "dark", "locked", "router"})
        parser.addOption(QCommandLineOption(QLatin1String(name)));
    for (const char *name : {"seconds", "rate", "channels", "controller-version", "answer-delay",
                             "controller", "replay", "plugin"})
        parser.addOption({QLatin1String(name), QString(), QLatin1String("value")});
}

/// Returns the first set option that is only for the embedded Controller, or an empty text.
QString embeddedOption(const QCommandLineParser &parser)
{
    for (const char *name :
         {"locked", "router", "controller-version", "channels", "rate", "replay", "answer-delay"}) {
        if (parser.isSet(QLatin1String(name)))
            return QLatin1String(name);
    }
    return {};
}

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
    options->version = parser.isSet("version");
    options->headless = parser.isSet("headless");
    options->dark = parser.isSet("dark");
    options->locked = parser.isSet("locked");
    options->router = parser.isSet("router");
    options->seconds = options->headless ? defaultHeadlessSeconds : 0;
    OptionReader reader(parser, problem);
    const bool isValid = reader.number("seconds", 0, maximumSeconds, &options->seconds) &&
                         reader.number("rate", 1, maximumRate, &options->rate) &&
                         reader.number("channels", 1, outputChannelCount, &options->channels) &&
                         reader.version("controller-version", &options->controllerVersion) &&
                         reader.number("answer-delay", 0, maximumAnswerDelayMs, &options->answerDelayMs) &&
                         reader.endpoint("controller", &options->controller) &&
                         reader.text("replay", text("the name of a file"), &options->replay) &&
                         reader.text("plugin", text("the name of a file"), &options->plugin);
    if (isValid && options->controller.isSet() && !embeddedOption(parser).isEmpty()) {
        *problem = text("--%1 is only for the embedded Controller; pass it to the program controller instead")
                       .arg(embeddedOption(parser));
        return false;
    }
    return isValid;
}

} // namespace simulation
