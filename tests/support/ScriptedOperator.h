#pragma once
// An Operator for tests: records every text shown and answers from a script.
// Unanswered prompts fail the test; script entries left unused fail it at destruction.
#include "core/DialogController.h"
#include "core/Operator.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <deque>
#include <functional>
#include <mutex>

class ScriptedOperator : public Operator {
public:
    enum class Kind { Alert, Question, Modal, OpenFile, SaveFile, OpenWith, OpenUrl, Quit, Notification };
    struct Event {
        Kind kind;
        QString text; // the alert as shown (with its leading "\n"), the question, the dialog class, the path
    };

    ~ScriptedOperator() override;

    // Script: answers to questions, dialogs and file choosers, consumed in order.
    ScriptedOperator& answerYes();
    ScriptedOperator& answerNo();
    // Answers the next question by calling `decide` (outside the operator's lock): a test can
    // look at the world while the question is on screen, as a hesitating person would.
    ScriptedOperator& answerWith(std::function<bool(const QString& question)> decide);
    ScriptedOperator& onModal(std::function<void(DialogController&)> handler);
    template <typename Dialog> ScriptedOperator& onModal(std::function<void(Dialog&)> handler) {
        return onModal([handler](DialogController& d) { handler(castDialog<Dialog>(d)); });
    }
    ScriptedOperator& chooseFile(const QString& path);

    // Transcript.
    QList<Event> events() const;
    QStringList alerts() const; // texts as shown, "\n" prefix included
    QStringList questions() const;
    QStringList dialogs() const; // class names of the dialogs run
    QStringList openedUrls() const;
    QStringList notifications() const; // "title|text"
    bool quitRequested() const;
    void clearTranscript();

protected:
    void showAlert(const QString& fullText) override;
    bool askYesNo(const QString& text) override;
    int showModal(DialogController& dialog) override;
    QString openFileDialog(const QStringList& extensions) override;
    QString saveFileDialog(const QStringList& types) override;
    void openFile(const QString& path) override;
    void openUrl(const QString& url) override;
    void quit() override;
    void showNotification(const QString& title, const QString& text) override;

private:
    template <typename Dialog> static Dialog& castDialog(DialogController& d);
    static void failCast(const char* wanted, DialogController& got);
    void record(Kind kind, const QString& text);
    QStringList textsOf(Kind kind) const;

    mutable std::mutex m_mutex;
    QList<Event> m_events;
    std::deque<std::function<bool(const QString&)>> m_answers;
    std::deque<std::function<void(DialogController&)>> m_modals;
    std::deque<QString> m_files;
};

template <typename Dialog> Dialog& ScriptedOperator::castDialog(DialogController& d) {
    auto* dialog = qobject_cast<Dialog*>(&d);
    if (dialog == nullptr)
        failCast(Dialog::staticMetaObject.className(), d);
    return *static_cast<Dialog*>(&d);
}
