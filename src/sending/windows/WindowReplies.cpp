#include "WindowReplies.h"

#include "campaigns/CampaignStore.h"
#include "core/Log.h"
#include "core/Operator.h"
#include "core/ReplyOptions.h"

#include <utility>

WindowReplies::WindowReplies(Operator& op, DataFolder folder, QString road,
                             std::function<QStringList()> selected,
                             std::function<QList<DeviceOpener>()> openers, std::function<bool()> busy)
    : m_op(op), m_folder(std::move(folder)), m_road(std::move(road)), m_selected(std::move(selected)),
      m_openers(std::move(openers)), m_busy(std::move(busy)) {}

WindowReplies::~WindowReplies() { stopReading(); }

void WindowReplies::setEnabled(bool on) {
    m_enabled = on;
    update();
}

void WindowReplies::update() {
    if (!m_enabled || m_holds > 0 || m_busy()) {
        stopReading();
        return;
    }
    const QStringList names = m_selected();
    if (names.isEmpty()) {
        stopReading();
        return;
    }
    if (reading() && names == m_readingThrough)
        return;
    if (!m_reader) {
        QString why;
        std::shared_ptr<CampaignStore> store = CampaignStore::forFolder(m_folder, &why);
        if (!store) {
            // Sending tells the operator why the store cannot be used; reading only waits for it.
            if (!std::exchange(m_storeRefusalLogged, true))
                Show_NSLog_Message(QStringLiteral("Replies not read: %1").arg(why));
            return;
        }
        m_reader = std::make_unique<ReplyReader>(
            std::move(store),
            ReplyReader::Listener{
                [this](const ReplyReader::Reply& reply) { received(reply); },
                [this](const QString& device, const QString& why) { notKept(device, why); },
                {}}); // a device that cannot be read says why in the troubleshooting log itself
    }
    m_readingThrough = names;
    m_toldNotKept.clear();
    m_reader->start(m_openers(), m_road, replyRulesOf(readReplyOptions(m_folder)));
}

void WindowReplies::hold() {
    ++m_holds;
    stopReading();
}

void WindowReplies::release() {
    if (m_holds > 0)
        --m_holds;
    update();
}

void WindowReplies::stopReading() {
    if (m_reader)
        m_reader->stop();
    m_readingThrough.clear();
}

QString WindowReplies::notificationTitle(const ReplyReader::Reply& reply) {
    QString title = QStringLiteral("Reply from %1").arg(reply.message.sender);
    switch (reply.stored.change) {
    case OptOutWord::Stop: return title + QStringLiteral(" (opted out)");
    case OptOutWord::Start: return title + QStringLiteral(" (opted back in)");
    case OptOutWord::None: break;
    }
    return title;
}

QString WindowReplies::notificationText(const ReplyReader::Reply& reply) {
    QString text = reply.message.text.simplified();
    if (text.size() <= kNotificationTextLength)
        return text;
    QString start = text.left(kNotificationTextLength);
    if (start.back().isHighSurrogate()) // never half a character
        start.chop(1);
    return start + QChar(0x2026);
}

void WindowReplies::received(const ReplyReader::Reply& reply) {
    emit replyKept(reply.stored.id);
    if (readReplyOptions(m_folder).notify)
        m_op.notify(notificationTitle(reply), notificationText(reply));
}

void WindowReplies::notKept(const QString& device, const QString& why) {
    // Told once for each reason while the reading lasts: the reader meets it again every minute.
    if (m_toldNotKept.contains(device + QLatin1Char('\n') + why))
        return;
    m_toldNotKept.insert(device + QLatin1Char('\n') + why);
    // Not from inside a wait for the reader: the box waits for the operator on its own.
    QMetaObject::invokeMethod(
        this,
        [this, device, why] {
            m_op.Show_MessageBox(
                QStringLiteral("Replies that reached %1 could not be kept: %2\n\nThey stay on the device "
                               "and are read again.")
                    .arg(device, why));
        },
        Qt::QueuedConnection);
}
