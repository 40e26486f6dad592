#pragma once

#include <QString>
#include <QStringList>

class QCommandLineParser;

namespace simulation {

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

    /// Accepts any text that is not empty. \a meaning says what the text is, such as "the name of a file";
    /// the message for an empty text ends with it.
    bool text(const char *name, const QString &meaning, QString *result);

private:
    bool isSet(const char *name) const;
    QString value(const char *name) const;
    bool refuse(const QString &problem);

    const QCommandLineParser &m_parser;
    QString *m_problem;
};

} // namespace simulation
