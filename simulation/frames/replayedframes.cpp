#include "replayedframes.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

namespace simulation {

namespace {

constexpr qint64 mebibyte = qint64{1024} * 1024;

/// The largest recording in bytes. The limit exists because the whole recording is kept in memory.
constexpr qint64 sizeLimit = 512 * mebibyte;

bool openFile(QFile &file, const QString &name)
{
    if (name == QLatin1String("-"))
        return file.open(stdin, QIODevice::ReadOnly);
    file.setFileName(name);
    return file.open(QIODevice::ReadOnly);
}

/// Reads \a file to its end, in portions, because the size of a pipe is unknown. Stops early when \a content
/// exceeds the limit, which accept() then reports. Returns false if reading fails.
bool readAll(QFile &file, QByteArray *content)
{
    constexpr int portionSize = 1024 * 1024;
    QByteArray portion(portionSize, Qt::Uninitialized);
    while (content->size() <= sizeLimit) {
        const qint64 length = file.read(portion.data(), portionSize);
        if (length <= 0)
            return length == 0 && file.error() == QFileDevice::NoError;
        content->append(portion.constData(), int(length));
    }
    return true;
}

} // namespace

bool ReplayedFrames::open(const QString &name, const QSet<QByteArray> &types, QString *problem)
{
    QFile file;
    m_types = types;
    if (!openFile(file, name) || !readAll(file, &m_content)) {
        *problem = QCoreApplication::translate("ReplayedFrames", "cannot read the recording '%1': %2")
                       .arg(name, file.errorString());
        return false;
    }
    if (accept(problem))
        return true;
    *problem = QCoreApplication::translate("ReplayedFrames", "the recording '%1' %2").arg(name, *problem);
    return false;
}

/// Checks the content and counts the lines that are skipped. On failure, returns false and sets \a problem to
/// the end of a sentence that begins with the recording's name.
bool ReplayedFrames::accept(QString *problem)
{
    if (m_content.size() > sizeLimit) {
        *problem =
            QCoreApplication::translate("ReplayedFrames", "is larger than %1 MiB").arg(sizeLimit / mebibyte);
        return false;
    }
    if (m_content.contains('\0')) {
        *problem = QCoreApplication::translate("ReplayedFrames", "is not a text file");
        return false;
    }
    for (DataLine line; m_position < m_content.size();) {
        if (!takeLine(&line))
            ++m_skipped;
        else if (m_firstType.isEmpty())
            m_firstType = line.type;
    }
    m_position = 0;
    if (m_firstType.isEmpty())
        *problem = QCoreApplication::translate("ReplayedFrames", "has no line of a known output type");
    return !m_firstType.isEmpty();
}

/// Reads the line at m_position, which must not be the end, and goes to the next one. Returns false if the
/// line is to be skipped.
bool ReplayedFrames::takeLine(DataLine *line)
{
    const int found = m_content.indexOf('\n', m_position);
    const int end = found < 0 ? m_content.size() : found;
    const QByteArray text = withoutLineEnd(m_content.mid(m_position, end - m_position));
    m_position = end + 1;
    *line = {lineType(text), text + "\r\n"};
    return m_types.contains(line->type);
}

bool ReplayedFrames::next(Frame *frame)
{
    // Bounds the memory of a frame, whose lines need many times as much as in the recording.
    constexpr qint64 frameLimit = mebibyte;
    frame->clear();
    const int start = m_position;
    while (m_position < m_content.size() && (frame->isEmpty() || m_position - start < frameLimit)) {
        const int lineStart = m_position;
        DataLine line;
        if (!takeLine(&line))
            continue;
        if (!frame->isEmpty() && line.type == m_firstType) {
            m_position = lineStart;
            break;
        }
        frame->append(line);
    }
    return !frame->isEmpty();
}

} // namespace simulation
