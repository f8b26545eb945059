#include "QtOperator.h"

#include "ViewRegistry.h"
#include "core/AppState.h"
#include "core/DialogController.h"
#include "core/Log.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>
#include <QUrl>

namespace {
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
    view->exec();
    delete view;
    return dialog.isEnded() ? dialog.endCode() : DialogController::NoCode;
}

QString QtOperator::openFileDialog(const QStringList& extensions) {
    return QFileDialog::getOpenFileName(dialogParent(), QString(), QString(), filterFor(extensions));
}

QString QtOperator::saveFileDialog(const QStringList& types) {
    QStringList filters;
    for (const QString& type : types)
        filters << filterFor({type});
    return QFileDialog::getSaveFileName(dialogParent(), QString(), QString(),
                                        filters.join(QStringLiteral(";;")));
}

void QtOperator::openFile(const QString& path) { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); }

void QtOperator::quit() { QCoreApplication::exit(0); }
