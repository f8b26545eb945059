#include "ExclusionFiles.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Log.h"
#include "core/TextUtils.h"
#include "text/TextLines.h"

bool IsValidFileName(const QString& name) {
    if (name.size() > 50 || Trim_Str(name).isEmpty())
        return false;
    static const QString forbidden = QStringLiteral("/\\?%*|\"<>:");
    for (const QChar c : name) {
        const char16_t u = c.unicode();
        if (u < 32 || (u >= 128 && u <= 255) || forbidden.contains(c))
            return false;
    }
    return true;
}

QString exclusionListPath(const DataFolder& folder, const QString& name) {
    return folder.Exclusion_Folder_Path() + QLatin1Char('/') + name + QStringLiteral(".OSTREL");
}

QStringList readTrimmedLines(const QString& path, QString* error) {
    QStringList lines;
    PrivateFile file(path);
    if (!file.open(error))
        return lines;
    for (const QString& line : TextLines::split(QString::fromUtf8(file.readAll()))) {
        const QString trimmed = Trim_Str(line);
        if (!trimmed.isEmpty())
            lines << trimmed;
    }
    return lines;
}

QStringList readListNames(const QString& path, QString* error) {
    QStringList names;
    for (const QString& name : readTrimmedLines(path, error)) {
        if (IsValidFileName(name) && name != QLatin1String("ExListIndex"))
            names << name;
        else
            Show_NSLog_Message(QStringLiteral("Ignored exclusion list name: %1").arg(name));
    }
    return names;
}

bool writeLines(const QString& path, const QStringList& lines, QString* error) {
    AtomicFileWriter file(path);
    for (const QString& line : lines)
        if (!file.write((line + QLatin1Char('\n')).toUtf8()))
            break;
    return file.commit(error);
}
