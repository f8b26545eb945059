#include "WindowMemory.h"

#include "core/Log.h"
#include "core/SettingsFile.h"

#include <QEvent>
#include <QJsonObject>
#include <QScreen>
#include <QSplitter>
#include <QWidget>

namespace WindowMemory {
namespace {
const QString kGeometry = QStringLiteral("geometry");
const QString kSplitters = QStringLiteral("splitters");

QByteArray decoded(const QJsonValue& value) { return QByteArray::fromBase64(value.toString().toLatin1()); }
QString encoded(const QByteArray& bytes) { return QString::fromLatin1(bytes.toBase64()); }

// The window's own named splitters (not those of a dialog it is the parent of).
QList<QSplitter*> splittersOf(const QWidget& window) {
    QList<QSplitter*> own;
    for (QSplitter* splitter : window.findChildren<QSplitter*>())
        if (splitter->window() == &window && !splitter->objectName().isEmpty())
            own << splitter;
    return own;
}

QJsonObject stateOf(const QWidget& window) {
    QJsonObject splitters;
    for (const QSplitter* splitter : splittersOf(window))
        splitters.insert(splitter->objectName(), encoded(splitter->saveState()));
    return {{kGeometry, encoded(window.saveGeometry())}, {kSplitters, splitters}};
}

void restore(QWidget& window, const QJsonObject& state, Kept kept) {
    if (window.restoreGeometry(decoded(state.value(kGeometry)))) {
        // Qt brings a place back onto a screen but keeps any size: a window larger than the
        // screens (kept on a larger one, or absurd) is fitted to them, at their corner.
        const QRect room = window.screen()->availableVirtualGeometry();
        if (window.width() > room.width() || window.height() > room.height()) {
            window.resize(window.size().boundedTo(room.size()));
            window.move(room.topLeft());
        }
        if (kept == Kept::Size)
            window.setAttribute(Qt::WA_Moved, false); // a dialog is placed over its parent when shown
    }
    const QJsonObject splitters = state.value(kSplitters).toObject();
    for (QSplitter* splitter : splittersOf(window))
        splitter->restoreState(decoded(splitters.value(splitter->objectName())));
}

// Lives as the window's child and writes its state when the program hides it; a state already
// written is not written again (hiding is frequent, a durable write is not cheap).
class Keeper : public QObject {
public:
    Keeper(QWidget& window, DataFolder folder, QString key, QJsonObject kept)
        : QObject(&window), m_folder(std::move(folder)), m_key(std::move(key)), m_kept(std::move(kept)) {
        window.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        // A spontaneous hide is the window system's (a minimised window): the size is unchanged.
        if (event->type() == QEvent::Hide && !event->spontaneous())
            keep(*static_cast<QWidget*>(watched));
        return false;
    }

private:
    void keep(const QWidget& window) {
        const QJsonObject state = stateOf(window);
        if (state == m_kept)
            return;
        QString why;
        if (!SettingsFile(m_folder).write(m_key, state, &why)) {
            Show_NSLog_Message(QStringLiteral("The size of a window could not be kept: %1").arg(why));
            return;
        }
        m_kept = state;
    }

    const DataFolder m_folder;
    const QString m_key;
    QJsonObject m_kept;
};
} // namespace

void follow(QWidget& window, const DataFolder& folder, const QString& key, Kept kept) {
    const QJsonObject state = SettingsFile(folder).read().value(key).toObject();
    restore(window, state, kept);
    new Keeper(window, folder, key, state);
}

} // namespace WindowMemory
