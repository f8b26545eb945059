#include "ModemProbe.h"

#include "MFCSMS.h"
#include "ProbeAnswers.h"
#include "core/TextUtils.h"

#include <optional>

namespace {

using namespace ProbeAnswers;

const QString kUndefined = QStringLiteral("Undefined");

// Asks one command at a time. A command that cannot be written loses the line: every later
// question goes unasked, and the probe reports failure.
class Prober {
public:
    Prober(MFCSMS& session, int fd) : m_session(session), m_fd(fd) {}

    bool lineLost() const { return m_lineLost; }

    // The cleaned answer, or nothing when the read failed or the line is lost.
    std::optional<QString> ask(const QString& command, const QStringList& words, bool keepQuotes = false) {
        if (m_lineLost)
            return std::nullopt;
        m_session.setLastResponse(QString());
        if (!m_session.Write_Command(m_fd, command)) {
            m_lineLost = true;
            return std::nullopt;
        }
        if (!m_session.Read_Command(m_fd, QStringLiteral("OK")))
            return std::nullopt;
        return clean(m_session.lastResponse(), words, keepQuotes);
    }

    // The answer of the first command, or of the fallback when the first says "Undefined".
    std::optional<QString> askWithFallback(const QString& command, const QString& fallback,
                                           const QStringList& words,
                                           QString (*read)(const QString&) = nullptr) {
        std::optional<QString> answer = ask(command, words);
        if (answer && read)
            answer = read(*answer);
        if (answer && *answer == kUndefined) {
            answer = ask(fallback, words);
            if (answer && read)
                answer = read(*answer);
        }
        return answer;
    }

private:
    MFCSMS& m_session;
    int m_fd;
    bool m_lineLost = false;
};

} // namespace

bool Check_Msg_Sending_Supported(MFCSMS& session, int fd) {
    const auto askOk = [&](const QString& command) {
        return session.Write_Command(fd, command) && session.Read_Command(fd, QStringLiteral("OK"));
    };
    const auto refused = [&] {
        const QString answer = session.lastResponse();
        return answer.contains(QStringLiteral("COMMAND NOT SUPPORT")) ||
               answer.contains(QStringLiteral("ERROR"));
    };
    if (!askOk(QStringLiteral("AT\r\n")) || !askOk(QStringLiteral("AT+CSMS=?\r")) || refused())
        return false;
    return askOk(QStringLiteral("AT+CMGS=?\r")) && !refused();
}

QString Get_IMEI_Number(MFCSMS& session, int fd) {
    const auto read = [&](const QString& command) -> QString {
        if (!session.Write_Command(fd, command) || !session.Read_Command(fd, QStringLiteral("OK")))
            return QString();
        return imeiDigits(clean(session.lastResponse(), kImeiWords));
    };
    if (!session.Write_Command(fd, QStringLiteral("AT\r\n")) ||
        !session.Read_Command(fd, QStringLiteral("OK")))
        return QString();
    QString imei = read(QStringLiteral("AT+CGSN\r"));
    if (imei == kUndefined)
        imei = read(QStringLiteral("AT+GSN\r"));
    return Trim_Str(imei);
}

QString Get_ICCID_Number(MFCSMS& session, int fd) {
    for (const QString& command : {QStringLiteral("AT+CCID\r"), QStringLiteral("AT+QCCID\r"),
                                   QStringLiteral("AT^ICCID?\r"), QStringLiteral("AT+CICCID\r")}) {
        session.setLastResponse(QString());
        if (!session.Write_Command(fd, command))
            return QString(); // the line is lost: no use asking on
        if (!session.Read_Command(fd, QStringLiteral("OK")))
            continue;
        if (QString iccid = iccidDigits(session.lastResponse()); !iccid.isEmpty())
            return iccid;
    }
    return QString();
}

bool Read_Ph_Values_NEW(MFCSMS& session, int fd) {
    session.setLastResponse(QString());
    if (!session.Write_Command(fd, QStringLiteral("AT\r\n")))
        return false;
    session.Read_Command(fd, QStringLiteral("OK"));

    // Once the line is lost every later question goes unasked and stores nothing.
    Prober probe(session, fd);
    if (auto maker =
            probe.askWithFallback(QStringLiteral("AT+GMI\r\n"), QStringLiteral("AT+CGMI\r"), kMakerWords))
        session.Manuf = *maker;
    if (auto model =
            probe.askWithFallback(QStringLiteral("AT+GMM\r"), QStringLiteral("AT+CGMM\r"), kModelWords))
        session.Model = modelName(*model);
    if (auto imei = probe.askWithFallback(QStringLiteral("AT+CGSN\r"), QStringLiteral("AT+GSN\r"), kImeiWords,
                                          &imeiDigits))
        session.Port_IMEI = *imei;
    const auto battery = probe.ask(QStringLiteral("AT+CBC\r"), kBatteryWords);
    if (!probe.lineLost())
        session.battery = battery ? batteryText(*battery) : kNoBattery;
    if (auto signal = probe.ask(QStringLiteral("AT+CSQ\r"), kSignalWords))
        session.signal_str = signalText(*signal);
    if (auto op = probe.ask(QStringLiteral("AT+COPS?\r"), kOperatorWords, true))
        session.oprator = firstQuoted(*op);
    if (auto revision =
            probe.askWithFallback(QStringLiteral("AT+GMR\r"), QStringLiteral("AT+CGMR\r"), kRevisionWords))
        session.revision = *revision;
    if (auto smsc = probe.ask(QStringLiteral("AT+CSCA?\r"), kSmscWords, true))
        session.def_smsc = *smsc == QLatin1String("COMMAND NOT SUPPORT") ? *smsc : smscNumber(*smsc);
    return !probe.lineLost();
}
