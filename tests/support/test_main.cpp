// Entry point of every headless suite: an application object so that MainThread hand-offs
// and queued signals work, a shrunken clock, and the offscreen platform for views.
#include "core/Clock.h"

#include <gtest/gtest.h>

#ifdef BULKSMS_TEST_GUI
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    TestApplication app(argc, argv);
    Clock::setScale(0.001);
    return RUN_ALL_TESTS();
}
