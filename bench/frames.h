#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

constexpr int channelCount = 10;
constexpr int linesPerFrame = 12;
constexpr int paddingTo60Kb = 59000;

/// One line of a frame, as the host delivers it.
struct FrameLine
{
    std::string type;
    std::string text; ///< ends in CR LF
};

using FrameLines = std::vector<FrameLine>;

/// Returns the frame that the benchmark sends repeatedly: linesPerFrame lines, about 1 KB in total, and
/// \a padding blanks at the end of the first line. Only the frame number changes.
FrameLines frameLines(int padding = 0);

/// Returns the lines whose types channel \a channel, counted from 0, ticks: the first and the last line, and
/// eight of the ten others. The set is different for each of the ten channels.
FrameLines tickedLines(int channel, int padding = 0);

/// The first frame number. It and all later ones have nine digits, always at the same position of the first
/// line, so that datagrams can be prepared in advance.
constexpr uint32_t firstFrameNumber = 100'000'000;

/// Where the number ends in the first line of a frame, which is also the first line of each datagram.
constexpr int numberEnd = 12;

/// Writes \a number, which must have nine digits, into a text that starts with the first line of a frame.
void writeNumber(char *text, uint32_t number);

/// Returns the number in a text of at least numberEnd characters that starts with the first line of a frame.
uint32_t readNumber(const char *text);

} // namespace bench
