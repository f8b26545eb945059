#pragma once
// Reads a file of numbers as a stream, a chunk at a time, so a file of any size costs the
// memory of one chunk: plain text in any encoding the loaders accept (one candidate a
// line) and CSV (the phone-like cells). Only regular files are opened: a device, a FIFO
// or a folder could block or never end. A line longer than any number or message could
// be is cut off and counted as an invalid record, never held whole. RTF, which must be
// read whole to be converted, is refused above kMaxRtfBytes.
#include <QList>
#include <QString>
#include <QStringDecoder>
#include <QStringList>

#include <memory>

class NumberFileReader {
public:
    static constexpr qsizetype kMaxLineLength = 4096;            // characters
    static constexpr qint64 kMaxRtfBytes = qint64(64) << 20;     // 64 MiB
    static constexpr qsizetype kChunkBytes = qsizetype(1) << 18; // 256 KiB
    static constexpr qsizetype kMaxNamedCutLines = 1000;         // more are counted only

    NumberFileReader();
    ~NumberFileReader();
    NumberFileReader(const NumberFileReader&) = delete;
    NumberFileReader& operator=(const NumberFileReader&) = delete;

    // Opens the file; false with what the operator is told ("" when the file is readable
    // but holds no text: the caller's corrupted-file message applies).
    bool open(const QString& path, QString& failure);
    // Appends the next candidates, and when lines is given the line (1-based) each came
    // from; false once the file is done (or failed()).
    bool next(QStringList& candidates, QList<qint64>* lines = nullptr);
    // The file could not be read to its end, or is not text at all.
    bool failed() const { return m_failed; }
    // Whether any text was read (an empty file gives none).
    bool hadText() const { return m_hadText; }
    // Lines cut off for being too long (and the first of them by number), and table cells
    // that were no candidates.
    int cutLines() const { return m_cutLines; }
    const QList<qint64>& cutLineNumbers() const { return m_cutLineNumbers; }
    int ignoredCells() const { return m_ignoredCells; }
    // How far through the file, 0 to 1.
    double fraction() const;

    static QString notARegularFileMessage(const QString& path);

private:
    bool readChunk(QString& text);
    void takeLines(QString& text, bool atEnd, QStringList& candidates, QList<qint64>* lines);
    void takeCsv(QString& text, bool atEnd, QStringList& candidates, QList<qint64>* lines);
    void countCut(qint64 line);

    int m_fd = -1;
    enum class Kind { Text, Csv, Rtf } m_kind = Kind::Text;
    std::unique_ptr<QStringDecoder> m_decoder; // null: a legacy code page
    QString m_legacyCharset;
    QByteArray m_head;    // the first chunk, read to tell the encoding
    QByteArray m_rawTail; // legacy bytes after the last line end, waiting for the rest
    QString m_pending;    // text after the last complete line or record
    bool m_skippingLongLine = false;
    bool m_started = false;
    bool m_ended = false;
    bool m_failed = false;
    bool m_hadText = false;
    QChar m_separator;
    int m_cutLines = 0;
    QList<qint64> m_cutLineNumbers;
    qint64 m_linesDone = 0; // complete lines taken so far
    int m_ignoredCells = 0;
    qint64 m_size = 0;
    qint64 m_read = 0;
};
