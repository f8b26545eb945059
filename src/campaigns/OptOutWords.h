#pragma once
// What a reply asks of the messages its sender gets. A reply that is one stop word and nothing
// else (once trimmed, case and accents folded and trailing punctuation dropped: "Stop.",
// " stop!! ", "ARRÊT") opts its sender out; a start word brings them back; anything else, however
// close ("don't stop", "stop it please"), is only a reply.
#include <QString>
#include <QStringList>

enum class OptOutWord { None, Stop, Start };

// The stop words every campaign honours, and the start words.
const QStringList& standardStopWords();
const QStringList& startWords();

// extraStopWords: the operator's own ("ARRET", "BAJA"), folded alike.
OptOutWord optOutWordOf(const QString& text, const QStringList& extraStopWords = {});

// The text as the words are compared: compatibility forms and accents folded, case folded,
// trimmed, trailing punctuation dropped.
QString foldedReply(const QString& text);
