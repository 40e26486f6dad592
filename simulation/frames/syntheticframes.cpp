#include "syntheticframes.h"

#include <cmath>

namespace simulation {

namespace {

constexpr double framesPerTurn = 240.0;

/// The rate on which the time stamps are based, whatever the real rate is.
constexpr double framesPerSecond = 60.0;
constexpr double pi = 3.14159265358979323846;

QByteArray fixed(double value)
{
    return ' ' + QByteArray::number(value, 'f', 3);
}

QByteArray position(double angle, double radius)
{
    return fixed(radius * std::cos(angle)) + fixed(radius * std::sin(angle)) +
           fixed(1200.0 + 100.0 * std::sin(2.0 * angle));
}

QByteArray orientation(double angle)
{
    return fixed(15.0 * std::sin(angle)) + fixed(10.0 * std::cos(angle)) +
           fixed(std::remainder(angle * 180.0 / pi, 360.0));
}

/// Returns \a count, followed by the number, quality, position in mm and orientation in degrees of each body.
QByteArray bodies(int count, double angle)
{
    QByteArray text = QByteArray::number(count);
    for (int i = 0; i < count; ++i) {
        const double bodyAngle = angle + i * pi / 3.0;
        text += ' ' + QByteArray::number(i) + " 1.000" + position(bodyAngle, 400.0 + 150.0 * i) +
                orientation(bodyAngle);
    }
    return text;
}

/// Returns \a count, followed by the number, quality and position in mm of each marker.
QByteArray markers(int count, double angle)
{
    QByteArray text = QByteArray::number(count);
    for (int i = 0; i < count; ++i)
        text += ' ' + QByteArray::number(i + 1) + " 1.000" + position(angle + i * pi / 2.0, 900.0);
    return text;
}

/// Returns the text of the line of \a type, without the type, for the frame \a number. \a angle, in radians,
/// is proportional to the number.
QByteArray lineOf(const QByteArray &type, qint32 number, double angle)
{
    if (type == "fr")
        return QByteArray::number(number);
    if (type.startsWith("ts")) // seconds since an arbitrary time
        return QByteArray::number(36000.0 + number / framesPerSecond, 'f', 6);
    if (type == "3d")
        return markers(4, angle);
    if (type.startsWith("6d"))
        return bodies(type == "6d" ? 3 : 1, angle);
    return "0";
}

} // namespace

Frame syntheticFrame(qint32 number, const QList<QByteArray> &types)
{
    const double angle = 2.0 * pi * number / framesPerTurn;
    Frame frame;
    for (const QByteArray &type : types)
        frame.append({type, type + ' ' + lineOf(type, number, angle) + "\r\n"});
    return frame;
}

} // namespace simulation
