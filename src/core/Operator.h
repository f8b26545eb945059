#pragma once
// Everything a controller asks of the person at the computer goes through an Operator:
// alerts, yes/no questions, file choosers, modal dialogs, opening a file, quitting.
// The Qt implementation shows real dialogs; tests use a scripted one.
//
// Every call may come from any thread: it is run on the main thread while the caller
// waits. Worker threads queue their prompts one at a time; the main thread never blocks
// on that queue, so a worker waiting for an answer can never deadlock the interface.
#include <QString>
#include <QStringList>

#include <mutex>

class DialogController;

class Operator {
public:
    virtual ~Operator() = default;

    // A modal alert with one "OK" button; the text is shown with a leading "\n".
    void Show_MessageBox(const QString& text);
    // A modal question, default "Yes", other "No"; true when the answer is Yes.
    bool Show_YES_NO_MessageBox(const QString& text);

    // Shows the dialog modally and returns the code it ended with.
    int runModal(DialogController& dialog);

    // File choosers; an empty result means the operator cancelled.
    QString chooseFileToOpen(const QStringList& extensions);
    QString chooseFileToSave(const QStringList& types);

    void openWithDefaultApplication(const QString& path);
    // Opens a web page (an "https:" address) in the desktop's browser.
    void openWebPage(const QString& url);

    // Ends the application's event loop: the single way the program finishes.
    void quitApplication();

    // A passing notice on the desktop (a reply came): it never waits for the person and never
    // fails; where the desktop shows none, nothing happens.
    void notify(const QString& title, const QString& text);

protected:
    // Implementations: always called on the main thread, one at a time.
    virtual void showAlert(const QString& fullText) = 0;
    virtual bool askYesNo(const QString& text) = 0;
    virtual int showModal(DialogController& dialog) = 0;
    virtual QString openFileDialog(const QStringList& extensions) = 0;
    virtual QString saveFileDialog(const QStringList& types) = 0;
    virtual void openFile(const QString& path) = 0;
    virtual void openUrl(const QString& url) = 0;
    virtual void quit() = 0;
    virtual void showNotification(const QString& title, const QString& text) {
        Q_UNUSED(title);
        Q_UNUSED(text);
    }

private:
    template <typename F> auto onMainThread(F&& fn);
    std::mutex m_workerPrompts;
};
