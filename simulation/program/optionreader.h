#pragma once

#include <QString>
#include <QStringList>

class QCommandLineParser;
struct BackendVersions;

namespace simulation {

/// A host name or address with a port.
struct Endpoint
{
    QString host;
    quint16 port = 0;

    bool isSet() const { return !host.isEmpty(); }
};

/// Returns the arguments of main() as texts. The first one is the program's name.
QStringList commandLine(int argc, char **argv);

/// Reads the values of options from a parsed command line. Each function checks the value of the option \a
/// name, writes it to \a result and returns true. If the option is not set, the function returns true and
/// leaves \a result unchanged. If the value is invalid, the function returns false, leaves \a result
/// unchanged and writes a message of one line to the constructor's \a problem.
class OptionReader
{
public:
    /// \a parser must have parsed the command line. Both arguments must outlive this object.
    OptionReader(const QCommandLineParser &parser, QString *problem);

    /// Accepts integers from \a least to \a most.
    bool number(const char *name, int least, int most, int *result);

    /// Accepts numbers from 0 to 1.
    bool probability(const char *name, double *result);

    /// Accepts versions such as 1.9, 1.9.0 and 1.9.-2. A missing third number is read as 0.
    bool version(const char *name, BackendVersions *result);

    /// Accepts any text that is not empty. \a meaning says what the text is, such as "the name of a file";
    /// the message for an empty text ends with it.
    bool text(const char *name, const QString &meaning, QString *result);

    /// Accepts HOST:PORT with a port from 1 to 65535.
    bool endpoint(const char *name, Endpoint *result);

private:
    bool isSet(const char *name) const;
    QString value(const char *name) const;
    bool refuse(const QString &problem);

    const QCommandLineParser &m_parser;
    QString *m_problem;
};

} // namespace simulation
