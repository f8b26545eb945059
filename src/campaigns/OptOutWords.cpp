#include "OptOutWords.h"

#include <algorithm>

namespace {

bool marks(QChar c) {
    const QChar::Category category = c.category();
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining ||
           category == QChar::Mark_Enclosing;
}

// Spaces, punctuation and invisible format characters (a zero-width space a phone's keyboard
// left) around the word.
bool around(QChar c) { return c.isSpace() || c.isPunct() || c.category() == QChar::Other_Format; }

bool invisible(QChar c) { return c.isSpace() || c.category() == QChar::Other_Format; }

} // namespace

const QStringList& standardStopWords() {
    static const QStringList words{QStringLiteral("STOP"),        QStringLiteral("STOPALL"),
                                   QStringLiteral("UNSUBSCRIBE"), QStringLiteral("CANCEL"),
                                   QStringLiteral("END"),         QStringLiteral("QUIT")};
    return words;
}

const QStringList& startWords() {
    static const QStringList words{QStringLiteral("START"), QStringLiteral("UNSTOP")};
    return words;
}

QString foldedReply(const QString& text) {
    // "Ê" becomes "E" and a combining accent; full-width "ＳＴＯＰ" becomes "STOP".
    const QString decomposed = text.normalized(QString::NormalizationForm_KD);
    QString folded;
    folded.reserve(decomposed.size());
    for (QChar c : decomposed)
        if (!marks(c))
            folded += c;
    folded = folded.toCaseFolded();
    qsizetype end = folded.size();
    while (end > 0 && around(folded.at(end - 1)))
        --end;
    qsizetype start = 0;
    while (start < end && invisible(folded.at(start)))
        ++start;
    return folded.mid(start, end - start);
}

OptOutWord optOutWordOf(const QString& text, const QStringList& extraStopWords) {
    const QString reply = foldedReply(text);
    if (reply.isEmpty())
        return OptOutWord::None;
    const auto among = [&](const QStringList& words) {
        return std::any_of(words.cbegin(), words.cend(),
                           [&](const QString& word) { return foldedReply(word) == reply; });
    };
    if (among(standardStopWords()) || among(extraStopWords))
        return OptOutWord::Stop;
    if (among(startWords()))
        return OptOutWord::Start;
    return OptOutWord::None;
}
