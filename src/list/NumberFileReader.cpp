#include "NumberFileReader.h"

#include "NumberCandidates.h"
#include "text/CodePageDecoder.h"
#include "text/RtfConverter.h"
#include "text/TextFileDecoder.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The byte-order marks TextFileDecoder knows, as QStringDecoder names them.
struct Mark {
    QByteArray bytes;
    const char* encoding;
};
const Mark kMarks[] = {
    {QByteArray("\xFF\xFE\x00\x00", 4), "UTF-32LE"}, {QByteArray("\x00\x00\xFE\xFF", 4), "UTF-32BE"},
    {QByteArray("\xEF\xBB\xBF", 3), "UTF-8"},        {QByteArray("\xFF\xFE", 2), "UTF-16LE"},
    {QByteArray("\xFE\xFF", 2), "UTF-16BE"},
};

// Where the last complete CSV record of text ends (after its line end), -1 when none does:
// a line end inside quotes belongs to its field.
qsizetype lastRecordEnd(const QString& text) {
    bool quoted = false;
    qsizetype end = -1;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('"'))
            quoted = !quoted;
        else if (!quoted && (c == QLatin1Char('\n') || c == QLatin1Char('\r')))
            end = i + 1;
    }
    return end;
}

} // namespace

NumberFileReader::NumberFileReader() = default;

NumberFileReader::~NumberFileReader() {
    if (m_fd >= 0)
        ::close(m_fd);
}

QString NumberFileReader::notARegularFileMessage(const QString& path) {
    return QStringLiteral("\"%1\" is not a regular file (it is a folder, a device or a pipe), so no numbers "
                          "are read from it.")
        .arg(QFileInfo(path).fileName());
}

bool NumberFileReader::open(const QString& path, QString& failure) {
    failure.clear();
    // Without blocking: a FIFO opened for reading would wait for a writer.
    m_fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (m_fd < 0)
        return false;
    struct stat st {};
    if (::fstat(m_fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        failure = notARegularFileMessage(path);
        return false;
    }
    ::fcntl(m_fd, F_SETFL, ::fcntl(m_fd, F_GETFL) & ~O_NONBLOCK);
    m_size = st.st_size;
    const QString extension = QFileInfo(path).suffix().toUpper();
    m_kind = extension == QLatin1String("RTF")   ? Kind::Rtf
             : extension == QLatin1String("CSV") ? Kind::Csv
                                                 : Kind::Text;
    if (m_kind == Kind::Rtf && m_size > kMaxRtfBytes) {
        failure =
            QStringLiteral("\"%1\" is too large to be a list of numbers.").arg(QFileInfo(path).fileName());
        return false;
    }
    return true;
}

double NumberFileReader::fraction() const {
    return m_size > 0 ? std::clamp(double(m_read) / double(m_size), 0.0, 1.0) : 0.0;
}

bool NumberFileReader::readChunk(QString& text) {
    QByteArray bytes(kChunkBytes, Qt::Uninitialized);
    qsizetype got = 0;
    for (;;) {
        got = ::read(m_fd, bytes.data(), size_t(bytes.size()));
        if (got >= 0 || errno != EINTR)
            break;
    }
    if (got < 0) {
        m_failed = true;
        return false;
    }
    bytes.truncate(got);
    m_read += got;
    const bool atEnd = got == 0;
    if (!m_started) {
        if (atEnd)
            return false;
        m_started = true;
        // The encoding is told from the first chunk, cut at a line end so that a character
        // split by the chunk does not look like a broken one.
        const qsizetype lineEnd = bytes.lastIndexOf('\n');
        const QByteArray head = lineEnd > 0 && got == kChunkBytes ? bytes.left(lineEnd + 1) : bytes;
        QString encoding = TextFileDecoder::detectEncoding(head);
        if (encoding.isEmpty()) {
            m_failed = true; // not text
            return false;
        }
        for (const Mark& mark : kMarks) {
            if (bytes.startsWith(mark.bytes)) {
                bytes.remove(0, mark.bytes.size());
                encoding = QString::fromLatin1(mark.encoding);
                break;
            }
        }
        const QByteArray name = encoding.toLatin1();
        if (encoding.startsWith(QLatin1String("UTF")))
            m_decoder = std::make_unique<QStringDecoder>(name.constData());
        else
            m_legacyCharset = encoding;
    }
    if (m_decoder) {
        text = (*m_decoder)(bytes);
    } else {
        // Legacy code pages never use the line-feed byte inside a character: decode up to
        // the last one and keep the rest for the next chunk.
        m_rawTail += bytes;
        const qsizetype lineEnd = atEnd ? m_rawTail.size() - 1 : m_rawTail.lastIndexOf('\n');
        if (lineEnd >= 0) {
            text = CodePageDecoder::decode(m_rawTail.left(lineEnd + 1), m_legacyCharset);
            m_rawTail.remove(0, lineEnd + 1);
        } else if (m_rawTail.size() > kMaxLineLength * 4) {
            text = CodePageDecoder::decode(m_rawTail, m_legacyCharset); // one long line: cut below
            m_rawTail.clear();
        }
    }
    return !atEnd;
}

bool NumberFileReader::next(QStringList& candidates, QList<qint64>* lines) {
    if (m_ended || m_failed || m_fd < 0)
        return false;
    QString text;
    bool more = true;
    if (m_kind == Kind::Rtf) {
        QFile file;
        QByteArray bytes;
        if (file.open(m_fd, QIODevice::ReadOnly, QFileDevice::DontCloseHandle))
            bytes = file.read(kMaxRtfBytes + 1);
        m_read = bytes.size();
        text = RtfConverter::toPlainText(bytes);
        more = false;
        m_kind = Kind::Text;
    } else {
        more = readChunk(text);
        if (m_failed)
            return false;
    }
    if (!text.isEmpty())
        m_hadText = true;
    m_pending += text;
    if (m_kind == Kind::Csv)
        takeCsv(m_pending, !more, candidates, lines);
    else
        takeLines(m_pending, !more, candidates, lines);
    if (!more)
        m_ended = true;
    return more;
}

void NumberFileReader::countCut(qint64 line) {
    ++m_cutLines;
    if (m_cutLineNumbers.size() < kMaxNamedCutLines)
        m_cutLineNumbers.append(line);
}

void NumberFileReader::takeLines(QString& text, bool atEnd, QStringList& candidates, QList<qint64>* lines) {
    qsizetype start = 0;
    for (;;) {
        // A line ends at LF, CR LF or a CR alone: files come from every kind of computer.
        qsizetype lineEnd = -1;
        for (qsizetype i = start; i < text.size(); ++i)
            if (text.at(i) == QLatin1Char('\n') || text.at(i) == QLatin1Char('\r')) {
                lineEnd = i;
                break;
            }
        if (lineEnd >= 0 && lineEnd == text.size() - 1 && text.at(lineEnd) == QLatin1Char('\r') && !atEnd)
            break; // its LF may come with the next chunk
        if (lineEnd < 0 && !atEnd)
            break;
        const qsizetype end = lineEnd < 0 ? text.size() : lineEnd;
        if (lineEnd < 0 && end == start)
            break; // nothing after the last line end
        ++m_linesDone;
        if (m_skippingLongLine) {
            m_skippingLongLine = false; // the rest of a line already counted
        } else if (end - start > kMaxLineLength) {
            countCut(m_linesDone);
        } else {
            candidates += NumberCandidates::fromTextLines(text.mid(start, end - start));
            if (lines)
                lines->append(m_linesDone);
        }
        start = end + 1;
        if (lineEnd >= 0 && text.at(lineEnd) == QLatin1Char('\r') && start < text.size() &&
            text.at(start) == QLatin1Char('\n'))
            ++start;
        if (lineEnd < 0)
            break;
    }
    text.remove(0, std::min(start, text.size()));
    if (text.size() > kMaxLineLength) { // a line that goes on and on: count it, drop what came
        if (!m_skippingLongLine)
            countCut(m_linesDone + 1);
        m_skippingLongLine = true;
        text.clear();
    }
}

void NumberFileReader::takeCsv(QString& text, bool atEnd, QStringList& candidates, QList<qint64>* lines) {
    if (m_separator.isNull()) {
        // Spreadsheet programs may name the separator on a first line of its own: "sep=;".
        if (text.startsWith(QLatin1String("sep="), Qt::CaseInsensitive) && text.size() > 4 &&
            (text.size() == 5 || text.at(5) == QLatin1Char('\r') || text.at(5) == QLatin1Char('\n'))) {
            m_separator = text.at(4);
            text.remove(0, 5);
        } else {
            m_separator = NumberCandidates::sniffCsvSeparator(text);
        }
    }
    // A CR at the very end may be the first half of a CR LF: it waits for the next part.
    const qsizetype end = atEnd                              ? text.size()
                          : text.endsWith(QLatin1Char('\r')) ? lastRecordEnd(text.chopped(1))
                                                             : lastRecordEnd(text);
    if (end > 0) {
        int ignored = 0;
        const qsizetype before = lines ? lines->size() : 0;
        const QString records = text.left(end);
        candidates += NumberCandidates::fromCsvRecords(records, m_separator, &ignored, lines);
        if (lines)
            for (qsizetype i = before; i < lines->size(); ++i)
                (*lines)[i] += m_linesDone + 1;
        m_linesDone += NumberCandidates::countLineBreaks(records);
        m_ignoredCells += ignored;
        text.remove(0, end);
    }
    if (text.size() > kMaxLineLength * 4) { // a record that never ends (an open quote)
        countCut(m_linesDone + 1);
        const qsizetype lineEnd = text.lastIndexOf(QLatin1Char('\n'));
        m_linesDone += NumberCandidates::countLineBreaks(QStringView(text).left(lineEnd + 1));
        text = lineEnd < 0 ? QString() : text.mid(lineEnd + 1);
    }
}
