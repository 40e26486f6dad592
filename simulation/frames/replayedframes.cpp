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
    QByteArray content;
    if (!openFile(file, name) || !readAll(file, &content)) {
        *problem = QCoreApplication::translate("ReplayedFrames", "cannot read the recording '%1': %2")
                       .arg(name, file.errorString());
        return false;
    }
    if (accept(content, types, problem))
        return true;
    *problem = QCoreApplication::translate("ReplayedFrames", "the recording '%1' %2").arg(name, *problem);
    return false;
}

/// Keeps the lines of \a content whose type is in \a types. On failure, returns false and sets \a problem to
/// the end of a sentence that begins with the recording's name.
bool ReplayedFrames::accept(const QByteArray &content, const QSet<QByteArray> &types, QString *problem)
{
    if (content.size() > sizeLimit) {
        *problem =
            QCoreApplication::translate("ReplayedFrames", "is larger than %1 MiB").arg(sizeLimit / mebibyte);
        return false;
    }
    if (content.contains('\0')) {
        *problem = QCoreApplication::translate("ReplayedFrames", "is not a text file");
        return false;
    }
    for (int start = 0; start < content.size();) {
        const int found = content.indexOf('\n', start);
        const int end = found < 0 ? content.size() : found;
        const QByteArray line = withoutLineEnd(content.mid(start, end - start));
        const QByteArray type = lineType(line);
        if (types.contains(type))
            m_lines.append({type, line + "\r\n"});
        else
            ++m_skipped;
        start = end + 1;
    }
    if (m_lines.isEmpty())
        *problem = QCoreApplication::translate("ReplayedFrames", "has no line of a known output type");
    return !m_lines.isEmpty();
}

bool ReplayedFrames::next(Frame *frame)
{
    frame->clear();
    while (m_position < m_lines.size()) {
        const DataLine &line = m_lines.at(m_position);
        if (!frame->isEmpty() && line.type == m_lines.first().type)
            break;
        frame->append(line);
        ++m_position;
    }
    return !frame->isEmpty();
}

} // namespace simulation
