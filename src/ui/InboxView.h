#pragma once
// The inbox window: the filter row, the numbers that replied on the left, the chosen number's
// conversation on the right as a chat, and the window's buttons.
#include "sending/windows/InboxWindow.h"

#include <QDialog>

class ConversationTableModel;
class QCheckBox;
class QComboBox;
class QDateEdit;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;
class QTextBrowser;

class InboxView : public QDialog {
    Q_OBJECT
public:
    InboxView(InboxWindow& controller, QWidget* parent);

protected:
    void reject() override { m_controller.Close_Btn(); }

private:
    QLayout* buildFilterRow();
    QWidget* buildConversationSide();
    void refresh();
    void showConversation();
    void sinceChanged();

    InboxWindow& m_controller;
    ConversationTableModel* m_model;
    QComboBox* m_campaign = nullptr;
    QCheckBox* m_unreadOnly = nullptr;
    QCheckBox* m_optedOutOnly = nullptr;
    QCheckBox* m_sinceOn = nullptr;
    QDateEdit* m_since = nullptr;
    QLineEdit* m_search = nullptr;
    QTableView* m_table = nullptr;
    QLabel* m_title = nullptr;
    QTextBrowser* m_chat = nullptr;
    QLabel* m_status = nullptr;
    QPushButton* m_more = nullptr;
    QPushButton* m_markUnread = nullptr;
    QPushButton* m_optOut = nullptr;
    QString m_shownHtml, m_shownNumber; // what the chat shows: its place is kept while it does not change
};
