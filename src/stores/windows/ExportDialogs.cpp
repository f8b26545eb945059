#include "ExportDialogs.h"

#include "core/Operator.h"
#include "stores/ExportFile.h"
#include "stores/ExportFormats.h"

#include <algorithm>
#include <utility>

Status_Export_Option::Status_Export_Option(Operator& op, std::function<QStringList()> statusesOf,
                                           QObject* parent)
    : DialogController(parent), m_op(op), m_statusesOf(std::move(statusesOf)) {}

void Status_Export_Option::choose(int filter) {
    m_choice = filter;
    m_filter = filter;
    emit changed();
}

void Status_Export_Option::OKPressed() {
    const int filter = m_choice;
    bool found = false;
    if (m_statusesOf) {
        const QStringList statuses = m_statusesOf();
        found = std::any_of(statuses.begin(), statuses.end(),
                            [filter](const QString& s) { return statusPassesFilter(s, filter); });
    }
    if (!found) {
        m_filter = 3;
        m_op.Show_MessageBox(kNoItemForExportOption);
        return; // the dialog stays open
    }
    m_filter = filter;
    m_choice = 0;
    emit changed();
    endModal(1);
}

void Status_Export_Option::CancelPressed() {
    m_filter = 0;
    m_choice = 0;
    emit changed();
    endModal(0);
}

void Export_Option::choose(int format) {
    m_choice = format;
    m_format = format;
    emit changed();
}

void Export_Option::OKPressed() {
    m_format = m_choice;
    m_choice = 0;
    emit changed();
    endModal(1);
}

void Export_Option::CancelPressed() {
    m_format = 0;
    m_choice = 0;
    emit changed();
    endModal(0);
}

Open_Export_Log::Open_Export_Log(Operator& op, QString Export_File_Path, QObject* parent)
    : DialogController(parent), m_op(op), m_path(std::move(Export_File_Path)) {}

void Open_Export_Log::setOpenLog(bool on) {
    m_openLog = on;
    emit changed();
}

void Open_Export_Log::OKPressed() {
    if (m_openLog)
        m_op.openWithDefaultApplication(m_path);
    setOpenLog(true);
    endModal(1);
}

void Open_Export_Log::CancelPressed() {
    setOpenLog(true);
    endModal(0);
}

std::optional<ExportTarget> askExportTarget(Operator& op) {
    Export_Option format;
    if (op.runModal(format) == 0)
        return std::nullopt;
    const auto chosen = static_cast<ExportFormat>(format.SENT_EXPORT_MODE());
    const QString path = chooseReportPath(op, chosen);
    if (path.isEmpty())
        return std::nullopt;
    return ExportTarget{chosen, path};
}

std::optional<StatusExportChoice> askStatusExport(Operator& op, const QStringList& statuses) {
    Status_Export_Option filter(op, [&statuses] { return statuses; });
    if (op.runModal(filter) == 0 || filter.Status_EXPORT_MODE() == 3)
        return std::nullopt;
    const std::optional<ExportTarget> target = askExportTarget(op);
    if (!target)
        return std::nullopt;
    return StatusExportChoice{filter.Status_EXPORT_MODE(), *target};
}
