#include "syntheticframes.h"

#include <QHash>

#include <cmath>

namespace simulation {

namespace {

constexpr double framesPerTurn = 240.0;

/// The rate on which the time stamps are based, whatever the real rate is.
constexpr double framesPerSecond = 60.0;
constexpr double pi = 3.14159265358979323846;

/// Returns the text of a line without its type. \a angle, in radians, is proportional to the frame number.
using Content = QByteArray (*)(qint32 number, double angle);

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

/// Returns the time stamp of the frame \a number in seconds. The offset of 36000 s is arbitrary.
QByteArray seconds(qint32 number)
{
    return QByteArray::number(36000.0 + number / framesPerSecond, 'f', 6);
}

const QHash<QByteArray, Content> &contents()
{
    static const QHash<QByteArray, Content> table{
        {"fr", [](qint32 number, double) { return QByteArray::number(number); }},
        {"ts", [](qint32 number, double) { return seconds(number); }},
        {"ts2", [](qint32 number, double) { return seconds(number) + " 4.200"; }},
        {"st", [](qint32, double) { return QByteArray("4 4 0"); }},
        {"6dcal", [](qint32, double) { return QByteArray("3"); }},
        {"6d", [](qint32, double angle) { return bodies(3, angle); }},
        {"6di", [](qint32, double angle) { return bodies(2, angle + 0.5); }},
        {"6dx", [](qint32, double angle) { return bodies(1, angle + 1.0); }},
        {"3d", [](qint32, double angle) { return markers(4, angle); }},
        {"6df2",
         [](qint32 number, double angle) {
             return bodies(1, angle + 1.5) + ' ' + QByteArray::number(number / 30 % 2);
         }},
        {"6dmt2", [](qint32, double angle) { return bodies(1, angle + 2.0) + " 0"; }},
        {"6dmtr", [](qint32, double angle) { return bodies(1, angle + 2.5); }},
    };
    return table;
}

} // namespace

SyntheticFrames::SyntheticFrames(TypeQuery availableTypes)
    : m_availableTypes(std::move(availableTypes))
{
}

bool SyntheticFrames::next(Frame *frame)
{
    ++m_number;
    const double angle = 2.0 * pi * m_number / framesPerTurn;
    frame->clear();
    const QList<QByteArray> types = m_availableTypes();
    for (const QByteArray &type : types) {
        const Content content = contents().value(type);
        const QByteArray text = content ? content(m_number, angle) : QByteArray("0");
        frame->append({type, type + ' ' + text + "\r\n"});
    }
    return true;
}

} // namespace simulation
