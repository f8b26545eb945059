#include "TemplateFile.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/TextUtils.h"
#include "text/TextLines.h"

#include <QDateTime>
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
        // A file that cannot be read (a symbolic link, say) holds none: the append that
        // follows is refused and says why.
        PrivateFile file(m_path);
        if (file.open())
            for (const QString& t : parseTemplates(file.readAll()))
                m_templates.insert(Trim_Str(t)); // lines stored untrimmed by earlier versions
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
    for (const QString& line : TextLines::split(QString::fromUtf8(content)))
        if (!line.isEmpty())
            templates << Replace_Sent_Item_and_Template_Seprator_With_New_Line(line);
    return templates;
}

bool Check_Duplicate_Template(const QString& text) {
    std::lock_guard lock(cache().mutex);
    return cache().contains(Trim_Str(text));
}

bool appendTemplateIfNew(const QString& text, QString* error) {
    if (error)
        error->clear();
    // Compared and stored trimmed: a text that differs only in its white space is one template.
    const QString trimmed = Trim_Str(text);
    if (trimmed.isEmpty())
        return false;
    std::lock_guard lock(cache().mutex);
    if (cache().contains(trimmed))
        return false;
    Check_Path_And_Create_Files();
    if (!appendToFile(Templates_File_Path, formatTemplateLine(trimmed), error))
        return false;
    cache().added(trimmed);
    return true;
}

QByteArray formatTemplateLine(const QString& text) {
    return (Replace_Sent_Item_and_Template_New_Line_with_Seprator(text) + QLatin1Char('\n')).toUtf8();
}

bool writeTemplatesFile(const QString& path, const QStringList& templates, QString* error) {
    AtomicFileWriter file(path);
    for (const QString& text : templates)
        if (!file.write(formatTemplateLine(text)))
            break;
    return file.commit(error);
}
