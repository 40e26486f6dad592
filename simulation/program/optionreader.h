#pragma once

#include <QString>
#include <QStringList>

class QCommandLineParser;
struct BackendVersions;

namespace simulation {

/// A host with a port.
struct Endpoint
{
    QString host;
    quint16 port = 0;

    bool isSet() const { return !host.isEmpty(); }
};

/// Returns the command line arguments, the program's name first.
QStringList commandLine(int argc, char **argv);

/// Converts the values of a parsed command line. Each function leaves its result unchanged if the option is
/// not set. If the value is invalid it returns false and sets the problem to a message of one line.
class OptionReader
{
public:
    OptionReader(const QCommandLineParser &parser, QString *problem);

    bool number(const char *name, int least, int most, int *result);
    bool probability(const char *name, double *result);

    /// Accepts versions such as 1.9 and 1.9.0.
    bool version(const char *name, BackendVersions *result);

    /// Accepts any text but the empty one. \a meaning completes "needs ...".
    bool text(const char *name, const QString &meaning, QString *result);

    /// Accepts HOST:PORT.
    bool endpoint(const char *name, Endpoint *result);

private:
    bool isSet(const char *name) const;
    QString value(const char *name) const;
    bool refuse(const QString &problem);

    const QCommandLineParser &m_parser;
    QString *m_problem;
};

} // namespace simulation
