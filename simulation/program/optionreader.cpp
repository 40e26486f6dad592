#include "optionreader.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace simulation {

namespace {

QString translated(const char *source)
{
    return QCoreApplication::translate("OptionReader", source);
}

} // namespace

QStringList commandLine(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

OptionReader::OptionReader(const QCommandLineParser &parser, QString *problem)
    : m_parser(parser)
    , m_problem(problem)
{
}

bool OptionReader::number(const char *name, int least, int most, int *result)
{
    if (!isSet(name))
        return true;
    bool isNumber = false;
    const int given = value(name).toInt(&isNumber);
    if (!isNumber || given < least || given > most) {
        return refuse(translated("--%1 takes a number from %2 to %3, not '%4'")
                          .arg(QLatin1String(name))
                          .arg(least)
                          .arg(most)
                          .arg(value(name)));
    }
    *result = given;
    return true;
}

bool OptionReader::text(const char *name, const QString &meaning, QString *result)
{
    if (!isSet(name))
        return true;
    if (value(name).isEmpty())
        return refuse(translated("--%1 needs %2").arg(QLatin1String(name), meaning));
    *result = value(name);
    return true;
}

bool OptionReader::isSet(const char *name) const
{
    return m_parser.isSet(QLatin1String(name));
}

QString OptionReader::value(const char *name) const
{
    return m_parser.value(QLatin1String(name));
}

bool OptionReader::refuse(const QString &problem)
{
    *m_problem = problem;
    return false;
}

} // namespace simulation
