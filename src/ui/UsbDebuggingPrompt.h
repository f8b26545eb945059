#pragma once
// A picture of the prompt a phone shows the first time a computer asks for USB debugging
// ("Allow USB debugging?" with the computer's key fingerprint and "Always allow from this
// computer"), drawn here so that it fits any screen; what to tap is marked.
#include "android/windows/Connection_Info.h"

#include <QWidget>

class UsbDebuggingPrompt : public QWidget {
    Q_OBJECT
public:
    explicit UsbDebuggingPrompt(Connection_Info::Prompt texts, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Connection_Info::Prompt m_texts;
};
