#include "frames.h"

namespace bench {

namespace {

std::array<FrameLine, linesPerFrame> frameLines(int padding = 0)
{
    return {{
        {"fr", "fr 100000000" + std::string(size_t(padding), ' ') + "\r\n"},
        {"ts", "ts 44325.218407\r\n"},
        {"ts2", "ts2 44325 218407 16783\r\n"},
        {"st", "st 2 0 1 4 0 1 1 37 0 1 2 4 0 1 3 41 0\r\n"},
        {"6dcal", "6dcal 2\r\n"},
        {"6d", "6d 2 [0 1.000][326.848 -187.216 109.503 -160.4704 -3.6963 -7.0913]"
               "[-0.940508 -0.339238 -0.019025 0.338323 -0.932893 -0.123354 0.064464 -0.118432 0.997913] "
               "[1 0.871][219.713 188.012 87.342 33.2117 8.5502 -4.1184]"
               "[0.805220 0.523711 0.277865 -0.568110 0.829044 0.083801 -0.186479 -0.225321 0.956879]\r\n"},
        {"6di", "6di 1 [0 0 0.421][326.848 -187.216 109.503][-0.940508 -0.339238 -0.019025 0.338323 "
                "-0.932893 -0.123354 0.064464 -0.118432 0.997913]\r\n"},
        {"6df2", "6df2 1 1 [0 1.000 4 2][261.103 116.520 41.085][0.805220 0.523711 0.277865 -0.568110 "
                 "0.829044 0.083801 -0.186479 -0.225321 0.956879][1 0.00 -1.00]\r\n"},
        {"6dmt2", "6dmt2 1 1 [0 1.000 3 1.000][12.004 -45.220 90.117][1 0 0 0 1 0 0 0 1]\r\n"},
        {"6dmtr", "6dmtr 1 [0 1.000][-118.660 20.430 77.901][1 0 0 0 1 0 0 0 1]\r\n"},
        {"2dmon", "2dmon 4 [0 12][1 11][2 14][3 9]\r\n"},
        {"3d", "3d 3 [4 1.000][210.730 -90.669 108.554] [5 0.998][187.131 -22.008 64.300] "
               "[6 1.000][-12.900 64.778 203.412]\r\n"},
    }};
}

bool isSkipped(int channel, int line)
{
    constexpr int middle = linesPerFrame - 2;
    constexpr int distance = 3; // each of the ten channels skips a different pair
    return line == 1 + channel % middle || line == 1 + (channel + distance) % middle;
}

} // namespace

void writeNumber(char *digits, uint32_t number)
{
    for (int i = numberDigits - 1; i >= 0; --i) {
        digits[i] = char('0' + number % 10);
        number /= 10;
    }
}

uint32_t readNumber(const char *digits)
{
    uint32_t number = 0;
    for (int i = 0; i < numberDigits; ++i)
        number = number * 10 + uint32_t(digits[i] - '0');
    return number;
}

Frame::Frame(int padding)
    : m_lines(frameLines(padding))
{
}

void Frame::setNumber(uint32_t number)
{
    writeNumber(m_lines[0].text.data() + numberPosition, number);
}

std::vector<std::string> tickedTypes(int channel)
{
    const auto lines = frameLines();
    std::vector<std::string> types;
    for (int line = 0; line < linesPerFrame; ++line) {
        if (!isSkipped(channel, line))
            types.push_back(lines[size_t(line)].type);
    }
    return types;
}

std::string datagramOf(int channel, int padding)
{
    const auto lines = frameLines(padding);
    std::string datagram;
    for (int line = 0; line < linesPerFrame; ++line) {
        if (!isSkipped(channel, line))
            datagram += lines[size_t(line)].text;
    }
    return datagram;
}

} // namespace bench
