#include "options.h"

#include <QCoreApplication>

namespace simulation {

QString helpText()
{
    return QCoreApplication::translate("Options", R"(Usage: frontend [option...]

Simulates the frontend of a tracking system and its Controller: loads the module for the output settings, opens the
host's window and the window of the simulated Controller, and shows what the receivers of the channels receive. F9
opens the module's dialog; F8 shows or hides the Controller. With the embedded Controller no data leaves this computer
unless a channel is sent elsewhere in router mode.

The Controller:
  --controller-version <major.minor[.third]>
                       version, which determines its features: router mode from 1.4, the send data divisor from 1.6,
                       the configuration lock from 1.9 (1.9.0)
  --locked             lock the configuration
  --router             start in router mode, so that the module sends the data
  --channels <n>       number of channels to set up, 1 to 10 (3)
  --answer-delay <ms>  delay of each answer, 0 to 2000 (0)
  --controller <host:port>
                       use the Controller at this address, such as the program controller on another computer, instead
                       of the embedded one; the options above and of the data then belong to that program

The data:
  --rate <hz>          synthetic frames per second, 1 to 2000 (60)
  --replay <file>      replay recorded lines, each beginning with its output type, instead of synthetic frames;
                       "-" for standard input

The run:
  --headless           run without a window: print one line per second for each receiver, then a summary
  --seconds <n>        stop after this many seconds; 0: when closed or interrupted (0, headless 5)
  --dark               start with the dark palette, as View > Dark palette
  --plugin <file>      plug-in file of the module (../plugins/NetworkSettings2GModule.so beside this program)
  --version            print the version
  -h, --help           show this text

Exit status: 0 for success, which with --headless means that every channel received its frames in order without loss;
1 otherwise; 2 for wrong usage and for a Controller that cannot be reached.

Examples:
  frontend --router --channels 10 --rate 1000
  frontend --controller-version 1.5 --dark
  frontend --controller 192.0.2.1:5600
  frontend --headless --seconds 10 --rate 500 --router
  sed -n 1,9000p recording.txt | frontend --headless --seconds 0 --replay -
)");
}

} // namespace simulation
