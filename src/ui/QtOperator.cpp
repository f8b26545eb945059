#include "QtOperator.h"

#include "DesktopNotifications.h"
#include "UiHelpers.h"
#include "ViewRegistry.h"
#include "WindowMemory.h"
#include "core/AppState.h"
#include "core/DialogController.h"
#include "core/Log.h"
#include "core/SettingsFile.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonObject>
#include <QMessageBox>
#include <QPointer>
#include <QUrl>

namespace {
const QString kLastFolders = QStringLiteral("lastFolders");

QString filterFor(const QStringList& extensions) {
    QStringList patterns;
    for (const QString& ext : extensions)
        patterns << QStringLiteral("*.") + ext;
    return QStringLiteral("Files (%1)").arg(patterns.join(QLatin1Char(' ')));
}
} // namespace

QWidget* QtOperator::dialogParent() {
    if (QWidget* active = QApplication::activeWindow())
        return active;
    for (QWidget* top : QApplication::topLevelWidgets())
        if (top->isVisible() && !qobject_cast<QDialog*>(top))
            return top;
    return nullptr;
}

void QtOperator::showAlert(const QString& fullText) {
    QMessageBox box(QMessageBox::NoIcon, kApplicationName, fullText, QMessageBox::Ok, dialogParent());
    // What an alert says can be copied: a command to run (the udev rule's), a path, a number.
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    box.exec();
}

bool QtOperator::askYesNo(const QString& text) {
    QMessageBox box(QMessageBox::Question, kApplicationName, text, QMessageBox::Yes | QMessageBox::No,
                    dialogParent());
    box.setDefaultButton(QMessageBox::Yes);
    return box.exec() == QMessageBox::Yes;
}

int QtOperator::showModal(DialogController& dialog) {
    QPointer<QDialog> view = ViewRegistry::createView(dialog, dialogParent());
    if (!view) {
        Show_NSLog_Message(
            QStringLiteral("No view for dialog %1").arg(QLatin1String(dialog.metaObject()->className())));
        return 0;
    }
    QObject::connect(&dialog, &DialogController::ended, view, [view](int code) {
        if (view)
            view->done(code);
    });
    if (const QString key = ViewRegistry::memoryKey(dialog); !key.isEmpty())
        WindowMemory::follow(*view, m_folder, key, WindowMemory::Kept::Size);
    for (;;) {
        const int timesAside = view->property(kTimesSteppedAside).toInt();
        view->exec();
        if (!view || dialog.isEnded() || view->property(kTimesSteppedAside).toInt() == timesAside)
            break; // ended, or closed by the operator
        // It stepped aside: its session waits, windowless, for its end or its return.
        if (view->property(kSteppedAside).toBool()) {
            QEventLoop waiting;
            QObject::connect(&dialog, &DialogController::ended, &waiting, &QEventLoop::quit);
            QObject::connect(&dialog, &DialogController::changed, &waiting, [&waiting, view] {
                if (!view || !view->property(kSteppedAside).toBool())
                    waiting.quit();
            });
            waiting.exec();
        }
        if (!view || dialog.isEnded())
            break;
    }
    delete view;
    return dialog.isEnded() ? dialog.endCode() : DialogController::NoCode;
}

QString QtOperator::openFileDialog(const QStringList& extensions) {
    const QString purpose = QStringLiteral("open ") + extensions.join(QLatin1Char(' '));
    QString chosen =
        QFileDialog::getOpenFileName(dialogParent(), QString(), lastFolder(purpose), filterFor(extensions));
    keepFolder(purpose, chosen);
    return chosen;
}

QString QtOperator::saveFileDialog(const QStringList& types) {
    QStringList filters;
    for (const QString& type : types)
        filters << filterFor({type});
    const QString purpose = QStringLiteral("save ") + types.join(QLatin1Char(' '));
    QString chosen = QFileDialog::getSaveFileName(dialogParent(), QString(), lastFolder(purpose),
                                                  filters.join(QStringLiteral(";;")));
    keepFolder(purpose, chosen);
    return chosen;
}

QString QtOperator::lastFolder(const QString& purpose) const {
    // Untrusted: only a folder that is there now is offered (else the dialog's own start).
    const QString folder =
        SettingsFile(m_folder).read().value(kLastFolders).toObject().value(purpose).toString();
    const QFileInfo info(folder);
    return info.isAbsolute() && info.isDir() ? folder : QString();
}

void QtOperator::keepFolder(const QString& purpose, const QString& chosenFile) const {
    if (chosenFile.isEmpty())
        return; // cancelled
    QJsonObject folders = SettingsFile(m_folder).read().value(kLastFolders).toObject();
    folders.insert(purpose, QFileInfo(chosenFile).absolutePath());
    QString why;
    if (!SettingsFile(m_folder).write(kLastFolders, folders, &why))
        Show_NSLog_Message(QStringLiteral("The folder of a file dialog could not be kept: %1").arg(why));
}

void QtOperator::openFile(const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); }

void QtOperator::openUrl(const QString& url) {
    if (!QDesktopServices::openUrl(QUrl(url)))
        showAlert(QStringLiteral("\nNo web browser could be opened. The page is at:\n%1").arg(url));
}

void QtOperator::quit() { QCoreApplication::exit(0); }

void QtOperator::showNotification(const QString& title, const QString& text) {
    showDesktopNotification(title, text);
}
