#include "ModemAnswers.h"

#include "core/TextUtils.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace ModemAnswers {

namespace {
const QString kError = QStringLiteral("ERROR");
const QString kCmsError = QStringLiteral("+CMS ERROR");
const QString kCmeError = QStringLiteral("+CME ERROR");
} // namespace

bool answerHolds(const QString& answer, const QString& expected) {
    const QString text = Trim_Str(answer);
    if (text.isEmpty() || text.contains(kError))
        return false;
    return text.contains(Trim_Str(expected));
}

QString smsErrorText(const QString& answer) {
    const QString text = Trim_Str(answer);
    if (text == kError)
        return kError;
    if (const qsizetype at = text.indexOf(kCmsError); at >= 0)
        return text.mid(at);
    if (const qsizetype at = text.indexOf(kCmeError); at >= 0)
        return text.mid(at);
    if (text.contains(kError))
        return QStringLiteral("+CMS ERROR:500");
    return {};
}

int supportedSmsFormats(const QString& answer) {
    const bool pdu = answer.contains(QLatin1Char('0'));
    const bool text = answer.contains(QLatin1Char('1'));
    return (pdu ? 1 : 0) + (text ? 2 : 0);
}

SmsFormat selectedSmsFormat(const QString& answer) {
    const bool zero = answer.contains(QLatin1Char('0'));
    const bool one = answer.contains(QLatin1Char('1'));
    if (zero && one)
        return SmsFormat::Both;
    if (one)
        return SmsFormat::Text;
    if (zero)
        return SmsFormat::Pdu;
    return SmsFormat::Unknown;
}

bool holdsFinalResult(const QString& answer) {
    QString complete = answer;
    const qsizetype lastEnd =
        std::max(complete.lastIndexOf(QLatin1Char('\n')), complete.lastIndexOf(QLatin1Char('\r')));
    complete.truncate(lastEnd < 0 ? 0 : lastEnd);
    const QStringList lines =
        complete.split(QRegularExpression(QStringLiteral("[\r\n]")), Qt::SkipEmptyParts);
    for (const QString& raw : lines) {
        const QString line = Trim_Str(raw);
        if (line == QLatin1String("OK") || line.startsWith(kError) || line.startsWith(kCmsError) ||
            line.startsWith(kCmeError) || line.endsWith(kError))
            return true;
    }
    return false;
}

bool isRefusal(const QString& status) {
    const QString head = status.left(4);
    return status == kError || head.contains(QLatin1String("CMS")) || head.contains(QLatin1String("CME"));
}

QString submissionStatus(bool dialogueCompleted, const QString& recorded, const QString& sms_det) {
    if (!dialogueCompleted)
        return kStatusConnectionError;
    if (isRefusal(recorded))
        return recorded;
    return sms_det == kCapabilityNotDetected ? kStatusSentToDevice : kStatusSent;
}

QString textModeParametersCommand(bool flash_sms, bool unicode_sms) {
    const int dcs = (flash_sms ? 16 : 0) + (unicode_sms ? 8 : 0);
    return QStringLiteral("AT+CSMP=17,255,0,%1\r\n").arg(dcs);
}

QString characterSetCommand(const QString& supportedAnswer, bool unicode_sms) {
    const QString preferred = unicode_sms ? QStringLiteral("UCS2") : QStringLiteral("GSM");
    const QString fallback = unicode_sms ? QStringLiteral("HEX") : QStringLiteral("IRA");
    for (const QString& set : {preferred, fallback})
        if (supportedAnswer.contains(set))
            return QStringLiteral("AT+CSCS=\"%1\"\r\n").arg(set);
    return {};
}

QString serviceCentreCommand(const QString& number) {
    const int type = number.startsWith(QLatin1Char('+')) ? 145 : 129;
    return QStringLiteral("AT+CSCA=\"%1\",%2\r\n").arg(number).arg(type);
}

} // namespace ModemAnswers
