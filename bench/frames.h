#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

constexpr int channelCount = 10;
constexpr int linesPerFrame = 12;

/// One line of a frame, as the host hands it on.
struct FrameLine
{
    std::string type;
    std::string text; ///< ends in CR LF
};

/// The one frame that all rows send again and again: 12 lines of together about 1 KB. Only its number
/// changes, always nine digits at the same place, so that the bytes of every datagram are known beforehand.
class Frame
{
public:
    /// \a padding more bytes in the first line.
    explicit Frame(int padding = 0);

    /// Writes \a number, of nine digits, into the first line.
    void setNumber(uint32_t number);

    const std::array<FrameLine, linesPerFrame> &lines() const { return m_lines; }

private:
    std::array<FrameLine, linesPerFrame> m_lines;
};

/// The numbers of frames begin here, and have nine digits up to ten times as many.
constexpr uint32_t firstFrameNumber = 100'000'000;

/// Where the nine digits of the number stand in the first line, which is also the first of each datagram.
constexpr int numberPosition = 3;
constexpr int numberDigits = 9;

void writeNumber(char *digits, uint32_t number);
uint32_t readNumber(const char *digits);

/// The types that channel \a channel ticks: the first and the last line and eight of the ten between, for
/// each channel others.
std::vector<std::string> tickedTypes(int channel);

/// The bytes of a datagram of channel \a channel: its lines of the frame with \a padding.
std::string datagramOf(int channel, int padding = 0);
