#pragma once
// What both main windows show around their content: the device caption, the no-device
// notice, the device drop-down, and the Exit button. Closing the window asks to exit.
#include <QMainWindow>

class MainWindowController;
class QComboBox;
class QHBoxLayout;
class QPushButton;
class QVBoxLayout;

class MainWindowView : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindowView(MainWindowController& controller, QWidget* parent = nullptr);

protected:
    // The window's working area, between the device bar and the bottom buttons.
    QVBoxLayout* contentArea() const { return m_content; }
    // Kind-specific buttons beside the device drop-down.
    QHBoxLayout* deviceBar() const { return m_deviceBar; }
    // Buttons on the bottom bar, left of Exit.
    QHBoxLayout* bottomBar() const { return m_bottomBar; }
    MainWindowController& controller() const { return m_controller; }

    void closeEvent(QCloseEvent* event) override;

private:
    void refresh();

    MainWindowController& m_controller;
    QPushButton* m_caption = nullptr;
    QPushButton* m_noDeviceNotice = nullptr;
    QComboBox* m_devices = nullptr;
    QVBoxLayout* m_content = nullptr;
    QHBoxLayout* m_deviceBar = nullptr;
    QHBoxLayout* m_bottomBar = nullptr;
};
