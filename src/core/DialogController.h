#pragma once
// Base of every modal dialog's controller. The controller holds the dialog's state and
// operations; it ends its modal session with a code (1 = OK/continue, 0 = cancel,
// anything else = back). Views listen to changed() and ended(); nothing here is a widget.
#include <QObject>

#include <functional>

class DialogController : public QObject {
    Q_OBJECT
public:
    // The code of a dialog closed without choosing (the "back" of the system's dialogs).
    static constexpr int NoCode = -1;

    explicit DialogController(QObject* parent = nullptr);

    // Called by whoever runs the dialog, before it is shown.
    void beginModal();
    void endModal(int code);

    bool isEnded() const { return m_ended; }
    int endCode() const { return m_code; }

signals:
    void changed();
    void ended(int code);

protected:
    // From a worker thread: the change is made on the main thread, where views read the
    // controller, and they hear of it; the worker waits until it is done.
    void onMain(const std::function<void()>& change);

private:
    bool m_ended = false;
    int m_code = NoCode;
};
