// The messages a modem received, as the session reads them: the note of a new one, the list
// of what its storage holds, and freeing a place once the message is kept elsewhere.
#include "MFCSMS.h"

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

bool MFCSMS::deleteStoredMessage(int fd, int index) {
    return commandExpectingOk(fd, QStringLiteral("AT+CMGD=%1\r\n").arg(index));
}
