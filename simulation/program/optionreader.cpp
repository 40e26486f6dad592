#include "optionreader.h"

#include "backendversions.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRegularExpression>

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

bool OptionReader::probability(const char *name, double *result)
{
    if (!isSet(name))
        return true;
    bool isNumber = false;
    const double given = value(name).toDouble(&isNumber);
    if (!isNumber || !(given >= 0.0 && given <= 1.0))
        return refuse(translated("--%1 takes a probability from 0 to 1, not '%2'")
                          .arg(QLatin1String(name), value(name)));
    *result = given;
    return true;
}

bool OptionReader::version(const char *name, BackendVersions *result)
{
    if (!isSet(name))
        return true;
    static const QRegularExpression form(
        QLatin1String("^([0-9]{1,6})\\.([0-9]{1,6})(?:\\.(-?[0-9]{1,6}))?$"));
    const QRegularExpressionMatch match = form.match(value(name));
    if (!match.hasMatch())
        return refuse(translated("--%1 takes a version such as 1.9 or 1.9.0, not '%2'")
                          .arg(QLatin1String(name), value(name)));
    *result = {{0, 0, 0}, match.captured(1).toInt(), match.captured(2).toInt(), match.captured(3).toInt()};
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

bool OptionReader::endpoint(const char *name, Endpoint *result)
{
    if (!isSet(name))
        return true;
    const int colon = value(name).lastIndexOf(QLatin1Char(':'));
    const uint port = value(name).midRef(colon + 1).toUInt();
    if (colon < 1 || port < 1 || port > 65535)
        return refuse(translated("--%1 takes HOST:PORT, not '%2'").arg(QLatin1String(name), value(name)));
    *result = {value(name).left(colon), quint16(port)};
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
