#include "Operator.h"

#include "DialogController.h"
#include "MainThread.h"

template <typename F> auto Operator::onMainThread(F&& fn) {
    if (MainThread::isCurrent())
        return fn();
    std::lock_guard lock(m_workerPrompts);
    return MainThread::invokeAndWait(std::forward<F>(fn));
}

void Operator::Show_MessageBox(const QString& text) {
    const QString fullText = QStringLiteral("\n") + text;
    onMainThread([&] { showAlert(fullText); });
}

bool Operator::Show_YES_NO_MessageBox(const QString& text) {
    return onMainThread([&] { return askYesNo(text); });
}

int Operator::runModal(DialogController& dialog) {
    return onMainThread([&] {
        dialog.beginModal();
        return showModal(dialog);
    });
}

QString Operator::chooseFileToOpen(const QStringList& extensions) {
    return onMainThread([&] { return openFileDialog(extensions); });
}

QString Operator::chooseFileToSave(const QStringList& types) {
    return onMainThread([&] { return saveFileDialog(types); });
}

void Operator::openWithDefaultApplication(const QString& path) {
    onMainThread([&] { openFile(path); });
}

void Operator::openWebPage(const QString& url) {
    onMainThread([&] { openUrl(url); });
}

void Operator::quitApplication() {
    onMainThread([&] { quit(); });
}

void Operator::notify(const QString& title, const QString& text) {
    if (MainThread::isCurrent())
        showNotification(title, text);
    else
        MainThread::post([this, title, text] { showNotification(title, text); });
}
