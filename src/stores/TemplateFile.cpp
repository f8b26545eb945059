#include "TemplateFile.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/TextUtils.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <mutex>

namespace {

// The file's templates, read again only when the file changed since the last look (by
// size and modification time), so a long run with per-row messages does not reread a
// growing file for every message.
class TemplateCache {
public:
    bool contains(const QString& text) {
        refresh();
        return m_templates.contains(text);
    }
    void added(const QString& text) {
        m_templates.insert(text);
        m_stamp = stampOf(m_path);
    }

    std::mutex mutex;

private:
    using Stamp = std::pair<qint64, QDateTime>;
    static Stamp stampOf(const QString& path) {
        const QFileInfo info(path);
        return {info.exists() ? info.size() : -1, info.lastModified()};
    }
    void refresh() {
        const Stamp now = stampOf(Templates_File_Path);
        if (m_path == Templates_File_Path && now == m_stamp)
            return;
        m_path = Templates_File_Path;
        m_stamp = now;
        m_templates.clear();
        QFile file(m_path);
        if (file.open(QIODevice::ReadOnly))
            for (const QString& t : parseTemplates(file.readAll()))
                m_templates.insert(t);
    }

    QString m_path;
    Stamp m_stamp{-2, {}};
    QSet<QString> m_templates;
};

TemplateCache& cache() {
    static TemplateCache instance;
    return instance;
}

} // namespace

QStringList parseTemplates(const QByteArray& content) {
    QStringList templates;
    for (const QString& line : QString::fromUtf8(content).split(QLatin1Char('\n')))
        if (!line.isEmpty())
            templates << Replace_Sent_Item_and_Template_Seprator_With_New_Line(line);
    return templates;
}

bool Check_Duplicate_Template(const QString& text) {
    std::lock_guard lock(cache().mutex);
    return cache().contains(Trim_Str(text));
}

bool appendTemplateIfNew(const QString& text) {
    if (Trim_Str(text).isEmpty())
        return false;
    std::lock_guard lock(cache().mutex);
    if (cache().contains(Trim_Str(text)))
        return false;
    Check_Path_And_Create_Files();
    const QByteArray line =
        (Replace_Sent_Item_and_Template_New_Line_with_Seprator(text) + QLatin1Char('\n')).toUtf8();
    if (!appendToFile(Templates_File_Path, line))
        return false;
    cache().added(text);
    return true;
}
