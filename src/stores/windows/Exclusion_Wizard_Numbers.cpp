// The numbers screen of the exclusion wizard: the numbers of one list, its name, Finish,
// Back and Close.
#include "Exclusion_Wizard.h"

#include "ExportDialogs.h"
#include "Update_Ex_Num.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "sheets/SpreadsheetWriter.h"
#include "sheets/windows/Import_Excel.h"
#include "stores/ExclusionFiles.h"
#include "stores/ExportFile.h"
#include "stores/StoreImport.h"
#include "text/NumberRules.h"

#include <QFileInfo>

namespace {
const QString kContinue = QStringLiteral("\nAre you sure you want to continue");
const QString kUnsavedNumbers = QStringLiteral(
    "\nYou have made changes in exclusion number list that have not been saved yet.\n\nDo you want "
    "to save the changes?");
const QString kSelectNumber =
    QStringLiteral("Please select at least one record from the exclusion number list to continue.");
} // namespace

QString Exclusion_Wizard::validExclusionNumber(const QString& raw) {
    QString s = Replace_Char_For_Valid_Number(raw);
    if (s.isEmpty() || s.size() > kMaxNumberLength || hasMisplacedPlus(s) || Check_Ph_Number(s, false))
        return {};
    return s;
}

void Exclusion_Wizard::chk_and_insert_validation(const QString& value) {
    QString cleaned = value;
    cleaned.remove(QLatin1Char('\\')).remove(QLatin1Char('{')).remove(QLatin1Char('}'));
    const QString number = validExclusionNumber(cleaned);
    if (number.isEmpty() || Skip_Duplicate_Number(number))
        return;
    m_numbers.append(Record{{kExclusionNumberKey, number}});
    back_flag = true;
    emit changed();
}

void Exclusion_Wizard::replaceNumber(int index, const QString& number) {
    m_numbers.replace(index, Record{{kExclusionNumberKey, number}});
    emit changed();
}

void Exclusion_Wizard::Add_Number_Btn() {
    const QString number = validExclusionNumber(m_numberField);
    if (number.isEmpty()) {
        m_op.Show_MessageBox(kInvalidExclusionNumber);
        return;
    }
    if (Skip_Duplicate_Number(number)) {
        m_op.Show_MessageBox(kExclusionNumberExists);
        return;
    }
    m_numbers.append(Record{{kExclusionNumberKey, number}});
    back_flag = true;
    m_numberField.clear();
    emit changed();
}

void Exclusion_Wizard::numberFieldReturn() {
    if (!Trim_Str(m_numberField).isEmpty())
        Add_Number_Btn();
}

void Exclusion_Wizard::Load_File_Btn() {
    const QString path = m_op.chooseFileToOpen(storeImportExtensions());
    if (path.isEmpty())
        return;
    if (!QFileInfo(path).isFile()) {
        m_op.Show_MessageBox(QStringLiteral("Please select a valid file."));
        return;
    }
    m_fileField = path;
    const int before = m_numbers.size();
    if (QFileInfo(path).suffix().toLower() == QLatin1String("xlsx")) {
        SpreadsheetWriter spreadsheet; // read while the import window is open, then gone
        Import_Excel import(m_op, spreadsheet);
        import.setExclusionTarget(this);
        const int code = import.Open_excel_Wnd(path, QStringLiteral("EX"));
        if (code == 1 && (m_numbers.isEmpty() || m_numbers.size() == before))
            m_op.Show_MessageBox(kExclusionLoadFailed);
        emit changed();
        return;
    }
    if (!QFileInfo(path).isReadable()) {
        m_op.Show_MessageBox(QStringLiteral("Please select a valid file."));
        return;
    }
    QStringList pieces;
    readImportPieces(path, pieces);
    for (const QString& piece : pieces)
        chk_and_insert_validation(piece);
    if (m_numbers.isEmpty() || m_numbers.size() == before)
        m_op.Show_MessageBox(kExclusionLoadFailed);
    emit changed();
}

void Exclusion_Wizard::Update_Number_Btn() {
    if (m_numbers.isEmpty()) {
        m_op.Show_MessageBox(kExclusionNumbersEmpty);
        return;
    }
    if (m_numberSel.isEmpty() || hasBlankSelection(m_numbers, m_numberSel, kExclusionNumberKey)) {
        m_op.Show_MessageBox(kSelectNumber);
        return;
    }
    if (m_numberSel.size() > 1) {
        m_op.Show_MessageBox(QStringLiteral("Please select only one record to update."));
        return;
    }
    const int row = m_numberSel.first();
    Update_Ex_Num editor(*this, m_op, row, m_numbers.at(row).value(kExclusionNumberKey));
    if (m_op.runModal(editor) == 1)
        back_flag = true;
    emit changed();
}

void Exclusion_Wizard::Remove_Numbers_Btn() {
    if (m_numbers.isEmpty()) {
        m_op.Show_MessageBox(kExclusionNumbersEmpty);
        return;
    }
    if (m_numberSel.isEmpty() || hasBlankSelection(m_numbers, m_numberSel, kExclusionNumberKey)) {
        m_op.Show_MessageBox(kSelectNumber);
        return;
    }
    m_numbers.removeRows(m_numberSel);
    back_flag = true;
    setNumberSelection(m_numbers.isEmpty() ? QList<int>{} : QList<int>{0});
    emit changed();
}

void Exclusion_Wizard::Export_Numbers_Btn() {
    if (m_numbers.isEmpty()) {
        m_op.Show_MessageBox(kExclusionNumbersEmpty);
        return;
    }
    Guard::run("Exclusion numbers export", [this] {
        ExportFormat format = ExportFormat::Text;
        const QString path = chooseListPath(m_op, format);
        if (path.isEmpty())
            return;
        QString why;
        const bool written = format == ExportFormat::Xlsx
                                 ? writeExportWorkbook(path, exclusionNumbersRows(numbers()), &why)
                                 : writeExportBytes(path, exclusionNumbersText(numbers()), &why);
        if (!written) {
            m_op.Show_MessageBox(errorInFileAccessing(why));
            return;
        }
        offerToOpenExport(m_op, path);
    });
}

bool Exclusion_Wizard::applyRename(bool fromButton) {
    const QString name = Trim_Str(m_renameField);
    if (name.isEmpty()) {
        if (fromButton)
            m_op.Show_MessageBox(QStringLiteral("Please enter exclusion list name."));
        return !fromButton;
    }
    if (name == m_exlist_name_str)
        return true;
    if (const QString problem = nameProblem(name); !problem.isEmpty()) {
        m_op.Show_MessageBox(problem);
        return false;
    }
    if (fromButton && !m_op.Show_YES_NO_MessageBox(kContinue))
        return false;
    if (update_count == 3) {
        m_folder.Check_Path_And_Create_Files();
        const QString from = exclusionListPath(m_folder, m_exlist_name_str);
        QString why;
        if (!renameFile(from, exclusionListPath(m_folder, name), &why)) {
            fileError(why);
            return false;
        }
        for (int r = 0; r < m_available.size(); ++r)
            if (m_available.at(r).value(kAvailableListKey) == m_exlist_name_str)
                m_available.replace(r, Record{{kAvailableListKey, name}});
        for (int r = 0; r < m_applied.size(); ++r)
            if (m_applied.at(r).value(kAppliedListKey) == m_exlist_name_str)
                m_applied.replace(r, Record{{kAppliedListKey, name}});
        if (QFileInfo::exists(m_folder.ExListIndex_File_Path()))
            writeIndex();
        if (QFileInfo::exists(m_folder.AppExclusion_File_Path()))
            writeApplied();
        refreshMainWindow();
    }
    m_exlist_name_str = name;
    m_nameField = name;
    m_renameField.clear();
    emit changed();
    return true;
}

void Exclusion_Wizard::Rename_Btn() { applyRename(true); }

bool Exclusion_Wizard::finish() {
    if (m_numbers.isEmpty()) {
        m_op.Show_MessageBox(kExclusionNumbersEmpty);
        return false;
    }
    m_folder.Check_Path_And_Create_Files();
    if (!m_op.Show_YES_NO_MessageBox(kContinue))
        return false;
    if (!applyRename(false))
        return false;
    const QString name = m_exlist_name_str;
    if (add_count == 2) {
        add_count = 1;
        if (QFileInfo::exists(m_folder.ExListIndex_File_Path())) {
            QString why;
            if (!appendToFile(m_folder.ExListIndex_File_Path(), (name + QLatin1Char('\n')).toUtf8(), &why))
                fileError(why);
            writeTold(exclusionListPath(m_folder, name), numbers());
        }
        m_available.append(Record{{kAvailableListKey, name}});
    } else if (update_count == 3) {
        if (QFileInfo::exists(m_folder.ExListIndex_File_Path()))
            writeTold(exclusionListPath(m_folder, name), numbers());
    }
    m_numbers.clear();
    back_flag = false;
    showStart();
    refreshMainWindow();
    return true;
}

void Exclusion_Wizard::Finish_Btn() { finish(); }

void Exclusion_Wizard::Back_Btn() {
    if (m_screen == Screen::NameEntry) {
        showStart();
        return;
    }
    if (m_screen != Screen::Numbers)
        return;
    if (back_flag) {
        if (m_op.Show_YES_NO_MessageBox(kUnsavedNumbers))
            finish();
        return;
    }
    if (add_count == 2) {
        add_count = 1;
        m_screen = Screen::NameEntry;
        m_nameField = m_exlist_name_str;
        emit changed();
        return;
    }
    m_numbers.clear();
    showStart();
}

void Exclusion_Wizard::Close_Btn() {
    if (back_flag) {
        if (!m_op.Show_YES_NO_MessageBox(kUnsavedNumbers)) {
            back_flag = false;
            update_app_ex = false;
            m_numbers.clear();
            showStart();
            endModal(0);
            return;
        }
        finish();
    }
    if (update_app_ex) {
        if (m_op.Show_YES_NO_MessageBox(QStringLiteral(
                "\nYou have made changes in 'Exclude when sending SMS' list that have not been saved "
                "yet.\n\nDo you want to save the changes?")))
            Save_Applied_List();
        update_app_ex = false;
    }
    m_numbers.clear();
    showStart();
    endModal(0);
}
