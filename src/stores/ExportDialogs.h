#pragma once
// The choices every export shares: which items (Status_Export_Option), which format
// (Export_Option), and whether to open the written file (Open_Export_Log), with the
// process-wide export state they set.
#include "core/DialogController.h"
#include "core/FileUtils.h" // kErrorInFileAccessing, errorInFileAccessing

#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>

class Operator;

// 0 all items, 1 sent only, 2 unsent only, 3 nothing to export.
extern std::atomic<int> Status_EXPORT_MODE;
// 0 text, 1 HTML, 2 XLSX (ExportFormat).
extern std::atomic<int> SENT_EXPORT_MODE;
// The list the filter judges: 0 the sending job's items, 1 the sent items.
extern std::atomic<int> sent_item_or_sms_sending;
// The path written last (main thread).
extern QString Export_File_Path;

// True when a status belongs to the group of the filter (0 all, 1 sent, 2 unsent).
bool statusPassesFilter(const QString& status, int filter);

class Status_Export_Option : public DialogController {
    Q_OBJECT
public:
    // statusesOf(selector) gives the statuses of the list named by sent_item_or_sms_sending.
    Status_Export_Option(Operator& op, std::function<QStringList(int)> statusesOf, QObject* parent = nullptr);

    int choice() const { return m_choice; } // _export_Al 0, _export_Sent 1, _export_Not_Sent 2
    void Export_All_RD() { choose(0); }
    void Export_Sent_RD() { choose(1); }
    void Export_Not_Sent_RD() { choose(2); }
    void OKPressed();
    void CancelPressed();

private:
    void choose(int filter);
    Operator& m_op;
    std::function<QStringList(int)> m_statusesOf;
    int m_choice = 0;
};

class Export_Option : public DialogController {
    Q_OBJECT
public:
    using DialogController::DialogController;

    int choice() const { return m_choice; } // _export_in_txt 0, _export_in_html 1, _export_in_Xlsx 2
    void Export_In_Text_RD() { choose(0); }
    void Export_In_Html_RD() { choose(1); }
    void Export_In_Xlsx_RD() { choose(2); }
    void OKPressed();
    void CancelPressed();

private:
    void choose(int format);
    int m_choice = 0;
};

class Open_Export_Log : public DialogController {
    Q_OBJECT
public:
    explicit Open_Export_Log(Operator& op, QObject* parent = nullptr);

    bool openLog() const { return m_openLog; } // _open_log_chk
    void setOpenLog(bool on);
    void OKPressed();
    void CancelPressed();

private:
    Operator& m_op;
    bool m_openLog = true;
};

inline const QString kNoItemForExportOption = QStringLiteral("There is no item for selected Export Option.");
