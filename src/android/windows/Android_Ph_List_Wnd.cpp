#include "Android_Ph_List_Wnd.h"

#include "And_Conn_Err.h"
#include "android/AndroidDevices.h"
#include "core/Clock.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "delivery/DelayedDeliveryPause.h"
#include "device/DeviceRecord.h"
#include "services/PhoneList.h"

#include <utility>

using namespace std::chrono_literals;

namespace {

const QStringList kRowColumns = {kPortNameKey, kPortDetailKey};
const QString kNotReady = QStringLiteral("Mobile device is not ready.");
const QString kTickPhones =
    QStringLiteral("Several phones are attached: tick the ones to send through, then Select.");

// Capitalised word by word, as the status lines show their texts.
QString capitalised(const QString& text) {
    QString out = text;
    bool start = true;
    for (QChar& c : out) {
        if (start && c.isLetter())
            c = c.toUpper();
        start = c.isSpace();
    }
    return out;
}

} // namespace

Android_Ph_List_Wnd::Android_Ph_List_Wnd(Operator& op, DataFolder folder, DeviceSelection& selection,
                                         AndroidSelection& phone, QObject* parent)
    : DialogController(parent), m_op(op), m_folder(std::move(folder)), m_selection(selection), m_phone(phone),
      m_busyBar([this] { onMain([this] { m_busy = nextActivityValue(m_busy); }); }), m_rows(kRowColumns) {
    resetLines();
}

Android_Ph_List_Wnd::~Android_Ph_List_Wnd() {
    Stop_Modem_SRCH = true;
    m_busyBar.stop();
    m_worker.requestStop();
    m_worker.join();
}

PhoneQuery Android_Ph_List_Wnd::query() const {
    return PhoneQuery{m_phone.serialFilter, [this] { return stopAsked(); }, true};
}

QString Android_Ph_List_Wnd::selectedDevice() const {
    const std::lock_guard lock(m_deviceMutex);
    return m_selectedDevice;
}

void Android_Ph_List_Wnd::phoneFound(const QString& deviceLine) {
    const std::lock_guard lock(m_deviceMutex);
    m_selectedDevice = deviceLine;
}

void Android_Ph_List_Wnd::resetLines() {
    m_lines = {StatusLine{QStringLiteral("Searching Android Device"), QLatin1Char('A')},
               StatusLine{QStringLiteral("Waiting for user permissions"), QLatin1Char('A')},
               StatusLine{QStringLiteral("Connecting"), QLatin1Char('A')}};
    m_linesVisible = true;
}

void Android_Ph_List_Wnd::markLine(Line line, const QString& text, QChar mark) {
    onMain([&] { m_lines.at(size_t(line)) = {capitalised(text), mark}; });
}

QString Android_Ph_List_Wnd::displayName() const { return phoneCaption(m_rows.records(), selectedDevice()); }

void Android_Ph_List_Wnd::Open_Ph_List_Wnd(std::function<void(bool)> reported) {
    m_tableVisible = false;
    m_attached.clear();
    m_phone.AND_Sel_Dev_Details.clear();
    m_busy = 0;
    m_permissionHint = true;
    m_pleaseWait = false;
    resetLines();
    emit changed();
    m_busyBar.startTimerThread();
    Stop_Modem_SRCH = false;
    Search_Btn();
    Clock::after(1s, this, [this, reported = std::move(reported)] {
        const int code = m_op.runModal(*this);
        Stop_Modem_SRCH = true; // a search still running ends with the window
        waitForSearch();
        m_busyBar.stop();
        reported(code == 1 || code == 0);
    });
}

void Android_Ph_List_Wnd::Search_Btn() {
    if (m_searching)
        return;
    m_tableVisible = false;
    Stop_Modem_SRCH = false;
    m_searching = true;
    emit changed();
    m_worker.start([this](std::stop_token) {
        searchDevice(true);
        m_searching = false;
        MainThread::post([this] { emit changed(); });
    });
}

void Android_Ph_List_Wnd::waitForSearch() { m_worker.join(); }

Android_Ph_List_Wnd::Outcome Android_Ph_List_Wnd::searchDevice(bool repeat) {
    PhoneSearch search(m_op, m_folder, query(), this);
    for (;;) {
        if (stopAsked()) {
            markLine(Connection, QStringLiteral("Stopped"), QLatin1Char('A'));
            onMain([this] { m_controlsEnabled = true; });
            return Outcome::Stopped;
        }
        const Outcome outcome = searchRound(search);
        if (!repeat || (outcome != Outcome::NoDevice && outcome != Outcome::Unauthorized))
            return outcome;
        Clock::sleepUnless(1s, [this] { return stopAsked(); });
    }
}

Android_Ph_List_Wnd::Outcome Android_Ph_List_Wnd::searchRound(PhoneSearch& search) {
    onMain([this] {
        m_controlsEnabled = false;
        m_rows.clear();
        m_attached.clear();
        m_infoLabel = QStringLiteral("Status : ");
        m_tableVisible = false;
    });
    const Outcome outcome = search.searchOnce();
    if (outcome == Outcome::Connected)
        showConnected();
    else if (outcome == Outcome::Stopped)
        onMain([this] { m_controlsEnabled = true; });
    else
        return notConnected(outcome);
    return outcome;
}

void Android_Ph_List_Wnd::rowsRead(const RecordList& rows) {
    onMain([&] {
        for (const Record& row : rows)
            m_rows.append(row);
    });
}

Android_Ph_List_Wnd::Outcome Android_Ph_List_Wnd::notConnected(Outcome outcome) {
    const auto stop = [this] { return stopAsked(); };
    Clock::sleep(1s);
    m_busyBar.stop();
    onMain([this] {
        m_busy = 0;
        m_permissionHint = false;
    });
    if (outcome == Outcome::More) {
        markLine(Searching, QStringLiteral("Android device found"), QLatin1Char('T'));
        listAttachedPhones();
        onMain([this] { m_controlsEnabled = true; });
        return outcome;
    }
    const std::optional<PhoneSearch::Problem> problem = PhoneSearch::problemOf(outcome);
    if (!problem) {
        onMain([this] { m_controlsEnabled = true; });
        return outcome;
    }
    const bool noDevice = outcome == Outcome::NoDevice;
    if (noDevice) {
        markLine(Searching, QStringLiteral("Android Device "), QLatin1Char('C'));
    } else {
        markLine(Searching, QStringLiteral("Android device found"), QLatin1Char('T'));
        markLine(Permission, QStringLiteral("User permissions"), QLatin1Char('C'));
    }
    Clock::sleepUnless(1s, stop);
    And_Conn_Err box(noDevice ? QLatin1Char('C') : QLatin1Char('P'), problem->title, problem->text);
    m_op.runModal(box);
    Clock::sleepUnless(1s, stop);
    return outcome;
}

void Android_Ph_List_Wnd::showConnected() {
    Clock::sleepUnless(1s, [this] { return stopAsked(); });
    m_busyBar.stop();
    onMain([this] {
        m_linesVisible = false;
        m_infoLabel = QStringLiteral("Device Information : ");
        m_tableVisible = true;
        m_busy = 0;
        m_controlsEnabled = true;
    });
}

void Android_Ph_List_Wnd::listAttachedPhones() {
    QList<AttachedPhone> phones;
    for (const ListedPhone& listed : listPhones(m_folder, m_phone.serialFilter)) {
        // The rows as a search shows them: the "Device" row first.
        const RecordList rows =
            RecordList{propertyRow(QStringLiteral("Device"), listed.serial)} + listed.properties;
        const QString name = Get_Device_name_Detail(rows);
        const QString caption =
            name.isEmpty() ? listed.serial : QStringLiteral("%1 (%2)").arg(name, listed.serial);
        const bool ready = listed.state == QLatin1String("device");
        phones.append({listed.serial, listed.state, caption, ready});
    }
    onMain([this, phones] {
        m_attached = phones;
        m_linesVisible = false;
        m_infoLabel = kTickPhones;
    });
}

void Android_Ph_List_Wnd::tickPhone(int index, bool ticked) {
    if (index >= 0 && index < m_attached.size() && m_attached.at(index).state == QLatin1String("device"))
        m_attached[index].ticked = ticked;
    emit changed();
}

bool Android_Ph_List_Wnd::chooseTickedPhones() {
    QList<AttachedPhone> ticked;
    for (const AttachedPhone& phone : m_attached)
        if (phone.ticked)
            ticked.append(phone);
    if (ticked.isEmpty()) {
        m_op.Show_MessageBox(kTickPhones);
        return false;
    }
    m_pleaseWait = true;
    emit changed();
    Stop_Modem_SRCH = false;
    QList<ChosenPhone> chosen;
    QString notReady;
    WorkerThread check(QStringLiteral("android-check"));
    check.start([&](std::stop_token) {
        for (const AttachedPhone& phone : ticked) {
            // Each phone is readied as a search readies the one phone: app, permissions, properties.
            PhoneSearch search(m_op, m_folder, PhoneQuery{phone.serial, [this] { return stopAsked(); }});
            if (search.searchOnce() != Outcome::Connected) {
                notReady = phone.caption;
                return;
            }
            chosen.append(chosenPhone(search.rows(), search.deviceLine(), phone.serial));
            chosen.last().caption = phone.caption;
        }
    });
    check.join();
    m_pleaseWait = false;
    resetLines();
    m_linesVisible = false;
    emit changed();
    if (!notReady.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("%1 is not ready: untick it or search again.").arg(notReady));
        return false;
    }
    selectPhones(chosen, m_selection, m_phone);
    endModal(1);
    return true;
}

void Android_Ph_List_Wnd::Select_Btn() {
    if (m_rows.isEmpty() && !m_attached.isEmpty()) {
        chooseTickedPhones();
        return;
    }
    if (m_rows.isEmpty()) {
        m_op.Show_MessageBox(kNotReady);
        return;
    }
    chooseShownPhone();
}

bool Android_Ph_List_Wnd::chooseShownPhone() {
    m_pleaseWait = true;
    emit changed();
    Stop_Modem_SRCH = false;
    Outcome outcome = Outcome::Failed;
    WorkerThread check(QStringLiteral("android-check"));
    check.start([&](std::stop_token) { outcome = PhoneSearch(m_op, m_folder, query(), this).recheck(); });
    check.join();
    m_pleaseWait = false;
    emit changed();
    if (outcome != Outcome::Connected) {
        if (outcome != Outcome::More)
            m_op.Show_MessageBox(kNotReady);
        return false;
    }
    chosenPhone(m_rows.records(), selectedDevice()).selectIn(m_selection, m_phone);
    endModal(1);
    return true;
}

void Android_Ph_List_Wnd::Close_Btn() {
    if (m_searching) {
        if (!m_op.Show_YES_NO_MessageBox(
                QStringLiteral("\nTerminating the current process will stop scanning "
                               "connected device. Are you sure you want to continue?")))
            return;
        m_pleaseWait = true;
        Stop_Modem_SRCH = true;
        emit changed();
        waitForSearch();
        m_pleaseWait = false;
    }
    if (!m_phone.AND_Sel_Dev_Details.isEmpty())
        return;
    if (!m_rows.isEmpty()) {
        Stop_Modem_SRCH = false;
        if (m_op.Show_YES_NO_MessageBox(
                QStringLiteral("Found Android Device [ ") + displayName() +
                QStringLiteral(" ] connected to your computer.\n\n") +
                QStringLiteral("Do you want to select this device for sending SMS?"))) {
            chooseShownPhone();
            return;
        }
    }
    m_selection.clear();
    endModal(0);
}

void Android_Ph_List_Wnd::Mobile_Type_Btn() {
    Stop_Modem_SRCH = true;
    waitForSearch();
    m_selection.clear();
    endModal(NoCode);
}

void Android_Ph_List_Wnd::Check_Device_Status_Btn() {
    if (m_searching)
        return;
    Stop_Modem_SRCH = false;
    QString status;
    WorkerThread reader(QStringLiteral("adb-status"));
    reader.start([&](std::stop_token) { status = Get_Android_Device_Status(query()); });
    reader.join();
    m_op.Show_MessageBox(status);
}
