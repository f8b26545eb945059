#pragma once
// The operator's choices about replies, kept in the settings file ("replies") so the desktop,
// the worker and the command line read them alike: how long after a campaign a reply still
// answers it, the operator's own stop words, whether a new reply shows a desktop notification,
// and the footer that tells recipients how to opt out.
// The file is untrusted: a value of the wrong kind or out of range reads as the default.
#include "DataFolder.h"

#include <QString>
#include <QStringList>

struct ReplyOptions {
    static constexpr int kDefaultWindowDays = 7;
    static constexpr int kMaxWindowDays = 365;
    static constexpr int kMaxStopWords = 50;
    static constexpr int kMaxStopWordLength = 40;
    static constexpr int kMaxFooterLength = 160;
    static inline const QString kDefaultFooter = QStringLiteral("Reply STOP to opt out");

    int windowDays = kDefaultWindowDays; // 1..kMaxWindowDays
    QStringList extraStopWords;          // trimmed, non-empty, at most kMaxStopWords
    bool notify = false;                 // a desktop notification for each new reply
    bool footer = false;                 // append footerText to every message
    QString footerText = kDefaultFooter;

    // The footer runs put after every message: "" when it is off.
    QString footerInUse() const { return footer ? footerText : QString(); }

    bool operator==(const ReplyOptions&) const = default;
};

// The options as the file holds them (the defaults where it holds nothing usable).
ReplyOptions readReplyOptions(const DataFolder& folder);
// Keeps them (cleaned as reading would); false, with "<path>: <reason>", when the file could not
// be written.
bool writeReplyOptions(const DataFolder& folder, const ReplyOptions& options, QString* error = nullptr);
// The operator's words as typed in a box (one per line or comma separated), cleaned.
QStringList stopWordsFromText(const QString& text);
