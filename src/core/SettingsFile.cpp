#include "SettingsFile.h"

#include "DataFileLock.h"
#include "DataFolder.h"
#include "FileUtils.h"

#include <QJsonDocument>

namespace {

constexpr qsizetype kMaxSize = qsizetype{1024} * 1024; // far beyond any window's options

QJsonObject parsed(const QByteArray& content) {
    if (content.size() > kMaxSize)
        return {};
    const QJsonDocument document = QJsonDocument::fromJson(content);
    return document.isObject() ? document.object() : QJsonObject();
}

} // namespace

SettingsFile::SettingsFile(const DataFolder& folder) : m_folder(folder) {}

QString SettingsFile::path(const DataFolder& folder) {
    return folder.Bulk_SMS_Data_Folder_Path() + QStringLiteral("/Settings.json");
}

QJsonObject SettingsFile::read() const {
    PrivateFile file(path(m_folder));
    return file.open() ? parsed(file.readAll()) : QJsonObject();
}

bool SettingsFile::write(const QString& key, const QJsonValue& value, QString* error) const {
    return update(
        key, [&value](const QJsonValue&) { return value; }, error);
}

bool SettingsFile::update(const QString& key, const std::function<QJsonValue(const QJsonValue& now)>& change,
                          QString* error) const {
    const DataFileLock lock(m_folder);
    if (!lock.held()) {
        if (error)
            *error = lock.error();
        return false;
    }
    QJsonObject all = read();
    const QJsonValue value = change(all.value(key));
    if (value.isNull())
        all.remove(key);
    else
        all.insert(key, value);
    return writeFileAtomically(path(m_folder), QJsonDocument(all).toJson(QJsonDocument::Indented), error);
}
