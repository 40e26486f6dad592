#pragma once

#include "udplistener.h"

#include <QList>
#include <QStringList>

namespace simulation {

/// The settings of the command line of the program `receiver`.
struct ReceiverOptions
{
    bool help = false;
    bool version = false;
    QList<UdpEndpoint> endpoints;
    QNetworkInterface interface; ///< interface on which groups are joined; not valid: see UdpListener
    int expectedRate = 0;        ///< frames per second; 0: any
    int seconds = 0;             ///< 0: until interrupted
    QString save;                ///< file to which datagrams are written; empty: none
};

/// Parses the command line \a arguments, which begin with the program's name. With --help or --version, sets
/// only help and version. Returns false and sets \a problem to a message of one line if the arguments are
/// invalid. May block while a host name is resolved.
bool parseReceiverOptions(const QStringList &arguments, ReceiverOptions *options, QString *problem);

/// Returns the text for "--help".
QString receiverHelpText();

} // namespace simulation
