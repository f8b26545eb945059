#pragma once
// The automated mode test window of the Android window: the phone, the test number, the
// three cases with their outcome, the mode radios, and OK / Close.
#include "android/windows/Android_TroubleShooting.h"

#include <QDialog>

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;

class AndroidTroubleShootingView : public QDialog {
    Q_OBJECT
public:
    AndroidTroubleShootingView(Android_TroubleShooting& controller, QWidget* parent);

protected:
    void reject() override; // as Close

private:
    void refresh();

    Android_TroubleShooting& m_controller;
    QLabel* m_device = nullptr;
    QLabel* m_information = nullptr;
    QLineEdit* m_testNumber = nullptr;
    QProgressBar* m_busy = nullptr;
    QRadioButton* m_singleShot = nullptr;
    QRadioButton* m_standard = nullptr;
    QRadioButton* m_classic = nullptr;
    QPushButton* m_start = nullptr;
    QPushButton* m_stop = nullptr;
    QPushButton* m_ok = nullptr;
    QPushButton* m_close = nullptr;
};
