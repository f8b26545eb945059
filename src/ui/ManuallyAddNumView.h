#pragma once
#include "list/windows/Manually_Add_Num.h"

#include <QDialog>

class QLabel;
class QPlainTextEdit;

class ManuallyAddNumView : public QDialog {
    Q_OBJECT
public:
    ManuallyAddNumView(Manually_Add_Num& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    void refresh();

    Manually_Add_Num& m_controller;
    QPlainTextEdit* m_text = nullptr;
    QLabel* m_lines = nullptr;
    QLabel* m_wait = nullptr;
    int m_clearGeneration = 0;
};
