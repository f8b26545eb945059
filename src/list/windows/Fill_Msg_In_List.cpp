#include "Fill_Msg_In_List.h"

#include "BulkSmsWindow.h"
#include "core/Operator.h"

Fill_Msg_In_List::Fill_Msg_In_List(BulkSmsWindow& window, QObject* parent)
    : DialogController(parent), m_window(window) {}

void Fill_Msg_In_List::setChoice(Choice choice) {
    m_choice = choice;
    emit changed();
}

void Fill_Msg_In_List::OKPressed() {
    Operator& op = m_window.op();
    NumberList& list = m_window.list();
    const QString message = m_window.currentMessage();
    switch (m_choice) {
    case Choice::All:
        if (!op.Show_YES_NO_MessageBox(
                QStringLiteral("This action will copy the message of composer box to all "
                               "numbers in the list.\n\nDo you want to continue?")))
            return;
        for (int row = 0; row < list.size(); ++row)
            m_window.replaceMessage(row, message);
        break;
    case Choice::Selected:
        if (m_window.selectedRows().isEmpty()) {
            op.Show_MessageBox(QStringLiteral(
                "Please select at least one record from the phone numbers-messages list to continue."));
            return;
        }
        if (!op.Show_YES_NO_MessageBox(QStringLiteral(
                "This action will copy the message of composer box to the selected numbers in the list. The "
                "messages of rest of the numbers remain unchanged.\n\nDo you want to continue?")))
            return;
        for (int row : m_window.selectedRows())
            m_window.replaceMessage(row, message);
        break;
    case Choice::Blank: {
        QList<int> blanks;
        for (int row = 0; row < list.size(); ++row)
            if (list.at(row).value(kMessageKey).isEmpty())
                blanks << row;
        if (blanks.isEmpty()) {
            op.Show_MessageBox(
                QStringLiteral("There is no blank message in the phone numbers-messages list."));
            return;
        }
        if (!op.Show_YES_NO_MessageBox(QStringLiteral(
                "This action will copy the message of composer box to the blank list items. The messages of "
                "rest of the numbers remain unchanged.\n\nDo you want to continue?")))
            return;
        for (int row : blanks)
            m_window.replaceMessage(row, message);
        break;
    }
    }
    finishCopy();
}

void Fill_Msg_In_List::finishCopy() {
    setChoice(Choice::All);
    endModal(1);
}

void Fill_Msg_In_List::CancelPressed() {
    setChoice(Choice::All);
    endModal(0);
}
