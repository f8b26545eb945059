#pragma once
// The Operator of the desktop application: real message boxes, file dialogs and modal
// dialogs (each dialog controller shown through the view registered for it). The folder's
// settings keep the larger dialogs' sizes and the folder each kind of file dialog last used.
#include "core/DataFolder.h"
#include "core/Operator.h"

class QWidget;

class QtOperator : public Operator {
public:
    explicit QtOperator(DataFolder folder) : m_folder(std::move(folder)) {}

protected:
    void showAlert(const QString& fullText) override;
    bool askYesNo(const QString& text) override;
    int showModal(DialogController& dialog) override;
    QString openFileDialog(const QStringList& extensions) override;
    QString saveFileDialog(const QStringList& types) override;
    void openFile(const QString& path) override;
    void openUrl(const QString& url) override;
    void quit() override;
    void showNotification(const QString& title, const QString& text) override;

private:
    static QWidget* dialogParent();
    // purpose names the kind of file dialog: each starts where the last one of its kind ended.
    QString lastFolder(const QString& purpose) const;
    void keepFolder(const QString& purpose, const QString& chosenFile) const;

    const DataFolder m_folder;
};
