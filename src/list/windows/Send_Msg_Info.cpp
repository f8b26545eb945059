#include "Send_Msg_Info.h"

#include "BulkSmsWindow.h"

Send_Msg_Info::Send_Msg_Info(BulkSmsWindow& window, QObject* parent)
    : DialogController(parent), m_window(window) {}

void Send_Msg_Info::setChoice(Choice choice) {
    m_choice = choice;
    emit changed();
}

void Send_Msg_Info::OKPressed() {
    const NumberList& list = m_window.list();
    const QString message = m_window.currentMessage();
    for (int row = 0; row < list.size(); ++row)
        if (m_choice == Choice::All || list.at(row).value(kMessageKey).isEmpty())
            m_window.replaceMessage(row, message);
    setChoice(Choice::All);
    endModal(1);
}
