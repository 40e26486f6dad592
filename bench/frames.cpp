#include "frames.h"

#include <charconv>

namespace bench {

namespace {

constexpr int numberPosition = 3;

constexpr const char *lines[linesPerFrame] = {
    "fr 100000000",
    "ts 44325.218407",
    "ts2 44325 218407 16783",
    "st 2 0 1 4 0 1 1 37 0 1 2 4 0 1 3 41 0",
    "6dcal 2",
    "6d 2 [0 1.000][326.848 -187.216 109.503 -160.4704 -3.6963 -7.0913]"
    "[-0.940508 -0.339238 -0.019025 0.338323 -0.932893 -0.123354 0.064464 -0.118432 0.997913] "
    "[1 0.871][219.713 188.012 87.342 33.2117 8.5502 -4.1184]"
    "[0.805220 0.523711 0.277865 -0.568110 0.829044 0.083801 -0.186479 -0.225321 0.956879]",
    "6di 1 [0 0 0.421][326.848 -187.216 109.503]"
    "[-0.940508 -0.339238 -0.019025 0.338323 -0.932893 -0.123354 0.064464 -0.118432 0.997913]",
    "6df2 1 1 [0 1.000 4 2][261.103 116.520 41.085]"
    "[0.805220 0.523711 0.277865 -0.568110 0.829044 0.083801 -0.186479 -0.225321 0.956879][1 0.00 -1.00]",
    "6dmt2 1 1 [0 1.000 3 1.000][12.004 -45.220 90.117][1 0 0 0 1 0 0 0 1]",
    "6dmtr 1 [0 1.000][-118.660 20.430 77.901][1 0 0 0 1 0 0 0 1]",
    "2dmon 4 [0 12][1 11][2 14][3 9]",
    "3d 3 [4 1.000][210.730 -90.669 108.554] [5 0.998][187.131 -22.008 64.300] "
    "[6 1.000][-12.900 64.778 203.412]",
};

bool isSkipped(int channel, int line)
{
    constexpr int middle = linesPerFrame - 2;
    constexpr int distance = 3; // each of the ten channels skips a different pair
    return line == 1 + channel % middle || line == 1 + (channel + distance) % middle;
}

} // namespace

FrameLines frameLines(int padding)
{
    FrameLines frame;
    for (const std::string text : lines) {
        frame.push_back({text.substr(0, text.find(' ')),
                         text + std::string(frame.empty() ? size_t(padding) : 0, ' ') + "\r\n"});
    }
    return frame;
}

FrameLines tickedLines(int channel, int padding)
{
    const FrameLines frame = frameLines(padding);
    FrameLines ticked;
    for (int line = 0; line < linesPerFrame; ++line) {
        if (!isSkipped(channel, line))
            ticked.push_back(frame[size_t(line)]);
    }
    return ticked;
}

void writeNumber(char *text, uint32_t number)
{
    std::to_chars(text + numberPosition, text + numberEnd, number);
}

uint32_t readNumber(const char *text)
{
    uint32_t number = 0;
    std::from_chars(text + numberPosition, text + numberEnd, number);
    return number;
}

} // namespace bench
