#include "ReplyOptions.h"

#include "SettingsFile.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

const QString kRepliesKey = QStringLiteral("replies");
const QString kWindowDaysKey = QStringLiteral("windowDays");
const QString kStopWordsKey = QStringLiteral("stopWords");
const QString kNotifyKey = QStringLiteral("notify");
const QString kFooterKey = QStringLiteral("footer");
const QString kFooterTextKey = QStringLiteral("footerText");

QStringList cleanWords(const QStringList& words) {
    QStringList clean;
    for (const QString& word : words) {
        const QString w = word.simplified();
        if (w.isEmpty() || w.size() > ReplyOptions::kMaxStopWordLength ||
            clean.contains(w, Qt::CaseInsensitive))
            continue;
        clean << w;
        if (clean.size() == ReplyOptions::kMaxStopWords)
            break;
    }
    return clean;
}

QString cleanFooter(const QString& text) {
    const QString footer = text.trimmed();
    return footer.isEmpty() || footer.size() > ReplyOptions::kMaxFooterLength ? ReplyOptions::kDefaultFooter
                                                                              : footer;
}

} // namespace

ReplyOptions readReplyOptions(const DataFolder& folder) {
    const QJsonObject kept = SettingsFile(folder).read().value(kRepliesKey).toObject();
    ReplyOptions options;
    const int days = kept.value(kWindowDaysKey).toInt(0);
    if (days >= 1 && days <= ReplyOptions::kMaxWindowDays)
        options.windowDays = days;
    QStringList words;
    for (const QJsonValue word : kept.value(kStopWordsKey).toArray())
        if (word.isString())
            words << word.toString();
    options.extraStopWords = cleanWords(words);
    options.notify = kept.value(kNotifyKey).toBool(false);
    options.footer = kept.value(kFooterKey).toBool(false);
    options.footerText = cleanFooter(kept.value(kFooterTextKey).toString());
    return options;
}

bool writeReplyOptions(const DataFolder& folder, const ReplyOptions& options, QString* error) {
    QJsonObject kept;
    kept.insert(kWindowDaysKey, qBound(1, options.windowDays, ReplyOptions::kMaxWindowDays));
    kept.insert(kStopWordsKey, QJsonArray::fromStringList(cleanWords(options.extraStopWords)));
    kept.insert(kNotifyKey, options.notify);
    kept.insert(kFooterKey, options.footer);
    kept.insert(kFooterTextKey, cleanFooter(options.footerText));
    return SettingsFile(folder).write(kRepliesKey, kept, error);
}

QStringList stopWordsFromText(const QString& text) {
    static const QRegularExpression separators(QStringLiteral("[,;\\n]"));
    return cleanWords(text.split(separators, Qt::SkipEmptyParts));
}
