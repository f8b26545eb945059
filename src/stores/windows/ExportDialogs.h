#pragma once
// The choices every export shares: which items (Status_Export_Option), which format
// (Export_Option), and whether to open the written file (Open_Export_Log). Each export
// reads what was chosen from its own dialogs once they end.
#include "core/DialogController.h"
#include "core/FileUtils.h" // kErrorInFileAccessing, errorInFileAccessing

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class Operator;
enum class ExportFormat;

// Where an export goes: the format of Export_Option and the path chosen for it; nothing when the
// operator cancelled either.
struct ExportTarget {
    ExportFormat format;
    QString path;
};
std::optional<ExportTarget> askExportTarget(Operator& op);
// The same after Status_Export_Option over these statuses: the group chosen (0 all, 1 sent,
// 2 unsent) and the target.
struct StatusExportChoice {
    int group = 0;
    ExportTarget target;
};
std::optional<StatusExportChoice> askStatusExport(Operator& op, const QStringList& statuses);

class Status_Export_Option : public DialogController {
    Q_OBJECT
public:
    // statusesOf() gives the statuses of the list the filter judges (the sending job's items
    // or the sent items).
    Status_Export_Option(Operator& op, std::function<QStringList()> statusesOf, QObject* parent = nullptr);

    int choice() const { return m_choice; } // _export_Al 0, _export_Sent 1, _export_Not_Sent 2
    // Status_EXPORT_MODE: what the dialog ended with, 0 all items, 1 sent only, 2 unsent only,
    // 3 nothing to export.
    int Status_EXPORT_MODE() const { return m_filter; }
    void Export_All_RD() { choose(0); }
    void Export_Sent_RD() { choose(1); }
    void Export_Not_Sent_RD() { choose(2); }
    void OKPressed();
    void CancelPressed();

private:
    void choose(int filter);
    Operator& m_op;
    std::function<QStringList()> m_statusesOf;
    int m_choice = 0;
    int m_filter = 0;
};

class Export_Option : public DialogController {
    Q_OBJECT
public:
    using DialogController::DialogController;

    int choice() const { return m_choice; } // _export_in_txt 0, _export_in_html 1, _export_in_Xlsx 2
    // SENT_EXPORT_MODE: the format the dialog ended with (ExportFormat: 0 text, 1 HTML, 2 XLSX).
    int SENT_EXPORT_MODE() const { return m_format; }
    void Export_In_Text_RD() { choose(0); }
    void Export_In_Html_RD() { choose(1); }
    void Export_In_Xlsx_RD() { choose(2); }
    void OKPressed();
    void CancelPressed();

private:
    void choose(int format);
    int m_choice = 0;
    int m_format = 0;
};

class Open_Export_Log : public DialogController {
    Q_OBJECT
public:
    // Export_File_Path: the file just written.
    Open_Export_Log(Operator& op, QString Export_File_Path, QObject* parent = nullptr);

    const QString& Export_File_Path() const { return m_path; }
    bool openLog() const { return m_openLog; } // _open_log_chk
    void setOpenLog(bool on);
    void OKPressed();
    void CancelPressed();

private:
    Operator& m_op;
    QString m_path;
    bool m_openLog = true;
};

inline const QString kNoItemForExportOption = QStringLiteral("There is no item for selected Export Option.");
