#include "MainWindowController.h"

#include "AppState.h"
#include "Operator.h"

#include <QPointer>

MainWindowController::MainWindowController(Kind kind, Operator& op, QObject* parent)
    : QObject(parent), m_kind(kind), m_op(op), m_deviceCaption(kNoDeviceSelectedCaption) {}

void MainWindowController::bringToFront() {
    m_visible = true;
    emit changed();
}

void MainWindowController::hide() {
    m_visible = false;
    emit changed();
}

QString MainWindowController::currentDeviceChoice() const {
    return m_deviceChoiceIndex >= 0 && m_deviceChoiceIndex < m_deviceChoices.size()
               ? m_deviceChoices.at(m_deviceChoiceIndex)
               : QString();
}

void MainWindowController::setDeviceChoiceIndex(int index) {
    m_deviceChoiceIndex = (index >= 0 && index < m_deviceChoices.size()) ? index : -1;
    emit changed();
}

void MainWindowController::searchForDevices(std::function<void(bool)> then) {
    m_selection.sel_port_name_str.clear();
    m_selection.sel_port_bsd_str.clear();
    m_deviceChoices.clear();
    m_deviceChoiceIndex = -1;
    m_deviceCaption = kNoDeviceSelectedCaption;
    m_noDeviceNoticeVisible = false;
    emit changed();

    openDeviceSearchWindow([window = QPointer(this), then = std::move(then)](bool reportedSuccess) {
        if (window == nullptr)
            return; // this window went while the search window was open
        window->showSelectionResult();
        if (then)
            then(reportedSuccess);
    });
}

void MainWindowController::showSelectionResult() {
    if (m_selection.sel_port_name_str.isEmpty()) {
        m_deviceCaption = kNoDeviceSelectedCaption;
        m_noDeviceNoticeVisible = true;
        emit changed();
        return;
    }
    m_noDeviceNoticeVisible = false;
    QStringList& paths = m_selection.port_val_str_array;
    const qsizetype selected = paths.size();
    const bool several = m_kind == Kind::Gsm && selected >= 2;
    if (several) {
        m_deviceCaption = QStringLiteral("%1 Mobile Device selected.").arg(selected);
        paths.append(kAllDeviceChoice);
    } else {
        m_deviceCaption = m_selection.sel_port_name_str;
    }
    m_deviceChoices = paths;
    if (m_deviceChoices.isEmpty())
        m_deviceChoiceIndex = -1;
    else
        m_deviceChoiceIndex = several ? int(m_deviceChoices.size() - 1) : 0;
    emit changed();
}

void MainWindowController::connectDevice() {
    if (runConnectionSteps() == 0)
        return;
    searchForDevices();
}

void MainWindowController::Exit_App() {
    if (m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nDo you really want to exit from '%1'?").arg(kApplicationName))) {
        m_op.quitApplication();
        return;
    }
    m_textChangeNotificationsOn = false;
}
