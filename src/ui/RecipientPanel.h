#pragma once
// The working area both main windows share: number field and recipient table on the
// left, the composer and the list options on the right; its buttons open the stored-list
// windows it is given, and the campaigns and inbox windows of its main window.
#include <QList>
#include <QWidget>

class BulkSmsWindow;
class CampaignsWindow;
class CarriedRun;
class InboxWindow;
class StoreWindows;
class QBoxLayout;
class QuietHoursRow;
class QCheckBox;
class QComboBox;
class QLabel;
class QLayout;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTableView;
class RecordTableModel;

class RecipientPanel : public QWidget {
    Q_OBJECT
public:
    // carried: the window's run to come, which a campaign resumed from the campaigns window becomes.
    RecipientPanel(BulkSmsWindow& window, CarriedRun& carried, StoreWindows& stores,
                   QWidget* parent = nullptr);

    QTableView* table() const { return m_table; }

private:
    QWidget* buildListSide();
    QLayout* buildNumberEntry(QWidget* side);
    QLayout* buildLoadButtons(QWidget* side);
    QWidget* buildLoadProgress(QWidget* side);
    QTableView* buildTable(QWidget* side);
    void addListButtons(QWidget* side, QBoxLayout* layout);
    QWidget* buildComposerSide();
    QLayout* buildCostLine(QWidget* side);
    QWidget* buildDelayedDelivery(QWidget* parent);
    QLayout* buildStoreButtons(QWidget* side);
    void refresh();
    void refreshFooter();
    void selectFirstRowIfAny();
    void pushSelection();

    BulkSmsWindow& m_window;
    StoreWindows& m_stores;
    CampaignsWindow* m_campaigns; // opened by this panel's button, for its main window
    InboxWindow* m_inbox;         // likewise
    RecordTableModel* m_model = nullptr;
    QLineEdit* m_number = nullptr;
    QTableView* m_table = nullptr;
    QLabel* m_count = nullptr;
    QLabel* m_refused = nullptr;
    QPlainTextEdit* m_composer = nullptr;
    QLabel* m_counter = nullptr;
    QLabel* m_cost = nullptr;
    QCheckBox* m_unicode = nullptr;
    QCheckBox* m_plainPunctuation = nullptr;
    QCheckBox* m_footer = nullptr;
    QComboBox* m_country = nullptr;
    QComboBox* m_messageType = nullptr;
    QPushButton* m_fill = nullptr;
    QCheckBox* m_skipDuplicates = nullptr;
    QCheckBox* m_exclusion = nullptr;
    QCheckBox* m_saveSentItems = nullptr;
    QCheckBox* m_saveTemplates = nullptr;
    QCheckBox* m_delayedDelivery = nullptr;
    QComboBox* m_delayedCount = nullptr;
    QComboBox* m_delayedTime = nullptr;
    QuietHoursRow* m_quietHours = nullptr;
    bool m_modelChanging = false;
    bool m_tableLocked = false;     // a load is filling the list
    QList<QWidget*> m_listControls; // disabled while a load runs
};
