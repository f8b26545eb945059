#include "TemplateFile.h"

#include "core/DataFileLock.h"
#include "core/FileUtils.h"
#include "core/TextUtils.h"
#include "stores/ExportFormats.h"
#include "text/NumberRules.h"
#include "text/TextLines.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSet>

#include <mutex>

namespace {
// Runs of one process may add to one file at once, each with its own view of it: the look and
// the append of one text are one step for all of them.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one templates file
std::mutex g_appendMutex;
} // namespace

TemplateFile::Stamp TemplateFile::stampOf(const QString& path) {
    const QFileInfo info(path);
    return {info.exists() ? info.size() : -1, info.lastModified()};
}

void TemplateFile::refresh() {
    const Stamp now = stampOf(m_folder.Templates_File_Path());
    if (now == m_stamp)
        return;
    m_stamp = now;
    m_templates.clear();
    // A file that cannot be read (a symbolic link, say) holds none: the append that
    // follows is refused and says why.
    PrivateFile file(m_folder.Templates_File_Path());
    if (file.open())
        for (const QString& t : parseTemplates(file.readAll()))
            m_templates.insert(Trim_Str(t)); // lines stored untrimmed by earlier versions
}

bool TemplateFile::contains(const QString& text) {
    refresh();
    return m_templates.contains(text);
}

QStringList parseTemplates(const QByteArray& content) {
    QStringList templates;
    for (const QString& line : TextLines::split(QString::fromUtf8(content)))
        if (!line.isEmpty())
            templates << Replace_Sent_Item_and_Template_Seprator_With_New_Line(line);
    return templates;
}

QStringList storedTemplates(const QByteArray& content) {
    QStringList templates;
    QSet<QString> seen;
    for (const QString& text : parseTemplates(content)) {
        // Known by its first 1,600 characters: a longer text read twice is listed once.
        const QString trimmed = Trim_Str(text);
        if (trimmed.isEmpty() || trimmed == kExportRule ||
            trimmed == QLatin1String("[ Bulk SMS - Templates]"))
            continue;
        // Cut, then trimmed again: a cut that ends in white space would not match itself later.
        const QString kept = Trim_Str(trimmed.left(kMaxMessageLength));
        if (!seen.contains(kept)) {
            seen.insert(kept);
            templates << kept;
        }
    }
    return templates;
}

bool TemplateFile::Check_Duplicate_Template(const QString& text) {
    const std::scoped_lock lock(g_appendMutex, m_mutex);
    return contains(Trim_Str(text));
}

bool TemplateFile::appendTemplateIfNew(const QString& text, QString* error) {
    if (error)
        error->clear();
    // Compared and stored trimmed: a text that differs only in its white space is one template.
    const QString trimmed = Trim_Str(text);
    if (trimmed.isEmpty())
        return false;
    const std::scoped_lock lock(g_appendMutex, m_mutex);
    // Another sender of the data folder may save the same text, or a window rewrite the file.
    const DataFileLock shared(m_folder);
    if (!shared.held()) {
        if (error)
            *error = shared.error();
        return false;
    }
    if (contains(trimmed))
        return false;
    m_folder.Check_Path_And_Create_Files();
    if (!appendToFile(m_folder.Templates_File_Path(), formatTemplateLine(trimmed), error))
        return false;
    m_templates.insert(trimmed);
    m_stamp = stampOf(m_folder.Templates_File_Path());
    return true;
}

QByteArray formatTemplateLine(const QString& text) {
    return (Replace_Sent_Item_and_Template_New_Line_with_Seprator(text) + QLatin1Char('\n')).toUtf8();
}
