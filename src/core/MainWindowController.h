#pragma once
// What both main windows (GSM and Android) share at the level of the application:
// being in front or hidden, the device caption with its no-device notice and device
// drop-down, the device selection sequence (and the selection it keeps), and the way out.
#include "DeviceSelection.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>

class MainWindows;
class Operator;

class MainWindowController : public QObject {
    Q_OBJECT
public:
    enum class Kind { Gsm = 1, Android = 2 };

    MainWindowController(Kind kind, Operator& op, QObject* parent = nullptr);

    Kind kind() const { return m_kind; }
    Operator& op() const { return m_op; }
    virtual QString title() const = 0;

    // Initialisation when the window is loaded (launch steps 2 and 5-7).
    virtual void windowDidLoad() {}

    bool isVisible() const { return m_visible; }
    void bringToFront();
    void hide();

    // Device caption ("No Mobile Phone Device is selected.", a name, or a count).
    QString deviceCaption() const { return m_deviceCaption; }
    bool noDeviceNoticeVisible() const { return m_noDeviceNoticeVisible; }
    QStringList deviceChoices() const { return m_deviceChoices; }
    int deviceChoiceIndex() const { return m_deviceChoiceIndex; }
    QString currentDeviceChoice() const;
    void setDeviceChoiceIndex(int index);

    // Shows this kind's connection-steps dialog; 1 continue, 0 cancel, else back.
    virtual int runConnectionSteps() = 0;

    // Clears the selection, opens this kind's device search window and shows what was
    // selected; then() learns whether the search window reported success. A search window may
    // open after a rest: this returns at once, and then() comes once the window has closed.
    void searchForDevices(std::function<void(bool)> then = {});

    // The devices this window sends with; its device search window writes them.
    DeviceSelection& selection() { return m_selection; }
    const DeviceSelection& selection() const { return m_selection; }

    // Shows the devices the selection holds: caption, notice and drop-down.
    void applyDeviceSelection() { showSelectionResult(); }

    // The program's two main windows this one belongs with (null until they are made).
    MainWindows* mainWindows() const { return m_mainWindows; }
    void setMainWindows(MainWindows* windows) { m_mainWindows = windows; }

    // True while the number field and the composer report their text changes (the list
    // window's). Exit_App answered with No turns it off until Reset turns it on again.
    bool textChangeNotificationsOn() const { return m_textChangeNotificationsOn; }
    void setTextChangeNotifications(bool on) { m_textChangeNotificationsOn = on; }

    // The connect button and the no-device notice: connection steps, then (unless
    // cancelled) the device search.
    void connectDevice();

    // Closing the window and its Exit button.
    void Exit_App();

signals:
    void changed();

protected:
    // Runs the device search window of this kind; reported() learns whether it reported
    // success once it has closed. Until a kind has its search window, nothing gets selected
    // and the choice ends.
    virtual void openDeviceSearchWindow(std::function<void(bool)> reported) { reported(true); }

private:
    void showSelectionResult();

    Kind m_kind;
    Operator& m_op;
    MainWindows* m_mainWindows = nullptr;
    DeviceSelection m_selection;
    std::atomic<bool> m_textChangeNotificationsOn{false};
    bool m_visible = false;
    QString m_deviceCaption;
    bool m_noDeviceNoticeVisible = true;
    QStringList m_deviceChoices;
    int m_deviceChoiceIndex = -1;
};

inline const QString kNoDeviceSelectedCaption = QStringLiteral("No Mobile Phone Device is selected.");
inline const QString kAllDeviceChoice = QStringLiteral("All Device");
