#include "options.h"

#include <QCoreApplication>

QString helpText()
{
    return QCoreApplication::translate("Options", R"(Usage: frontend [option...]

Stands in for the frontend of a tracking system and for its Controller: loads the module for the output settings,
opens the host's window and one for the simulated Controller, and shows what the receivers of the channels get. F9
opens the module's dialog, F8 shows and hides the Controller. No data leaves this computer.

The Controller:
  --controller-version <major.minor[.third]>
                       its version, which tells what it knows: router mode from 1.4, the send data divisor from 1.6,
                       the lock from 1.9 (1.9.0)
  --locked             it refuses changes of its configuration
  --router             it is in router mode from the start, so that the module sends the data
  --channels <n>       so many channels are set up, 1 to 10 (3)

The data:
  --rate <hz>          so many made-up frames a second, 1 to 2000 (60)
  --replay <file>      recorded lines instead of made-up frames, each beginning with its output type; "-" for
                       standard input

The run:
  --headless           without a window: a line a second for each receiver, then a summary
  --seconds <n>        ends after so many seconds; 0: when it is closed or interrupted (0, headless 5)
  --dark               the window in a dark palette, also by View > Dark palette
  --plugin <file>      the module (../plugins/NetworkSettings2GModule.so beside this program)
  -h, --help           shows this text

Exit status: 0 after a good run, which headless means that every channel got its frames in order and none was lost;
1 if not; 2 for wrong use.

Examples:
  frontend --router --channels 10 --rate 1000
  frontend --controller-version 1.5 --dark
  frontend --headless --seconds 10 --rate 500 --router
  sed -n 1,9000p recording.txt | frontend --headless --seconds 0 --replay -
)");
}
