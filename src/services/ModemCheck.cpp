#include "ModemCheck.h"

#include "core/Operator.h"

#include "core/TextUtils.h"
#include "device/DeviceRecord.h"
#include "gsm/MFCSMS.h"
#include "gsm/SmsMode.h"
#include "text/NumberRules.h"

namespace ModemCheck {
namespace {

const QString kDefaultSmscMissing =
    QStringLiteral("Default SMSC Number could not be located for this device.\nPlease enter SMSC number "
                   "manually in 'Custom SMSC "
                   "no.' Field for this Device.\n\nYou can find SMSC Number in 'SMS Service Center' Details "
                   "in the SMS Settings of "
                   "your Mobile Device.");
const QString kCustomSmscMissing =
    QStringLiteral("Custom SMSC Number could not be located for this device.\nPlease enter SMSC number "
                   "manually in 'Custom SMSC "
                   "no.' Field for this Device.\n\nYou can find SMSC Number in 'SMS Service Center' Details "
                   "in the SMS Settings of "
                   "your Mobile Device.");

// The checks up to the modem's answer; the descriptor of its open line in `fd`.
Problem beforeAnswer(MFCSMS& session, const Record& record, int& fd) {
    const bool useCustom = record.value(kUseCustomSmscKey) == QLatin1String("Y");
    if ((useCustom ? record.value(kCustomSmscKey) : QString()).isEmpty() &&
        record.value(kDefaultSmscKey).isEmpty())
        return Problem::NoServiceCentre;
    if (smsModeFromText(record.value(kSmsModeKey)) == SmsMode::Unknown)
        return Problem::NoMode;
    fd = open(session, record.value(kPortDetailKey));
    if (fd < 0)
        return Problem::NotWorking;
    session.ATZ_reset_Modem(fd);
    return session.Check_Connection(fd) ? Problem::None : Problem::NotWorking;
}

} // namespace

int open(MFCSMS& session, const QString& path) {
    const int lineFd = session.OpenSerialPort(path);
    if (lineFd == -1)
        return -1;
    session.CloseSerialPort(lineFd);
    int fd = -1;
    session.initPort_with_decp(path, fd);
    if (session.port() != nullptr)
        session.port()->setReadTimeout(1.0);
    return fd;
}

bool answers(const QString& path) {
    MFCSMS session;
    const int fd = open(session, path);
    const bool works = fd >= 0 && session.Check_Connection(fd);
    session.closePort();
    return works;
}

Verdict forRun(const Record& record) {
    MFCSMS session;
    int fd = -1;
    Verdict verdict;
    verdict.problem = beforeAnswer(session, record, fd);
    if (verdict.problem == Problem::None) {
        const bool useCustom = record.value(kUseCustomSmscKey) == QLatin1String("Y");
        verdict.notSmsCapable = record.value(kSmsCapableKey) == QLatin1String("Not Detected");
        if (useCustom && record.value(kCustomSmscKey).isEmpty())
            verdict.problem = Problem::NoCustomServiceCentre;
        else if (!useCustom && record.value(kDefaultSmscKey).isEmpty())
            verdict.problem = Problem::NoServiceCentre;
        else
            session.More_SMS_Comnd(fd);
    }
    session.closePort();
    return verdict;
}

QString messageOf(Problem problem) {
    switch (problem) {
    case Problem::None: break;
    case Problem::NoServiceCentre: return kDefaultSmscMissing;
    case Problem::NoMode: return QStringLiteral("SMS Mode details should not be blanked.");
    case Problem::NotWorking:
        return QStringLiteral(
            "Either no Mobile Device is connected on this port or selected device is not working properly.");
    case Problem::NoCustomServiceCentre: return kCustomSmscMissing;
    }
    return {};
}

Choice choose(Operator& op, const Record& record, int chosen) {
    const auto refuse = [&](const QString& message) {
        if (chosen == 1) {
            op.Show_MessageBox(message);
            return Choice::Stop;
        }
        return op.Show_YES_NO_MessageBox(
                   message +
                   QStringLiteral("\n\nAre you sure you want to continue without selecting device?"))
                   ? Choice::Skip
                   : Choice::Stop;
    };
    // What the search found of its SIM or network (a PIN needed, a SIM blocked, registration
    // denied): nothing the operator can settle here. The modem stays out, the others go on.
    if (const QString held = record.value(kPortStatusKey);
        !held.isEmpty() && !record.value(kImeiKey).isEmpty()) {
        op.Show_MessageBox(QStringLiteral("%1: %2").arg(record.value(kPortDetailKey), held));
        return chosen == 1 ? Choice::Stop : Choice::Skip;
    }
    const Verdict verdict = forRun(record);
    if (verdict.notSmsCapable && !op.Show_YES_NO_MessageBox(QStringLiteral(
                                     "This Device cannot be used for sending Text messages as it does "
                                     "not seem to have SMS Sending capabilities.\n\nAre you sure you "
                                     "want to continue?")))
        return Choice::Skip;
    if (verdict.problem != Problem::None)
        return refuse(messageOf(verdict.problem));
    return Choice::Accept;
}

} // namespace ModemCheck

bool isUsableSmscNumber(const QString& number) {
    const QString s = Replace_Char_For_Valid_Number(number);
    return !s.isEmpty() && s.size() <= kMaxNumberLength && !hasMisplacedPlus(s) && !Check_Ph_Number(s, false);
}
