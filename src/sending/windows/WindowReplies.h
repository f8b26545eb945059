#pragma once
// The replies a main window reads through its selected devices while it sends nothing: read
// at once and then every minute (ReplyReader), stopped before the window uses the devices
// itself (a Send, a test message) and resumed after; a desktop notification for each new
// reply when the operator asked for them (ReplyOptions::notify). The window turns it on once
// the desktop shows it; a window driven by a script or a test reads nothing unless told to.
#include "core/DataFolder.h"
#include "services/ReplyReader.h"

#include <QObject>
#include <QSet>
#include <QStringList>

#include <functional>
#include <memory>

class Operator;

class WindowReplies : public QObject {
    Q_OBJECT
public:
    // selected(): the names of the window's selected devices (none: nothing selected); openers():
    // how to open them; busy(): the window uses them now.
    WindowReplies(Operator& op, DataFolder folder, QString road, std::function<QStringList()> selected,
                  std::function<QList<DeviceOpener>()> openers, std::function<bool()> busy);
    ~WindowReplies() override;

    void setEnabled(bool on);
    bool enabled() const { return m_enabled; }
    // Looks again: reads through the selected devices while the window leaves them alone, stops
    // otherwise (before returning, so that the caller has the ports to itself). Cheap: the
    // window calls it on each change.
    void update();
    // Until release(): nothing is read (the window is about to use its devices).
    void hold();
    void release();
    bool reading() const { return m_reader && m_reader->reading(); }

    // The notification of one reply: the sender, and the start of the text.
    static QString notificationTitle(const ReplyReader::Reply& reply);
    static QString notificationText(const ReplyReader::Reply& reply);
    static constexpr int kNotificationTextLength = 100;

signals:
    // A reply was kept for the first time (its id in the store).
    void replyKept(qint64 id);

private:
    void received(const ReplyReader::Reply& reply);
    void notKept(const QString& device, const QString& why);
    void stopReading();

    Operator& m_op;
    const DataFolder m_folder;
    const QString m_road;
    std::function<QStringList()> m_selected;
    std::function<QList<DeviceOpener>()> m_openers;
    std::function<bool()> m_busy;
    bool m_enabled = false;
    int m_holds = 0;
    QStringList m_readingThrough; // the names the reader reads, while it reads
    QSet<QString> m_toldNotKept;  // refusals told since the reading started
    bool m_storeRefusalLogged = false;
    std::unique_ptr<ReplyReader> m_reader;
};

// While it lives, the window's replies are held (a device window that talks to the modems).
class RepliesHeld {
public:
    explicit RepliesHeld(WindowReplies& replies) : m_replies(replies) { m_replies.hold(); }
    ~RepliesHeld() { m_replies.release(); }
    RepliesHeld(const RepliesHeld&) = delete;
    RepliesHeld& operator=(const RepliesHeld&) = delete;

private:
    WindowReplies& m_replies;
};
