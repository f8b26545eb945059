// Modems plugged in and out while the GSM device window is open: the window keeps the list
// true to what is attached without another search.
#include "GSM_Device_List_Wnd.h"

#include "core/Guard.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemHotplug.h"
#include "services/ModemSearch.h"

void GSM_Device_List_Wnd::watchPlugging() {
    if (m_hotplug)
        return;
    m_hotplug = std::make_unique<ModemHotplug>();
    connect(m_hotplug.get(), &ModemHotplug::plugged, this,
            [this](const ModemPortGroups::Group& modem) { modemPlugged(modem); });
    connect(m_hotplug.get(), &ModemHotplug::unplugged, this,
            [this](const ModemPortGroups::Group& modem) { modemUnplugged(modem); });
    connect(m_hotplug.get(), &ModemHotplug::storageMode, this,
            [this](const QString& message) { setPlugNotice(message); });
    m_hotplug->start();
}

void GSM_Device_List_Wnd::stopWatchingPlugging() {
    m_hotplug.reset();
    for (const auto& probe : m_plugProbes)
        probe->requestStop();
}

void GSM_Device_List_Wnd::setPlugNotice(const QString& notice) {
    m_plugNotice = notice;
    emit changed();
}

void GSM_Device_List_Wnd::whenListSettled(const std::function<void()>& change) {
    if (m_listFilling)
        m_afterFilling << change;
    else
        change();
}

void GSM_Device_List_Wnd::modemPlugged(const ModemPortGroups::Group& modem) {
    // Probes that have ended are let go; the others are joined with the window.
    std::erase_if(m_plugProbes, [](const auto& probe) { return !probe->isRunning(); });
    const DeviceSettingsMemory::Kept kept = m_memory ? m_memory->read() : DeviceSettingsMemory::Kept();
    m_plugProbes.push_back(std::make_unique<WorkerThread>(QStringLiteral("modem-plugged")));
    m_plugProbes.back()->start([this, modem, kept](std::stop_token stop) {
        ModemSearch::Result found;
        Guard::run("GSM_Device_List_Wnd::modemPlugged",
                   [&] { found = ModemSearch::searchModems({modem}, stop, {}, kept); });
        if (stop.stop_requested())
            return;
        RecordList rows = found.modems;
        rows << found.unanswered;
        const QString denied = ModemDiscovery::noPermissionMessage(found.denied).trimmed();
        onMain([this, rows, denied] {
            whenListSettled([this, rows] { addPluggedRows(rows); });
            if (!denied.isEmpty())
                setPlugNotice(denied);
        });
    });
}

void GSM_Device_List_Wnd::addPluggedRows(const RecordList& records) {
    QStringList added;
    for (const Record& record : records) {
        const QString imei = record.value(kImeiKey);
        bool listed = rowOf(record.value(kPortDetailKey)) >= 0;
        for (int row = 0; row < m_ports.size() && !listed && !imei.isEmpty(); ++row)
            listed = m_ports.at(row).value(kImeiKey) == imei;
        if (listed)
            continue;
        m_ports.insert(m_ports.size(), record);
        added << ModemSearch::nameOf(record);
    }
    if (!added.isEmpty())
        setPlugNotice(
            QStringLiteral("Plugged in and added to the list: %1.").arg(added.join(QStringLiteral(", "))));
}

void GSM_Device_List_Wnd::modemUnplugged(const ModemPortGroups::Group& modem) {
    const QStringList paths = modem.paths();
    whenListSettled([this, paths] {
        QStringList gone;
        for (int row = m_ports.size() - 1; row >= 0; --row) {
            const Record record = m_ports.at(row);
            if (!paths.contains(record.value(kPortDetailKey)))
                continue;
            gone.prepend(ModemSearch::nameOf(record));
            m_ports.removeRows({row});
            if (m_prevIndex == row) {
                clearShownDevice(); // the device shown is gone: so are its details and settings
            } else if (m_prevIndex > row) {
                --m_prevIndex;
            }
        }
        if (!gone.isEmpty())
            setPlugNotice(QStringLiteral("Unplugged and removed from the list: %1.")
                              .arg(gone.join(QStringLiteral(", "))));
    });
}
