// The messages a modem received, as the session reads them: the note of a new one, the list
// of what its storage holds, and freeing a place once the message is kept elsewhere.
#include "MFCSMS.h"
#include "ProbeAnswers.h"
#include "TextModeCharset.h"

#include <utility>

bool MFCSMS::announceNewMessages(int fd) {
    return commandExpectingOk(fd, QStringLiteral("AT+CNMI=2,1,0,0,0\r\n"));
}

bool MFCSMS::takeNewMessageNote() {
    std::lock_guard lock(m_readLock);
    return std::exchange(m_newMessageNoted, false);
}

std::optional<QList<ListedPdu>> MFCSMS::listStoredMessages(int fd) {
    if (!commandExpectingOk(fd, QStringLiteral("AT+CMGL=4\r\n")))
        return std::nullopt;
    return ReceivedListings::pduList(m_sLastResponse);
}

std::optional<QList<ListedText>> MFCSMS::listStoredTexts(int fd) {
    // Under "UCS2" every text and number comes as hex of UTF-16, whatever alphabet it was sent
    // in; under another set, characters outside it would be lost. A send sets its own set again.
    const bool ucs2 = TextModeCharsets::offered(GET_CSCS_SUPPORTEDResponse(fd))
                          .contains(QStringLiteral("UCS2"), Qt::CaseInsensitive) &&
                      commandExpectingOk(fd, QStringLiteral("AT+CSCS=\"UCS2\"\r\n"));
    if (!commandExpectingOk(fd, QStringLiteral("AT+CMGL=\"ALL\"\r\n")))
        return std::nullopt;
    QList<ListedText> received;
    for (ListedText entry : ReceivedListings::textList(m_sLastResponse)) {
        if (entry.state != int(StoredState::ReceivedUnread) && entry.state != int(StoredState::ReceivedRead))
            continue; // what this modem sent or was to send, or a status report
        if (ucs2) {
            const QString sender = ProbeAnswers::decodeUcs2Hex(entry.sender);
            const QString text = ProbeAnswers::decodeUcs2Hex(entry.text);
            entry.sender = sender.isEmpty() ? entry.sender : sender;
            entry.text = text.isEmpty() ? entry.text : text;
        }
        received << entry;
    }
    return received;
}

bool MFCSMS::deleteStoredMessage(int fd, int index) {
    return commandExpectingOk(fd, QStringLiteral("AT+CMGD=%1\r\n").arg(index));
}
