#pragma once
// The exclusion wizard: named lists of numbers that must not receive messages, which of
// them are applied, and the numbers of one list at a time. Files change only at Delete,
// Save, Rename of an existing list and Finish; after every save the active main window's
// exclusion set is rebuilt from the files.
#include "StoreWindowSupport.h"
#include "core/DataFolder.h"
#include "core/DialogController.h"
#include "core/WorkerThread.h"
#include "sheets/windows/ImportTargets.h"
#include "stores/KeyedTable.h"

#include <QString>
#include <QStringList>

#include <atomic>

class DefaultCountry;
class Operator;

// The keys of the wizard's three tables: the names of the lists not applied and applied,
// and the numbers of the list being edited.
inline const QString kAvailableListKey = QStringLiteral("Avail_List");
inline const QString kAppliedListKey = QStringLiteral("Exclude_List");
inline const QString kExclusionNumberKey = QStringLiteral("Exclusion_Num_List");

class Exclusion_Wizard : public DialogController, public ExclusionImportTarget, public ActsOnMainWindows {
    Q_OBJECT
public:
    enum class Screen { Start, NameEntry, Numbers };

    // Numbers are compared in the forms of the application's default country.
    Exclusion_Wizard(Operator& op, DataFolder folder, DefaultCountry& country, QObject* parent = nullptr);
    ~Exclusion_Wizard() override;
    void Open_Exclusion_Wnd();
    void startLoading();
    void waitForLoading();
    bool loading() const { return m_loading; }

    // --- State the screens show.
    Screen screen() const { return m_screen; }
    QString screenText() const;
    const RecordTable& m_exclusion_list_Data() const { return m_available; }
    const RecordTable& m_applied_axclusion_list_Data() const { return m_applied; }
    const RecordTable& m_ex_num_list_Data() const { return m_numbers; }
    QStringList availableLists() const;
    QStringList appliedLists() const;
    QStringList numbers() const;
    QString numberCountLabel() const { return QStringLiteral("Total Numbers : %1").arg(m_numbers.size()); }
    QString currentListCaption() const { return m_exlist_name_str; }
    bool finishShown() const { return add_count == 2; }

    int add_count = 0;
    int update_count = 0;
    bool back_flag = false;
    bool update_app_ex = false;
    QString m_exlist_name_str;

    // Fields and selections, kept current by the view.
    QString nameField() const { return m_nameField; }
    void setNameField(const QString& text);
    QString renameField() const { return m_renameField; }
    void setRenameField(const QString& text);
    QString numberField() const { return m_numberField; }
    void setNumberField(const QString& text); // at most 20 characters
    QString fileField() const { return m_fileField; }
    void setAvailableSelection(QList<int> rows);
    void setAppliedSelection(QList<int> rows);
    void setNumberSelection(QList<int> rows);
    const QList<int>& availableSelection() const { return m_availableSel; }
    const QList<int>& appliedSelection() const { return m_appliedSel; }
    const QList<int>& numberSelection() const { return m_numberSel; }

    // --- Start screen.
    void New_List_Btn();
    void OnContinue();
    void OnUpdate();
    void Delete_List_Btn();
    void Add_Selected_Btn();
    void Add_All_Btn();
    void Remove_Selected_Btn();
    void Remove_All_Btn();
    void Save_Btn();
    void Save_Applied_List();

    // --- Numbers screen.
    void Add_Number_Btn();
    void numberFieldReturn(); // Return in the number field
    void Load_File_Btn();
    void Update_Number_Btn();
    void Remove_Numbers_Btn();
    void Export_Numbers_Btn();
    void Rename_Btn();
    void Finish_Btn();
    void Back_Btn();
    void Close_Btn();

    // --- Shared with the column import and the number editor.
    void chk_and_insert_validation(const QString& value) override;
    // The list already holds this subscriber, however written (in E.164 with a default
    // country); `except` is the row being edited, which may be written anew.
    bool Skip_Duplicate_Number(const QString& number, int except = -1) const;
    void replaceNumber(int index, const QString& number);
    // The normalised number, or "" when it cannot be in a list.
    static QString validExclusionNumber(const QString& raw);

signals:
    void selectionChanged();

private:
    void useDefaultCountry();
    void showStart();
    void showNumbers();
    void setLoaded(const QStringList& available, const QStringList& applied);
    // The message for a name that cannot be used, "" when it can (exists: the list's own name
    // is allowed when allowSelf).
    QString nameProblem(const QString& name) const;
    bool applyRename(bool fromButton);
    bool finish();
    // Each tells the operator when the file could not be written, naming it and why.
    bool writeTold(const QString& path, const QStringList& lines);
    bool writeIndex();
    bool writeApplied();
    void refreshMainWindow();
    void fileError(const QString& why);
    bool hasBlankSelection(const RecordTable& table, const QList<int>& rows, const QString& key) const;

    Operator& m_op;
    const DataFolder m_folder;
    DefaultCountry& m_country;
    Screen m_screen = Screen::Start;
    KeyedTable m_available;
    KeyedTable m_applied;
    KeyedTable m_numbers;
    QList<int> m_availableSel, m_appliedSel, m_numberSel;
    QString m_nameField, m_renameField, m_numberField, m_fileField;
    std::atomic<bool> m_loading{false};
    WorkerThread m_loader{QStringLiteral("Exclusion_Load")};
};

inline const QString kInvalidExclusionNumber = QStringLiteral("Please enter a valid phone number.");
inline const QString kExclusionNumberExists = QStringLiteral("Entered number already exists.");
inline const QString kExclusionNumbersEmpty = QStringLiteral("Exclusion number list is empty.");
inline const QString kExclusionStartText = QStringLiteral(
    "Exclusion List Wizard allows you to maintain the Lists of contacts or Groups, which you may need to "
    "exclude "
    "time to time when sending messages.\n\nFor Example, if you have lists of contacts of Marketing, "
    "Administration, R & D and Customer Care Team members and you want to send messages to all the teams "
    "'Except' Administration team, you can apply exclusion rules to Administration team members contacts "
    "list.");
inline const QString kExclusionNameText =
    QStringLiteral("\n\nGive a friendly name to your Exclusion list so that you can identify it easily.");
inline const QString kExclusionLoadFailed = QStringLiteral(
    "Either file is corrupted or selected file contains invalid characters.\n\nOR\n\nNumbers are "
    "skipped because of duplicate number already exists in exclusion list.");
