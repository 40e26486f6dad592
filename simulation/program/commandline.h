#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

struct BackendVersions;

namespace simulation {

enum ExitStatus : int
{
    Success = 0,
    Failure = 1,
    WrongUsage = 2 ///< also if a file or an address that the command line names cannot be used
};

/// A host name or address with a port.
struct Endpoint
{
    QString host;
    quint16 port = 0;

    bool isSet() const { return !host.isEmpty(); }
};

/// The command line of a program: first declare its options, then parse(), then read the values. Every
/// program has the options --help, --version and --seconds.
///
/// A reading function checks the value of the option \a name, writes it to \a result and returns true. If the
/// option is not set, the function returns true and leaves \a result unchanged. If the value is invalid, the
/// function leaves \a result unchanged and refuses it.
class CommandLine
{
public:
    /// \a program is the program's name, \a description the text that --help shows above the options.
    CommandLine(const char *program, const char *description);

    /// Declares an option with its \a help. If \a value is empty, the option is a switch; otherwise the text
    /// stands for the option's value in the help.
    void add(const char *name, const char *value, const char *help);

    /// Declares that the program takes arguments besides its options; they are parsed, but not checked.
    void addArguments(const char *syntax, const char *help);

    /// Parses the arguments of main(). Returns nothing if the program has to run. Otherwise returns its exit
    /// status, after printing the answer to --help or --version or a message about a wrong option.
    std::optional<ExitStatus> parse(int argc, char **argv);

    /// Prints \a message, after the program's name, to standard error.
    void report(const QString &message) const;

    /// Reports \a problem and returns false.
    bool refuse(const QString &problem) const;

    bool isSet(const char *name) const { return m_parser.isSet(QLatin1String(name)); }
    QStringList arguments() const { return m_parser.positionalArguments(); }

    /// Accepts integers from \a least to \a most.
    bool number(const char *name, int least, int most, int *result) const;

    /// Reads the option --seconds, which accepts up to a week.
    bool seconds(int *result) const;

    /// Accepts what parseVersion() accepts.
    bool version(const char *name, BackendVersions *result) const;

    /// Accepts any text that is not empty.
    bool text(const char *name, QString *result) const;

    /// Accepts HOST:PORT with a port from 1 to 65535.
    bool endpoint(const char *name, Endpoint *result) const;

private:
    void answer(int argc, char **argv) const;
    QString value(const char *name) const { return m_parser.value(QLatin1String(name)); }

    QCommandLineParser m_parser;
    const QString m_program;
    bool m_takesArguments = false;
};

/// Parses versions such as 1.9, 1.9.0 and 1.9.-2. A missing third number is read as 0. Returns false if \a
/// text has another form.
bool parseVersion(const QString &text, BackendVersions *version);

/// Returns the version of the project, which all programs share.
QString programVersion();

} // namespace simulation
