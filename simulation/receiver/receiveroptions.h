#pragma once

#include "commandline.h"
#include "udplistener.h"

#include <QList>

namespace simulation {

/// The settings of the command line of the program `receiver`.
struct ReceiverOptions
{
    QList<UdpEndpoint> endpoints;
    QNetworkInterface interface; ///< interface on which groups are joined; not valid: see UdpListener
    int expectedRate = 0;        ///< frames per second; 0: any
    int seconds = 0;             ///< 0: until interrupted
    QString save;                ///< file to which datagrams are written; empty: none
};

/// Declares the options of the program `receiver`.
void declareReceiverOptions(CommandLine &line);

/// Reads them. Returns false if one of them is invalid. May block while a host name is resolved.
bool readReceiverOptions(const CommandLine &line, ReceiverOptions *options);

} // namespace simulation
