#pragma once
// The templates file: one template per line, line feeds stored as the separator. Sending
// runs add every new message text to it; several workers may do so at once.
#include <QString>
#include <QStringList>

// The templates of a file's content, in file order, line feeds restored.
QStringList parseTemplates(const QByteArray& content);

// True when the trimmed text equals one of the templates in the file exactly.
bool Check_Duplicate_Template(const QString& text);

// Appends the trimmed text as a template unless it is blank or already there. Returns true
// when a line was added. The check and the append are one step, so parallel senders of the
// same text add it once. A failed append gives false too, with "<file>: <reason>" in error
// (may be null; "" whenever nothing failed).
bool appendTemplateIfNew(const QString& text, QString* error = nullptr);

// The stored line of one template, "\n" included.
QByteArray formatTemplateLine(const QString& text);

// Replaces the file by these templates through the durable writer; error as above.
bool writeTemplatesFile(const QString& path, const QStringList& templates, QString* error = nullptr);
