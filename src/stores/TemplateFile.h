#pragma once
// The templates file: one template per line, line feeds stored as the separator. Sending
// runs add every new message text to it; several workers may do so at once.
#include "core/DataFolder.h"

#include <QDateTime>
#include <QSet>
#include <QString>
#include <QStringList>

#include <mutex>
#include <utility>

// The templates of a file's content, in file order, line feeds restored.
QStringList parseTemplates(const QByteArray& content);

// The templates as the templates window lists them: each trimmed and cut to a message's
// length, blank ones, the export's rules and repeats left out.
QStringList storedTemplates(const QByteArray& content);

// The templates file of a data folder as a sending run adds to it: each run has its own.
// Its templates are read again only when the file changed since the last look (by size and
// modification time), so a long run with per-row messages does not reread a growing file for
// every message.
class TemplateFile {
public:
    explicit TemplateFile(DataFolder folder) : m_folder(std::move(folder)) {}

    // True when the trimmed text equals one of the templates in the file exactly.
    bool Check_Duplicate_Template(const QString& text);

    // Appends the trimmed text as a template unless it is blank or already there. Returns true
    // when a line was added. The check and the append are one step, so parallel senders of the
    // same text (in any run of the process) add it once. A failed append gives false too, with
    // "<file>: <reason>" in error (may be null; "" whenever nothing failed).
    bool appendTemplateIfNew(const QString& text, QString* error = nullptr);

private:
    using Stamp = std::pair<qint64, QDateTime>;
    static Stamp stampOf(const QString& path);
    bool contains(const QString& text); // under m_mutex and the append lock
    void refresh();

    const DataFolder m_folder;
    std::mutex m_mutex;
    Stamp m_stamp{-2, {}};
    QSet<QString> m_templates;
};

// The stored line of one template, "\n" included.
QByteArray formatTemplateLine(const QString& text);
