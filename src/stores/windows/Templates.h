#pragma once
// The templates window: the stored message texts, added, edited, deleted, imported,
// exported and put in the place of the active main window's composer text. The file changes
// when the window closes (or at Delete all); each rewrite is atomic.
#include "StoreWindowSupport.h"
#include "core/DataFolder.h"
#include "core/DialogController.h"
#include "core/WorkerThread.h"
#include "sheets/windows/ImportTargets.h"
#include "stores/KeyedTable.h"

#include <QString>
#include <QStringList>

#include <atomic>

class Operator;
class UpdateTemp;

class Templates : public DialogController, public TemplateImportTarget, public ActsOnMainWindows {
    Q_OBJECT
public:
    Templates(Operator& op, DataFolder folder, QObject* parent = nullptr);
    ~Templates() override;

    void Open_Template_Wnd();
    void startLoading();
    void waitForLoading();
    bool loading() const { return m_loading; }
    // The load itself, from the file's bytes (used by the loader and by the command line).
    void loadFrom(const QByteArray& content);

    const RecordTable& nsTemplateListData() const { return m_table; }
    QStringList templates() const;
    QString countLabel() const { return QStringLiteral("Total Items : %1").arg(m_table.size()); }
    bool buttonsEnabled() const { return !m_loading; }
    bool pleaseWaitShown() const { return m_pleaseWait; }

    // TemplateImportTarget (also the editor's checks).
    bool Check_Duplicate_Template(const QString& text) override;
    void Create_Template_List(const QString& text) override;
    void replaceTemplate(int index, const QString& text);

    void setSelectedRows(QList<int> rows);
    const QList<int>& selectedRows() const { return m_selected; }

    UpdateTemp& editor() { return *m_editor; }

    // Buttons.
    void Add_Btn();
    void Update_Btn(); // also a double click on a row
    void Delete_Sel_Btn();
    void Delete_All_Btn();
    void Use_Template_Btn();
    void Import_Btn();
    void Export_Btn();
    void Close_Btn();
    bool Write_Template_file(QString* error = nullptr); // error: "<file>: <reason>"

    int prev_list_item = 0;

signals:
    void selectionChanged();

private:
    bool rewrite(const QStringList& kept, QString* error);
    void exportTemplates();
    void setPleaseWait(bool shown);

    Operator& m_op;
    const DataFolder m_folder;
    KeyedTable m_table;
    QByteArray m_loadedContent; // the file as the window read or last wrote it
    QList<int> m_selected;
    UpdateTemp* m_editor;
    bool m_pleaseWait = false;
    std::atomic<bool> m_loading{false};
    WorkerThread m_loader{QStringLiteral("Templates_Load")};
};

inline const QString kTemplateExists = QStringLiteral("Entered template already exists.");
inline const QString kTemplatesListEmpty = QStringLiteral("Templates list is empty.");
inline const QString kSelectTemplate =
    QStringLiteral("Please select at least one record from the templates list to continue.");
inline const QString kTemplateImportFailed = QStringLiteral(
    "Either file is corrupted or selected file contains invalid characters.\n\nOR\n\nItems are "
    "skipped because of duplicate template already exists in list.");
