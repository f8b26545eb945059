#include "Exclusion_Wizard.h"

#include "StoreWindowSupport.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "list/DefaultCountry.h"
#include "list/windows/BulkSmsWindow.h"
#include "stores/ExclusionFiles.h"

#include <QFileInfo>
#include <utility>

#include <algorithm>

namespace {
const QString kAvailableEmpty = QStringLiteral("Available list is empty.");
const QString kSelectAvailable =
    QStringLiteral("Please select a record from the available list to continue.");
const QString kAppliedEmpty = QStringLiteral("Exclude when sending SMS list is empty.");

QStringList valuesOf(const RecordTable& table, const QString& key) {
    QStringList out;
    out.reserve(table.size());
    for (const Record& r : table.records())
        out << r.value(key);
    return out;
}

RecordList recordsOf(const QStringList& values, const QString& key) {
    RecordList out;
    out.reserve(values.size());
    for (const QString& v : values)
        out << Record{{key, v}};
    return out;
}
} // namespace

Exclusion_Wizard::Exclusion_Wizard(Operator& op, DataFolder folder, DefaultCountry& country, QObject* parent)
    : DialogController(parent), m_op(op), m_folder(std::move(folder)), m_country(country),
      m_available(kAvailableListKey, {kAvailableListKey}), m_applied(kAppliedListKey, {kAppliedListKey}),
      m_numbers(kExclusionNumberKey, {kExclusionNumberKey}) {
    // One subscriber is one number of a list, however written, as it is when the list is applied.
    useDefaultCountry();
    connect(&m_country, &DefaultCountry::changed, this, [this] { useDefaultCountry(); });
}

void Exclusion_Wizard::useDefaultCountry() {
    const NumberNormaliser normaliser = m_country.normaliser();
    if (!normaliser.active()) {
        m_numbers.setComparedForm({});
        return;
    }
    m_numbers.setComparedForm(
        [normaliser](const QString& number) { return normaliser.comparisonKey(number); });
}

bool Exclusion_Wizard::Skip_Duplicate_Number(const QString& number, int except) const {
    const bool itself = except >= 0 && except < m_numbers.size() &&
                        m_numbers.sameValue(m_numbers.at(except).value(kExclusionNumberKey), number);
    return m_numbers.countOf(number) - (itself ? 1 : 0) > 0;
}

Exclusion_Wizard::~Exclusion_Wizard() { m_loader.requestStop(); }

QStringList Exclusion_Wizard::availableLists() const { return valuesOf(m_available, kAvailableListKey); }
QStringList Exclusion_Wizard::appliedLists() const { return valuesOf(m_applied, kAppliedListKey); }
QStringList Exclusion_Wizard::numbers() const { return valuesOf(m_numbers, kExclusionNumberKey); }

QString Exclusion_Wizard::screenText() const {
    return m_screen == Screen::NameEntry ? kExclusionNameText : kExclusionStartText;
}

void Exclusion_Wizard::setNameField(const QString& text) { m_nameField = text; }
void Exclusion_Wizard::setRenameField(const QString& text) { m_renameField = text; }

void Exclusion_Wizard::setNumberField(const QString& text) {
    m_numberField = text.left(20);
    emit changed();
}

void Exclusion_Wizard::setAvailableSelection(QList<int> rows) {
    m_availableSel = validRows(std::move(rows), m_available.size());
    emit selectionChanged();
}
void Exclusion_Wizard::setAppliedSelection(QList<int> rows) {
    m_appliedSel = validRows(std::move(rows), m_applied.size());
    emit selectionChanged();
}
void Exclusion_Wizard::setNumberSelection(QList<int> rows) {
    m_numberSel = validRows(std::move(rows), m_numbers.size());
    emit selectionChanged();
}

bool Exclusion_Wizard::hasBlankSelection(const RecordTable& table, const QList<int>& rows,
                                         const QString& key) const {
    return std::any_of(rows.begin(), rows.end(),
                       [&](int r) { return Trim_Str(table.at(r).value(key)).isEmpty(); });
}

void Exclusion_Wizard::showStart() {
    m_screen = Screen::Start;
    add_count = 0;
    update_count = 0;
    m_exlist_name_str.clear();
    m_nameField.clear();
    m_renameField.clear();
    m_fileField.clear();
    emit changed();
}

void Exclusion_Wizard::showNumbers() {
    m_screen = Screen::Numbers;
    m_numberField.clear();
    m_renameField.clear();
    m_numberSel.clear();
    emit selectionChanged();
    emit changed();
}

void Exclusion_Wizard::setLoaded(const QStringList& available, const QStringList& applied) {
    m_available.setRecords(recordsOf(available, kAvailableListKey));
    m_applied.setRecords(recordsOf(applied, kAppliedListKey));
    m_availableSel.clear();
    m_appliedSel.clear();
    emit selectionChanged();
    emit changed();
}

void Exclusion_Wizard::startLoading() {
    add_count = 0;
    update_count = 0;
    back_flag = false;
    update_app_ex = false;
    m_numbers.clear();
    showStart();
    m_loading = true;
    const QString index = m_folder.ExListIndex_File_Path(), applied = m_folder.AppExclusion_File_Path();
    m_loader.start([this, index, applied](std::stop_token stop) {
        QStringList a, b;
        QString whyIndex, whyApplied;
        Guard::run("Exclusion lists load", [&] {
            a = readListNames(index, &whyIndex);
            b = readListNames(applied, &whyApplied);
        });
        MainThread::invokeAndWait([&] {
            for (const QString& why : {whyIndex, whyApplied})
                if (!stop.stop_requested() && !why.isEmpty())
                    fileError(why);
            if (!stop.stop_requested())
                setLoaded(a, b);
            m_loading = false;
            emit changed();
        });
    });
}

void Exclusion_Wizard::waitForLoading() { m_loader.join(); }

void Exclusion_Wizard::Open_Exclusion_Wnd() {
    startLoading();
    restBeforeShowing(this, [this] { m_op.runModal(*this); });
}

QString Exclusion_Wizard::nameProblem(const QString& name) const {
    if (!IsValidFileName(name))
        return QStringLiteral("Please enter a valid name.");
    if (name == QLatin1String("ExListIndex"))
        return QStringLiteral("Please enter the another name.");
    if (m_available.containsValue(name))
        return QStringLiteral("Entered exclusion list name already exists.");
    return {};
}

void Exclusion_Wizard::fileError(const QString& why) { m_op.Show_MessageBox(errorInFileAccessing(why)); }

bool Exclusion_Wizard::writeTold(const QString& path, const QStringList& lines) {
    QString why;
    if (writeLines(path, lines, &why))
        return true;
    fileError(why);
    return false;
}

void Exclusion_Wizard::refreshMainWindow() {
    if (BulkSmsWindow* window = activeStoreWindow())
        window->Fill_Exclusion_Num_List();
}

bool Exclusion_Wizard::writeIndex() { return writeTold(m_folder.ExListIndex_File_Path(), availableLists()); }
bool Exclusion_Wizard::writeApplied() { return writeTold(m_folder.AppExclusion_File_Path(), appliedLists()); }

// ---- start screen: available lists ----

void Exclusion_Wizard::New_List_Btn() {
    add_count = 1;
    update_count = 0;
    m_nameField.clear();
    m_numberField.clear();
    m_fileField.clear();
    m_screen = Screen::NameEntry;
    emit changed();
}

void Exclusion_Wizard::OnContinue() {
    if (add_count != 1)
        return;
    const QString name = Trim_Str(m_nameField);
    if (name.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Please enter exclusion list name."));
        return;
    }
    if (const QString problem = nameProblem(name); !problem.isEmpty()) {
        m_op.Show_MessageBox(problem);
        return;
    }
    m_numbers.clear();
    add_count = 2;
    m_exlist_name_str = name;
    showNumbers();
}

void Exclusion_Wizard::OnUpdate() {
    if (m_available.isEmpty()) {
        m_op.Show_MessageBox(kAvailableEmpty);
        return;
    }
    if (m_availableSel.isEmpty() || hasBlankSelection(m_available, m_availableSel, kAvailableListKey)) {
        m_op.Show_MessageBox(kSelectAvailable);
        return;
    }
    if (m_availableSel.size() > 1) {
        m_op.Show_MessageBox(QStringLiteral("Please select only one record to update."));
        return;
    }
    const QString name = m_available.at(m_availableSel.first()).value(kAvailableListKey);
    m_folder.Check_Path_And_Create_Files();
    const QString path = exclusionListPath(m_folder, name);
    QString why;
    if (!QFileInfo::exists(path) && !createEmptyFile(path, &why)) {
        fileError(why);
        return;
    }
    const QStringList stored = readTrimmedLines(path, &why);
    if (!why.isEmpty()) {
        fileError(why);
        return;
    }
    m_nameField = name;
    m_exlist_name_str = name;
    update_count = 2;
    m_numbers.clear();
    RecordList numbers;
    for (const QString& number : stored)
        numbers << Record{{kExclusionNumberKey, number}};
    m_numbers.setRecords(std::move(numbers));
    update_count = 3;
    back_flag = false;
    showNumbers();
}

void Exclusion_Wizard::Delete_List_Btn() {
    if (m_available.isEmpty()) {
        m_op.Show_MessageBox(kAvailableEmpty);
        return;
    }
    if (m_availableSel.isEmpty() || hasBlankSelection(m_available, m_availableSel, kAvailableListKey)) {
        m_op.Show_MessageBox(kSelectAvailable);
        return;
    }
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nAre you sure you want delete the selected available list?")))
        return;
    const QList<int> rows = m_availableSel;
    for (auto it = rows.crbegin(); it != rows.crend(); ++it) {
        const QString name = m_available.at(*it).value(kAvailableListKey);
        m_available.removeRows({*it});
        QList<int> appliedRows;
        for (int r = 0; r < m_applied.size(); ++r)
            if (m_applied.at(r).value(kAppliedListKey) == name)
                appliedRows << r;
        m_applied.removeRows(appliedRows);
        Delete_File(exclusionListPath(m_folder, name));
    }
    m_availableSel.clear();
    m_appliedSel.clear();
    m_folder.Check_Path_And_Create_Files();
    writeIndex();
    writeApplied();
    refreshMainWindow();
    emit selectionChanged();
    emit changed();
}

// ---- start screen: applied lists ----

void Exclusion_Wizard::Add_Selected_Btn() {
    if (m_available.isEmpty()) {
        m_op.Show_MessageBox(kAvailableEmpty);
        return;
    }
    if (m_availableSel.isEmpty() || hasBlankSelection(m_available, m_availableSel, kAvailableListKey)) {
        m_op.Show_MessageBox(kSelectAvailable);
        return;
    }
    const bool allApplied = std::all_of(m_availableSel.begin(), m_availableSel.end(), [this](int r) {
        return m_applied.containsValue(m_available.at(r).value(kAvailableListKey));
    });
    if (!m_applied.isEmpty() && allApplied) {
        m_op.Show_MessageBox(QStringLiteral("Selected list is already in use."));
        return;
    }
    for (int r : m_availableSel) {
        const QString name = m_available.at(r).value(kAvailableListKey);
        if (!m_applied.containsValue(name))
            m_applied.append(Record{{kAppliedListKey, name}});
    }
    update_app_ex = true;
    emit changed();
}

void Exclusion_Wizard::Add_All_Btn() {
    if (m_available.isEmpty()) {
        m_op.Show_MessageBox(kAvailableEmpty);
        return;
    }
    const QStringList names = availableLists();
    const bool allApplied = std::all_of(names.begin(), names.end(),
                                        [this](const QString& n) { return m_applied.containsValue(n); });
    if (!m_applied.isEmpty() && allApplied) {
        m_op.Show_MessageBox(QStringLiteral("All available lists are already in use."));
        return;
    }
    for (const QString& name : names)
        if (!m_applied.containsValue(name))
            m_applied.append(Record{{kAppliedListKey, name}});
    update_app_ex = true;
    emit changed();
}

void Exclusion_Wizard::Remove_Selected_Btn() {
    if (m_applied.isEmpty()) {
        m_op.Show_MessageBox(kAppliedEmpty);
        return;
    }
    if (m_appliedSel.isEmpty() || hasBlankSelection(m_applied, m_appliedSel, kAppliedListKey)) {
        m_op.Show_MessageBox(
            QStringLiteral("Please select a record from Exclude when sending SMS list to continue."));
        return;
    }
    m_applied.removeRows(m_appliedSel);
    setAppliedSelection(m_applied.isEmpty() ? QList<int>{} : QList<int>{0});
    update_app_ex = true;
    emit changed();
}

void Exclusion_Wizard::Remove_All_Btn() {
    if (m_applied.isEmpty()) {
        m_op.Show_MessageBox(kAppliedEmpty);
        return;
    }
    m_applied.clear();
    setAppliedSelection({});
    update_app_ex = true;
    emit changed();
}

void Exclusion_Wizard::Save_Btn() {
    if (m_op.Show_YES_NO_MessageBox(QStringLiteral("\nAre you sure you want to continue")))
        Save_Applied_List();
}

void Exclusion_Wizard::Save_Applied_List() {
    m_folder.Check_Path_And_Create_Files();
    if (!writeApplied())
        return;
    update_app_ex = false;
    refreshMainWindow();
    emit changed();
}
