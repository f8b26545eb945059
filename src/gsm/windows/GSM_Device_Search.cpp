// The device search of the GSM device window: the modem search (services/ModemSearch.h), each
// row shown as it is found.
#include "GSM_Device_List_Wnd.h"

#include "SimPinDialog.h"
#include "core/Counted.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemManagerRule.h"
#include "gsm/ModemPortGroups.h"
#include "services/ModemSearch.h"

void GSM_Device_List_Wnd::Search_dev_Pressed() {
    if (m_worker.isRunning())
        return;
    m_worker.start([this](std::stop_token stop) { Find_Ph_Thread(stop); });
}

void GSM_Device_List_Wnd::Find_Ph_Thread(std::stop_token stop) {
    Stop_Modem_SRCH = false;
    onMain([this] { m_searching = true; });
    Find_Ph_List(stop);
    onMain([this] { m_searching = false; });
    Stop_Modem_SRCH = false;
    // Showing the first device starts the next worker: leave that to the main thread, once
    // this one has returned. A join of this worker on the main thread may be what runs this
    // hand-off: joined here, that join finds it joined.
    MainThread::post([this] {
        m_worker.join();
        if (!m_ports.isEmpty()) {
            // The first modem that answered, rather than one that did not.
            int first = 0;
            while (first < m_ports.size() && m_ports.at(first).value(kImeiKey).isEmpty())
                ++first;
            showDevice(first < m_ports.size() ? first : 0);
        } else {
            m_settingsEnabled = false;
            // The heading would still say "Searching Device": say what the search found instead.
            m_heading =
                m_progressMax == 0
                    ? QStringLiteral("There was nothing to search: no serial port was found. Plug in "
                                     "the modem (and check its cable), then search again.")
                    : QStringLiteral("No answer from the %1 searched. Check that the modem is on "
                                     "and not used by another program, then search again.")
                          .arg(counted(m_progressMax, QStringLiteral("modem"), QStringLiteral("modems")));
            emit changed();
        }
    });
}

void GSM_Device_List_Wnd::clearShownDevice() {
    m_prevIndex = -1;
    m_comPortField.clear();
    m_pathField.clear();
    m_detailsText.clear();
    m_defaultSmscField.clear();
    m_customSmscText.clear();
    m_customSmscChecked = false;
    m_settingsEnabled = false;
    m_cases.clear();
    m_heading.clear();
    m_testHeading.clear();
}

void GSM_Device_List_Wnd::Find_Ph_List(std::stop_token stop) {
    onMain([this] {
        clearShownDevice();
        m_controlsEnabled = false;
        m_heading = QStringLiteral("Searching Device");
    });
    ModemIterator iterator;
    if (FindModems(iterator) == 0)
        GetModemPath(iterator.paths, stop);
    onMain([this] { m_controlsEnabled = true; });
}

int GSM_Device_List_Wnd::GetModemPath(const QStringList& paths, std::stop_token stop) {
    ModemSearch::Result found;
    const bool completed = Guard::run("GSM_Device_List_Wnd::GetModemPath", [&] {
        if (m_session.port() != nullptr && m_session.port()->isOpen())
            m_session.closePort();
        // The progress counts modems: a modem of several ports is one step, however many open.
        const QList<ModemPortGroups::Group> modems = ModemPortGroups::groupsOf(paths);
        const int count = int(modems.size());
        onMain([this, count] {
            m_listFilling = true;
            m_ports.clear();
            m_progressMax = count;
            m_progressValue = 0;
        });
        // Each row appears as its probe finds it, in discovery order.
        ModemSearch::Listener shown;
        shown.modemProbed = [this] { onMain([this] { ++m_progressValue; }); };
        shown.inserted = [this](int row, const Record& record) {
            onMain([&] { m_ports.insert(row, record); });
        };
        shown.described = [this](int row, const Record& record) {
            onMain([&] { m_ports.replace(row, record); });
        };
        shown.removed = [this](int row) { onMain([&] { m_ports.removeRows({row}); }); };
        shown.pins = SimPinDialog::asking(m_op);
        found = ModemSearch::searchModems(modems, stop, shown,
                                          m_memory ? m_memory->read() : DeviceSettingsMemory::Kept());
        QStringList alerts = found.alerts();
        // ModemManager holding a modem: the udev rule that frees it, written to the data folder
        // with the command that installs it.
        if (m_memory)
            if (const QString rule = ModemSearch::modemManagerRuleAdvice(
                    found, m_memory->folder().Bulk_SMS_Data_Folder_Path() + QLatin1Char('/') +
                               ModemManagerRule::kFileName);
                !rule.isEmpty())
                alerts << rule;
        for (const QString& alert : alerts)
            m_op.Show_MessageBox(alert);
    });
    if (!completed)
        m_session.closePort();
    // Modems plugged or unplugged meanwhile change the list it has filled.
    onMain([this] {
        m_listFilling = false;
        const QList<std::function<void()>> held = std::exchange(m_afterFilling, {});
        for (const auto& change : held)
            change();
    });
    m_searchedOnce = true;
    return found.modems.isEmpty() ? 5 : 0;
}
