#include "InboxOptions.h"

#include "core/FileUtils.h"
#include "core/Operator.h"

#include <QRegularExpression>

InboxOptions::InboxOptions(Operator& op, DataFolder folder, QObject* parent)
    : DialogController(parent), m_op(op), m_folder(std::move(folder)) {}

void InboxOptions::load() {
    const ReplyOptions kept = readReplyOptions(m_folder);
    windowDays = kept.windowDays;
    stopWordsText = kept.extraStopWords.join(QLatin1Char('\n'));
    notify = kept.notify;
    footer = kept.footer;
    footerText = kept.footerText;
    emit changed();
}

ReplyOptions InboxOptions::options() const {
    ReplyOptions o;
    o.windowDays = windowDays;
    o.extraStopWords = stopWordsFromText(stopWordsText);
    o.notify = notify;
    o.footer = footer;
    o.footerText = footerText.trimmed();
    return o;
}

QString InboxOptions::problem() const {
    if (windowDays < 1 || windowDays > ReplyOptions::kMaxWindowDays)
        return QStringLiteral("A reply answers a campaign for 1 to %1 days.")
            .arg(ReplyOptions::kMaxWindowDays);
    // Each word as typed: what cleaning would drop is said, not lost.
    static const QRegularExpression separators(QStringLiteral("[,;\\n]"));
    QStringList words;
    for (const QString& word : stopWordsText.split(separators, Qt::SkipEmptyParts))
        if (!word.simplified().isEmpty() && !words.contains(word.simplified(), Qt::CaseInsensitive))
            words << word.simplified();
    for (const QString& word : std::as_const(words))
        if (word.size() > ReplyOptions::kMaxStopWordLength)
            return QStringLiteral("A stop word has %1 characters at most: \"%2\" is longer.")
                .arg(ReplyOptions::kMaxStopWordLength)
                .arg(word);
    if (words.size() > ReplyOptions::kMaxStopWords)
        return QStringLiteral("At most %1 stop words of your own (there are %2).")
            .arg(ReplyOptions::kMaxStopWords)
            .arg(words.size());
    const QString text = footerText.trimmed();
    if (text.size() > ReplyOptions::kMaxFooterLength)
        return QStringLiteral("The footer has %1 characters at most (it has %2).")
            .arg(ReplyOptions::kMaxFooterLength)
            .arg(text.size());
    if (footer && text.isEmpty())
        return QStringLiteral("Type the footer's text, or turn the footer off.");
    return {};
}

void InboxOptions::OKPressed() {
    if (const QString why = problem(); !why.isEmpty()) {
        m_op.Show_MessageBox(why);
        return;
    }
    QString why;
    if (!writeReplyOptions(m_folder, options(), &why)) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    endModal(1);
}

void InboxOptions::CancelPressed() { endModal(0); }
