#include "DialogController.h"

#include "MainThread.h"

DialogController::DialogController(QObject* parent) : QObject(parent) {}

void DialogController::beginModal() {
    m_ended = false;
    m_code = NoCode;
}

void DialogController::endModal(int code) {
    m_ended = true;
    m_code = code;
    emit ended(code);
}

void DialogController::onMain(const std::function<void()>& change) {
    MainThread::invokeAndWait([&] {
        change();
        emit changed();
    });
}
