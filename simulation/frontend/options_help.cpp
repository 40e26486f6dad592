#include "options.h"

#include <QCoreApplication>

namespace simulation {

QString helpText()
{
    return QCoreApplication::translate("Options", R"(Usage: frontend [option...]

Simulates the frontend of a tracking system and its Controller: loads the plug-in of the output settings, opens the
frontend's window and the window of the simulated Controller, and shows what the receivers of the channels receive. F9
opens the dialog of the output settings; F8 shows or hides the window of the Controller. With the embedded Controller,
data leave this computer only in router mode, and only if a channel has a destination on another computer.
Defaults are in parentheses.

The Controller:
  --controller-version <major.minor[.third]>
                       version of the Controller (1.9.0), which determines its features: router mode from 1.4, the send
                       data divisor from 1.6, the configuration lock from 1.9
  --locked             lock the configuration
  --router             start in router mode, so that the module sends the data
  --channels <n>       number of channels to set up, 1 to 10 (3)
  --answer-delay <ms>  delay of each answer, 0 to 2000 (0)
  --controller <host:port>
                       use the Controller at this address, such as the program controller on another computer, instead
                       of the embedded one; pass the options above, --rate and --replay to that program then

The data:
  --rate <hz>          frames per second, 1 to 2000 (60)
  --replay <file>      replay recorded lines, each beginning with its output type, instead of synthetic frames;
                       "-" for standard input

The run:
  --headless           run without a window: print one line per second for each receiver, then a summary; the run also
                       stops when the data end
  --seconds <n>        stop after this many seconds, 0 to 604800 (5 with --headless, otherwise 0); 0: run until the
                       window is closed or the program is interrupted
  --dark               start with the dark palette, like View > Dark palette
  --plugin <file>      plug-in file of the module (../plugins/NetworkSettings2GModule.so, relative to this program's
                       folder)
  --version            print the version
  -h, --help           show this text

Exit status: 0 for success, which with --headless means that every receiver got frames, all of them well-formed, in
order and without loss; 1 otherwise; 2 for wrong usage, no display, a plug-in or recording that cannot be loaded, or a
Controller that cannot be reached.

Examples:
  frontend --router --channels 10 --rate 1000
  frontend --controller-version 1.5 --dark
  frontend --controller 192.0.2.1:5600
  frontend --headless --seconds 10 --rate 500 --router
  sed -n 1,9000p recording.txt | frontend --headless --seconds 0 --replay -
)");
}

} // namespace simulation
