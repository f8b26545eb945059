#pragma once
#include "stores/windows/UpdateTemp.h"

#include <QDialog>

class QLabel;
class QPlainTextEdit;

// The editor of one template, with its character counter.
class UpdateTempView : public QDialog {
    Q_OBJECT
public:
    UpdateTempView(UpdateTemp& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    void refresh();

    UpdateTemp& m_controller;
    QPlainTextEdit* m_text;
    QLabel* m_counter;
};
