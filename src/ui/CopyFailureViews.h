#pragma once
// The two questions asked when a file could not be copied to the phone during an Android send:
// before single-shot sending (three answers) and for one message (two answers and "for all").
#include <QDialog>

class OneByOneCopyFailure;
class SingleShotCopyFailure;

class SingleShotCopyFailureView : public QDialog {
    Q_OBJECT
public:
    SingleShotCopyFailureView(SingleShotCopyFailure& controller, QWidget* parent = nullptr);

protected:
    void reject() override; // Escape and the close button: Cancel

private:
    SingleShotCopyFailure& m_controller;
};

class OneByOneCopyFailureView : public QDialog {
    Q_OBJECT
public:
    OneByOneCopyFailureView(OneByOneCopyFailure& controller, QWidget* parent = nullptr);

protected:
    void reject() override; // Escape and the close button: Cancel

private:
    OneByOneCopyFailure& m_controller;
};
