#include "StoreImport.h"

#include "text/RtfConverter.h"
#include "text/TextFileDecoder.h"
#include "text/TextLines.h"

#include <QFile>
#include <QFileInfo>

namespace {
// A file larger than this is no list of templates or numbers.
constexpr qint64 kMaxImportBytes = 64LL * 1024 * 1024;
} // namespace

QStringList storeImportExtensions() {
    return {QStringLiteral("txt"), QStringLiteral("TXT"), QStringLiteral("rtf"),  QStringLiteral("RTF"),
            QStringLiteral("csv"), QStringLiteral("CSV"), QStringLiteral("xlsx"), QStringLiteral("XLSX")};
}

bool readImportLines(const QString& path, QList<ImportLine>& lines) {
    lines.clear();
    QFile file(path);
    if (file.size() > kMaxImportBytes || !file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.readAll();
    const QString suffix = QFileInfo(path).suffix().toLower();
    QString text;
    if (suffix == QLatin1String("rtf"))
        text = RtfConverter::toPlainText(bytes);
    else if (!TextFileDecoder::decode(bytes, text))
        return false;
    // Our text exports of earlier versions, UTF-16, carry a byte-order mark before every piece:
    // none is data.
    text.remove(QChar(QChar::ByteOrderMark));
    if (text.isEmpty())
        return false;
    // Whatever the line endings: a file of LF lines read as one line loses every row.
    const bool csv = suffix == QLatin1String("csv");
    int number = 0;
    for (const QString& line : TextLines::split(text)) {
        ImportLine read{++number, line, {}};
        if (!csv)
            read.pieces << line;
        else if (line.contains(QLatin1Char(',')))
            read.pieces = line.split(QLatin1Char(','));
        lines << read;
    }
    return true;
}

bool readImportPieces(const QString& path, QStringList& pieces) {
    pieces.clear();
    QList<ImportLine> lines;
    if (!readImportLines(path, lines))
        return false;
    for (const ImportLine& line : std::as_const(lines))
        pieces << line.pieces;
    return true;
}
