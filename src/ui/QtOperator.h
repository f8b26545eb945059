#pragma once
// The Operator of the desktop application: real message boxes, file dialogs and modal
// dialogs (each dialog controller shown through the view registered for it).
#include "core/Operator.h"

class QWidget;

class QtOperator : public Operator {
protected:
    void showAlert(const QString& fullText) override;
    bool askYesNo(const QString& text) override;
    int showModal(DialogController& dialog) override;
    QString openFileDialog(const QStringList& extensions) override;
    QString saveFileDialog(const QStringList& types) override;
    void openFile(const QString& path) override;
    void quit() override;

private:
    static QWidget* dialogParent();
};
