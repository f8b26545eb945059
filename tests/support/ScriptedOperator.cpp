#include "ScriptedOperator.h"

#include <gtest/gtest.h>

ScriptedOperator::~ScriptedOperator() {
    EXPECT_TRUE(m_answers.empty()) << m_answers.size() << " scripted answer(s) never asked for";
    EXPECT_TRUE(m_modals.empty()) << m_modals.size() << " scripted dialog(s) never shown";
    EXPECT_TRUE(m_files.empty()) << m_files.size() << " scripted file choice(s) never made";
}

ScriptedOperator& ScriptedOperator::answerYes() {
    std::lock_guard lock(m_mutex);
    m_answers.push_back([](const QString&) { return true; });
    return *this;
}

ScriptedOperator& ScriptedOperator::answerNo() {
    std::lock_guard lock(m_mutex);
    m_answers.push_back([](const QString&) { return false; });
    return *this;
}

ScriptedOperator& ScriptedOperator::answerWith(std::function<bool(const QString&)> decide) {
    std::lock_guard lock(m_mutex);
    m_answers.push_back(std::move(decide));
    return *this;
}

ScriptedOperator& ScriptedOperator::onModal(std::function<void(DialogController&)> handler) {
    std::lock_guard lock(m_mutex);
    m_modals.push_back(std::move(handler));
    return *this;
}

ScriptedOperator& ScriptedOperator::chooseFile(const QString& path) {
    std::lock_guard lock(m_mutex);
    m_files.push_back(path);
    return *this;
}

QList<ScriptedOperator::Event> ScriptedOperator::events() const {
    std::lock_guard lock(m_mutex);
    return m_events;
}

QStringList ScriptedOperator::textsOf(Kind kind) const {
    std::lock_guard lock(m_mutex);
    QStringList texts;
    for (const Event& e : m_events)
        if (e.kind == kind)
            texts << e.text;
    return texts;
}

QStringList ScriptedOperator::alerts() const { return textsOf(Kind::Alert); }
QStringList ScriptedOperator::questions() const { return textsOf(Kind::Question); }
QStringList ScriptedOperator::dialogs() const { return textsOf(Kind::Modal); }
QStringList ScriptedOperator::openedUrls() const { return textsOf(Kind::OpenUrl); }

QStringList ScriptedOperator::notifications() const { return textsOf(Kind::Notification); }
bool ScriptedOperator::quitRequested() const { return !textsOf(Kind::Quit).isEmpty(); }

void ScriptedOperator::clearTranscript() {
    std::lock_guard lock(m_mutex);
    m_events.clear();
}

void ScriptedOperator::record(Kind kind, const QString& text) {
    std::lock_guard lock(m_mutex);
    m_events.append({kind, text});
}

void ScriptedOperator::showAlert(const QString& fullText) { record(Kind::Alert, fullText); }

bool ScriptedOperator::askYesNo(const QString& text) {
    record(Kind::Question, text);
    std::function<bool(const QString&)> decide;
    {
        std::lock_guard lock(m_mutex);
        if (m_answers.empty()) {
            ADD_FAILURE() << "unscripted question: " << text.toStdString();
            return false;
        }
        decide = std::move(m_answers.front());
        m_answers.pop_front();
    }
    return decide(text);
}

int ScriptedOperator::showModal(DialogController& dialog) {
    record(Kind::Modal, QString::fromLatin1(dialog.metaObject()->className()));
    std::function<void(DialogController&)> handler;
    {
        std::lock_guard lock(m_mutex);
        if (m_modals.empty()) {
            ADD_FAILURE() << "unscripted dialog: " << dialog.metaObject()->className();
            return 0;
        }
        handler = std::move(m_modals.front());
        m_modals.pop_front();
    }
    handler(dialog); // may itself run prompts and nested dialogs
    return dialog.isEnded() ? dialog.endCode() : DialogController::NoCode;
}

QString ScriptedOperator::openFileDialog(const QStringList& extensions) {
    record(Kind::OpenFile, extensions.join(QLatin1Char(',')));
    std::lock_guard lock(m_mutex);
    if (m_files.empty()) {
        ADD_FAILURE() << "unscripted file chooser";
        return QString();
    }
    const QString path = m_files.front();
    m_files.pop_front();
    return path;
}

QString ScriptedOperator::saveFileDialog(const QStringList& types) {
    record(Kind::SaveFile, types.join(QLatin1Char(',')));
    std::lock_guard lock(m_mutex);
    if (m_files.empty()) {
        ADD_FAILURE() << "unscripted save chooser";
        return QString();
    }
    const QString path = m_files.front();
    m_files.pop_front();
    return path;
}

void ScriptedOperator::openFile(const QString& path) { record(Kind::OpenWith, path); }

void ScriptedOperator::openUrl(const QString& url) { record(Kind::OpenUrl, url); }

void ScriptedOperator::quit() { record(Kind::Quit, QString()); }

void ScriptedOperator::showNotification(const QString& title, const QString& text) {
    record(Kind::Notification, title + QLatin1Char('|') + text);
}

void ScriptedOperator::failCast(const char* wanted, DialogController& got) {
    ADD_FAILURE() << "expected dialog " << wanted << ", got " << got.metaObject()->className();
    std::abort(); // continuing with the wrong dialog type would be undefined behaviour
}
