#include "SendModeTrial.h"

#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/TextUtils.h"
#include "device/TestCaseRecord.h"
#include "gsm/MFCSMS.h"
#include "gsm/ModemAnswers.h"
#include "stores/ExportFormats.h"
#include "text/NumberRules.h"

namespace SendModeTrial {
namespace {

const QString kSeparator = QStringLiteral("||");

struct CaseKind {
    const QString& code;
    const char* description;
};

const CaseKind kCases[] = {
    {kPduCustom, "PDU Mode with Custom SMSC"},
    {kPduDefault, "PDU Mode with Default SMSC"},
    {kTextCustom, "Text Mode with Custom SMSC"},
    {kTextDefault, "Text Mode with Default SMSC"},
};

} // namespace

QString descriptionOf(const QString& code) {
    for (const CaseKind& kind : kCases)
        if (kind.code == code)
            return QString::fromLatin1(kind.description);
    return {};
}

SmsMode modeOf(const QString& code) {
    if (code.contains(QStringLiteral("PDU")))
        return SmsMode::Pdu;
    if (code.contains(QStringLiteral("TXT")))
        return SmsMode::Text;
    return SmsMode::Unknown;
}

bool usesCustomSmsc(const QString& code) { return code.contains(QStringLiteral("CUS_SMSC")); }

RecordList Fill_Test_case_List(const QString& supportedModes, bool withCustomSmsc, const QString& model,
                               const QString& history) {
    QStringList codes;
    if (supportedModes.contains(kPduModeText)) {
        if (withCustomSmsc)
            codes << kPduCustom;
        codes << kPduDefault;
    }
    if (supportedModes.contains(kTextModeText)) {
        if (withCustomSmsc)
            codes << kTextCustom;
        codes << kTextDefault;
    }
    RecordList cases;
    for (const QString& code : codes) {
        const QString description = descriptionOf(code);
        cases << Record{
            {kModemCaseLabelKey, QStringLiteral("Case %1:").arg(cases.size() + 1)},
            {kCaseDescriptionKey, description},
            {kCaseStatusKey, statusInHistory(history, code)},
            {kCaseMessageKey, QStringLiteral("%1 is working for Device Model: %2").arg(description, model)},
            {kCaseCodeKey, code}};
    }
    return cases;
}

QString historyOf(const RecordList& cases) {
    QString history;
    for (const Record& c : cases)
        history += c.value(kCaseCodeKey) + kSeparator + c.value(kCaseStatusKey) + kSeparator;
    return history;
}

QString statusInHistory(const QString& history, const QString& code) {
    // Codes and statuses alternate; a status never holds "||", so the pairs read back in order.
    const QStringList fields = history.split(kSeparator);
    for (qsizetype i = 0; i + 1 < fields.size(); i += 2)
        if (fields.at(i) == code)
            return fields.at(i + 1);
    return {};
}

QByteArray reportBytes(const QString& deviceDetails, const RecordList& cases) {
    QString text =
        QStringLiteral("%1\n\n\t\t\t[ Test Case Summary]\t\t\t\n\n%2\n").arg(kExportRule, kExportRule) +
        deviceDetails + QStringLiteral("\n\n");
    for (const Record& c : cases)
        text += QStringLiteral("%1\n%2\n%3")
                    .arg(c.value(kModemCaseLabelKey), c.value(kCaseMessageKey), c.value(kCaseStatusKey)) +
                QStringLiteral("\n\n");
    return utf8WithMark(text);
}

QString testNumberProblem(const QString& typed) {
    const QString number = Trim_Str(typed);
    if (number.isEmpty())
        return kInvalidTestNumber;
    QString checked = number;
    if (checked.startsWith(QLatin1Char('+')))
        checked = QStringLiteral("00") + checked.mid(1);
    if (checked.contains(QLatin1Char('+')) || Check_Ph_Number(checked, false))
        return kInvalidTestNumber;
    return {};
}

namespace {

// Opens the device's line for the cases; -1 when it cannot be opened.
int openForCases(MFCSMS& session, const QString& path) {
    const int lineFd = session.OpenSerialPort(path);
    if (lineFd == -1)
        return -1;
    session.CloseSerialPort(lineFd);
    int fd = -1;
    session.initPort_with_decp(path, fd);
    if (fd < 0 || session.port() == nullptr) {
        session.closePort();
        return -1;
    }
    session.port()->setReadTimeout(1.0);
    return fd;
}

// Sends the case's one message in its mode and through its service centre; the status it ended with.
QString sendCase(MFCSMS& session, const Request& request, const Record& c, int fd) {
    const QString code = c.value(kCaseCodeKey);
    const SmsMode mode = modeOf(code);
    if (mode == SmsMode::Pdu)
        session.Prepare_Modem_For_PDU_SMS(fd);
    else if (mode == SmsMode::Text)
        session.Prepare_Modem_For_Text_SMS(fd);
    session.port()->setReadTimeout(1.0);
    const QString smsc = usesCustomSmsc(code) ? request.customSmsc : QString();
    const QString text = QStringLiteral("'%1'").arg(c.value(kCaseMessageKey));
    QString status = QStringLiteral("Error : +CMS ERROR: 500.");
    bool sent = false;
    if (mode != SmsMode::Unknown && session.formatRefused())
        status = QStringLiteral("Error : %1.").arg(ModemAnswers::formatRefusal(mode == SmsMode::Pdu));
    else if (mode == SmsMode::Pdu)
        sent =
            session.Send_PDU_SMS(fd, request.number, text, smsc, false, false, status, QStringLiteral("Yes"));
    else if (mode == SmsMode::Text)
        sent = session.Send_Text_SMS(fd, request.number, text, smsc, false, false, request.path, status,
                                     QStringLiteral("Yes"));
    if (sent)
        Clock::sleep(std::chrono::seconds(1));
    return status;
}

} // namespace

End run(MFCSMS& session, Request& request, const std::atomic<bool>& stop, const Progress& progress,
        const QString& caseTitle) {
    for (Record& c : request.cases)
        c.insert(kCaseStatusKey, QString());
    const auto setStatus = [&](int index, const QString& status) {
        request.cases[index].insert(kCaseStatusKey, status);
        progress.caseEnded(index, status);
    };
    const auto markUnrun = [&](const QString& status) {
        for (int i = 0; i < request.cases.size(); ++i)
            if (request.cases.at(i).value(kCaseStatusKey).isEmpty())
                setStatus(i, status);
    };
    progress.caseProgress(0);
    progress.announce(QStringLiteral("Connecting Device"));

    const int fd = openForCases(session, request.path);
    if (fd < 0)
        return End::OpenFailed;
    // A text-mode message through the custom service centre leaves the modem's own behind.
    const QString defaultSmsc = request.defaultSmsc;
    session.setDefaultSmscLookup([defaultSmsc](const QString&) { return QString(defaultSmsc); });

    End end = End::Completed;
    Guard::run("SendModeTrial::run", [&] {
        progress.announce(QStringLiteral("Initialize Device"));
        if (!session.Check_Connection(fd)) {
            markUnrun(kConnectionErrorStatus);
            end = End::ConnectionFailed;
            return;
        }
        session.ATZ_reset_Modem(fd);
        for (int i = 0; i < request.cases.size(); ++i) {
            if (stop) {
                end = End::Stopped;
                break;
            }
            const Record c = request.cases.at(i);
            const QString code = c.value(kCaseCodeKey);
            progress.announce(caseTitle.arg(i + 1).arg(c.value(kCaseDescriptionKey)));
            progress.caseProgress(0);
            const QString status = sendCase(session, request, c, fd);
            Show_NSLog_Message(QStringLiteral("Test case %1 on %2: %3").arg(code, request.path, status));
            setStatus(i, status);
            progress.caseProgress(100);
        }
        if (stop && end == End::Completed) {
            for (const Record& c : request.cases)
                if (c.value(kCaseStatusKey).isEmpty())
                    end = End::Stopped;
        }
    });
    session.closePort();
    session.setDefaultSmscLookup({});
    if (end == End::Stopped)
        markUnrun(kStoppedStatus);
    return end;
}

End runShown(MFCSMS& session, Request& request, const std::atomic<bool>& stop, const QString& caseTitle,
             const Shown& shown) {
    Progress progress;
    progress.announce = [&shown](const QString& text) {
        shown.onMain([&shown, text] { shown.information = text; });
    };
    progress.caseProgress = [&shown](int percent) {
        shown.onMain([&shown, percent] { shown.caseProgress = percent; });
    };
    progress.caseEnded = [&shown](int index, const QString& status) {
        shown.onMain([&shown, index, status] {
            if (index < shown.cases.size()) {
                Record c = shown.cases.at(index);
                c.insert(kCaseStatusKey, status);
                shown.cases.replace(index, c);
            }
        });
    };
    shown.onMain([&shown] {
        RecordList cleared = shown.cases.records();
        for (Record& c : cleared)
            c.insert(kCaseStatusKey, QString());
        shown.cases.setRecords(cleared);
    });
    return run(session, request, stop, progress, caseTitle);
}

} // namespace SendModeTrial
