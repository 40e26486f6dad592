#include "commandline.h"

#include "backendversions.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <cstdio>
#include <memory>

namespace simulation {

QString programVersion()
{
    return QLatin1String(PROGRAM_VERSION);
}

bool parseVersion(const QString &text, BackendVersions *version)
{
    static const QRegularExpression form(
        QLatin1String("^([0-9]{1,6})\\.([0-9]{1,6})(?:\\.(-?[0-9]{1,6}))?$"));
    const QRegularExpressionMatch match = form.match(text);
    if (match.hasMatch())
        *version = {
            {0, 0, 0}, match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt()};
    return match.hasMatch();
}

CommandLine::CommandLine(const char *program, const char *description)
    : m_program(QLatin1String(program))
{
    m_parser.setApplicationDescription(QLatin1String(description));
    m_parser.addOption({{"h", "help"}, QLatin1String("Show this text.")});
    add("version", "", "Print the version.");
    add("seconds", "n", "Stop after this many seconds; 0: when interrupted.");
}

void CommandLine::add(const char *name, const char *value, const char *help)
{
    m_parser.addOption({QLatin1String(name), QLatin1String(help), QLatin1String(value)});
}

void CommandLine::addArguments(const char *syntax, const char *help)
{
    m_parser.addPositionalArgument(QLatin1String(syntax), QLatin1String(help), QLatin1String(syntax));
    m_takesArguments = true;
}

std::optional<ExitStatus> CommandLine::parse(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const bool isParsed = m_parser.parse(arguments);
    const QStringList strays = m_takesArguments ? QStringList() : m_parser.positionalArguments();
    if (isParsed && strays.isEmpty()) {
        if (!isSet("help") && !isSet("version"))
            return {};
        answer(argc, argv);
        return Success;
    }
    report(isParsed ? QString::fromLatin1("unexpected argument '%1'").arg(strays.constFirst())
                    : m_parser.errorText());
    return WrongUsage;
}

void CommandLine::answer(int argc, char **argv) const
{
    // helpText() needs an application object, which the frontend has not created yet.
    const std::unique_ptr<QCoreApplication> application(
        QCoreApplication::instance() ? nullptr : std::make_unique<QCoreApplication>(argc, argv));
    const QString text = isSet("help") ? m_parser.helpText() : m_program + ' ' + programVersion() + '\n';
    std::fputs(qPrintable(text), stdout);
}

void CommandLine::report(const QString &message) const
{
    std::fprintf(stderr, "%s: %s\n", qPrintable(m_program), qPrintable(message));
}

bool CommandLine::refuse(const QString &problem) const
{
    report(problem);
    return false;
}

bool CommandLine::number(const char *name, int least, int most, int *result) const
{
    if (!isSet(name))
        return true;
    bool isNumber = false;
    const int given = value(name).toInt(&isNumber);
    if (!isNumber || given < least || given > most) {
        return refuse(QString::fromLatin1("--%1 takes a number from %2 to %3, not '%4'")
                          .arg(QLatin1String(name))
                          .arg(least)
                          .arg(most)
                          .arg(value(name)));
    }
    *result = given;
    return true;
}

bool CommandLine::seconds(int *result) const
{
    constexpr int week = 7 * 24 * 3600;
    return number("seconds", 0, week, result);
}

bool CommandLine::version(const char *name, BackendVersions *result) const
{
    return !isSet(name) || parseVersion(value(name), result) ||
           refuse(QString::fromLatin1("--%1 takes a version such as 1.9 or 1.9.0, not '%2'")
                      .arg(QLatin1String(name), value(name)));
}

bool CommandLine::text(const char *name, QString *result) const
{
    if (!isSet(name))
        return true;
    if (value(name).isEmpty())
        return refuse(QString::fromLatin1("--%1 needs a text").arg(QLatin1String(name)));
    *result = value(name);
    return true;
}

bool CommandLine::endpoint(const char *name, Endpoint *result) const
{
    if (!isSet(name))
        return true;
    const int colon = value(name).lastIndexOf(QLatin1Char(':'));
    const uint port = value(name).midRef(colon + 1).toUInt();
    if (colon < 1 || port < 1 || port > 65535)
        return refuse(
            QString::fromLatin1("--%1 takes HOST:PORT, not '%2'").arg(QLatin1String(name), value(name)));
    *result = {value(name).left(colon), quint16(port)};
    return true;
}

} // namespace simulation
