#include "Templates.h"

#include "ExportDialogs.h"
#include "StoreWindowSupport.h"
#include "UpdateTemp.h"
#include "core/DataFileLock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "list/NumberList.h"
#include "list/windows/BulkSmsWindow.h"
#include "sheets/SpreadsheetWriter.h"
#include "sheets/windows/Import_Excel.h"
#include "stores/ExportFile.h"
#include "stores/StoreImport.h"
#include "stores/TemplateFile.h"
#include "text/NumberRules.h"
#include "text/TextLines.h"

#include <QFileInfo>
#include <utility>

namespace {
QByteArray readFile(const QString& path, QString& why) {
    PrivateFile file(path);
    if (!file.open(&why))
        return {};
    return file.readAll();
}
} // namespace

Templates::Templates(Operator& op, DataFolder folder, QObject* parent)
    : DialogController(parent), m_op(op), m_folder(std::move(folder)), m_table(kMessageKey, {kMessageKey}),
      m_editor(new UpdateTemp(*this, op, this)) {}

Templates::~Templates() { m_loader.requestStop(); }

QStringList Templates::templates() const {
    QStringList out;
    out.reserve(m_table.size());
    for (const Record& r : m_table.records())
        out << r.value(kMessageKey);
    return out;
}

bool Templates::Check_Duplicate_Template(const QString& text) {
    // Compared as it would be stored: a text longer than a template is known by its first
    // 1,600 characters, so importing it twice adds it once.
    return m_table.containsValue(Trim_Str(Trim_Str(text).left(kMaxMessageLength)));
}

void Templates::Create_Template_List(const QString& text) {
    const QString trimmed = Trim_Str(text);
    if (trimmed.isEmpty() || trimmed == kExportRule || trimmed == QLatin1String("[ Bulk SMS - Templates]"))
        return;
    // Cut, then trimmed again: a cut that ends in white space would not match itself later.
    m_table.append(Record{{kMessageKey, Trim_Str(trimmed.left(kMaxMessageLength))}});
    emit changed();
}

void Templates::replaceTemplate(int index, const QString& text) {
    if (index < 0 || index >= m_table.size())
        return;
    m_table.replace(index, Record{{kMessageKey, Trim_Str(text.left(kMaxMessageLength))}});
    emit changed();
}

void Templates::loadFrom(const QByteArray& content) {
    m_loadedContent = content;
    m_table.clear();
    m_selected.clear();
    for (const QString& text : storedTemplates(content))
        m_table.append(Record{{kMessageKey, text}});
    emit selectionChanged();
    emit changed();
}

void Templates::startLoading() {
    m_table.clear();
    m_selected.clear();
    m_loading = true;
    emit changed();
    const QString path = m_folder.Templates_File_Path();
    m_loader.start([this, path](std::stop_token stop) {
        QString why;
        const QByteArray content = Guard::run(
            "Templates load", [&] { return readFile(path, why); }, QByteArray());
        MainThread::invokeAndWait([&] {
            if (!stop.stop_requested() && !why.isEmpty())
                m_op.Show_MessageBox(errorInFileAccessing(why));
            if (!stop.stop_requested())
                loadFrom(content);
            m_loading = false;
            emit changed();
        });
    });
}

void Templates::waitForLoading() { m_loader.join(); }

void Templates::Open_Template_Wnd() {
    startLoading();
    restBeforeShowing(this, [this] { m_op.runModal(*this); });
}

void Templates::setSelectedRows(QList<int> rows) {
    m_selected = validRows(std::move(rows), m_table.size());
    emit selectionChanged();
}

void Templates::Add_Btn() {
    m_editor->beginAdd();
    m_op.runModal(*m_editor);
}

void Templates::Update_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Templates number list is empty."));
        return;
    }
    if (m_selected.isEmpty()) {
        m_op.Show_MessageBox(kSelectTemplate);
        return;
    }
    if (m_selected.size() > 1) {
        m_op.Show_MessageBox(QStringLiteral("Please select only one record to update."));
        return;
    }
    const int row = m_selected.first();
    const QString text = m_table.at(row).value(kMessageKey);
    if (Trim_Str(text).isEmpty()) {
        m_op.Show_MessageBox(kSelectTemplate);
        return;
    }
    m_editor->beginUpdate(row, text);
    m_op.runModal(*m_editor);
}

void Templates::Delete_Sel_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(kTemplatesListEmpty);
        return;
    }
    if (m_selected.isEmpty()) {
        m_op.Show_MessageBox(kSelectTemplate);
        return;
    }
    m_table.removeRows(m_selected);
    setSelectedRows(m_table.isEmpty() ? QList<int>{} : QList<int>{0});
    emit changed();
}

void Templates::Delete_All_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Templates items list is empty."));
        return;
    }
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nThis option will clear the entire list contents. Are you "
                           "sure you want to continue clearing the entire list?")))
        return;
    QString why;
    if (!rewrite({}, &why)) {
        m_op.Show_MessageBox(errorInFileAccessing(why)); // the file still holds them: so does the window
        return;
    }
    m_table.clear();
    setSelectedRows({});
    emit changed();
}

void Templates::Use_Template_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(kTemplatesListEmpty);
        return;
    }
    if (m_selected.isEmpty()) {
        m_op.Show_MessageBox(kSelectTemplate);
        return;
    }
    if (m_selected.size() > 1) {
        m_op.Show_MessageBox(QStringLiteral("Please select only one record."));
        return;
    }
    BulkSmsWindow* window = activeStoreWindow();
    if (window == nullptr)
        return;
    // The template takes the composer's place (a stored template is never over the limit);
    // a message typed there is not lost without a word.
    const QString text = m_table.at(m_selected.first()).value(kMessageKey);
    const QString composer = window->composerText();
    if (!Trim_Str(composer).isEmpty() && composer != text &&
        !m_op.Show_YES_NO_MessageBox(
            QStringLiteral("The composer holds a message. Replace it with the template?")))
        return;
    window->setComposerText(text);
    m_op.Show_MessageBox(
        QStringLiteral("Selected template message has been moved to Message Composer window of Software."));
}

void Templates::Import_Btn() {
    const QString path = m_op.chooseFileToOpen(storeImportExtensions());
    if (path.isEmpty())
        return;
    prev_list_item = m_table.size();
    if (QFileInfo(path).suffix().toLower() == QLatin1String("xlsx")) {
        SpreadsheetWriter spreadsheet; // read while the import window is open, then gone
        Import_Excel import(m_op, spreadsheet);
        import.setTemplateTarget(this);
        const int code = import.Open_excel_Wnd(path, QStringLiteral("TEMP"));
        if (code == 1 && (m_table.isEmpty() || m_table.size() == prev_list_item))
            m_op.Show_MessageBox(kTemplateImportFailed);
        return;
    }
    QStringList pieces;
    if (!QFileInfo(path).isFile() || !readImportPieces(path, pieces)) {
        m_op.Show_MessageBox(QFileInfo(path).isFile() && QFileInfo(path).isReadable()
                                 ? kTemplateImportFailed
                                 : QStringLiteral("Please select a valid file."));
        return;
    }
    for (const QString& piece : pieces)
        if (!Check_Duplicate_Template(piece))
            Create_Template_List(piece);
    if (m_table.isEmpty() || m_table.size() == prev_list_item)
        m_op.Show_MessageBox(kTemplateImportFailed);
}

void Templates::setPleaseWait(bool shown) {
    m_pleaseWait = shown;
    emit changed();
}

void Templates::Export_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(kTemplatesListEmpty);
        return;
    }
    Guard::run("Templates export", [this] { exportTemplates(); });
    setPleaseWait(false);
}

void Templates::exportTemplates() {
    const std::optional<ExportTarget> target = askExportTarget(m_op);
    if (!target)
        return;
    const ExportFormat chosen = target->format;
    const QString& path = target->path;
    setPleaseWait(true);
    const QStringList all = templates();
    QString why;
    const bool written = chosen == ExportFormat::Xlsx   ? writeExportWorkbook(path, templatesRows(all), &why)
                         : chosen == ExportFormat::Html ? writeExportBytes(path, templatesHtml(all), &why)
                                                        : writeExportBytes(path, templatesText(all), &why);
    setPleaseWait(false);
    if (!written) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    offerToOpenExport(m_op, path);
}

bool Templates::Write_Template_file(QString* error) { return rewrite(templates(), error); }

bool Templates::rewrite(const QStringList& kept, QString* error) {
    m_folder.Check_Path_And_Create_Files();
    QByteArray content;
    for (const QString& text : kept)
        content += formatTemplateLine(text);
    // Templates a run saved while the window was open stay.
    if (!rewriteDataFile(m_folder, m_folder.Templates_File_Path(), m_loadedContent, content, error))
        return false;
    m_loadedContent = content;
    return true;
}

void Templates::Close_Btn() {
    QString why;
    if (!m_loading && !Write_Template_file(&why))
        m_op.Show_MessageBox(errorInFileAccessing(why));
    endModal(1);
}
