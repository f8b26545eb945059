#include "ExportDialogs.h"

#include "ExportFormats.h"
#include "core/Operator.h"

#include <algorithm>

std::atomic<int> Status_EXPORT_MODE{0};
std::atomic<int> SENT_EXPORT_MODE{0};
std::atomic<int> sent_item_or_sms_sending{0};
QString Export_File_Path;

bool statusPassesFilter(const QString& status, int filter) {
    switch (filter) {
    case 0: return true;
    case 1: return isSentStatus(status);
    case 2: return !isSentStatus(status);
    default: return false;
    }
}

Status_Export_Option::Status_Export_Option(Operator& op, std::function<QStringList(int)> statusesOf,
                                           QObject* parent)
    : DialogController(parent), m_op(op), m_statusesOf(std::move(statusesOf)) {}

void Status_Export_Option::choose(int filter) {
    m_choice = filter;
    Status_EXPORT_MODE = filter;
    emit changed();
}

void Status_Export_Option::OKPressed() {
    const int selector = sent_item_or_sms_sending;
    const int filter = m_choice;
    bool found = false;
    if ((selector == 0 || selector == 1) && m_statusesOf) {
        const QStringList statuses = m_statusesOf(selector);
        found = std::any_of(statuses.begin(), statuses.end(),
                            [filter](const QString& s) { return statusPassesFilter(s, filter); });
    }
    if (!found) {
        Status_EXPORT_MODE = 3;
        m_op.Show_MessageBox(kNoItemForExportOption);
        return; // the dialog stays open
    }
    Status_EXPORT_MODE = filter;
    m_choice = 0;
    emit changed();
    endModal(1);
}

void Status_Export_Option::CancelPressed() {
    Status_EXPORT_MODE = 0;
    m_choice = 0;
    emit changed();
    endModal(0);
}

void Export_Option::choose(int format) {
    m_choice = format;
    SENT_EXPORT_MODE = format;
    emit changed();
}

void Export_Option::OKPressed() {
    SENT_EXPORT_MODE = m_choice;
    m_choice = 0;
    emit changed();
    endModal(1);
}

void Export_Option::CancelPressed() {
    SENT_EXPORT_MODE = 0;
    m_choice = 0;
    emit changed();
    endModal(0);
}

Open_Export_Log::Open_Export_Log(Operator& op, QObject* parent) : DialogController(parent), m_op(op) {}

void Open_Export_Log::setOpenLog(bool on) {
    m_openLog = on;
    emit changed();
}

void Open_Export_Log::OKPressed() {
    if (m_openLog)
        m_op.openWithDefaultApplication(Export_File_Path);
    setOpenLog(true);
    endModal(1);
}

void Open_Export_Log::CancelPressed() {
    setOpenLog(true);
    endModal(0);
}
