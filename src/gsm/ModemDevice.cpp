#include "ModemDevice.h"

#include "ConcatenatedSmsAssembler.h"
#include "MFCSMS.h"
#include "ModemAnswers.h"
#include "SimUnlock.h"
#include "TextModeLimits.h"
#include "core/Guard.h"

namespace {
// The read time-out of a sending port (seconds).
constexpr double kSendingReadTimeout = 1.0;

// Opens the session's port on the path, or keeps it where it is already open: -1 when it
// cannot be opened.
int sessionPortOn(MFCSMS& session, const QString& path) {
    if (const AMSerialPort* port = session.port();
        port != nullptr && port->isOpen() && port->bsdPath() == path)
        return port->fileDescriptor();
    session.closePort(); // a port on another device, or one no longer open
    int fd = -1;
    session.initPort_with_decp(path, fd);
    return fd;
}
} // namespace

ModemDevice::ModemDevice(MFCSMS& session, QString path, ModemDetails details, int fd)
    : m_session(session), m_path(std::move(path)), m_details(std::move(details)), m_fd(fd) {}

ModemDevice::~ModemDevice() = default;

std::unique_ptr<ModemDevice> ModemDevice::open(const QString& path, const ModemDetails& details,
                                               bool* lineNotWorking) {
    auto session = std::make_unique<MFCSMS>();
    session->setDefaultSmscLookup([smsc = details.defaultSmsc](const QString&) { return smsc; });
    std::unique_ptr<ModemDevice> device = open(*session, path, details, lineNotWorking);
    if (device)
        device->m_ownSession = std::move(session);
    return device;
}

std::unique_ptr<ModemDevice> ModemDevice::open(MFCSMS& session, const QString& path,
                                               const ModemDetails& details, bool* lineNotWorking) {
    if (lineNotWorking != nullptr)
        *lineNotWorking = false;
    return Guard::run(
        "ModemDevice::open",
        [&]() -> std::unique_ptr<ModemDevice> {
            const int lineFd = session.OpenSerialPort(path);
            if (lineFd == -1) {
                if (lineNotWorking != nullptr)
                    *lineNotWorking = true;
                return nullptr;
            }
            session.CloseSerialPort(lineFd);
            const int fd = sessionPortOn(session, path);
            if (session.port() != nullptr)
                session.port()->setReadTimeout(kSendingReadTimeout);
            if (fd < 0 || !session.Check_Connection(fd)) {
                session.closePort();
                return nullptr;
            }
            return std::unique_ptr<ModemDevice>(new ModemDevice(session, path, details, fd));
        },
        std::unique_ptr<ModemDevice>());
}

QString ModemDevice::prepare(bool deliveryReports) {
    return Guard::run(
        "ModemDevice::prepare",
        [&] {
            m_prepared = true;
            // A modem that is not yet on a network would refuse every message.
            if (QString noNetwork = SimUnlock::awaitNetwork(m_session, m_fd, m_stop, m_waiting);
                !noNetwork.isEmpty())
                return noNetwork;
            if (m_details.mode == SmsMode::Pdu)
                m_session.Prepare_Modem_For_PDU_SMS(m_fd);
            else if (m_details.mode == SmsMode::Text)
                m_session.Prepare_Modem_For_Text_SMS(m_fd);
            // Typed in the other format, a message would go out garbled or to a wrong number.
            if (m_details.mode != SmsMode::Unknown && m_session.formatRefused())
                return ModemAnswers::formatRefusal(m_details.mode == SmsMode::Pdu);
            if (m_session.port() != nullptr)
                m_session.port()->setReadTimeout(kSendingReadTimeout);
            // Reports are asked for only where the modem hands them over: a report it kept
            // would fill the SIM's memory instead.
            m_reportsRouted = deliveryReports && m_session.Route_Status_Reports(m_fd);
            if (!m_reportsRouted)
                m_session.announceNewMessages(m_fd); // replies are read as they come
            m_session.setStatusReportsRequested(m_reportsRouted);
            return QString();
        },
        QString(kStatusConnectionError));
}

bool ModemDevice::canCarry(const OutgoingMessage& message) const {
    return TextModeLimits::carries(m_details.mode, message);
}

SendOutcome ModemDevice::send(const OutgoingMessage& message, std::stop_token stop) {
    if (m_details.mode == SmsMode::Unknown) {
        SendOutcome outcome = SendOutcome::of(Outcome::NotSent, QStringLiteral("Error : +CMS ERROR: 500."));
        outcome.device = m_path;
        return outcome;
    }
    QString status;
    m_session.setPartProgress([this](int part, int parts) { partStarting(part, parts); });
    const bool ran = Guard::run("ModemDevice::send", [&] {
        if (m_details.mode == SmsMode::Text)
            m_session.Send_Text_SMS(m_fd, message.number, message.text, m_details.smsc, message.flash,
                                    message.unicode, m_path, status, m_details.capability, stop);
        else
            m_session.Send_PDU_SMS(m_fd, message.number, message.text, m_details.smsc, message.flash,
                                   message.unicode, status, m_details.capability, stop);
    });
    SendOutcome outcome = ran ? m_session.lastOutcome()
                              : SendOutcome::of(m_session.lastSubmissionHandedOver() ? Outcome::LineFailed
                                                                                     : Outcome::NotHandedOver,
                                                kStatusConnectionError);
    outcome.device = m_path;
    return outcome;
}

QString ModemDevice::noDeliveryReportsReason() const {
    return QStringLiteral(
        "No delivery reports: the device refused to hand them over or keep them (AT+CNMI).");
}

QList<DeliveryReport> ModemDevice::takeDeliveryReports() {
    QList<DeliveryReport> reports;
    Guard::run("ModemDevice::takeDeliveryReports", [&] {
        for (const StatusReport& report : m_session.takeStatusReports(m_fd))
            reports.append(DeliveryReport{report.reference, report.status});
    });
    return reports;
}

void ModemDevice::listenForDeliveryReports(std::chrono::milliseconds duration) {
    Guard::run("ModemDevice::listenForDeliveryReports", [&] {
        if (m_session.port() != nullptr && m_session.port()->isOpen())
            m_session.listenForStatusReports(duration);
    });
}

bool ModemDevice::stillAnswers() {
    return Guard::run(
        "ModemDevice::stillAnswers", [&] { return m_session.Check_Connection(m_fd); }, false);
}

QString ModemDevice::endOfRunNotice() const {
    return m_details.mode == SmsMode::Unknown
               ? QStringLiteral("Selected device is not working properly.Could not initialize device.\n")
               : QString();
}

void ModemDevice::close() { m_session.closePort(); }
