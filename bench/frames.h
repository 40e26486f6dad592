#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

constexpr int channelCount = 10;
constexpr int linesPerFrame = 12;

/// One line of a frame, as the host delivers it.
struct FrameLine
{
    std::string type;
    std::string text; ///< ends in CR LF
};

/// The frame that the benchmark sends repeatedly: 12 lines, about 1 KB in total without padding. Only the
/// frame number changes. The number always has nine digits at the same position, so that datagrams can be
/// prepared in advance.
class Frame
{
public:
    /// Adds \a padding blanks to the end of the first line, before its CR LF.
    explicit Frame(int padding = 0);

    /// Writes \a number, which must have nine digits, into the first line.
    void setNumber(uint32_t number);

    const std::array<FrameLine, linesPerFrame> &lines() const { return m_lines; }

private:
    std::array<FrameLine, linesPerFrame> m_lines;
};

/// The first frame number. The numbers from this one up to 999'999'999 have nine digits.
constexpr uint32_t firstFrameNumber = 100'000'000;

/// Position of the number in the first line of a frame, which is also the first line of each datagram.
constexpr int numberPosition = 3;
constexpr int numberDigits = 9;

/// Writes \a number, which must have at most numberDigits digits, with leading zeros and without a
/// terminating zero character.
void writeNumber(char *digits, uint32_t number);

/// Returns the number that numberDigits decimal digits, starting at \a digits, represent.
uint32_t readNumber(const char *digits);

/// Returns the types that channel \a channel, counted from 0, ticks: those of the first and the last line,
/// and eight of the ten others. The set is different for each of the ten channels.
std::vector<std::string> tickedTypes(int channel);

/// Returns the datagram of channel \a channel for a frame with \a padding: the lines whose types the channel
/// ticks.
std::string datagramOf(int channel, int padding = 0);

} // namespace bench
